#include "cliprocess.h"

#include <QProcess>

namespace Nomly::Test {

CliRun runCli(const QString &program,
              const QStringList &arguments,
              const QString &profileRoot,
              const QString &workingDirectory)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), profileRoot);
    environment.insert(QStringLiteral("XDG_DATA_HOME"), profileRoot + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), profileRoot + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), profileRoot + QStringLiteral("/cache"));
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(workingDirectory);
    process.start(program, arguments);
    if (!process.waitForFinished(60000))
        return {};
    return { process.exitCode(),
             QString::fromUtf8(process.readAllStandardOutput()),
             QString::fromUtf8(process.readAllStandardError()) };
}

} // namespace Nomly::Test
