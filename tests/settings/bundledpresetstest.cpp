#include <QJsonDocument>
#include <QTest>

#include "naming/fieldcatalogue.h"
#include "naming/namingpattern.h"
#include "settings/bundledpresets.h"
#include "settings/watchedfolderconfigjson.h"

using namespace Nomly;
using namespace Qt::StringLiterals;
using OptionalConfig = std::optional<WatchedFolderConfig>;

Q_DECLARE_METATYPE(Nomly::Preset)
Q_DECLARE_METATYPE(OptionalConfig)

// The Screenshots template as the earlier release stored it, then `edit`ed.
static Preset earlierScreenshots(void (*edit)(Preset &) = [](Preset &) {})
{
    Preset preset = bundledPreset(BundledPresetID::Screenshots);
    preset.id = QUuid(u"5B0C3E0A-1F53-4C71-9D0F-2A6E1B7C9D11"_s);
    preset.createdAt = QDateTime(QDate(2024, 3, 1), QTime(9, 30), Qt::UTC);
    preset.description = u"Screenshots become searchable names by app, screen, and visible content"_s;
    preset.settings.namingPattern = u"{app_name}_{screen_name}_{title}"_s;
    preset.settings.renamePromptOverride
        = u"Return the title content only: 2-5 descriptive words for the content, feature, state, or error.\n- "
          u"Fill requested app and screen naming variables separately when identifiable from window chrome, "
          u"sidebar, toolbar, or layout, even if the app name is not printed as text.\n- If the screenshot shows "
          u"content from another product inside the host app, keep that content product/topic in the title only "
          u"when useful.\n- Name the mailbox, document, feature, state, or error the user would search for "
          u"later.\n- Do not repeat the filled app or screen naming fields in the title.\n- For code/terminal "
          u"captures, start with the visible editor/terminal/tool, then language plus problem or task.\n- Do not "
          u"include date, time, file extension, separators, or the words screenshot, screen, image."_s;
    edit(preset);
    return preset;
}

class BundledPresetsTest : public QObject
{
    Q_OBJECT

private slots:

    // Each token is a field's own spelling, never an alias or a variant.
    void patternFieldsAreKnown()
    {
        for (const Preset &preset : bundledPresets()) {
            const QStringList tokens = parsePattern(preset.settings.namingPattern.value_or(QString())).tokens;
            for (const QString &token : tokens) {
                const NamingPatternField *field = fieldCatalogue().fieldForToken(token.toLower());
                QVERIFY2(field && field->token == token, qPrintable(preset.name + u": "_s + token));
            }
        }
    }

    void upgrade_data()
    {
        QTest::addColumn<Preset>("stored");
        QTest::addColumn<bool>("upgraded");
        QTest::newRow("untouched-earlier-form") << earlierScreenshots() << true;
        QTest::newRow("own-date-format-not-judged")
            << earlierScreenshots([](Preset &p) { p.settings.dateFormat = u"yyyy"_s; }) << true;
        QTest::newRow("prompt-edited") << earlierScreenshots([](Preset &p) {
            p.settings.renamePromptOverride->append(u'.');
        }) << false;
        QTest::newRow("users-own-copy") << earlierScreenshots([](Preset &p) { p.bundledId.reset(); }) << false;
    }

    void upgrade()
    {
        QFETCH(Preset, stored);
        QFETCH(bool, upgraded);
        Preset current = bundledPreset(BundledPresetID::Screenshots);
        current.id = stored.id;
        current.createdAt = stored.createdAt;
        QCOMPARE(upgradedBundledPreset(stored), upgraded ? std::optional(current) : std::nullopt);
    }

    // Matched by bundled id alone: own copies and unknown ids do not count.
    void missingTemplates()
    {
        const QList<Preset> all = bundledPresets();
        Preset own, unknown;
        unknown.bundledId = u"old_template"_s;
        QCOMPARE(missingBundledPresets({ own, unknown }).size(), all.size());
        QCOMPARE(missingBundledPresets({ all.at(0), all.at(0) }).first().bundledId, all.at(1).bundledId);
        QVERIFY(missingBundledPresets(all).isEmpty());
    }

    void folderConfigFromJson_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<OptionalConfig>("config");
        QTest::addColumn<QString>("errorKey");
        AnalysisSettings kebab;
        kebab.namingCaseStyle = NamingCaseStyle::Kebab;
        const QUuid id(u"6F1A2B3C-4D5E-4F60-8172-93A4B5C6D7E8"_s);
        QTest::newRow("all-keys") << R"({"path": "/s", "presetId": "6f1a2b3c-4d5e-4f60-8172-93a4b5c6d7e8",
            "legacySettings": {"namingCaseStyle": "kebab"}})"_ba
                                  << OptionalConfig({ u"/s"_s, id, kebab }) << QString();
        QTest::newRow("preset-id-not-uuid")
            << R"({"path": "/s", "presetId": "abc", "legacySettings": {}})"_ba << OptionalConfig() << u"presetId"_s;
        QTest::newRow("legacy-settings-unknown-case")
            << R"({"path": "/s", "legacySettings": {"namingCaseStyle": "shouting"}})"_ba << OptionalConfig()
            << u"namingCaseStyle"_s;
    }

    void folderConfigFromJson()
    {
        QFETCH(QByteArray, json);
        QFETCH(OptionalConfig, config);
        QFETCH(QString, errorKey);
        QString error;
        QCOMPARE(watchedFolderConfigFromJson(QJsonDocument::fromJson(json).object(), &error), config);
        QVERIFY2(errorKey.isEmpty() ? error.isEmpty() : error.contains(u'"' + errorKey + u'"'), qPrintable(error));
    }
};

QTEST_GUILESS_MAIN(BundledPresetsTest)

#include "bundledpresetstest.moc"
