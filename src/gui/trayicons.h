#pragma once

#include <QIcon>

#include "app/menubarpresentationstate.h"

namespace Nomly {

// What the tray icon shows, most telling first: work and its success, then
// a Monitor that cannot work (offline) or was told not to (paused).
enum class TrayIconState
{
    Standard,
    Processing,
    Success,
    Offline,
    Paused,
};

TrayIconState trayIconState(const MenuBarPresentationState &state);

// How many frames the processing spinner turns through.
inline constexpr int TrayIconSpinnerFrames = 8;

// The tray icon in a state, drawn in a monochrome glyph that stands out on
// the panel (light on a dark one, dark on a light one) with a coloured badge
// for the state. `frame` turns the spinner.
QIcon trayIcon(TrayIconState state, bool darkPanel, int frame = 0);

// Whether the panel the tray sits on is dark, as far as the desktop's
// palette tells.
bool isDarkPanel();

// An icon of the desktop's theme, or the project's own where the theme has
// none, so that an uninstalled build looks like an installed one.
QIcon themedIcon(const QString &name);

} // namespace Nomly
