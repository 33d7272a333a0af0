#pragma once

#include <QMutex>
#include <QStringList>
#include <QThread>

namespace Nomly::Test {

class NotificationServer;

// A notification server on the session bus (org.freedesktop.Notifications),
// answering Notify as a desktop's does, on a thread of its own so that a
// program in this process that waits for the answer gets it. Keeps the
// summaries it was asked to show.
class NotificationPeer final
{
public:
    NotificationPeer();
    ~NotificationPeer();
    NotificationPeer(const NotificationPeer &) = delete;
    NotificationPeer &operator=(const NotificationPeer &) = delete;

    // False where there is no session bus or the name is taken.
    bool isServing() const { return m_serving; }

    QStringList summaries() const;

private:
    QThread m_thread;
    NotificationServer *m_server = nullptr;
    bool m_serving = false;
};

} // namespace Nomly::Test
