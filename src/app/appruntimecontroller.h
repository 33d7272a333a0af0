#pragma once

#include <QObject>

#include "app/menubarpresentationstate.h"

namespace Nomly {

class AppWorkflows;
class NetworkService;
class SettingsViewModel;

// The read side of the running application: whether any work runs, and the
// facts the tray is drawn from. Says `changed()` whenever one of them may
// have changed, which a reader answers by taking a new snapshot. Main thread;
// lives no longer than the state and workflows it reads.
class AppRuntimeController final : public QObject
{
    Q_OBJECT

public:
    AppRuntimeController(SettingsViewModel &state,
                         AppWorkflows &workflows,
                         NetworkService &network,
                         QObject *parent = nullptr);

    // Whether Monitor runs in this process rather than in another one.
    void setMonitorRunsHere(bool runsHere);

    bool isWorkRunning() const;
    MenuBarFacts menuBarFacts() const;

Q_SIGNALS:
    void changed();
    // A rename of all AI Rename files ended with every file renamed.
    void renameAllSucceeded();

private:
    SettingsViewModel &m_state;
    AppWorkflows &m_workflows;
    NetworkService &m_network;
    bool m_monitorRunsHere = false;
};

} // namespace Nomly
