#pragma once

#include <QMutex>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <memory>

#include "platform/result.h"

namespace Nomly {

// Small flags and mirrors that must be readable before the database opens:
// onboarding and consent flags, one-shot migration flags, mirrored settings,
// cached configuration. An INI file at $XDG_CONFIG_HOME/Nomly/Nomly.conf;
// tests point it at a file of their own. Any thread may use it.
class UserDefaults final
{
public:
    UserDefaults();
    explicit UserDefaults(const QString &filePath);
    UserDefaults(const UserDefaults &) = delete;
    UserDefaults &operator=(const UserDefaults &) = delete;

    static QString defaultFilePath();

    QString filePath() const { return m_settings->fileName(); }

    bool contains(const QString &key) const;
    QVariant value(const QString &key, const QVariant &fallback = {}) const;

    bool boolValue(const QString &key, bool fallback = false) const;
    // Written to the file at once. When the file cannot be written (a full
    // disk, a read-only folder) the value is not taken either, so that the
    // program never acts on a change that will not outlive it.
    Result<> setValue(const QString &key, const QVariant &value);
    void remove(const QString &key);

private:
    // Saves run on the database's thread while the interface reads flags.
    mutable QMutex m_mutex;
    std::unique_ptr<QSettings> m_settings;
};

} // namespace Nomly
