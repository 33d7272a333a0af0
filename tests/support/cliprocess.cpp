#include "cliprocess.h"

#include <QEventLoop>
#include <QProcess>
#include <QTimer>

namespace Nomly::Test {

QProcessEnvironment cliEnvironment(const QString &profileRoot)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), profileRoot);
    // The program under test always looks for leaks, whatever the harness
    // that starts it was told.
    environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=1"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), profileRoot + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), profileRoot + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), profileRoot + QStringLiteral("/cache"));
    // No session bus, so a key a test stores can never land in the keyring
    // of whoever runs the tests.
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                       QStringLiteral("unix:path=") + profileRoot + QStringLiteral("/no-bus"));
    return environment;
}

CliRun runCli(const QString &program,
              const QStringList &arguments,
              const QString &profileRoot,
              const QString &workingDirectory,
              const QByteArray &standardInput)
{
    QProcess process;
    process.setProcessEnvironment(cliEnvironment(profileRoot));
    process.setWorkingDirectory(workingDirectory);
    process.start(program, arguments);
    process.write(standardInput);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000))
        return {};
    return { process.exitCode(),
             QString::fromUtf8(process.readAllStandardOutput()),
             QString::fromUtf8(process.readAllStandardError()) };
}

CliRun runCliServing(const QString &program,
                     const QStringList &arguments,
                     const QProcessEnvironment &environment,
                     const QString &workingDirectory,
                     const QByteArray &standardInput)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(workingDirectory);
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&process, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    QTimer::singleShot(120000, &loop, &QEventLoop::quit);
    process.start(program, arguments);
    process.write(standardInput);
    process.closeWriteChannel();
    loop.exec();
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    return { process.exitCode(),
             QString::fromUtf8(process.readAllStandardOutput()),
             QString::fromUtf8(process.readAllStandardError()) };
}

} // namespace Nomly::Test
