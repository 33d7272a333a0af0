#include "settings/keyboardshortcut.h"

#include <QStringList>
#include <algorithm>
#include <array>

namespace Nomly {

namespace {

// Stored key codes are those of the keyboard layout the settings format was
// made for; this table gives each the key it stands for here.
constexpr std::array Keys = {
    ShortcutKey { 0, Qt::Key_A, 0x61, "a", "A" },
    ShortcutKey { 11, Qt::Key_B, 0x62, "b", "B" },
    ShortcutKey { 8, Qt::Key_C, 0x63, "c", "C" },
    ShortcutKey { 2, Qt::Key_D, 0x64, "d", "D" },
    ShortcutKey { 14, Qt::Key_E, 0x65, "e", "E" },
    ShortcutKey { 3, Qt::Key_F, 0x66, "f", "F" },
    ShortcutKey { 5, Qt::Key_G, 0x67, "g", "G" },
    ShortcutKey { 4, Qt::Key_H, 0x68, "h", "H" },
    ShortcutKey { 34, Qt::Key_I, 0x69, "i", "I" },
    ShortcutKey { 38, Qt::Key_J, 0x6a, "j", "J" },
    ShortcutKey { 40, Qt::Key_K, 0x6b, "k", "K" },
    ShortcutKey { 37, Qt::Key_L, 0x6c, "l", "L" },
    ShortcutKey { 46, Qt::Key_M, 0x6d, "m", "M" },
    ShortcutKey { 45, Qt::Key_N, 0x6e, "n", "N" },
    ShortcutKey { 31, Qt::Key_O, 0x6f, "o", "O" },
    ShortcutKey { 35, Qt::Key_P, 0x70, "p", "P" },
    ShortcutKey { 12, Qt::Key_Q, 0x71, "q", "Q" },
    ShortcutKey { 15, Qt::Key_R, 0x72, "r", "R" },
    ShortcutKey { 1, Qt::Key_S, 0x73, "s", "S" },
    ShortcutKey { 17, Qt::Key_T, 0x74, "t", "T" },
    ShortcutKey { 32, Qt::Key_U, 0x75, "u", "U" },
    ShortcutKey { 9, Qt::Key_V, 0x76, "v", "V" },
    ShortcutKey { 13, Qt::Key_W, 0x77, "w", "W" },
    ShortcutKey { 7, Qt::Key_X, 0x78, "x", "X" },
    ShortcutKey { 16, Qt::Key_Y, 0x79, "y", "Y" },
    ShortcutKey { 6, Qt::Key_Z, 0x7a, "z", "Z" },
    ShortcutKey { 29, Qt::Key_0, 0x30, "0", "0" },
    ShortcutKey { 18, Qt::Key_1, 0x31, "1", "1" },
    ShortcutKey { 19, Qt::Key_2, 0x32, "2", "2" },
    ShortcutKey { 20, Qt::Key_3, 0x33, "3", "3" },
    ShortcutKey { 21, Qt::Key_4, 0x34, "4", "4" },
    ShortcutKey { 23, Qt::Key_5, 0x35, "5", "5" },
    ShortcutKey { 22, Qt::Key_6, 0x36, "6", "6" },
    ShortcutKey { 26, Qt::Key_7, 0x37, "7", "7" },
    ShortcutKey { 28, Qt::Key_8, 0x38, "8", "8" },
    ShortcutKey { 25, Qt::Key_9, 0x39, "9", "9" },
    ShortcutKey { 122, Qt::Key_F1, 0xffbe, "F1", "F1" },
    ShortcutKey { 120, Qt::Key_F2, 0xffbf, "F2", "F2" },
    ShortcutKey { 99, Qt::Key_F3, 0xffc0, "F3", "F3" },
    ShortcutKey { 118, Qt::Key_F4, 0xffc1, "F4", "F4" },
    ShortcutKey { 96, Qt::Key_F5, 0xffc2, "F5", "F5" },
    ShortcutKey { 97, Qt::Key_F6, 0xffc3, "F6", "F6" },
    ShortcutKey { 98, Qt::Key_F7, 0xffc4, "F7", "F7" },
    ShortcutKey { 100, Qt::Key_F8, 0xffc5, "F8", "F8" },
    ShortcutKey { 101, Qt::Key_F9, 0xffc6, "F9", "F9" },
    ShortcutKey { 109, Qt::Key_F10, 0xffc7, "F10", "F10" },
    ShortcutKey { 103, Qt::Key_F11, 0xffc8, "F11", "F11" },
    ShortcutKey { 111, Qt::Key_F12, 0xffc9, "F12", "F12" },
    ShortcutKey { 105, Qt::Key_F13, 0xffca, "F13", "F13" },
    ShortcutKey { 107, Qt::Key_F14, 0xffcb, "F14", "F14" },
    ShortcutKey { 113, Qt::Key_F15, 0xffcc, "F15", "F15" },
    ShortcutKey { 106, Qt::Key_F16, 0xffcd, "F16", "F16" },
    ShortcutKey { 64, Qt::Key_F17, 0xffce, "F17", "F17" },
    ShortcutKey { 79, Qt::Key_F18, 0xffcf, "F18", "F18" },
    ShortcutKey { 80, Qt::Key_F19, 0xffd0, "F19", "F19" },
    ShortcutKey { 90, Qt::Key_F20, 0xffd1, "F20", "F20" },
    ShortcutKey { 36, Qt::Key_Return, 0xff0d, "Return", "Return" },
    ShortcutKey { 48, Qt::Key_Tab, 0xff09, "Tab", "Tab" },
    ShortcutKey { 49, Qt::Key_Space, 0x20, "space", "Space" },
    ShortcutKey { 51, Qt::Key_Backspace, 0xff08, "BackSpace", "Backspace" },
    ShortcutKey { 53, Qt::Key_Escape, 0xff1b, "Escape", "Esc" },
    ShortcutKey { 117, Qt::Key_Delete, 0xffff, "Delete", "Del" },
    ShortcutKey { 115, Qt::Key_Home, 0xff50, "Home", "Home" },
    ShortcutKey { 119, Qt::Key_End, 0xff57, "End", "End" },
    ShortcutKey { 116, Qt::Key_PageUp, 0xff55, "Prior", "PgUp" },
    ShortcutKey { 121, Qt::Key_PageDown, 0xff56, "Next", "PgDown" },
    ShortcutKey { 123, Qt::Key_Left, 0xff51, "Left", "Left" },
    ShortcutKey { 126, Qt::Key_Up, 0xff52, "Up", "Up" },
    ShortcutKey { 124, Qt::Key_Right, 0xff53, "Right", "Right" },
    ShortcutKey { 125, Qt::Key_Down, 0xff54, "Down", "Down" },
    ShortcutKey { 27, Qt::Key_Minus, 0x2d, "minus", "-" },
    ShortcutKey { 24, Qt::Key_Equal, 0x3d, "equal", "=" },
    ShortcutKey { 33, Qt::Key_BracketLeft, 0x5b, "bracketleft", "[" },
    ShortcutKey { 30, Qt::Key_BracketRight, 0x5d, "bracketright", "]" },
    ShortcutKey { 42, Qt::Key_Backslash, 0x5c, "backslash", "\\" },
    ShortcutKey { 41, Qt::Key_Semicolon, 0x3b, "semicolon", ";" },
    ShortcutKey { 39, Qt::Key_Apostrophe, 0x27, "apostrophe", "'" },
    ShortcutKey { 43, Qt::Key_Comma, 0x2c, "comma", "," },
    ShortcutKey { 47, Qt::Key_Period, 0x2e, "period", "." },
    ShortcutKey { 44, Qt::Key_Slash, 0x2f, "slash", "/" },
    ShortcutKey { 50, Qt::Key_QuoteLeft, 0x60, "grave", "`" },
};

// Shifted punctuation reaches Qt as the shifted character; the stored form
// keeps the key, as the shortcut is the key with Shift held.
struct ShiftedKey
{
    int shifted;
    int key;
};

constexpr std::array ShiftedKeys = {
    ShiftedKey { Qt::Key_Exclam, Qt::Key_1 },
    ShiftedKey { Qt::Key_At, Qt::Key_2 },
    ShiftedKey { Qt::Key_NumberSign, Qt::Key_3 },
    ShiftedKey { Qt::Key_Dollar, Qt::Key_4 },
    ShiftedKey { Qt::Key_Percent, Qt::Key_5 },
    ShiftedKey { Qt::Key_AsciiCircum, Qt::Key_6 },
    ShiftedKey { Qt::Key_Ampersand, Qt::Key_7 },
    ShiftedKey { Qt::Key_Asterisk, Qt::Key_8 },
    ShiftedKey { Qt::Key_ParenLeft, Qt::Key_9 },
    ShiftedKey { Qt::Key_ParenRight, Qt::Key_0 },
    ShiftedKey { Qt::Key_Underscore, Qt::Key_Minus },
    ShiftedKey { Qt::Key_Plus, Qt::Key_Equal },
    ShiftedKey { Qt::Key_BraceLeft, Qt::Key_BracketLeft },
    ShiftedKey { Qt::Key_BraceRight, Qt::Key_BracketRight },
    ShiftedKey { Qt::Key_Bar, Qt::Key_Backslash },
    ShiftedKey { Qt::Key_Colon, Qt::Key_Semicolon },
    ShiftedKey { Qt::Key_QuoteDbl, Qt::Key_Apostrophe },
    ShiftedKey { Qt::Key_Less, Qt::Key_Comma },
    ShiftedKey { Qt::Key_Greater, Qt::Key_Period },
    ShiftedKey { Qt::Key_Question, Qt::Key_Slash },
    ShiftedKey { Qt::Key_AsciiTilde, Qt::Key_QuoteLeft },
    ShiftedKey { Qt::Key_Backtab, Qt::Key_Tab },
    ShiftedKey { Qt::Key_Enter, Qt::Key_Return },
};

// Stored modifier bits with the names this desktop gives them, in the order
// the desktop writes them.
struct ModifierName
{
    quint32 bit;
    Qt::KeyboardModifier qt;
    const char *name;
};

constexpr std::array ModifierNames = {
    ModifierName { KeyboardShortcut::CommandModifier, Qt::ControlModifier, "Ctrl" },
    ModifierName { KeyboardShortcut::OptionModifier, Qt::AltModifier, "Alt" },
    ModifierName { KeyboardShortcut::ShiftModifier, Qt::ShiftModifier, "Shift" },
    ModifierName { KeyboardShortcut::ControlModifier, Qt::MetaModifier, "Super" },
};

} // namespace

std::optional<ShortcutKey> shortcutKey(quint32 keyCode)
{
    for (const ShortcutKey &key : Keys) {
        if (key.keyCode == keyCode)
            return key;
    }
    return std::nullopt;
}

std::optional<KeyboardShortcut> keyboardShortcutFromQt(int qtKey, Qt::KeyboardModifiers modifiers)
{
    for (const ShiftedKey &shifted : ShiftedKeys) {
        if (shifted.shifted == qtKey) {
            qtKey = shifted.key;
            break;
        }
    }
    for (const ShortcutKey &key : Keys) {
        if (key.qtKey != qtKey)
            continue;
        quint32 mask = 0;
        for (const ModifierName &modifier : ModifierNames) {
            if (modifiers.testFlag(modifier.qt))
                mask |= modifier.bit;
        }
        return KeyboardShortcut { key.keyCode, mask };
    }
    return std::nullopt;
}

Qt::KeyboardModifiers qtModifiers(quint32 modifiers)
{
    Qt::KeyboardModifiers out;
    for (const ModifierName &modifier : ModifierNames) {
        if (modifiers & modifier.bit)
            out |= modifier.qt;
    }
    return out;
}

QString displayText(const KeyboardShortcut &shortcut)
{
    QStringList parts;
    for (const ModifierName &modifier : ModifierNames) {
        if (shortcut.modifiers & modifier.bit)
            parts << QString::fromLatin1(modifier.name);
    }
    const std::optional<ShortcutKey> key = shortcutKey(shortcut.keyCode);
    parts << (key ? QString::fromLatin1(key->displayName) : QStringLiteral("Key %1").arg(shortcut.keyCode));
    return parts.join(u'+');
}

std::optional<KeyboardShortcut> keyboardShortcutFromText(QStringView text)
{
    const QList<QStringView> parts = text.split(u'+');
    const auto named = [](QStringView part, const char *name) {
        return part.compare(QLatin1StringView(name), Qt::CaseInsensitive) == 0;
    };
    quint32 modifiers = 0;
    for (QStringView part : parts.first(parts.size() - 1)) {
        const auto modifier = std::find_if(ModifierNames.cbegin(), ModifierNames.cend(), [&](const ModifierName &each) {
            return named(part.trimmed(), each.name);
        });
        if (modifier == ModifierNames.cend())
            return std::nullopt;
        modifiers |= modifier->bit;
    }
    const QStringView last = parts.last().trimmed();
    for (const ShortcutKey &key : Keys) {
        if (named(last, key.displayName) || named(last, key.keysymName))
            return KeyboardShortcut { key.keyCode, modifiers };
    }
    return std::nullopt;
}

bool isUsableHotkey(const KeyboardShortcut &shortcut)
{
    quint32 known = 0;
    for (const ModifierName &modifier : ModifierNames)
        known |= modifier.bit;
    return shortcutKey(shortcut.keyCode) && (shortcut.modifiers & known) != 0 && (shortcut.modifiers & ~known) == 0;
}

} // namespace Nomly
