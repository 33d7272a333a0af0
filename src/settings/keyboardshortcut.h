#pragma once

#include <QtGlobal>

namespace Nomly {

// The global quick-rename hotkey, as stored: a virtual key code and a modifier
// mask with bit 8 for command, 9 for shift, 11 for option and 12 for control.
struct KeyboardShortcut
{
    static constexpr quint32 CommandModifier = 1u << 8;
    static constexpr quint32 ShiftModifier = 1u << 9;
    static constexpr quint32 OptionModifier = 1u << 11;
    static constexpr quint32 ControlModifier = 1u << 12;
    // Virtual key code of the R key.
    static constexpr quint32 RKeyCode = 15;

    quint32 keyCode = RKeyCode;
    quint32 modifiers = CommandModifier | ShiftModifier;

    bool operator==(const KeyboardShortcut &) const = default;
};

} // namespace Nomly
