#pragma once

#include <QString>
#include <QtGlobal>
#include <optional>

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

// What a stored key code stands for on this desktop. On a Linux keyboard the
// stored modifiers mean: command Ctrl, option Alt, shift Shift, control Super.
struct ShortcutKey
{
    quint32 keyCode = 0;
    // A Qt::Key value.
    int qtKey = 0;
    // The X keysym, also what the portal's trigger syntax names.
    quint32 keysym = 0;
    const char *keysymName = nullptr;
    // The name shown to the user.
    const char *displayName = nullptr;
};

// The key behind a stored key code, or nothing for a key this desktop does not
// know by that code.
std::optional<ShortcutKey> shortcutKey(quint32 keyCode);

// The stored form of a key pressed in Qt, or nothing for a key outside the
// table. Keypad keys count as their main-keyboard twins.
std::optional<KeyboardShortcut> keyboardShortcutFromQt(int qtKey, Qt::KeyboardModifiers modifiers);

// The Qt modifiers that the stored mask stands for.
Qt::KeyboardModifiers qtModifiers(quint32 modifiers);

// The shortcut as the desktop writes it, such as "Ctrl+Shift+R".
QString displayText(const KeyboardShortcut &shortcut);

// The shortcut that `text` names in the form displayText() writes, modifiers
// and key in any case ("ctrl+shift+r"), the key also by its keysym name
// ("Prior"); nothing when a part names no modifier or key, or there is no key.
std::optional<KeyboardShortcut> keyboardShortcutFromText(QStringView text);

// Whether the desktop can take the shortcut as the global hotkey: a key it
// knows, held with at least one modifier it knows, and with no other bits.
bool isUsableHotkey(const KeyboardShortcut &shortcut);

} // namespace Nomly
