#include <QTest>

#include "settings/interfacelanguage.h"

using namespace Nomly;

Q_DECLARE_METATYPE(Nomly::InterfaceLanguage)

class InterfaceLanguageTest : public QObject
{
    Q_OBJECT

private slots:
    void resolve_data();
    void resolve();
};

void InterfaceLanguageTest::resolve_data()
{
    using L = InterfaceLanguage;
    QTest::addColumn<InterfaceLanguage>("language");
    QTest::addColumn<QStringList>("preferred");
    QTest::addColumn<InterfaceLanguage>("expected");
    QTest::addColumn<QString>("locale");

    const QStringList japanese { QStringLiteral("ja-JP") };
    QTest::newRow("chosen-language-stays") << L::Ko << japanese << L::Ko << QStringLiteral("ko");
    QTest::newRow("auto-takes-preferred") << L::Auto << japanese << L::Ja << QStringLiteral("ja");
    QTest::newRow("auto-skips-unspoken") << L::Auto
                                         << QStringList { QStringLiteral("ru-RU"),
                                                          QStringLiteral("nb"),
                                                          QStringLiteral("hi_IN") }
                                         << L::Hi << QStringLiteral("hi");
    QTest::newRow("any-chinese-is-simplified")
        << L::Auto << QStringList { QStringLiteral("zh-Hant-TW") } << L::Zh << QStringLiteral("zh-Hans");
    QTest::newRow("auto-falls-to-english")
        << L::Auto << QStringList { QStringLiteral("ru") } << L::En << QStringLiteral("en");
    QTest::newRow("nothing-preferred") << L::Auto << QStringList() << L::En << QStringLiteral("en");
}

// The resolved language and the locale its string table is picked by.
void InterfaceLanguageTest::resolve()
{
    QFETCH(InterfaceLanguage, language);
    QFETCH(QStringList, preferred);
    QFETCH(InterfaceLanguage, expected);
    QFETCH(QString, locale);

    const InterfaceLanguage resolved = resolvedInterfaceLanguage(language, preferred);
    QCOMPARE(resolved, expected);
    QCOMPARE(localeIdentifier(resolved), locale);
}

QTEST_GUILESS_MAIN(InterfaceLanguageTest)

#include "interfacelanguagetest.moc"
