#pragma once

#include <QString>

#include "naming/rawvalue.h"

namespace Nomly {

// The pages of the settings window. The first is where the consent flow and
// onboarding leave the user.
enum class SettingsTab
{
    AIRename,
    Monitor,
    Activity,
    Statistics,
    Templates,
    General,
    AISetup,
    About,
};

// The tab as diagnostics name it.
inline constexpr RawValueTable<SettingsTab, 8> SettingsTabDiagnosticsWords { {
    { SettingsTab::AIRename, u"ai_rename" },
    { SettingsTab::Monitor, u"monitor" },
    { SettingsTab::Activity, u"activity" },
    { SettingsTab::Statistics, u"statistics" },
    { SettingsTab::Templates, u"templates" },
    { SettingsTab::General, u"general" },
    { SettingsTab::AISetup, u"ai_setup" },
    { SettingsTab::About, u"about" },
} };

inline QString diagnosticsWord(SettingsTab value)
{
    return rawValueIn(SettingsTabDiagnosticsWords, value);
}

} // namespace Nomly
