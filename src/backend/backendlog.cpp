#include "backend/backendlog.h"

Q_LOGGING_CATEGORY(lcBackend, "com.nomly.backend", QtInfoMsg)
