#include <QJsonDocument>
#include <QTest>

#include "settings/settingsjson.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

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

// Every field set away from its default, every optional one present.
Settings everythingSet()
{
    Settings s;
    s.watchedFolders = { u"/home/u/Downloads"_s, u"/home/u/Desktop"_s };
    s.namingPattern = u"{created_date}_{title}"_s;
    s.namingPatternBlocks = QList<NamingPatternBlock> {
        { NamingPatternBlock::Kind::Variable, u"{created_date}"_s, std::nullopt },
        { NamingPatternBlock::Kind::Variable, u"{title}"_s, NamingPatternSeparator::Underscore },
    };
    s.namingCaseStyle = NamingCaseStyle::Kebab;
    s.namingWordSeparator = NamingPatternSeparator::None;
    s.namingBlockSeparator = NamingPatternSeparator::Dot;
    s.autoStart = s.isCustomPatternEnabled = s.addFinderTags = s.addSpotlightMetadata = s.monitoringPaused = true;
    s.monitorSubfolders = s.showDockIcon = s.appSoundsEnabled = s.iWorkOnlinePreviewsEnabled = false;
    s.appearance = AppearanceMode::Dark;
    s.interfaceLanguage = InterfaceLanguage::Zh;
    s.outputLanguage = u"de"_s;
    s.dateFormat = u"dd.MM.yyyy"_s;
    s.monitorFilePrefix = u"scan \"x\""_s;
    s.monitorFileExtensions = QStringList { u"pdf"_s, u"png"_s };
    s.hotkeyEnabled = true;
    s.hotkeyShortcut = KeyboardShortcut { 2, KeyboardShortcut::ControlModifier | KeyboardShortcut::OptionModifier };
    s.aiProvider = AIProvider::Groq;
    s.hasGeminiApiKey = s.hasGroqApiKey = s.hasOpenaiApiKey = s.hasClaudeApiKey = s.byokEnabled = true;
    s.byokGeminiModel = u"gemini-x"_s;
    s.byokGroqModel = u"qwen/qwen3.6-27b"_s;
    s.byokOpenaiModel = u"gpt-x"_s;
    s.byokClaudeModel = u"claude-x"_s;
    s.aiProcessingMode = AIProcessingMode::Local;
    s.localAIEndpoint = u"http://10.0.0.2:8080"_s;
    s.localAIModel = u"llava"_s;
    s.renamePromptOverride = u"Short names\nplease"_s;
    s.tagPromptOverride = QString();
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
    void storedForm_data();
    void storedForm();
};

// Records written by every earlier version must come back with the fields
// they meant, filled from the keys they did have. `changed` lists, as stored
// JSON, the fields that differ from the defaults after decoding.
void SettingsJsonTest::decode_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QByteArray>("changed");

    QTest::newRow("null-keeps-default") << R"({"showDockIcon":null,"hotkeyShortcut":null,"byokGeminiModel":null})"_ba
                                        << "{}"_ba;
    QTest::newRow("legacy-token-beats-style-implication")
        << R"({"namingPattern":"{Title name}","namingCaseStyle":"kebab"})"_ba
        << R"({"namingPattern":"{Title name}","namingCaseStyle":"kebab"})"_ba;
    QTest::newRow("stored-style-implies-word-separator")
        << R"({"namingPattern":"{date}","namingCaseStyle":"dot"})"_ba
        << R"({"namingPattern":"{date}","namingCaseStyle":"dot","namingWordSeparator":"."})"_ba;
    QTest::newRow("legacy-separator-beats-tokens")
        << R"({"namingPattern":"{Title_Name}","namingSeparator":"-"})"_ba
        << R"({"namingPattern":"{Title_Name}","namingWordSeparator":"-","namingBlockSeparator":"-"})"_ba;
    QTest::newRow("pattern-gap-beats-legacy-separator")
        << R"({"namingPattern":"{a}.{b}","namingSeparator":"_","namingCaseStyle":"title"})"_ba
        << R"({"namingPattern":"{a}.{b}","namingWordSeparator":"_","namingBlockSeparator":"."})"_ba;
    QTest::newRow("stored-separators-win")
        << R"({"namingPattern":"{a}_{b}","namingCaseStyle":"snake","namingWordSeparator":"-",)"
           R"("namingBlockSeparator":" ","namingSeparator":"."})"_ba
        << R"({"namingPattern":"{a}_{b}","namingCaseStyle":"snake","namingWordSeparator":"-"})"_ba;
    QTest::newRow("legacy-keys-unread-beside-new-ones")
        << R"({"hasGeminiApiKey":true,"geminiApiKey":5,"namingWordSeparator":"-","namingBlockSeparator":".",)"
           R"("namingSeparator":"x"})"_ba
        << R"({"hasGeminiApiKey":true,"namingWordSeparator":"-","namingBlockSeparator":"."})"_ba;
    QTest::newRow("new-flag-beats-metadata-tags") << R"({"addMetadataTags":true,"addFinderTags":false})"_ba
                                                  << R"({"addSpotlightMetadata":true})"_ba;
    QTest::newRow("legacy-api-keys-mark-keys-held")
        << R"({"geminiApiKey":"g-1","groqApiKey":"","claudeApiKey":"c-1","hasClaudeApiKey":false})"_ba
        << R"({"hasGeminiApiKey":true})"_ba;
    // Trimmed, blank is the provider's default, case kept except for the one
    // model Groq accepts.
    QTest::newRow("byok-models-normalised")
        << R"({"byokGroqModel":" QWEN/Qwen3.6-27B\n","byokOpenaiModel":"  GPT-x ","byokClaudeModel":" \n "})"_ba
        << R"({"byokGroqModel":"qwen/qwen3.6-27b","byokOpenaiModel":"GPT-x"})"_ba;
    QTest::newRow("unreadable-processing-mode-is-cloud") << R"({"aiProcessingMode":2,"autoStart":true})"_ba
                                                         << R"({"autoStart":true})"_ba;
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

    QTest::newRow("string-for-bool") << R"({"autoStart":"yes"})"_ba << u"autoStart"_s;
    QTest::newRow("separator-by-case-name") << R"({"namingWordSeparator":"underscore"})"_ba << u"namingWordSeparator"_s;
    QTest::newRow("negative-key-code") << R"({"hotkeyShortcut":{"keyCode":-1,"modifiers":0}})"_ba
                                       << u"hotkeyShortcut"_s;
    QTest::newRow("mistyped-legacy-api-key") << R"({"geminiApiKey":42})"_ba << u"geminiApiKey"_s;
    QTest::newRow("first-bad-key-named") << R"({"appearance":"sepia","iWorkOnlinePreviewsEnabled":1})"_ba
                                         << u"appearance"_s;
}

void SettingsJsonTest::decodeFailure()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, key);

    QString error;
    QVERIFY(!settingsFromJson(object(json), &error));
    QVERIFY2(error.contains(u'"' + key + u'"'), qPrintable(error));
}

// The stored text keeps the keys in field order, which a QJsonObject would
// sort, writes optional fields only when present, never writes old keys, and
// reads back as `expected`.
void SettingsJsonTest::storedForm_data()
{
    QTest::addColumn<Settings>("settings");
    QTest::addColumn<QStringList>("inOrder");
    QTest::addColumn<QStringList>("absent");
    QTest::addColumn<Settings>("expected");

    QTest::newRow("defaults-omit-absent-optionals")
        << Settings()
        << u"watchedFolders namingPattern hotkeyShortcut aiProvider iWorkOnlinePreviewsEnabled"_s.split(u' ')
        << u"namingPatternBlocks monitorFileExtensions byokGroqModel renamePromptOverride"_s.split(u' ') << Settings();
    QTest::newRow("every-optional-in-place")
        << everythingSet()
        << u"watchedFolders namingPattern namingPatternBlocks namingCaseStyle monitorFilePrefix monitorFileExtensions "
           "hotkeyEnabled hotkeyShortcut aiProvider byokEnabled byokGeminiModel byokGroqModel byokOpenaiModel "
           "byokClaudeModel aiProcessingMode localAIModel renamePromptOverride tagPromptOverride "
           "iWorkOnlinePreviewsEnabled"_s.split(u' ')
        << u"namingSeparator addMetadataTags geminiApiKey"_s.split(u' ') << everythingSet();
    // Reading a record without a shortcut restores the built-in one.
    Settings noShortcut;
    noShortcut.hotkeyShortcut.reset();
    QTest::newRow("absent-shortcut-returns-as-default")
        << noShortcut << u"hotkeyEnabled aiProvider"_s.split(u' ') << QStringList { u"hotkeyShortcut"_s } << Settings();
}

void SettingsJsonTest::storedForm()
{
    QFETCH(Settings, settings);
    QFETCH(QStringList, inOrder);
    QFETCH(QStringList, absent);
    QFETCH(Settings, expected);

    const QByteArray bytes = settingsToJsonBytes(settings);
    QCOMPARE(object(bytes), toJson(settings));
    const auto keyAt = [&bytes](const QString &key) { return bytes.indexOf(u"\"%1\":"_s.arg(key).toUtf8()); };
    qsizetype previous = -1;
    for (const QString &key : inOrder) {
        const qsizetype at = keyAt(key);
        QVERIFY2(at > previous, qPrintable(key));
        previous = at;
    }
    for (const QString &key : absent)
        QVERIFY2(keyAt(key) < 0, qPrintable(key));

    QString error;
    const std::optional<Settings> decoded = settingsFromJson(object(bytes), &error);
    QVERIFY2(decoded, qPrintable(error));
    QVERIFY(*decoded == expected);
}

QTEST_GUILESS_MAIN(SettingsJsonTest)

#include "settingsjsontest.moc"
