#include <QSet>
#include <QTest>
#include <functional>

#include "settings/effectiveanalysissettings.h"

using namespace Nomly;

using OptionalLayer = std::optional<AnalysisSettings>;

Q_DECLARE_METATYPE(Nomly::Settings)
Q_DECLARE_METATYPE(OptionalLayer)
Q_DECLARE_METATYPE(Nomly::EffectiveAnalysisSettings)

namespace {

using Sep = NamingPatternSeparator;

Settings globalWith(const std::function<void(Settings &)> &change)
{
    Settings settings;
    change(settings);
    return settings;
}

OptionalLayer layer(const std::function<void(AnalysisSettings &)> &change)
{
    AnalysisSettings settings;
    change(settings);
    return settings;
}

// What the global record alone resolves to, changed by `change`.
EffectiveAnalysisSettings expectedWith(const std::function<void(EffectiveAnalysisSettings &)> &change)
{
    EffectiveAnalysisSettings settings;
    change(settings);
    return settings;
}

const QString GlobalPrompt = QStringLiteral("Use German words");

QByteArray describe(const EffectiveAnalysisSettings &s)
{
    const auto prompt
        = [](const std::optional<QString> &text) { return text ? u'"' + *text + u'"' : QStringLiteral("none"); };
    return QStringLiteral("pattern=%1 style=%2 word='%3' block='%4' date=%5 language=%6 tags=%7 comment=%8 "
                          "rename=%9 tag=%10 prefix=%11")
        .arg(s.namingPattern,
             rawValue(s.namingCaseStyle),
             rawValue(s.namingWordSeparator),
             rawValue(s.namingBlockSeparator),
             s.dateFormat,
             s.outputLanguage)
        .arg(s.addFinderTags)
        .arg(s.addSpotlightMetadata)
        .arg(prompt(s.renamePromptOverride), prompt(s.tagPromptOverride), s.monitorFilePrefix)
        .toUtf8();
}

} // namespace

class EffectiveAnalysisSettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void resolve_data();
    void resolve();
    void equalSettingsShareAKey();
};

void EffectiveAnalysisSettingsTest::resolve_data()
{
    using A = AnalysisSettings;
    using E = EffectiveAnalysisSettings;
    QTest::addColumn<Settings>("global");
    QTest::addColumn<OptionalLayer>("folder");
    QTest::addColumn<OptionalLayer>("preset");
    QTest::addColumn<EffectiveAnalysisSettings>("expected");

    const OptionalLayer none;
    const Settings defaults;

    QTest::newRow("global-alone") << globalWith([](Settings &s) {
        s.namingPattern = QStringLiteral("{date} {title}");
        s.dateFormat = QStringLiteral("dd.MM.yyyy");
        s.addFinderTags = true;
        s.monitorFilePrefix = QStringLiteral("scan");
        s.renamePromptOverride = GlobalPrompt;
    }) << none << none << expectedWith([](E &e) {
        e.namingPattern = QStringLiteral("{date} {title}");
        e.dateFormat = QStringLiteral("dd.MM.yyyy");
        e.addFinderTags = true;
        e.monitorFilePrefix = QStringLiteral("scan");
        e.renamePromptOverride = GlobalPrompt;
    });
    QTest::newRow("preset-beats-folder-beats-global") << defaults << layer([](A &a) {
        a.namingPattern = QStringLiteral("{vendor}");
        a.outputLanguage = QStringLiteral("fr");
        a.dateFormat = QStringLiteral("yyyy");
    }) << layer([](A &a) {
        a.namingPattern = QStringLiteral("{amount}");
        a.addSpotlightMetadata = true;
    }) << expectedWith([](E &e) {
        e.namingPattern = QStringLiteral("{amount}");
        e.outputLanguage = QStringLiteral("fr");
        e.dateFormat = QStringLiteral("yyyy");
        e.addSpotlightMetadata = true;
    });
    QTest::newRow("preset-false-overrides-global-true") << globalWith([](Settings &s) { s.addFinderTags = true; })
                                                        << none << layer([](A &a) { a.addFinderTags = false; }) << E();
    QTest::newRow("preset-kebab-gives-hyphen")
        << defaults << none << layer([](A &a) { a.namingCaseStyle = NamingCaseStyle::Kebab; })
        << expectedWith([](E &e) {
               e.namingCaseStyle = NamingCaseStyle::Kebab;
               e.namingWordSeparator = Sep::Hyphen;
           });
    QTest::newRow("folder-style-implies-past-plain-preset-style")
        << defaults << layer([](A &a) { a.namingCaseStyle = NamingCaseStyle::Snake; })
        << layer([](A &a) { a.namingCaseStyle = NamingCaseStyle::Pascal; }) << expectedWith([](E &e) {
               e.namingCaseStyle = NamingCaseStyle::Pascal;
               e.namingWordSeparator = Sep::Underscore;
           });
    QTest::newRow("explicit-separator-beats-style")
        << defaults << layer([](A &a) { a.namingWordSeparator = Sep::Dot; })
        << layer([](A &a) { a.namingCaseStyle = NamingCaseStyle::Kebab; }) << expectedWith([](E &e) {
               e.namingCaseStyle = NamingCaseStyle::Kebab;
               e.namingWordSeparator = Sep::Dot;
           });
    QTest::newRow("global-style-outranks-global-separator")
        << globalWith([](Settings &s) { s.namingCaseStyle = NamingCaseStyle::Constant; }) << none << none
        << expectedWith([](E &e) {
               e.namingCaseStyle = NamingCaseStyle::Constant;
               e.namingWordSeparator = Sep::Underscore;
           });
    QTest::newRow("plain-styles-keep-global-separator")
        << globalWith([](Settings &s) { s.namingWordSeparator = Sep::None; }) << none
        << layer([](A &a) { a.namingCaseStyle = NamingCaseStyle::Upper; }) << expectedWith([](E &e) {
               e.namingCaseStyle = NamingCaseStyle::Upper;
               e.namingWordSeparator = Sep::None;
           });
    QTest::newRow("preset-pattern-gives-block-separator")
        << globalWith([](Settings &s) { s.namingBlockSeparator = Sep::Hyphen; }) << none
        << layer([](A &a) { a.namingPattern = QStringLiteral("{date}.{title}"); }) << expectedWith([](E &e) {
               e.namingPattern = QStringLiteral("{date}.{title}");
               e.namingBlockSeparator = Sep::Dot;
           });
    QTest::newRow("single-token-preset-defers-to-folder-pattern")
        << defaults << layer([](A &a) { a.namingPattern = QStringLiteral("{date}-{title}"); })
        << layer([](A &a) { a.namingPattern = QStringLiteral("{title}"); }) << expectedWith([](E &e) {
               e.namingPattern = QStringLiteral("{title}");
               e.namingBlockSeparator = Sep::Hyphen;
           });
    QTest::newRow("explicit-block-separator-beats-pattern")
        << defaults << layer([](A &a) { a.namingBlockSeparator = Sep::None; })
        << layer([](A &a) { a.namingPattern = QStringLiteral("{date}_{title}"); }) << expectedWith([](E &e) {
               e.namingPattern = QStringLiteral("{date}_{title}");
               e.namingBlockSeparator = Sep::None;
           });
    QTest::newRow("global-pattern-is-not-inferred")
        << globalWith([](Settings &s) { s.namingPattern = QStringLiteral("{date}_{title}"); }) << none << none
        << expectedWith([](E &e) { e.namingPattern = QStringLiteral("{date}_{title}"); });

    const Settings customPrompts = globalWith([](Settings &s) {
        s.renamePromptOverride = GlobalPrompt;
        s.tagPromptOverride = GlobalPrompt;
    });
    QTest::newRow("empty-preset-prompt-stops-at-default")
        << customPrompts << layer([](A &a) { a.renamePromptOverride = QStringLiteral("Folder rule"); })
        << layer([](A &a) { a.renamePromptOverride = QString(); })
        << expectedWith([](E &e) { e.tagPromptOverride = GlobalPrompt; });
    QTest::newRow("empty-folder-prompt-stops-at-default")
        << customPrompts << layer([](A &a) { a.tagPromptOverride = QStringLiteral(""); }) << layer([](A &) {})
        << expectedWith([](E &e) { e.renamePromptOverride = GlobalPrompt; });
    QTest::newRow("absent-prompts-inherit-global")
        << customPrompts << layer([](A &) {}) << layer([](A &) {}) << expectedWith([](E &e) {
               e.renamePromptOverride = GlobalPrompt;
               e.tagPromptOverride = GlobalPrompt;
           });
    QTest::newRow("preset-prompt-wins") << customPrompts << none
                                        << layer([](A &a) { a.tagPromptOverride = QStringLiteral("Two tags"); })
                                        << expectedWith([](E &e) {
                                               e.renamePromptOverride = GlobalPrompt;
                                               e.tagPromptOverride = QStringLiteral("Two tags");
                                           });
}

void EffectiveAnalysisSettingsTest::resolve()
{
    QFETCH(Settings, global);
    QFETCH(OptionalLayer, folder);
    QFETCH(OptionalLayer, preset);
    QFETCH(EffectiveAnalysisSettings, expected);

    const EffectiveAnalysisSettings resolved = resolveEffectiveAnalysisSettings(global, folder, preset);
    QCOMPARE(describe(resolved), describe(expected));
    QVERIFY(resolved == expected);
}

// Files are grouped by their resolved settings; a built-in prompt and an
// empty custom one must not fall into the same group.
void EffectiveAnalysisSettingsTest::equalSettingsShareAKey()
{
    const EffectiveAnalysisSettings a;
    EffectiveAnalysisSettings b;
    b.renamePromptOverride = QString();
    EffectiveAnalysisSettings c;
    c.monitorFilePrefix = QStringLiteral("x");

    QSet<EffectiveAnalysisSettings> groups { a, EffectiveAnalysisSettings(), b, c };
    QCOMPARE(groups.size(), 3);
    QCOMPARE(qHash(a, 7), qHash(EffectiveAnalysisSettings(), 7));
}

QTEST_GUILESS_MAIN(EffectiveAnalysisSettingsTest)

#include "effectiveanalysissettingstest.moc"
