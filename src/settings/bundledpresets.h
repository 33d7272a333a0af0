#pragma once

#include <QList>
#include <optional>

#include "settings/bundledpresetid.h"
#include "settings/preset.h"

namespace Nomly {

// The demo templates in catalogue order. Each call makes new ones: a fresh id
// and a creation moment of now, ready to be stored.
QList<Preset> bundledPresets();

Preset bundledPreset(BundledPresetID id);

// A demo template the user has left exactly as an earlier release wrote it is
// replaced by its current form. The replacement keeps the stored id, which
// folders point to, and the stored creation moment. Any edit leaves the stored
// template alone, and so does a template that is already current: none then.
std::optional<Preset> upgradedBundledPreset(const Preset &stored);

// The demo templates whose bundled id no stored template carries, new and in
// catalogue order. An edited demo template still counts as present, so that
// restoring never duplicates one.
QList<Preset> missingBundledPresets(const QList<Preset> &stored);

} // namespace Nomly
