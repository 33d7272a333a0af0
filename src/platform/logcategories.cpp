#include "platform/logcategories.h"

Q_LOGGING_CATEGORY(lcGeneral, "com.nomly.app.General", QtInfoMsg)
Q_LOGGING_CATEGORY(lcAI, "com.nomly.app.AI", QtInfoMsg)
Q_LOGGING_CATEGORY(lcFileWatcher, "com.nomly.app.FileWatcher", QtInfoMsg)
Q_LOGGING_CATEGORY(lcNetwork, "com.nomly.app.Network", QtInfoMsg)
Q_LOGGING_CATEGORY(lcProcessing, "com.nomly.app.Processing", QtInfoMsg)
Q_LOGGING_CATEGORY(lcConfig, "com.nomly.app.Config", QtInfoMsg)
Q_LOGGING_CATEGORY(lcDatabase, "com.nomly.app.Database", QtInfoMsg)
Q_LOGGING_CATEGORY(lcDevice, "com.nomly.app.Device", QtInfoMsg)
