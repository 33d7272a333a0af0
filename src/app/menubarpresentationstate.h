#pragma once

#include <QString>

#include "settings/aiprocessingmode.h"

namespace Nomly {

enum class MenuBarDisplayMode
{
    // Until onboarding ends: only the way back to it, and Quit.
    SetupRequired,
    Standard,
};

enum class MenuBarIconMode
{
    Standard,
    Processing,
    // For a moment after a rename of all files succeeded.
    Success,
};

// What the tray shows, as a plain value: the icon and menu are built from
// it and never read the application's state themselves.
struct MenuBarPresentationState
{
    MenuBarDisplayMode displayMode = MenuBarDisplayMode::SetupRequired;
    MenuBarIconMode iconMode = MenuBarIconMode::Standard;
    // Monitor's cloud route has no network.
    bool isOffline = false;
    bool isPaused = false;
    // Monitor runs in this process, so the pause item can act on it; another
    // process (`nomly watch`) keeps its own pause.
    bool canPause = false;
    QString setupActionTitle;

    bool operator==(const MenuBarPresentationState &) const = default;
};

// The application's state the tray is made from.
struct MenuBarFacts
{
    bool isOnboardingComplete = false;
    AIProcessingMode aiProcessingMode = AIProcessingMode::Cloud;
    bool isConnected = true;
    bool isPaused = false;
    bool monitorRunsHere = false;
    int monitorQueueCount = 0;
    // An AI Rename file is being analysed or renamed.
    bool isBatchWorking = false;
    bool isHotkeyProcessing = false;

    bool isWorkRunning() const { return monitorQueueCount > 0 || isBatchWorking || isHotkeyProcessing; }

    // Shown while the tray's success mark is up.
    MenuBarPresentationState presentation(bool showingSuccess) const;
};

} // namespace Nomly
