#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace Nomly::Test {

struct CliRun
{
    int exitCode = -1; // -1 when the program did not finish in time
    QString out;
    QString err;
};

// The environment of a program with a profile of its own: HOME and the XDG
// data, config and cache folders all inside `profileRoot`, and no session bus.
QProcessEnvironment cliEnvironment(const QString &profileRoot);

// Runs a program with a profile of its own: HOME and the XDG data, config
// and cache folders all inside `profileRoot`, never the real ones, and no
// session bus.
CliRun runCli(const QString &program,
              const QStringList &arguments,
              const QString &profileRoot,
              const QString &workingDirectory,
              const QByteArray &standardInput = {});

// The same, with this process's event loop running meanwhile, so that peers
// it serves on loopback (a provider, an Ollama server) can answer the program.
CliRun runCliServing(const QString &program,
                     const QStringList &arguments,
                     const QProcessEnvironment &environment,
                     const QString &workingDirectory,
                     const QByteArray &standardInput = {});

} // namespace Nomly::Test
