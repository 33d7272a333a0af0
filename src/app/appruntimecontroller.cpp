#include "app/appruntimecontroller.h"

#include "app/appworkflows.h"
#include "app/consentstate.h"
#include "app/networkservice.h"
#include "app/settingsviewmodel.h"

namespace Nomly {

namespace {

bool isWorking(BatchRenameStatus status)
{
    return status == BatchRenameStatus::Processing || status == BatchRenameStatus::Renaming;
}

} // namespace

AppRuntimeController::AppRuntimeController(SettingsViewModel &state,
                                           AppWorkflows &workflows,
                                           NetworkService &network,
                                           QObject *parent)
    : QObject(parent)
    , m_state(state)
    , m_workflows(workflows)
    , m_network(network)
{
    connect(&state, &SettingsViewModel::settingsChanged, this, &AppRuntimeController::changed);
    connect(&state.consent(), &ConsentState::isOnboardingCompleteChanged, this, &AppRuntimeController::changed);
    connect(&network, &NetworkService::isConnectedChanged, this, &AppRuntimeController::changed);
    connect(&workflows.monitoring(), &MonitoringViewModel::stateChanged, this, &AppRuntimeController::changed);
    BatchRenameViewModel &batch = workflows.batchRename();
    connect(&batch, &BatchRenameViewModel::stateChanged, this, &AppRuntimeController::changed);
    connect(&batch, &BatchRenameViewModel::itemChanged, this, &AppRuntimeController::changed);
    connect(&batch, &BatchRenameViewModel::batchCleared, this, &AppRuntimeController::changed);
    connect(&batch, &BatchRenameViewModel::renameAllFinished, this, [this](bool allSucceeded) {
        if (allSucceeded)
            emit renameAllSucceeded();
    });
    connect(&workflows.hotkey(), &HotkeyViewModel::isHotkeyProcessingChanged, this, &AppRuntimeController::changed);
}

void AppRuntimeController::setMonitorRunsHere(bool runsHere)
{
    if (runsHere == m_monitorRunsHere)
        return;
    m_monitorRunsHere = runsHere;
    emit changed();
}

bool AppRuntimeController::isWorkRunning() const
{
    return menuBarFacts().isWorkRunning();
}

MenuBarFacts AppRuntimeController::menuBarFacts() const
{
    const QList<BatchRenameItem> &items = m_workflows.batchRename().items();
    return {
        m_state.consent().isOnboardingComplete(),
        m_state.settings().aiProcessingMode,
        m_network.isConnected(),
        m_workflows.monitoring().isPaused(),
        m_monitorRunsHere,
        int(m_workflows.monitoring().monitorQueueItems().size()),
        std::any_of(items.begin(), items.end(), [](const BatchRenameItem &item) { return isWorking(item.status); }),
        m_workflows.hotkey().isHotkeyProcessing(),
    };
}

} // namespace Nomly
