#pragma once

#include <QString>

namespace Nomly {

// The texts the AI routes and the backend write are English. A known one
// (compared trimmed) is replaced with its entry in the string table of the
// interface language; one that names a provider keeps the provider's name.
// Any other text passes unchanged.
QString localizedAIMessage(const QString &text);

} // namespace Nomly
