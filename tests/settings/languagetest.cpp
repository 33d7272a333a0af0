// The language of the program's own texts and the one analyses ask for, both
// picked from the desktop's preferred languages.

#include <QTest>

#include "settings/interfacelanguage.h"
#include "settings/outputlanguage.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

using OptionalText = std::optional<QString>;

Q_DECLARE_METATYPE(OptionalText)
Q_DECLARE_METATYPE(Nomly::InterfaceLanguage)

namespace {

QString shown(const OptionalText &text)
{
    return text ? u'"' + *text + u'"' : u"<none>"_s;
}

} // namespace

class LanguageTest : public QObject
{
    Q_OBJECT

private slots:
    void interfaceLanguage_data();
    void interfaceLanguage();
    void outputLanguage_data();
    void outputLanguage();
};

void LanguageTest::interfaceLanguage_data()
{
    using L = InterfaceLanguage;
    QTest::addColumn<InterfaceLanguage>("language");
    QTest::addColumn<QStringList>("preferred");
    QTest::addColumn<InterfaceLanguage>("expected");
    QTest::addColumn<QString>("locale");

    QTest::newRow("chosen-language-stays") << L::Ko << QStringList { u"ja-JP"_s } << L::Ko << u"ko"_s;
    QTest::newRow("auto-skips-unspoken") << L::Auto << QStringList { u"ru-RU"_s, u"nb"_s, u"hi_IN"_s } << L::Hi
                                         << u"hi"_s;
    QTest::newRow("any-chinese-is-simplified") << L::Auto << QStringList { u"zh-Hant-TW"_s } << L::Zh << u"zh-Hans"_s;
    QTest::newRow("auto-falls-to-english") << L::Auto << QStringList { u"ru"_s } << L::En << u"en"_s;
}

// The resolved language and the locale its string table is picked by.
void LanguageTest::interfaceLanguage()
{
    QFETCH(InterfaceLanguage, language);
    QFETCH(QStringList, preferred);
    QFETCH(InterfaceLanguage, expected);
    QFETCH(QString, locale);

    const InterfaceLanguage resolved = resolvedInterfaceLanguage(language, preferred);
    QCOMPARE(resolved, expected);
    QCOMPARE(localeIdentifier(resolved), locale);
}

void LanguageTest::outputLanguage_data()
{
    QTest::addColumn<QString>("setting");
    QTest::addColumn<QStringList>("preferred");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<OptionalText>("expected");

    // Preferred languages and the locale count by their language subtag, and
    // only when it is one analyses can ask for.
    const QStringList german { u"de-AT"_s };
    QTest::newRow("blank-sends-nothing") << u" \n"_s << german << u"fr_FR"_s << OptionalText();
    QTest::newRow("explicit-used-as-written") << u" pt-BR "_s << german << u"fr_FR"_s << OptionalText(u"pt-BR"_s);
    QTest::newRow("auto-takes-first-known-preferred")
        << u" AUTO "_s << QStringList { QString(), u"fil-PH"_s, u"  PT-br "_s, u"ko"_s } << u"fr_FR"_s
        << OptionalText(u"pt"_s);
    QTest::newRow("auto-falls-to-locale")
        << u"auto"_s << QStringList { u"tlh"_s } << u"nn_NO.UTF-8"_s << OptionalText(u"no"_s);
    QTest::newRow("three-letter-codes-read-as-locales")
        << u"auto"_s << QStringList { u"nob"_s } << u"C"_s << OptionalText(u"no"_s);
    QTest::newRow("auto-falls-to-english") << u"auto"_s << QStringList() << u"C"_s << OptionalText(u"en"_s);
}

void LanguageTest::outputLanguage()
{
    QFETCH(QString, setting);
    QFETCH(QStringList, preferred);
    QFETCH(QString, locale);
    QFETCH(OptionalText, expected);

    QCOMPARE(shown(resolvedOutputLanguage(setting, preferred, locale)), shown(expected));
}

QTEST_GUILESS_MAIN(LanguageTest)

#include "languagetest.moc"
