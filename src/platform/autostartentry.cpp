#include "platform/autostartentry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace Nomly {

namespace {

// Marks the entries this program wrote.
constexpr auto OwnerKey = "X-Nomly-Autostart=true";

QByteArray readEntry()
{
    QFile file(AutostartEntry::filePath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

QString AutostartEntry::execValue(const QString &program)
{
    // A program name may not hold "=", and no value may span lines.
    if (program.isEmpty() || program.contains(QLatin1Char('=')) || program.contains(QLatin1Char('\n'))
        || program.contains(QLatin1Char('\r')))
        return {};
    // Quoted as one argument, with the characters quoting reserves escaped;
    // then the value's own escapes: each backslash doubled, and "%" doubled
    // so that it is no field code.
    QString quoted = program;
    for (const QChar c : { QLatin1Char('\\'), QLatin1Char('"'), QLatin1Char('`'), QLatin1Char('$') })
        quoted.replace(c, QStringLiteral("\\") + c);
    QString value = QStringLiteral("\"%1\" --background").arg(quoted);
    value.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    value.replace(QLatin1Char('%'), QStringLiteral("%%"));
    return value;
}

QString AutostartEntry::filePath()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
        .filePath(QStringLiteral("autostart/nomly.desktop"));
}

bool AutostartEntry::isEnabled()
{
    const QByteArray entry = readEntry();
    if (entry.isEmpty())
        return false;
    for (const QByteArray &line : entry.split('\n')) {
        const QByteArray trimmed = line.trimmed();
        if (trimmed == "Hidden=true" || trimmed == "X-GNOME-Autostart-enabled=false")
            return false;
    }
    return true;
}

Result<> AutostartEntry::setEnabled(bool enabled, const QString &program)
{
    const QString path = filePath();
    if (!enabled) {
        if (!QFileInfo::exists(path))
            return {};
        if (!readEntry().contains(OwnerKey))
            return Failure { QStringLiteral("%1 was not written by Nomly and is left as it is").arg(path) };
        if (!QFile::remove(path))
            return Failure { QStringLiteral("cannot remove %1").arg(path) };
        return {};
    }
    const QString exec = execValue(program);
    if (exec.isEmpty())
        return Failure { QStringLiteral(
                             "Nomly's path (%1) cannot start at login: rename it without \"=\" or line breaks")
                             .arg(program) };
    if (!QDir().mkpath(QFileInfo(path).path()))
        return Failure { QStringLiteral("cannot create %1").arg(QFileInfo(path).path()) };
    const QString entry = QStringLiteral("[Desktop Entry]\n"
                                         "Type=Application\n"
                                         "Name=Nomly\n"
                                         "Comment=Give files names that say what they hold\n"
                                         "Exec=%1\n"
                                         "Icon=nomly\n"
                                         "Terminal=false\n"
                                         "X-GNOME-Autostart-enabled=true\n"
                                         "%2\n")
                              .arg(exec, QLatin1String(OwnerKey));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(entry.toUtf8()) < 0 || !file.commit())
        return Failure { QStringLiteral("cannot write %1: %2").arg(path, file.errorString()) };
    return {};
}

} // namespace Nomly
