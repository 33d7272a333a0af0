#include "app/bundledpresetseeding.h"

#include "history/database.h"
#include "platform/logcategories.h"
#include "platform/userdefaults.h"
#include "settings/bundledpresets.h"

namespace Nomly {

namespace {

const QString SeededKey = QStringLiteral("hasSeededBundledPresets");

} // namespace

void seedBundledPresetsOnce(Database &database, UserDefaults &userDefaults)
{
    if (userDefaults.boolValue(SeededKey))
        return;
    for (const Preset &preset : bundledPresets()) {
        if (const auto saved = database.savePreset(preset); !saved)
            qCCritical(lcDatabase).noquote()
                << "Failed to seed bundled preset"
                << preset.id.toString(QUuid::WithoutBraces) + QStringLiteral(": ") + saved.error();
    }
    userDefaults.setValue(SeededKey, true);
}

QList<Preset> loadUpgradedPresets(Database &database)
{
    auto loaded = database.loadPresets();
    if (!loaded) {
        qCCritical(lcDatabase).noquote() << "Failed to load presets:" << loaded.error();
        return {};
    }
    QList<Preset> presets = std::move(loaded).value();
    for (Preset &preset : presets) {
        if (std::optional<Preset> upgraded = upgradedBundledPreset(preset)) {
            if (const auto saved = database.savePreset(*upgraded); !saved)
                qCCritical(lcDatabase).noquote() << "Failed to save upgraded preset:" << saved.error();
            preset = std::move(*upgraded);
        }
    }
    return presets;
}

} // namespace Nomly
