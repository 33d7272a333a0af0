#pragma once

#include <QString>

namespace Nomly {

// Tells the user the outcome of work done with no window, through the
// desktop's notification server (org.freedesktop.Notifications on the session
// bus). When no server answers (a headless session, no bus, or a refusal) the
// same words go to stderr as "title: body", so that nothing is told to nobody.
class DesktopNotifier final
{
public:
    // Blocks at most a few seconds waiting for the server's answer, so that a
    // process that ends right after it still has its notification shown.
    static void post(const QString &title, const QString &body);
};

} // namespace Nomly
