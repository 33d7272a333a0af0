#include <QJsonDocument>
#include <QSet>
#include <QTest>
#include <algorithm>

#include "naming/fieldcatalogue.h"
#include "naming/namingpattern.h"
#include "settings/bundledpresets.h"
#include "settings/promptvalidation.h"
#include "settings/watchedfolderconfigjson.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

using OptionalConfig = std::optional<WatchedFolderConfig>;

Q_DECLARE_METATYPE(Nomly::Preset)
Q_DECLARE_METATYPE(OptionalConfig)

namespace {

constexpr int DemoTemplateCount = 11;

QString rowName(const Preset &preset)
{
    return preset.bundledId.value_or(u"no-id"_s).replace(u'_', u'-');
}

QStringList bundledIds(const QList<Preset> &presets)
{
    QStringList ids;
    for (const Preset &preset : presets)
        ids.append(preset.bundledId.value_or(QString()));
    return ids;
}

QStringList allRawIds()
{
    QStringList ids;
    for (int i = 0; i < DemoTemplateCount; ++i)
        ids.append(rawValue(BundledPresetID(i)));
    return ids;
}

// The Screenshots template as the earlier release stored it, with the
// database's own id and creation moment.
Preset earlierScreenshots()
{
    Preset preset = bundledPreset(BundledPresetID::Screenshots);
    preset.id = QUuid(u"5B0C3E0A-1F53-4C71-9D0F-2A6E1B7C9D11"_s);
    preset.createdAt = QDateTime(QDate(2024, 3, 1), QTime(9, 30), Qt::UTC);
    preset.description = u"Screenshots become searchable names by app, screen, and visible content"_s;
    preset.settings.namingPattern = u"{app_name}_{screen_name}_{title}"_s;
    preset.settings.renamePromptOverride = QStringList {
        u"Return the title content only: 2-5 descriptive words for the content, feature, state, or error."_s,
        u"- Fill requested app and screen naming variables separately when identifiable from window chrome, "
        u"sidebar, toolbar, or layout, even if the app name is not printed as text."_s,
        u"- If the screenshot shows content from another product inside the host app, keep that content "
        u"product/topic in the title only when useful."_s,
        u"- Name the mailbox, document, feature, state, or error the user would search for later."_s,
        u"- Do not repeat the filled app or screen naming fields in the title."_s,
        u"- For code/terminal captures, start with the visible editor/terminal/tool, then language plus problem or "
        u"task."_s,
        u"- Do not include date, time, file extension, separators, or the words screenshot, screen, image."_s,
    }.join(u'\n');
    return preset;
}

template<typename Edit> Preset edited(Edit edit)
{
    Preset preset = earlierScreenshots();
    edit(preset);
    return preset;
}

QJsonObject object(const QByteArray &json)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        qFatal("test data is not JSON: %s", json.constData());
    return document.object();
}

} // namespace

class BundledPresetsTest : public QObject
{
    Q_OBJECT

private slots:
    void catalogue();
    void rawIds_data();
    void rawIds();
    void commonSettings_data();
    void commonSettings();
    void patternFieldsAreKnown_data();
    void patternFieldsAreKnown();
    void promptsPassValidation_data();
    void promptsPassValidation();
    void upgrade_data();
    void upgrade();
    void missing_data();
    void missing();
    void folderConfigFromJson_data();
    void folderConfigFromJson();
    void folderConfigRoundTrip_data();
    void folderConfigRoundTrip();
};

void BundledPresetsTest::catalogue()
{
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const QList<Preset> presets = bundledPresets();
    const QDateTime after = QDateTime::currentDateTimeUtc();

    QCOMPARE(bundledIds(presets), allRawIds());
    QSet<QString> names;
    QSet<QUuid> uuids;
    for (const Preset &preset : presets) {
        names.insert(preset.name);
        uuids.insert(preset.id);
        QVERIFY(!preset.id.isNull());
        QVERIFY(before <= preset.createdAt && preset.createdAt <= after);
    }
    QCOMPARE(names.size(), DemoTemplateCount);
    for (const Preset &preset : bundledPresets())
        uuids.insert(preset.id);
    QCOMPARE(uuids.size(), 2 * DemoTemplateCount);
}

void BundledPresetsTest::rawIds_data()
{
    QTest::addColumn<QString>("raw");
    QTest::addColumn<int>("id");

    for (int i = 0; i < DemoTemplateCount; ++i) {
        const QString raw = rawValue(BundledPresetID(i));
        QTest::newRow(qPrintable(QString(raw).replace(u'_', u'-'))) << raw << i;
    }
    QTest::newRow("capitalised-is-unknown") << u"Screenshots"_s << -1;
    QTest::newRow("case-name-is-unknown") << u"designerAssets"_s << -1;
    QTest::newRow("empty-is-unknown") << QString() << -1;
}

void BundledPresetsTest::rawIds()
{
    QFETCH(QString, raw);
    QFETCH(int, id);

    const std::optional<BundledPresetID> parsed = bundledPresetIdFromRaw(raw);
    QCOMPARE(parsed ? int(*parsed) : -1, id);
}

void BundledPresetsTest::commonSettings_data()
{
    QTest::addColumn<Preset>("preset");

    for (const Preset &preset : bundledPresets())
        QTest::newRow(qPrintable(rowName(preset))) << preset;
}

void BundledPresetsTest::commonSettings()
{
    QFETCH(Preset, preset);

    AnalysisSettings shared = preset.settings;
    shared.namingPattern.reset();
    shared.renamePromptOverride.reset();
    shared.tagPromptOverride.reset();
    AnalysisSettings expected;
    expected.namingCaseStyle = NamingCaseStyle::Title;
    expected.outputLanguage = u"auto"_s;
    expected.addFinderTags = false;
    expected.addSpotlightMetadata = false;
    QVERIFY(shared == expected);
}

void BundledPresetsTest::patternFieldsAreKnown_data()
{
    QTest::addColumn<QString>("pattern");

    for (const Preset &preset : bundledPresets())
        QTest::newRow(qPrintable(rowName(preset))) << preset.settings.namingPattern.value_or(QString());
}

void BundledPresetsTest::patternFieldsAreKnown()
{
    QFETCH(QString, pattern);

    // Each token has to be a field's own token, so that the name renders
    // without relying on alias or variant lookup.
    const QStringList tokens = parsePattern(pattern).tokens;
    QStringList unknown;
    for (const QString &token : tokens) {
        const NamingPatternField *field = fieldCatalogue().fieldForToken(token.toLower());
        if (!field || field->token != token)
            unknown.append(token);
    }
    if (tokens.isEmpty())
        unknown.append(u"<no token>"_s);
    QCOMPARE(unknown, QStringList());
}

void BundledPresetsTest::promptsPassValidation_data()
{
    QTest::addColumn<QString>("prompt");

    for (const Preset &preset : bundledPresets()) {
        const QString row = rowName(preset);
        QTest::newRow(qPrintable(row + u"-rename"_s)) << preset.settings.renamePromptOverride.value_or(QString());
        QTest::newRow(qPrintable(row + u"-tagging"_s)) << preset.settings.tagPromptOverride.value_or(QString());
    }
}

void BundledPresetsTest::promptsPassValidation()
{
    QFETCH(QString, prompt);

    // Validation returns the text unchanged when it is within the limits and
    // already in normal form; an empty prompt would mean the built-in one.
    const PromptValidation result = validatePrompt(prompt);
    QCOMPARE(result.text.value_or(result.error.value_or(u"<empty>"_s)), prompt);
}

void BundledPresetsTest::upgrade_data()
{
    QTest::addColumn<Preset>("stored");
    QTest::addColumn<bool>("upgraded");

    QTest::newRow("untouched-earlier-form") << earlierScreenshots() << true;
    QTest::newRow("own-separators-are-not-judged") << edited([](Preset &p) {
        p.settings.namingWordSeparator = NamingPatternSeparator::Hyphen;
        p.settings.dateFormat = u"yyyy"_s;
    }) << true;
    QTest::newRow("one-letter-changed-in-rename-prompt")
        << edited([](Preset &p) { p.settings.renamePromptOverride->replace(u"mailbox"_s, u"mailbux"_s); }) << false;
    QTest::newRow("renamed") << edited([](Preset &p) { p.name = u"My Screenshots"_s; }) << false;
    QTest::newRow("description-edited") << edited([](Preset &p) { p.description.clear(); }) << false;
    QTest::newRow("other-icon") << edited([](Preset &p) { p.icon = PresetIcon::Camera; }) << false;
    QTest::newRow("other-colour") << edited([](Preset &p) { p.color = PresetColor::Blue; }) << false;
    QTest::newRow("pattern-edited") << edited([](Preset &p) { p.settings.namingPattern = u"{title}"_s; }) << false;
    QTest::newRow("case-style-changed") << edited([](Preset &p) {
        p.settings.namingCaseStyle = NamingCaseStyle::Kebab;
    }) << false;
    QTest::newRow("language-changed") << edited([](Preset &p) { p.settings.outputLanguage = u"de"_s; }) << false;
    QTest::newRow("language-inherited") << edited([](Preset &p) { p.settings.outputLanguage.reset(); }) << false;
    QTest::newRow("finder-tags-on") << edited([](Preset &p) { p.settings.addFinderTags = true; }) << false;
    QTest::newRow("spotlight-inherited") << edited([](Preset &p) { p.settings.addSpotlightMetadata.reset(); }) << false;
    QTest::newRow("tag-prompt-edited") << edited([](Preset &p) { p.settings.tagPromptOverride->append(u' '); })
                                       << false;
    QTest::newRow("other-bundled-id") << edited([](Preset &p) {
        p.bundledId = rawValue(BundledPresetID::DesignerAssets);
    }) << false;
    QTest::newRow("users-own-copy") << edited([](Preset &p) { p.bundledId.reset(); }) << false;
    QTest::newRow("already-current") << bundledPreset(BundledPresetID::Screenshots) << false;
}

void BundledPresetsTest::upgrade()
{
    QFETCH(Preset, stored);
    QFETCH(bool, upgraded);

    Preset current = bundledPreset(BundledPresetID::Screenshots);
    current.id = stored.id;
    current.createdAt = stored.createdAt;
    QCOMPARE(upgradedBundledPreset(stored), upgraded ? std::optional(current) : std::nullopt);
}

void BundledPresetsTest::missing_data()
{
    QTest::addColumn<QStringList>("stored");
    QTest::addColumn<QStringList>("missing");

    const QStringList all = allRawIds();
    QStringList gaps = all;
    gaps.removeFirst();
    gaps.removeLast();
    std::reverse(gaps.begin(), gaps.end());

    QTest::newRow("empty-store-gets-all") << QStringList() << all;
    QTest::newRow("full-store-gets-none") << all << QStringList();
    QTest::newRow("gaps-in-catalogue-order") << gaps << QStringList { all.first(), all.last() };
    QTest::newRow("own-templates-do-not-count") << QStringList { QString(), QString() } << all;
    QTest::newRow("unknown-id-does-not-count") << QStringList { u"old_template"_s } << all;
    QTest::newRow("duplicate-counts-once") << QStringList { all.first(), all.first() } << all.sliced(1);
}

void BundledPresetsTest::missing()
{
    QFETCH(QStringList, stored);
    QFETCH(QStringList, missing);

    // Stored templates are matched by bundled id alone, whatever else changed.
    QList<Preset> presets;
    for (const QString &raw : stored) {
        Preset preset;
        preset.name = u"Screenshots"_s;
        if (!raw.isEmpty())
            preset.bundledId = raw;
        presets.append(preset);
    }
    QCOMPARE(bundledIds(missingBundledPresets(presets)), missing);
}

void BundledPresetsTest::folderConfigFromJson_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<OptionalConfig>("config");
    QTest::addColumn<QString>("errorKey");

    const QUuid presetId(u"6F1A2B3C-4D5E-4F60-8172-93A4B5C6D7E8"_s);
    AnalysisSettings kebab;
    kebab.namingCaseStyle = NamingCaseStyle::Kebab;
    const OptionalConfig none;

    QTest::newRow("all-keys") << R"({"path": "/home/u/Scans", "presetId": "6F1A2B3C-4D5E-4F60-8172-93A4B5C6D7E8",
               "legacySettings": {"namingCaseStyle": "kebab"}})"_ba
                              << OptionalConfig({ u"/home/u/Scans"_s, presetId, kebab }) << QString();
    QTest::newRow("lower-case-preset-id")
        << R"({"path": "/s", "presetId": "6f1a2b3c-4d5e-4f60-8172-93a4b5c6d7e8", "legacySettings": {}})"_ba
        << OptionalConfig({ u"/s"_s, presetId, {} }) << QString();
    QTest::newRow("preset-id-absent") << R"({"path": "/s", "legacySettings": {}, "other": 1})"_ba
                                      << OptionalConfig({ u"/s"_s, std::nullopt, {} }) << QString();
    QTest::newRow("preset-id-null") << R"({"path": "/s", "presetId": null, "legacySettings": {}})"_ba
                                    << OptionalConfig({ u"/s"_s, std::nullopt, {} }) << QString();
    QTest::newRow("preset-id-not-uuid") << R"({"path": "/s", "presetId": "abc", "legacySettings": {}})"_ba << none
                                        << u"presetId"_s;
    QTest::newRow("path-absent") << R"({"legacySettings": {}})"_ba << none << u"path"_s;
    QTest::newRow("legacy-settings-absent") << R"({"path": "/s"})"_ba << none << u"legacySettings"_s;
    QTest::newRow("legacy-settings-not-object")
        << R"({"path": "/s", "legacySettings": []})"_ba << none << u"legacySettings"_s;
    QTest::newRow("legacy-settings-unknown-case")
        << R"({"path": "/s", "legacySettings": {"namingCaseStyle": "shouting"}})"_ba << none << u"namingCaseStyle"_s;
}

void BundledPresetsTest::folderConfigFromJson()
{
    QFETCH(QByteArray, json);
    QFETCH(OptionalConfig, config);
    QFETCH(QString, errorKey);

    QString error;
    QCOMPARE(watchedFolderConfigFromJson(object(json), &error), config);
    QVERIFY2(errorKey.isEmpty() ? error.isEmpty() : error.contains(u'"' + errorKey + u'"'), qPrintable(error));
}

void BundledPresetsTest::folderConfigRoundTrip_data()
{
    QTest::addColumn<OptionalConfig>("config");

    AnalysisSettings legacy;
    legacy.namingPattern = u"{title}"_s;
    legacy.addFinderTags = true;

    QTest::newRow("with-template") << OptionalConfig({ u"/home/u/A"_s, QUuid::createUuid(), {} });
    QTest::newRow("without-template") << OptionalConfig({ u"/home/u/B"_s, std::nullopt, {} });
    QTest::newRow("kept-own-settings") << OptionalConfig({ u"/home/u/C"_s, std::nullopt, legacy });
}

void BundledPresetsTest::folderConfigRoundTrip()
{
    QFETCH(OptionalConfig, config);

    QCOMPARE(watchedFolderConfigFromJson(toJson(*config)), config);
}

QTEST_GUILESS_MAIN(BundledPresetsTest)

#include "bundledpresetstest.moc"
