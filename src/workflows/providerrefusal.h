#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// Whether a failure text says the provider refuses for good (a key, a quota,
// a model), so that trying the file again cannot help. Gives the short
// reason word for reports, or none for a failure worth another try.
std::optional<QString> providerRefusalReason(const QString &failureText);

} // namespace Nomly
