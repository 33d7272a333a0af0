#pragma once

#include <QFont>
#include <QPalette>

class QObject;
class QWidget;

#include "settings/appearancemode.h"
#include "settings/interfacelanguage.h"

namespace Nomly {

class UserDefaults;

// Applies the user's appearance and interface language, read from the
// defaults file so that they hold from the first window on, before the
// database opens. A fixed light or dark appearance uses the Fusion style,
// whose palette follows the choice on every desktop; "auto" leaves the
// desktop's own style. The translators are parented to `owner`.
void applyPresentation(const UserDefaults &defaults, QObject *owner);

// The same, for a choice made while the program runs: every window follows
// at once. "auto" goes back to the desktop's style and palette.
void switchAppearance(AppearanceMode mode);
// Replaces the translators an earlier call parented to `owner`.
void switchInterfaceLanguage(InterfaceLanguage language, QObject *owner);

// The desktop's own palette, whatever the appearance chosen in Nomly: what
// the tray's panel is drawn in.
QPalette desktopPalette();

// A title's font: bold, and `scale` times the size of `base`.
QFont headingFont(const QFont &base, qreal scale);

// Before a window's first showing: within the available area of the screen
// under the pointer, centred, and no larger than that area, so that no part
// of it opens off screen whatever its minimum size. Later showings keep
// where the user put it.
void placeOnFirstShow(QWidget &window);

} // namespace Nomly
