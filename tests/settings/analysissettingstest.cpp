#include <QJsonDocument>
#include <QTest>
#include <functional>

#include "settings/analysissettings.h"
#include "settings/analysissettingsjson.h"

using namespace Nomly;

Q_DECLARE_METATYPE(Nomly::AnalysisSettings)

namespace {

AnalysisSettings with(const std::function<void(AnalysisSettings &)> &change)
{
    AnalysisSettings settings;
    change(settings);
    return settings;
}

QJsonObject object(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

QByteArray text(const QJsonObject &json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

} // namespace

class AnalysisSettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void encode_data();
    void encode();
    void decode_data();
    void decode();
    void decodeFailure_data();
    void decodeFailure();
    void summary_data();
    void summary();
};

void AnalysisSettingsTest::encode_data()
{
    using A = AnalysisSettings;
    QTest::addColumn<AnalysisSettings>("settings");
    QTest::addColumn<QByteArray>("json");

    QTest::newRow("empty-record-is-empty-object") << A() << QByteArray("{}");
    QTest::newRow("false-and-empty-are-written") << with([](A &a) {
        a.addFinderTags = false;
        a.renamePromptOverride = QString();
        a.namingWordSeparator = NamingPatternSeparator::None;
    }) << QByteArray(R"({"addFinderTags":false,"namingWordSeparator":"","renamePromptOverride":""})");
    QTest::newRow("blocks-and-style")
        << with([](A &a) {
               a.namingPatternBlocks = QList<NamingPatternBlock> {
                   { NamingPatternBlock::Kind::Variable, QStringLiteral("{date}"), std::nullopt },
                   { NamingPatternBlock::Kind::Literal, QStringLiteral("scan"), NamingPatternSeparator::Hyphen },
               };
               a.namingCaseStyle = NamingCaseStyle::Constant;
           })
        << QByteArray(R"({"namingCaseStyle":"constant","namingPatternBlocks":[{"kind":"variable","value":"{date}"},)"
                      R"({"kind":"literal","separatorBefore":"-","value":"scan"}]})");
}

// Encoding omits what is absent, and what it writes reads back the same.
void AnalysisSettingsTest::encode()
{
    QFETCH(AnalysisSettings, settings);
    QFETCH(QByteArray, json);

    QCOMPARE(text(toJson(settings)), json);
    const std::optional<AnalysisSettings> decoded = analysisSettingsFromJson(toJson(settings));
    QVERIFY(decoded);
    QVERIFY(*decoded == settings);
}

void AnalysisSettingsTest::decode_data()
{
    using A = AnalysisSettings;
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<AnalysisSettings>("expected");

    QTest::newRow("empty-object-inherits-everything") << QByteArray("{}") << A();
    QTest::newRow("null-inherits") << QByteArray(R"({"dateFormat":null,"addSpotlightMetadata":null})") << A();
    QTest::newRow("unknown-keys-ignored") << QByteArray(R"({"monitorFilePrefix":"x","outputLanguage":"ja"})")
                                          << with([](A &a) { a.outputLanguage = QStringLiteral("ja"); });
    QTest::newRow("every-key") << QByteArray(R"({"namingPattern":"{a}.{b}","namingPatternBlocks":[],)"
                                             R"("namingCaseStyle":"dot","namingWordSeparator":".",)"
                                             R"("namingBlockSeparator":" ","dateFormat":"yy","outputLanguage":"de",)"
                                             R"("addFinderTags":true,"addSpotlightMetadata":false,)"
                                             R"("renamePromptOverride":"r","tagPromptOverride":""})")
                               << with([](A &a) {
                                      a.namingPattern = QStringLiteral("{a}.{b}");
                                      a.namingPatternBlocks = QList<NamingPatternBlock>();
                                      a.namingCaseStyle = NamingCaseStyle::Dot;
                                      a.namingWordSeparator = NamingPatternSeparator::Dot;
                                      a.namingBlockSeparator = NamingPatternSeparator::Space;
                                      a.dateFormat = QStringLiteral("yy");
                                      a.outputLanguage = QStringLiteral("de");
                                      a.addFinderTags = true;
                                      a.addSpotlightMetadata = false;
                                      a.renamePromptOverride = QStringLiteral("r");
                                      a.tagPromptOverride = QString();
                                  });
}

void AnalysisSettingsTest::decode()
{
    QFETCH(QByteArray, json);
    QFETCH(AnalysisSettings, expected);

    QString error;
    const std::optional<AnalysisSettings> decoded = analysisSettingsFromJson(object(json), &error);
    QVERIFY2(decoded, qPrintable(error));
    QCOMPARE(text(toJson(*decoded)), text(toJson(expected)));
    // An empty list of blocks is not the same as no blocks.
    QCOMPARE(decoded->namingPatternBlocks.has_value(), expected.namingPatternBlocks.has_value());
}

void AnalysisSettingsTest::decodeFailure_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("key");

    QTest::newRow("number-for-pattern") << QByteArray(R"({"namingPattern":1})") << QStringLiteral("namingPattern");
    QTest::newRow("unknown-style") << QByteArray(R"({"namingCaseStyle":"Title"})") << QStringLiteral("namingCaseStyle");
    QTest::newRow("string-for-flag") << QByteArray(R"({"addFinderTags":"true"})") << QStringLiteral("addFinderTags");
    QTest::newRow("object-for-blocks") << QByteArray(R"({"namingPatternBlocks":{}})")
                                       << QStringLiteral("namingPatternBlocks");
}

// A template that cannot be read whole is dropped by its store rather than
// applied with fewer overrides than the user set.
void AnalysisSettingsTest::decodeFailure()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, key);

    QString error;
    QVERIFY(!analysisSettingsFromJson(object(json), &error));
    QVERIFY2(error.contains(u'"' + key + u'"'), qPrintable(error));
}

void AnalysisSettingsTest::summary_data()
{
    using A = AnalysisSettings;
    QTest::addColumn<AnalysisSettings>("settings");
    QTest::addColumn<QString>("expected");

    QTest::newRow("nothing-set-inherits") << A() << QStringLiteral("Inherits Smart Rename settings");
    QTest::newRow("blocks-alone-are-naming")
        << with([](A &a) { a.namingPatternBlocks = QList<NamingPatternBlock>(); }) << QStringLiteral("Custom naming");
    QTest::newRow("separator-alone-is-naming")
        << with([](A &a) { a.namingBlockSeparator = NamingPatternSeparator::None; }) << QStringLiteral("Custom naming");
    QTest::newRow("false-flag-still-counts")
        << with([](A &a) { a.addSpotlightMetadata = false; }) << QStringLiteral("Custom metadata");
    QTest::newRow("empty-prompt-still-counts")
        << with([](A &a) { a.tagPromptOverride = QString(); }) << QStringLiteral("Custom prompts");
    QTest::newRow("all-groups-in-order") << with([](A &a) {
        a.renamePromptOverride = QStringLiteral("r");
        a.addFinderTags = true;
        a.outputLanguage = QStringLiteral("de");
        a.namingCaseStyle = NamingCaseStyle::Lower;
    }) << QStringLiteral("Custom naming · Custom localization · Custom metadata · Custom prompts");
    QTest::newRow("date-format-is-localization") << with([](A &a) {
        a.dateFormat = QStringLiteral("yyyy");
        a.tagPromptOverride = QStringLiteral("t");
    }) << QStringLiteral("Custom localization · Custom prompts");
}

void AnalysisSettingsTest::summary()
{
    QFETCH(AnalysisSettings, settings);
    QFETCH(QString, expected);

    QCOMPARE(overrideSummary(settings), expected);
}

QTEST_GUILESS_MAIN(AnalysisSettingsTest)

#include "analysissettingstest.moc"
