#include <QSet>
#include <QTest>

#include "settings/outputlanguage.h"

using namespace Nomly;

using OptionalText = std::optional<QString>;

Q_DECLARE_METATYPE(OptionalText)

namespace {

QString shown(const OptionalText &text)
{
    return text ? u'"' + *text + u'"' : QStringLiteral("<none>");
}

} // namespace

class OutputLanguageTest : public QObject
{
    Q_OBJECT

private slots:
    void codesAreDistinct();
    void normalize_data();
    void normalize();
    void resolve_data();
    void resolve();
};

void OutputLanguageTest::codesAreDistinct()
{
    const QStringList &codes = outputLanguageCodes();
    QCOMPARE(codes.size(), 68);
    QCOMPARE(QSet<QString>(codes.cbegin(), codes.cend()).size(), 68);
}

void OutputLanguageTest::normalize_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<OptionalText>("expected");

    const OptionalText none;
    QTest::newRow("plain-code") << QStringLiteral("fr") << OptionalText(QStringLiteral("fr"));
    QTest::newRow("region-dropped") << QStringLiteral("pt-BR") << OptionalText(QStringLiteral("pt"));
    QTest::newRow("posix-form") << QStringLiteral("en_GB.UTF-8") << OptionalText(QStringLiteral("en"));
    QTest::newRow("script-and-region") << QStringLiteral("zh-Hans-CN") << OptionalText(QStringLiteral("zh"));
    QTest::newRow("keyword-dropped") << QStringLiteral("de_DE@euro") << OptionalText(QStringLiteral("de"));
    QTest::newRow("upper-and-padded") << QStringLiteral("  SV-se ") << OptionalText(QStringLiteral("sv"));
    QTest::newRow("bokmal-is-norwegian") << QStringLiteral("nb-NO") << OptionalText(QStringLiteral("no"));
    QTest::newRow("nynorsk-is-norwegian") << QStringLiteral("nn") << OptionalText(QStringLiteral("no"));
    QTest::newRow("unknown-language") << QStringLiteral("tlh-Latn") << none;
    QTest::newRow("known-elsewhere-but-not-here") << QStringLiteral("fil-PH") << none;
    QTest::newRow("empty") << QString() << none;
}

void OutputLanguageTest::normalize()
{
    QFETCH(QString, identifier);
    QFETCH(OptionalText, expected);

    QCOMPARE(shown(normalizedLanguageCode(identifier)), shown(expected));
}

void OutputLanguageTest::resolve_data()
{
    QTest::addColumn<QString>("setting");
    QTest::addColumn<QStringList>("preferred");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<OptionalText>("expected");

    const QStringList german { QStringLiteral("de-AT") };
    QTest::newRow("empty-sends-nothing") << QString() << german << QStringLiteral("fr_FR") << OptionalText();
    QTest::newRow("blank-sends-nothing") << QStringLiteral(" \n") << german << QStringLiteral("fr_FR")
                                         << OptionalText();
    QTest::newRow("explicit-used-as-written")
        << QStringLiteral(" pt-BR ") << german << QStringLiteral("fr_FR") << OptionalText(QStringLiteral("pt-BR"));
    QTest::newRow("unknown-explicit-used-too")
        << QStringLiteral("Klingon") << german << QStringLiteral("fr_FR") << OptionalText(QStringLiteral("Klingon"));
    QTest::newRow("auto-takes-first-preferred")
        << QStringLiteral("auto")
        << QStringList { QStringLiteral("tlh"), QStringLiteral("ja-JP"), QStringLiteral("ko") }
        << QStringLiteral("fr_FR") << OptionalText(QStringLiteral("ja"));
    QTest::newRow("auto-in-capitals") << QStringLiteral(" AUTO ") << german << QStringLiteral("fr_FR")
                                      << OptionalText(QStringLiteral("de"));
    QTest::newRow("auto-falls-to-locale") << QStringLiteral("auto") << QStringList { QStringLiteral("tlh") }
                                          << QStringLiteral("nb_NO") << OptionalText(QStringLiteral("no"));
    QTest::newRow("auto-falls-to-english")
        << QStringLiteral("auto") << QStringList() << QStringLiteral("C") << OptionalText(QStringLiteral("en"));
}

void OutputLanguageTest::resolve()
{
    QFETCH(QString, setting);
    QFETCH(QStringList, preferred);
    QFETCH(QString, locale);
    QFETCH(OptionalText, expected);

    QCOMPARE(shown(resolvedOutputLanguage(setting, preferred, locale)), shown(expected));
}

QTEST_GUILESS_MAIN(OutputLanguageTest)

#include "outputlanguagetest.moc"
