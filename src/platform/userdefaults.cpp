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

bool UserDefaults::boolValue(const QString &key, bool fallback) const
{
    return m_settings->value(key, fallback).toBool();
}

// Written through at once: another process (the command line beside the
// desktop program) reads the same file.
void UserDefaults::setValue(const QString &key, const QVariant &value)
{
    m_settings->setValue(key, value);
    m_settings->sync();
}

void UserDefaults::remove(const QString &key)
{
    m_settings->remove(key);
    m_settings->sync();
}

} // namespace Nomly
