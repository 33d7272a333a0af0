#pragma once

#include <QLoggingCategory>

// One category per area, named "com.nomly.app.<Area>", so that a user can turn
// areas on and off with QT_LOGGING_RULES and journald keeps them apart.
Q_DECLARE_LOGGING_CATEGORY(lcGeneral)
Q_DECLARE_LOGGING_CATEGORY(lcAI)
Q_DECLARE_LOGGING_CATEGORY(lcFileWatcher)
Q_DECLARE_LOGGING_CATEGORY(lcNetwork)
Q_DECLARE_LOGGING_CATEGORY(lcProcessing)
Q_DECLARE_LOGGING_CATEGORY(lcConfig)
Q_DECLARE_LOGGING_CATEGORY(lcDatabase)
Q_DECLARE_LOGGING_CATEGORY(lcDevice)
