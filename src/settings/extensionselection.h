#pragma once

#include <QStringList>
#include <optional>

#include "settings/settings.h"

namespace Nomly {

// Extensions as compared everywhere: trimmed, without leading dots, lower
// case, empties and repeats dropped, first occurrences kept in order.
QStringList normalizedExtensions(const QStringList &extensions);

// The extensions Monitor watches: the supported ones, narrowed to the user's
// selection when there is one, in the order of the supported list.
QStringList effectiveMonitorExtensions(const Settings &settings, const QStringList &supported);

// The value for `Settings::monitorFileExtensions` after the user picked
// `selected`: the supported picks in the order they were picked, or none when
// they are exactly the supported list, so that extensions supported later are
// watched too.
std::optional<QStringList> storedExtensionSelection(const QStringList &selected, const QStringList &supported);

} // namespace Nomly
