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
