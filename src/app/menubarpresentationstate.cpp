#include "app/menubarpresentationstate.h"

#include <QCoreApplication>

namespace Nomly {

MenuBarPresentationState MenuBarFacts::presentation(bool showingSuccess) const
{
    MenuBarPresentationState state;
    state.displayMode = isOnboardingComplete ? MenuBarDisplayMode::Standard : MenuBarDisplayMode::SetupRequired;
    if (!isOnboardingComplete)
        state.setupActionTitle = QCoreApplication::translate("Nomly::MenuBar", "Finish Setup...");
    // A local model needs no network, so Monitor is never offline with it.
    state.isOffline = aiProcessingMode != AIProcessingMode::Local && !isConnected;
    state.isPaused = isPaused;
    state.canPause = monitorRunsHere;
    state.iconMode = showingSuccess ? MenuBarIconMode::Success
        : isWorkRunning()           ? MenuBarIconMode::Processing
                                    : MenuBarIconMode::Standard;
    return state;
}

} // namespace Nomly
