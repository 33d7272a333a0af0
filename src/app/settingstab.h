#pragma once

#include <QString>

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
inline QString diagnosticsWord(SettingsTab tab)
{
    switch (tab) {
    case SettingsTab::AIRename:
        return QStringLiteral("ai_rename");
    case SettingsTab::Monitor:
        return QStringLiteral("monitor");
    case SettingsTab::Activity:
        return QStringLiteral("activity");
    case SettingsTab::Statistics:
        return QStringLiteral("statistics");
    case SettingsTab::Templates:
        return QStringLiteral("templates");
    case SettingsTab::General:
        return QStringLiteral("general");
    case SettingsTab::AISetup:
        return QStringLiteral("ai_setup");
    case SettingsTab::About:
        return QStringLiteral("about");
    }
    return QStringLiteral("unknown");
}

} // namespace Nomly
