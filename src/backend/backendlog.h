#pragma once

#include <QLoggingCategory>

// Status, sizes, provider and timing of nomly-backend's calls; never a key,
// a prompt or a file's content.
Q_DECLARE_LOGGING_CATEGORY(lcBackend)
