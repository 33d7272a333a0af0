#include <QJsonDocument>
#include <QTest>
#include <functional>

#include "settings/settingsjson.h"

using namespace Nomly;

Q_DECLARE_METATYPE(Nomly::Settings)

namespace {

QJsonObject object(const QByteArray &json)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        qFatal("test data is not JSON: %s", json.constData());
    return document.object();
}

Settings defaultsWith(const std::function<void(Settings &)> &change)
{
    Settings settings;
    change(settings);
    return settings;
}

// The keys of the outermost object in the order they appear in the text.
QStringList topLevelKeys(const QByteArray &json)
{
    QStringList keys;
    int depth = 0;
    bool inString = false;
    qsizetype stringStart = 0;
    for (qsizetype i = 0; i < json.size(); ++i) {
        const char c = json.at(i);
        if (inString) {
            if (c == '\\') {
                ++i;
            } else if (c == '"') {
                inString = false;
                if (depth == 1 && i + 1 < json.size() && json.at(i + 1) == ':')
                    keys.append(QString::fromUtf8(json.mid(stringStart, i - stringStart)));
            }
        } else if (c == '"') {
            inString = true;
            stringStart = i + 1;
        } else if (c == '{' || c == '[') {
            ++depth;
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
    return keys;
}

void insertBefore(QStringList &keys, const QString &anchor, const QStringList &inserted)
{
    const qsizetype at = keys.indexOf(anchor);
    for (qsizetype i = 0; i < inserted.size(); ++i)
        keys.insert(at + i, inserted.at(i));
}

// The keys every record writes, in field order.
const QStringList RequiredKeys
    = QStringLiteral(
          "watchedFolders namingPattern namingCaseStyle namingWordSeparator namingBlockSeparator autoStart "
          "isCustomPatternEnabled addFinderTags addSpotlightMetadata monitorSubfolders monitoringPaused showDockIcon "
          "appSoundsEnabled appearance interfaceLanguage outputLanguage dateFormat monitorFilePrefix hotkeyEnabled "
          "aiProvider hasGeminiApiKey hasGroqApiKey hasOpenaiApiKey hasClaudeApiKey byokEnabled aiProcessingMode "
          "localAIBackend localAIEndpoint localAIModel iWorkOnlinePreviewsEnabled")
          .split(u' ');

// Every field set away from its default, every optional one present.
Settings everythingSet()
{
    Settings s;
    s.watchedFolders = { QStringLiteral("/home/u/Downloads"), QStringLiteral("/home/u/Desktop") };
    s.namingPattern = QStringLiteral("{created_date}_{title}");
    s.namingPatternBlocks = QList<NamingPatternBlock> {
        { NamingPatternBlock::Kind::Variable, QStringLiteral("{created_date}"), std::nullopt },
        { NamingPatternBlock::Kind::Variable, QStringLiteral("{title}"), NamingPatternSeparator::Underscore },
    };
    s.namingCaseStyle = NamingCaseStyle::Kebab;
    s.namingWordSeparator = NamingPatternSeparator::None;
    s.namingBlockSeparator = NamingPatternSeparator::Dot;
    s.autoStart = s.isCustomPatternEnabled = s.addFinderTags = s.addSpotlightMetadata = true;
    s.monitorSubfolders = s.showDockIcon = s.appSoundsEnabled = false;
    s.monitoringPaused = true;
    s.appearance = AppearanceMode::Dark;
    s.interfaceLanguage = InterfaceLanguage::Zh;
    s.outputLanguage = QStringLiteral("de");
    s.dateFormat = QStringLiteral("dd.MM.yyyy");
    s.monitorFilePrefix = QStringLiteral("scan \"x\"");
    s.monitorFileExtensions = QStringList { QStringLiteral("pdf"), QStringLiteral("png") };
    s.hotkeyEnabled = true;
    s.hotkeyShortcut = KeyboardShortcut { 2, KeyboardShortcut::ControlModifier | KeyboardShortcut::OptionModifier };
    s.aiProvider = AIProvider::Groq;
    s.hasGeminiApiKey = s.hasGroqApiKey = s.hasOpenaiApiKey = s.hasClaudeApiKey = s.byokEnabled = true;
    s.byokGeminiModel = QStringLiteral("gemini-x");
    s.byokGroqModel = QStringLiteral("qwen/qwen3.6-27b");
    s.byokOpenaiModel = QStringLiteral("gpt-x");
    s.byokClaudeModel = QStringLiteral("claude-x");
    s.aiProcessingMode = AIProcessingMode::Local;
    s.localAIEndpoint = QStringLiteral("http://10.0.0.2:8080");
    s.localAIModel = QStringLiteral("llava");
    s.renamePromptOverride = QStringLiteral("Short names\nplease");
    s.tagPromptOverride = QString();
    s.iWorkOnlinePreviewsEnabled = false;
    return s;
}

} // namespace

class SettingsJsonTest : public QObject
{
    Q_OBJECT

private slots:
    void decode_data();
    void decode();
    void decodeFailure_data();
    void decodeFailure();
    void keyOrder_data();
    void keyOrder();
    void roundTrip_data();
    void roundTrip();
};

// Records written by every earlier version must come back with the fields
// they meant, filled from the keys they did have. `changed` lists, as stored
// JSON, the fields that differ from the defaults after decoding.
void SettingsJsonTest::decode_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QByteArray>("changed");

    QTest::newRow("empty-object-is-defaults") << QByteArray("{}") << QByteArray("{}");
    QTest::newRow("null-keeps-default") << QByteArray(
        R"({"showDockIcon":null,"hotkeyShortcut":null,"byokGeminiModel":null})")
                                        << QByteArray("{}");
    QTest::newRow("title-name-token-gives-title-and-underscore")
        << QByteArray(R"({"namingPattern":"{Title_Name}"})")
        << QByteArray(R"({"namingPattern":"{Title_Name}","namingWordSeparator":"_"})");
    QTest::newRow("plain-title-token-gives-lower-case")
        << QByteArray(R"({"namingPattern":"{title}"})") << QByteArray(R"({"namingCaseStyle":"lower"})");
    QTest::newRow("camel-token-joins-words")
        << QByteArray(R"({"namingPattern":"{date} {titleName}"})")
        << QByteArray(R"({"namingPattern":"{date} {titleName}","namingCaseStyle":"camel","namingWordSeparator":""})");
    QTest::newRow("upper-underscored-token")
        << QByteArray(R"({"namingPattern":"{TITLE_NAME}"})")
        << QByteArray(R"({"namingPattern":"{TITLE_NAME}","namingCaseStyle":"upper","namingWordSeparator":"_"})");
    QTest::newRow("legacy-token-beats-style-implication")
        << QByteArray(R"({"namingPattern":"{Title name}","namingCaseStyle":"kebab"})")
        << QByteArray(R"({"namingPattern":"{Title name}","namingCaseStyle":"kebab"})");
    QTest::newRow("stored-style-implies-word-separator")
        << QByteArray(R"({"namingPattern":"{date}","namingCaseStyle":"dot"})")
        << QByteArray(R"({"namingPattern":"{date}","namingCaseStyle":"dot","namingWordSeparator":"."})");
    QTest::newRow("legacy-separator-beats-tokens")
        << QByteArray(R"({"namingPattern":"{Title_Name}","namingSeparator":"-"})")
        << QByteArray(R"({"namingPattern":"{Title_Name}","namingWordSeparator":"-","namingBlockSeparator":"-"})");
    QTest::newRow("two-tokens-give-block-separator")
        << QByteArray(R"({"namingPattern":"{created_date}_{title}","namingCaseStyle":"title"})")
        << QByteArray(R"({"namingPattern":"{created_date}_{title}","namingBlockSeparator":"_"})");
    QTest::newRow("pattern-gap-beats-legacy-separator")
        << QByteArray(R"({"namingPattern":"{a}.{b}","namingSeparator":"_","namingCaseStyle":"title"})")
        << QByteArray(R"({"namingPattern":"{a}.{b}","namingWordSeparator":"_","namingBlockSeparator":"."})");
    QTest::newRow("single-token-takes-legacy-separator")
        << QByteArray(R"({"namingPattern":"{date}","namingSeparator":"","namingCaseStyle":"title"})")
        << QByteArray(R"({"namingPattern":"{date}","namingWordSeparator":"","namingBlockSeparator":""})");
    QTest::newRow("single-token-alone-keeps-space")
        << QByteArray(R"({"namingPattern":"{date}"})") << QByteArray(R"({"namingPattern":"{date}"})");
    QTest::newRow("stored-separators-win")
        << QByteArray(R"({"namingPattern":"{a}_{b}","namingCaseStyle":"snake","namingWordSeparator":"-",)"
                      R"("namingBlockSeparator":" ","namingSeparator":"."})")
        << QByteArray(R"({"namingPattern":"{a}_{b}","namingCaseStyle":"snake","namingWordSeparator":"-"})");
    QTest::newRow("metadata-tags-fill-both-flags")
        << QByteArray(R"({"addMetadataTags":true})")
        << QByteArray(R"({"addFinderTags":true,"addSpotlightMetadata":true})");
    QTest::newRow("new-flag-beats-metadata-tags") << QByteArray(R"({"addMetadataTags":true,"addFinderTags":false})")
                                                  << QByteArray(R"({"addSpotlightMetadata":true})");
    QTest::newRow("legacy-api-keys-mark-keys-held")
        << QByteArray(R"({"geminiApiKey":"g-1","groqApiKey":"","claudeApiKey":"c-1","hasClaudeApiKey":false})")
        << QByteArray(R"({"hasGeminiApiKey":true})");
    QTest::newRow("byok-models-normalised")
        << QByteArray(R"({"byokGroqModel":" QWEN/Qwen3.6-27B\n","byokOpenaiModel":"  gpt-x ",)"
                      R"("byokClaudeModel":" \n ","byokGeminiModel":"gemini-pro"})")
        << QByteArray(
               R"({"byokGroqModel":"qwen/qwen3.6-27b","byokOpenaiModel":"gpt-x","byokGeminiModel":"gemini-pro"})");
    QTest::newRow("other-groq-model-dropped") << QByteArray(R"({"byokGroqModel":"llama-3.3-70b"})") << QByteArray("{}");
    QTest::newRow("unknown-processing-mode-is-cloud")
        << QByteArray(R"({"aiProcessingMode":"turbo","autoStart":true})") << QByteArray(R"({"autoStart":true})");
    QTest::newRow("mistyped-processing-mode-is-cloud") << QByteArray(R"({"aiProcessingMode":2})") << QByteArray("{}");
    QTest::newRow("known-processing-mode")
        << QByteArray(R"({"aiProcessingMode":"off"})") << QByteArray(R"({"aiProcessingMode":"off"})");
    QTest::newRow("shortcut-and-extensions")
        << QByteArray(R"({"hotkeyShortcut":{"keyCode":0,"modifiers":4352},"monitorFileExtensions":[]})")
        << QByteArray(R"({"hotkeyShortcut":{"keyCode":0,"modifiers":4352},"monitorFileExtensions":[]})");
}

void SettingsJsonTest::decode()
{
    QFETCH(QByteArray, json);
    QFETCH(QByteArray, changed);

    QJsonObject expected = toJson(Settings());
    const QJsonObject changes = object(changed);
    for (auto it = changes.begin(); it != changes.end(); ++it)
        expected.insert(it.key(), it.value());

    QString error;
    const std::optional<Settings> decoded = settingsFromJson(object(json), &error);
    QVERIFY2(decoded, qPrintable(error));
    QCOMPARE(QJsonDocument(toJson(*decoded)).toJson(QJsonDocument::Compact),
             QJsonDocument(expected).toJson(QJsonDocument::Compact));
}

void SettingsJsonTest::decodeFailure_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("key");

    QTest::newRow("unknown-provider") << QByteArray(R"({"aiProvider":"mistral"})") << QStringLiteral("aiProvider");
    QTest::newRow("string-for-bool") << QByteArray(R"({"autoStart":"yes"})") << QStringLiteral("autoStart");
    QTest::newRow("unknown-case-style") << QByteArray(R"({"namingCaseStyle":"shouting"})")
                                        << QStringLiteral("namingCaseStyle");
    QTest::newRow("separator-by-case-name")
        << QByteArray(R"({"namingWordSeparator":"underscore"})") << QStringLiteral("namingWordSeparator");
    QTest::newRow("number-in-folder-list")
        << QByteArray(R"({"watchedFolders":["/a",3]})") << QStringLiteral("watchedFolders");
    QTest::newRow("block-without-kind") << QByteArray(R"({"namingPatternBlocks":[{"value":"{title}"}]})")
                                        << QStringLiteral("namingPatternBlocks");
    QTest::newRow("negative-key-code") << QByteArray(R"({"hotkeyShortcut":{"keyCode":-1,"modifiers":0}})")
                                       << QStringLiteral("hotkeyShortcut");
    QTest::newRow("fractional-modifiers")
        << QByteArray(R"({"hotkeyShortcut":{"keyCode":15,"modifiers":1.5}})") << QStringLiteral("hotkeyShortcut");
    QTest::newRow("mistyped-legacy-separator")
        << QByteArray(R"({"namingSeparator":5})") << QStringLiteral("namingSeparator");
    QTest::newRow("mistyped-legacy-api-key") << QByteArray(R"({"geminiApiKey":42})") << QStringLiteral("geminiApiKey");
    QTest::newRow("unknown-backend") << QByteArray(R"({"localAIBackend":"llamacpp"})")
                                     << QStringLiteral("localAIBackend");
    QTest::newRow("first-bad-key-named") << QByteArray(R"({"appearance":"sepia","iWorkOnlinePreviewsEnabled":1})")
                                         << QStringLiteral("appearance");
}

void SettingsJsonTest::decodeFailure()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, key);

    QString error;
    QVERIFY(!settingsFromJson(object(json), &error));
    QVERIFY2(error.contains(u'"' + key + u'"'), qPrintable(error));
}

void SettingsJsonTest::keyOrder_data()
{
    QTest::addColumn<Settings>("settings");
    QTest::addColumn<QStringList>("keys");

    QStringList withShortcut = RequiredKeys;
    insertBefore(withShortcut, QStringLiteral("aiProvider"), { QStringLiteral("hotkeyShortcut") });
    QTest::newRow("defaults-omit-absent-optionals") << Settings() << withShortcut;
    QTest::newRow("absent-shortcut-omitted")
        << defaultsWith([](Settings &s) { s.hotkeyShortcut.reset(); }) << RequiredKeys;

    QStringList all = withShortcut;
    insertBefore(all, QStringLiteral("namingCaseStyle"), { QStringLiteral("namingPatternBlocks") });
    insertBefore(all, QStringLiteral("hotkeyEnabled"), { QStringLiteral("monitorFileExtensions") });
    insertBefore(all,
                 QStringLiteral("aiProcessingMode"),
                 { QStringLiteral("byokGeminiModel"),
                   QStringLiteral("byokGroqModel"),
                   QStringLiteral("byokOpenaiModel"),
                   QStringLiteral("byokClaudeModel") });
    insertBefore(all,
                 QStringLiteral("iWorkOnlinePreviewsEnabled"),
                 { QStringLiteral("renamePromptOverride"), QStringLiteral("tagPromptOverride") });
    QTest::newRow("every-optional-in-place") << everythingSet() << all;
}

void SettingsJsonTest::keyOrder()
{
    QFETCH(Settings, settings);
    QFETCH(QStringList, keys);

    const QByteArray bytes = settingsToJsonBytes(settings);
    QCOMPARE(topLevelKeys(bytes), keys);
    QCOMPARE(object(bytes), toJson(settings));
}

void SettingsJsonTest::roundTrip_data()
{
    QTest::addColumn<Settings>("settings");
    QTest::addColumn<Settings>("expected");

    QTest::newRow("defaults") << Settings() << Settings();
    QTest::newRow("everything-set") << everythingSet() << everythingSet();
    // A shortcut is never stored as absent, so reading it back restores the
    // built-in one.
    QTest::newRow("absent-shortcut-returns-as-default")
        << defaultsWith([](Settings &s) { s.hotkeyShortcut.reset(); }) << Settings();
}

void SettingsJsonTest::roundTrip()
{
    QFETCH(Settings, settings);
    QFETCH(Settings, expected);

    QString error;
    const std::optional<Settings> decoded = settingsFromJson(object(settingsToJsonBytes(settings)), &error);
    QVERIFY2(decoded, qPrintable(error));
    QVERIFY(*decoded == expected);
}

QTEST_GUILESS_MAIN(SettingsJsonTest)

#include "settingsjsontest.moc"
