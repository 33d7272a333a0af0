#include "platform/userdefaults.h"

#include "platform/datalocations.h"

namespace Nomly {

UserDefaults::UserDefaults()
    : UserDefaults(defaultFilePath())
{}

UserDefaults::UserDefaults(const QString &filePath)
    : m_settings(std::make_unique<QSettings>(filePath, QSettings::IniFormat))
{}

QString UserDefaults::defaultFilePath()
{
    return DataLocations::configDirectory() + QStringLiteral("/Nomly.conf");
}

bool UserDefaults::contains(const QString &key) const
{
    const QMutexLocker lock(&m_mutex);
    return m_settings->contains(key);
}

QVariant UserDefaults::value(const QString &key, const QVariant &fallback) const
{
    const QMutexLocker lock(&m_mutex);
    return m_settings->value(key, fallback);
}

bool UserDefaults::boolValue(const QString &key, bool fallback) const
{
    return value(key, fallback).toBool();
}

// Written through at once: another process (the command line beside the
// desktop program) reads the same file.
Result<> UserDefaults::setValue(const QString &key, const QVariant &value)
{
    const QMutexLocker lock(&m_mutex);
    const QVariant previous = m_settings->value(key);
    m_settings->setValue(key, value);
    m_settings->sync();
    if (m_settings->status() == QSettings::NoError)
        return {};
    if (previous.isValid())
        m_settings->setValue(key, previous);
    else
        m_settings->remove(key);
    return Failure { QStringLiteral("Could not save %1 in %2").arg(key, m_settings->fileName()) };
}

void UserDefaults::remove(const QString &key)
{
    const QMutexLocker lock(&m_mutex);
    m_settings->remove(key);
    m_settings->sync();
}

} // namespace Nomly
