#pragma once

#include <optional>

namespace Nomly {

// Which desktop services this session offers the program, as a bug report
// needs them told. A service counts as there when it runs or the session bus
// can start it.
struct SessionCapabilities
{
    bool sessionBus = false;
    // org.freedesktop.secrets: without it keys are kept in a file.
    bool secretService = false;
    bool notifications = false;
    // The XDG desktop portal, through which the shortcut is bound.
    bool desktopPortal = false;
    bool inotify = false;
    // The user's limit of inotify watches, when the kernel tells it.
    std::optional<int> inotifyWatchLimit;

    bool operator==(const SessionCapabilities &) const = default;

    // Asks the session bus and the kernel; blocks for at most a few round
    // trips on the bus.
    static SessionCapabilities probe();
};

} // namespace Nomly
