// The stored hotkey as a Linux desktop reads it: the name shown in the
// settings, the key behind each stored code, and keys pressed in Qt.

#include <QSet>
#include <QTest>

#include "settings/keyboardshortcut.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

using OptionalShortcut = std::optional<KeyboardShortcut>;

Q_DECLARE_METATYPE(OptionalShortcut)
Q_DECLARE_METATYPE(Qt::KeyboardModifiers)

namespace {

constexpr quint32 Command = KeyboardShortcut::CommandModifier;
constexpr quint32 Shift = KeyboardShortcut::ShiftModifier;
constexpr quint32 Option = KeyboardShortcut::OptionModifier;
constexpr quint32 Control = KeyboardShortcut::ControlModifier;

} // namespace

class KeyboardShortcutTest : public QObject
{
    Q_OBJECT

private slots:
    void displayText_data();
    void displayText();
    void fromQt_data();
    void fromQt();
    void fromText_data();
    void fromText();
    void usableHotkey_data();
    void usableHotkey();
    void everyKeyRoundTrips();
    void keysymsMatchTheKeys();
};

void KeyboardShortcutTest::displayText_data()
{
    QTest::addColumn<quint32>("keyCode");
    QTest::addColumn<quint32>("modifiers");
    QTest::addColumn<QString>("expected");

    QTest::newRow("default-is-ctrl-shift-r") << 15u << (Command | Shift) << u"Ctrl+Shift+R"_s;
    QTest::newRow("all-modifiers-in-desktop-order")
        << 96u << (Control | Shift | Option | Command) << u"Ctrl+Alt+Shift+Super+F5"_s;
    QTest::newRow("control-and-command-before-key") << 15u << (Control | Command) << u"Ctrl+Super+R"_s;
    QTest::newRow("digit-codes-are-not-in-order") << 22u << Option << u"Alt+6"_s;
    QTest::newRow("named-key") << 49u << Command << u"Ctrl+Space"_s;
    QTest::newRow("punctuation") << 44u << (Command | Option) << u"Ctrl+Alt+/"_s;
    QTest::newRow("no-modifiers") << 122u << 0u << u"F1"_s;
    QTest::newRow("other-bits-ignored") << 0u << (Command | 1u << 16 | 1u) << u"Ctrl+A"_s;
    QTest::newRow("unknown-code-by-number") << 200u << Shift << u"Shift+Key 200"_s;
}

void KeyboardShortcutTest::displayText()
{
    QFETCH(quint32, keyCode);
    QFETCH(quint32, modifiers);
    QFETCH(QString, expected);

    QCOMPARE(Nomly::displayText(KeyboardShortcut { keyCode, modifiers }), expected);
}

void KeyboardShortcutTest::fromQt_data()
{
    QTest::addColumn<int>("qtKey");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::addColumn<OptionalShortcut>("expected");

    QTest::newRow("ctrl-shift-r") << int(Qt::Key_R) << (Qt::ControlModifier | Qt::ShiftModifier)
                                  << OptionalShortcut(KeyboardShortcut { 15, Command | Shift });
    QTest::newRow("meta-is-control-bit") << int(Qt::Key_K) << (Qt::MetaModifier | Qt::AltModifier)
                                         << OptionalShortcut(KeyboardShortcut { 40, Control | Option });
    QTest::newRow("shifted-symbol-is-its-key") << int(Qt::Key_Exclam) << (Qt::ControlModifier | Qt::ShiftModifier)
                                               << OptionalShortcut(KeyboardShortcut { 18, Command | Shift });
    QTest::newRow("backtab-is-tab") << int(Qt::Key_Backtab) << Qt::KeyboardModifiers(Qt::ShiftModifier)
                                    << OptionalShortcut(KeyboardShortcut { 48, Shift });
    QTest::newRow("keypad-flag-dropped") << int(Qt::Key_Enter) << (Qt::ControlModifier | Qt::KeypadModifier)
                                         << OptionalShortcut(KeyboardShortcut { 36, Command });
    QTest::newRow("key-outside-table") << int(Qt::Key_VolumeUp) << Qt::KeyboardModifiers(Qt::ControlModifier)
                                       << OptionalShortcut();
}

void KeyboardShortcutTest::fromQt()
{
    QFETCH(int, qtKey);
    QFETCH(Qt::KeyboardModifiers, modifiers);
    QFETCH(OptionalShortcut, expected);

    QCOMPARE(keyboardShortcutFromQt(qtKey, modifiers), expected);
}

void KeyboardShortcutTest::fromText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<OptionalShortcut>("expected");

    QTest::newRow("as-displayed") << u"Ctrl+Shift+R"_s << OptionalShortcut(KeyboardShortcut { 15, Command | Shift });
    QTest::newRow("any-case-and-order") << u"shift+CTRL+r"_s
                                        << OptionalShortcut(KeyboardShortcut { 15, Command | Shift });
    QTest::newRow("super-is-control-bit")
        << u"Super+Alt+K"_s << OptionalShortcut(KeyboardShortcut { 40, Control | Option });
    QTest::newRow("spaces-around-parts") << u" Ctrl + F5 "_s << OptionalShortcut(KeyboardShortcut { 96, Command });
    QTest::newRow("keysym-name") << u"Alt+Prior"_s << OptionalShortcut(KeyboardShortcut { 116, Option });
    QTest::newRow("punctuation-key") << u"Ctrl+Alt+/"_s << OptionalShortcut(KeyboardShortcut { 44, Command | Option });
    QTest::newRow("key-alone") << u"F1"_s << OptionalShortcut(KeyboardShortcut { 122, 0 });
    QTest::newRow("unknown-modifier") << u"Hyper+R"_s << OptionalShortcut();
    QTest::newRow("modifier-without-key") << u"Ctrl+Shift"_s << OptionalShortcut();
    QTest::newRow("trailing-plus") << u"Ctrl+"_s << OptionalShortcut();
    QTest::newRow("key-outside-table") << u"Ctrl+VolumeUp"_s << OptionalShortcut();
    QTest::newRow("two-keys") << u"R+T"_s << OptionalShortcut();
}

void KeyboardShortcutTest::fromText()
{
    QFETCH(QString, text);
    QFETCH(OptionalShortcut, expected);

    const OptionalShortcut read = keyboardShortcutFromText(text);
    QCOMPARE(read, expected);
    if (read && read->modifiers != 0)
        QCOMPARE(keyboardShortcutFromText(Nomly::displayText(*read)), read);
}

void KeyboardShortcutTest::usableHotkey_data()
{
    QTest::addColumn<quint32>("keyCode");
    QTest::addColumn<quint32>("modifiers");
    QTest::addColumn<bool>("usable");

    QTest::newRow("default") << 15u << (Command | Shift) << true;
    QTest::newRow("shift-alone-counts") << 15u << Shift << true;
    QTest::newRow("no-modifier") << 15u << 0u << false;
    QTest::newRow("unknown-key") << 200u << Command << false;
    QTest::newRow("stray-bit") << 15u << (Command | 1u) << false;
}

void KeyboardShortcutTest::usableHotkey()
{
    QFETCH(quint32, keyCode);
    QFETCH(quint32, modifiers);
    QFETCH(bool, usable);

    QCOMPARE(isUsableHotkey(KeyboardShortcut { keyCode, modifiers }), usable);
}

// A key recorded in Qt comes back as the code it was stored under, so no two
// stored codes share a key and every modifier bit survives.
void KeyboardShortcutTest::everyKeyRoundTrips()
{
    const quint32 all = Command | Shift | Option | Control;
    QSet<quint32> keysyms;
    int known = 0;
    for (quint32 code = 0; code < 256; ++code) {
        const std::optional<ShortcutKey> key = shortcutKey(code);
        if (!key)
            continue;
        ++known;
        QCOMPARE(key->keyCode, code);
        QVERIFY2(!keysyms.contains(key->keysym), qPrintable(u"keysym used twice: %1"_s.arg(key->keysym, 0, 16)));
        keysyms.insert(key->keysym);
        const KeyboardShortcut stored { code, all };
        QCOMPARE(keyboardShortcutFromQt(key->qtKey, qtModifiers(all)), OptionalShortcut(stored));
    }
    // Letters, digits, twenty function keys, and the common named and
    // punctuation keys.
    QCOMPARE(known, 26 + 10 + 20 + 14 + 11);
}

// Printable keys have the character's keysym and name that character (the
// letters in lower case); function keys follow the keysym sequence.
void KeyboardShortcutTest::keysymsMatchTheKeys()
{
    for (quint32 code = 0; code < 256; ++code) {
        const std::optional<ShortcutKey> key = shortcutKey(code);
        if (!key)
            continue;
        const QString what = QString::fromLatin1(key->displayName);
        if (key->qtKey >= Qt::Key_F1 && key->qtKey <= Qt::Key_F35) {
            const int n = key->qtKey - Qt::Key_F1 + 1;
            QCOMPARE(key->keysym, 0xffbeu + quint32(n - 1));
            QCOMPARE(QString::fromLatin1(key->keysymName), u"F%1"_s.arg(n));
            QCOMPARE(what, u"F%1"_s.arg(n));
        } else if (key->qtKey > 0x20 && key->qtKey < 0x7f) {
            const QChar character = QChar(key->qtKey).toLower();
            QVERIFY2(key->keysym == character.unicode(), qPrintable(what));
            if (character.isLetterOrNumber()) {
                QCOMPARE(QString::fromLatin1(key->keysymName), QString(character));
                QCOMPARE(what, QString(character.toUpper()));
            } else {
                QCOMPARE(what, QString(character));
            }
        } else {
            QVERIFY2(key->keysym == 0x20 || key->keysym >= 0xff00, qPrintable(what));
        }
    }
}

QTEST_GUILESS_MAIN(KeyboardShortcutTest)
#include "keyboardshortcuttest.moc"
