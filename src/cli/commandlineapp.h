#pragma once

#include <QStringList>

namespace Nomly {

// `nomly COMMAND [options]`: picks the command and hands it the rest.
class CommandLineApp final
{
public:
    CommandLineApp() = delete;

    // `arguments` as QCoreApplication::arguments() gives them, program first.
    static int run(const QStringList &arguments);
};

} // namespace Nomly
