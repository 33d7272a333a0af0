#pragma once

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

} // namespace Nomly
