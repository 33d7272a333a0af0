#pragma once

#include <QJsonObject>

namespace Nomly {

struct BackendConfig;

// The answer of the configuration function: the application's built-in file
// types and pace, this backend's provider and the models it falls back to,
// so that the application and the backend agree on defaults.
QJsonObject configResponseJson(const BackendConfig &config);

} // namespace Nomly
