#pragma once

class QObject;

namespace Nomly {

class UserDefaults;

// Applies the user's appearance and interface language, read from the
// defaults file so that they hold from the first window on, before the
// database opens. A fixed light or dark appearance uses the Fusion style,
// whose palette follows the choice on every desktop; "auto" leaves the
// desktop's own style. The translators are parented to `owner`.
void applyPresentation(const UserDefaults &defaults, QObject *owner);

} // namespace Nomly
