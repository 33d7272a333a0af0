// A template's or folder's own settings: their stored form, their summary,
// and how they resolve against each other and the global record.

#include <QJsonDocument>
#include <QSet>
#include <QTest>
#include <functional>

#include "settings/analysissettingsjson.h"
#include "settings/effectiveanalysissettings.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

using OptionalLayer = std::optional<AnalysisSettings>;

Q_DECLARE_METATYPE(Nomly::AnalysisSettings)
Q_DECLARE_METATYPE(Nomly::Settings)
Q_DECLARE_METATYPE(OptionalLayer)
Q_DECLARE_METATYPE(Nomly::EffectiveAnalysisSettings)

namespace {

using Sep = NamingPatternSeparator;

template<typename T> T with(const std::function<void(T &)> &change)
{
    T value;
    change(value);
    return value;
}

OptionalLayer layer(const std::function<void(AnalysisSettings &)> &change)
{
    return with<AnalysisSettings>(change);
}

const QString GlobalPrompt = u"Use German words"_s;

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
    void resolve_data();
    void resolve();
    void equalSettingsShareAKey();
};

void AnalysisSettingsTest::encode_data()
{
    using A = AnalysisSettings;
    QTest::addColumn<AnalysisSettings>("settings");
    QTest::addColumn<QByteArray>("json");

    // An empty list of blocks is not the same as no blocks.
    QTest::newRow("false-and-empty-are-written") << with<A>([](A &a) {
        a.addFinderTags = false;
        a.renamePromptOverride = QString();
        a.namingWordSeparator = Sep::None;
        a.namingPatternBlocks = QList<NamingPatternBlock>();
    }) << R"({"addFinderTags":false,"namingPatternBlocks":[],"namingWordSeparator":"","renamePromptOverride":""})"_ba;
    QTest::newRow("blocks-and-style")
        << with<A>([](A &a) {
               a.namingPatternBlocks = QList<NamingPatternBlock> {
                   { NamingPatternBlock::Kind::Variable, u"{date}"_s, std::nullopt },
                   { NamingPatternBlock::Kind::Literal, u"scan"_s, Sep::Hyphen },
               };
               a.namingCaseStyle = NamingCaseStyle::Constant;
           })
        << R"({"namingCaseStyle":"constant","namingPatternBlocks":[{"kind":"variable","value":"{date}"},)"
           R"({"kind":"literal","separatorBefore":"-","value":"scan"}]})"_ba;
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
    QTest::addColumn<QString>("badKey");

    QTest::newRow("null-inherits") << R"({"dateFormat":null,"addSpotlightMetadata":null})"_ba << A() << QString();
    QTest::newRow("unknown-keys-ignored") << R"({"monitorFilePrefix":"x","outputLanguage":"ja"})"_ba
                                          << with<A>([](A &a) { a.outputLanguage = u"ja"_s; }) << QString();
    QTest::newRow("string-for-flag") << R"({"addFinderTags":"true"})"_ba << A() << u"addFinderTags"_s;
    QTest::newRow("style-in-wrong-case") << R"({"namingCaseStyle":"Title"})"_ba << A() << u"namingCaseStyle"_s;
    QTest::newRow("object-for-blocks") << R"({"namingPatternBlocks":{}})"_ba << A() << u"namingPatternBlocks"_s;
}

// Any subset of the keys decodes. A key that cannot be read fails the whole
// template, naming the key, so that its store drops the template rather than
// apply it with fewer overrides than the user set.
void AnalysisSettingsTest::decode()
{
    QFETCH(QByteArray, json);
    QFETCH(AnalysisSettings, expected);
    QFETCH(QString, badKey);

    QString error;
    const std::optional<AnalysisSettings> decoded = analysisSettingsFromJson(object(json), &error);
    if (!badKey.isEmpty()) {
        QVERIFY(!decoded);
        QVERIFY2(error.contains(u'"' + badKey + u'"'), qPrintable(error));
        return;
    }
    QVERIFY2(decoded, qPrintable(error));
    QCOMPARE(text(toJson(*decoded)), text(toJson(expected)));
}

void AnalysisSettingsTest::resolve_data()
{
    using A = AnalysisSettings;
    using E = EffectiveAnalysisSettings;
    QTest::addColumn<Settings>("global");
    QTest::addColumn<OptionalLayer>("folder");
    QTest::addColumn<OptionalLayer>("preset");
    QTest::addColumn<EffectiveAnalysisSettings>("expected");

    const OptionalLayer none;
    const Settings defaults;

    // The global style implies its word separator, but the global pattern
    // never decides the block separator.
    QTest::newRow("global-alone") << with<Settings>([](Settings &s) {
        s.namingPattern = u"{date}_{title}"_s;
        s.namingCaseStyle = NamingCaseStyle::Constant;
        s.addFinderTags = true;
        s.monitorFilePrefix = u"scan"_s;
        s.renamePromptOverride = GlobalPrompt;
    }) << none << none << with<E>([](E &e) {
        e.namingPattern = u"{date}_{title}"_s;
        e.namingCaseStyle = NamingCaseStyle::Constant;
        e.namingWordSeparator = Sep::Underscore;
        e.addFinderTags = true;
        e.monitorFilePrefix = u"scan"_s;
        e.renamePromptOverride = GlobalPrompt;
    });
    QTest::newRow("preset-beats-folder-beats-global") << defaults << layer([](A &a) {
        a.namingPattern = u"{vendor}"_s;
        a.outputLanguage = u"fr"_s;
    }) << layer([](A &a) { a.namingPattern = u"{amount}"_s; })
                                                      << with<E>([](E &e) {
                                                             e.namingPattern = u"{amount}"_s;
                                                             e.outputLanguage = u"fr"_s;
                                                         });
    QTest::newRow("preset-false-overrides-global-true") << with<Settings>([](Settings &s) { s.addFinderTags = true; })
                                                        << none << layer([](A &a) { a.addFinderTags = false; }) << E();

    // Word separators: a chosen one, then the first layer whose case style
    // writes one, then the global record.
    QTest::newRow("folder-style-implies-past-plain-preset-style")
        << defaults << layer([](A &a) { a.namingCaseStyle = NamingCaseStyle::Snake; })
        << layer([](A &a) { a.namingCaseStyle = NamingCaseStyle::Pascal; }) << with<E>([](E &e) {
               e.namingCaseStyle = NamingCaseStyle::Pascal;
               e.namingWordSeparator = Sep::Underscore;
           });
    QTest::newRow("plain-styles-keep-global-separator")
        << with<Settings>([](Settings &s) { s.namingWordSeparator = Sep::None; }) << none
        << layer([](A &a) { a.namingCaseStyle = NamingCaseStyle::Upper; }) << with<E>([](E &e) {
               e.namingCaseStyle = NamingCaseStyle::Upper;
               e.namingWordSeparator = Sep::None;
           });
    QTest::newRow("explicit-separators-beat-style-and-pattern") << defaults << layer([](A &a) {
        a.namingWordSeparator = Sep::Dot;
        a.namingBlockSeparator = Sep::None;
    }) << layer([](A &a) {
        a.namingCaseStyle = NamingCaseStyle::Kebab;
        a.namingPattern = u"{date}_{title}"_s;
    }) << with<E>([](E &e) {
        e.namingPattern = u"{date}_{title}"_s;
        e.namingCaseStyle = NamingCaseStyle::Kebab;
        e.namingWordSeparator = Sep::Dot;
        e.namingBlockSeparator = Sep::None;
    });
    // A pattern with a single token has no gap to take a separator from.
    QTest::newRow("single-token-preset-defers-to-folder-pattern")
        << defaults << layer([](A &a) { a.namingPattern = u"{date}-{title}"_s; })
        << layer([](A &a) { a.namingPattern = u"{title}"_s; })
        << with<E>([](E &e) { e.namingBlockSeparator = Sep::Hyphen; });

    const Settings customPrompts = with<Settings>([](Settings &s) {
        s.renamePromptOverride = GlobalPrompt;
        s.tagPromptOverride = GlobalPrompt;
    });
    // Null or merely empty, a layer's empty prompt stops at the built-in one.
    QTest::newRow("empty-prompts-stop-at-default") << customPrompts << layer([](A &a) {
        a.renamePromptOverride = u"Folder rule"_s;
        a.tagPromptOverride = u""_s;
    }) << layer([](A &a) { a.renamePromptOverride = QString(); })
                                                   << E();
    QTest::newRow("preset-prompt-wins") << customPrompts << none
                                        << layer([](A &a) { a.tagPromptOverride = u"Two tags"_s; })
                                        << with<E>([](E &e) {
                                               e.renamePromptOverride = GlobalPrompt;
                                               e.tagPromptOverride = u"Two tags"_s;
                                           });
}

void AnalysisSettingsTest::resolve()
{
    QFETCH(Settings, global);
    QFETCH(OptionalLayer, folder);
    QFETCH(OptionalLayer, preset);
    QFETCH(EffectiveAnalysisSettings, expected);

    const EffectiveAnalysisSettings resolved = resolveEffectiveAnalysisSettings(global, folder, preset);
    QVERIFY(resolved == expected);
}

// Files are grouped by their resolved settings; a built-in prompt and an
// empty custom one must not fall into the same group.
void AnalysisSettingsTest::equalSettingsShareAKey()
{
    const EffectiveAnalysisSettings a;
    EffectiveAnalysisSettings b;
    b.renamePromptOverride = QString();
    EffectiveAnalysisSettings c;
    c.monitorFilePrefix = u"x"_s;

    QSet<EffectiveAnalysisSettings> groups { a, EffectiveAnalysisSettings(), b, c };
    QCOMPARE(groups.size(), 3);
    QCOMPARE(qHash(a, 7), qHash(EffectiveAnalysisSettings(), 7));
}

QTEST_GUILESS_MAIN(AnalysisSettingsTest)

#include "analysissettingstest.moc"
