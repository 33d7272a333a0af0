#pragma once

#include <QString>
#include <QStringList>

namespace Nomly {

// Exit statuses every command shares.
enum class ExitStatus
{
    Success = 0,
    ItemFailed = 1, // the command ran, and some item failed
    UsageError = 2, // bad options or input; nothing was done
    Interrupted = 130, // stopped by Ctrl-C or SIGTERM after the work in flight
};

// One subcommand of `nomly`: its name, the line `nomly --help` shows for it,
// and its entry, which gets the arguments after the command name.
struct CliCommand
{
    const char16_t *name;
    const char16_t *summary;
    ExitStatus (*run)(const QStringList &arguments);
};

} // namespace Nomly
