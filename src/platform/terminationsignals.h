#pragma once

#include <QObject>

class QSocketNotifier;

namespace Nomly {

// SIGTERM and SIGINT as a Qt signal on the main thread, so that a logout or
// `kill` ends the program through its own shutdown rather than mid-work. The
// handler only writes a byte to a pipe; everything else happens on the event
// loop. One per process.
class TerminationSignals final : public QObject
{
    Q_OBJECT

public:
    // False when the pipe or the handlers could not be set up; the default
    // behaviour of the signals then stays.
    bool install();

Q_SIGNALS:
    void terminationRequested(int signal);

private:
    QSocketNotifier *m_notifier = nullptr;
};

} // namespace Nomly
