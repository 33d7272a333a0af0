#pragma once

#include <QString>

namespace Nomly {

// A text that names this run of this process across every process of the
// machine: boot, process id and start time, so that a reused process id never
// passes for the process that left a mark.
class ProcessMark final
{
public:
    ProcessMark() = delete;

    static QString current();
    // Whether the process that made `mark` still runs. An unreadable mark
    // counts as ended.
    static bool isRunning(const QString &mark);
};

} // namespace Nomly
