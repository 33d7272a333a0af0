#pragma once

namespace Nomly {

// The core's warnings and errors on the command line. A command prints a line
// for each item, with the reason when it failed; what the core logs while
// that item is worked on would tell the same failure a second time. So those
// lines are held while an item is worked on and dropped when the command
// reports the item's failure; when the item succeeded they are printed after
// all, since nothing else would tell what went wrong (tags that could not be
// put back, a snapshot that could not be taken). Everything the core logs
// outside an item is printed as it comes. With QT_LOGGING_RULES set the user
// asked for the log itself, and nothing is held.
class CoreLog final
{
public:
    CoreLog() = delete;

    // Once, before any command runs.
    static void install();

    // Holds the core's lines from its construction; prints them when it ends
    // unless the command reported a failure. One at a time.
    class Held final
    {
    public:
        Held();
        ~Held();
        Held(const Held &) = delete;
        Held &operator=(const Held &) = delete;

        // The command printed the item's failure with its reason.
        void failureReported();
    };
};

} // namespace Nomly
