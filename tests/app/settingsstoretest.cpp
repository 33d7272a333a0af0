// The settings record in a real database and the one-shot migrations, from a
// fresh profile and from one that older versions left behind.

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <sqlite3.h>

#include "app/migrationservice.h"
#include "app/settingsstore.h"
#include "history/database.h"
#include "platform/userdefaults.h"
#include "settings/settingsjson.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

// Raw SQL on the profile's file, as an older version or a damaged disk left it.
bool execute(const QString &databaseFile, const QByteArray &sql)
{
    sqlite3 *connection = nullptr;
    const bool ok = sqlite3_open(QFile::encodeName(databaseFile).constData(), &connection) == SQLITE_OK
        && sqlite3_exec(connection, sql.constData(), nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(connection);
    return ok;
}

QByteArray quoted(const QByteArray &text)
{
    return '\'' + QByteArray(text).replace('\'', "''") + '\'';
}

// Counts every write to the settings and presets tables from here on.
const QByteArray CountWrites = R"(
    CREATE TABLE writes (n INTEGER);
    CREATE TRIGGER settings_insert AFTER INSERT ON settings BEGIN INSERT INTO writes VALUES (1); END;
    CREATE TRIGGER settings_update AFTER UPDATE ON settings BEGIN INSERT INTO writes VALUES (1); END;
    CREATE TRIGGER presets_update AFTER UPDATE ON presets BEGIN INSERT INTO writes VALUES (1); END;
)";

} // namespace

class SettingsStoreTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void corruptRowGivesDefaults();
    void freshProfileSetsFlagsOnly();
    void olderProfileComesForward();
    void outputLanguage_data();
    void outputLanguage();

private:
    qint64 writes() const;
    void storePreset(const char *id, const QByteArray &settingsJson, const char *bundledId);

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<Database> m_database;
    std::unique_ptr<UserDefaults> m_defaults;
    std::unique_ptr<SettingsStore> m_store;
    QList<QPair<AIProvider, QString>> m_savedKeys;
};

void SettingsStoreTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    auto database = Database::open(m_dir->path());
    QVERIFY(database.ok());
    m_database = std::move(database).value();
    m_defaults = std::make_unique<UserDefaults>(m_dir->filePath(u"Nomly.conf"_s));
    m_store = std::make_unique<SettingsStore>(*m_database, *m_defaults);
    m_savedKeys.clear();
}

void SettingsStoreTest::cleanup()
{
    m_store.reset();
    m_defaults.reset();
    m_database.reset();
    m_dir.reset();
}

qint64 SettingsStoreTest::writes() const
{
    sqlite3 *connection = nullptr;
    sqlite3_stmt *statement = nullptr;
    qint64 count = -1;
    if (sqlite3_open(QFile::encodeName(m_database->filePath()).constData(), &connection) == SQLITE_OK
        && sqlite3_prepare_v2(connection, "SELECT COUNT(*) FROM writes", -1, &statement, nullptr) == SQLITE_OK
        && sqlite3_step(statement) == SQLITE_ROW)
        count = sqlite3_column_int64(statement, 0);
    sqlite3_finalize(statement);
    sqlite3_close(connection);
    return count;
}

void SettingsStoreTest::storePreset(const char *id, const QByteArray &settingsJson, const char *bundledId)
{
    QVERIFY(execute(m_database->filePath(),
                    "INSERT INTO presets (id, name, settings_json, created_at, icon, color, bundled_id) VALUES ("
                        + quoted(id) + ", 'T', " + quoted(settingsJson) + ", '2026-01-01T00:00:00Z', '', '', "
                        + (bundledId ? quoted(bundledId) : QByteArray("NULL")) + ")"));
}

// A damaged row must not stop the launch.
void SettingsStoreTest::corruptRowGivesDefaults()
{
    QVERIFY(execute(m_database->filePath(), "INSERT INTO settings (id, data) VALUES (1, '{\"namingPattern\": 7')"));
    QCOMPARE(m_store->load(), Settings());
}

void SettingsStoreTest::freshProfileSetsFlagsOnly()
{
    MigrationService migrations(*m_store, [this](AIProvider provider, const QString &key) {
        m_savedKeys.append({ provider, key });
        return Result<>();
    });
    Settings settings = m_store->load();
    migrations.run(settings);
    QCOMPARE(settings, Settings());
    for (const QString &flag : { MigrationService::TitleCasePatternFlag,
                                 MigrationService::TitleNamePatternFlag,
                                 MigrationService::ApiKeysFlag,
                                 MigrationService::EnglishOutputLanguageFlag,
                                 MigrationService::BundledInheritedOutputLanguageFlag })
        QVERIFY2(m_defaults->boolValue(flag), qPrintable(flag));

    // The next launch finds every flag set and writes nothing.
    QVERIFY(execute(m_database->filePath(), CountWrites));
    Settings again = m_store->load();
    migrations.run(again);
    QCOMPARE(writes(), 0);
    QVERIFY(m_savedKeys.isEmpty());
}

void SettingsStoreTest::olderProfileComesForward()
{
    const QByteArray legacy = R"({"namingPattern": "{title}_{date}", "outputLanguage": "en",
        "geminiApiKey": "g-1", "openaiApiKey": "sk-2", "groqApiKey": ""})";
    QVERIFY(execute(m_database->filePath(), "INSERT INTO settings (id, data) VALUES (1, " + quoted(legacy) + ")"));
    storePreset("11111111-1111-1111-1111-111111111111", R"({"outputLanguage": "en"})", nullptr);
    storePreset("22222222-2222-2222-2222-222222222222", R"({"namingPattern": "{title}"})", "screenshots");
    storePreset("33333333-3333-3333-3333-333333333333", R"({"outputLanguage": "de"})", "clinic_records");
    MigrationService migrations(*m_store, [this](AIProvider provider, const QString &key) {
        m_savedKeys.append({ provider, key });
        return Result<>();
    });

    Settings settings = m_store->load();
    migrations.run(settings);

    QCOMPARE(settings.namingPattern, u"{title}"_s);
    QCOMPARE(settings.outputLanguage, u"auto"_s);
    // Gemini before OpenAI, empty keys skipped; none left in the stored JSON.
    QCOMPARE(
        m_savedKeys,
        (QList<QPair<AIProvider, QString>> { { AIProvider::Gemini, u"g-1"_s }, { AIProvider::OpenAI, u"sk-2"_s } }));
    const QJsonObject stored = QJsonDocument::fromJson(*m_database->loadSettingsData().value()).object();
    QVERIFY(!stored.contains(u"geminiApiKey"_s));
    QVERIFY(!stored.contains(u"openaiApiKey"_s));
    QCOMPARE(m_store->load(), settings);

    QMap<QString, std::optional<QString>> languages;
    for (const Preset &preset : m_database->loadPresets().value())
        languages.insert(preset.id.toString(QUuid::WithoutBraces), preset.settings.outputLanguage);
    QCOMPARE(languages.value(u"11111111-1111-1111-1111-111111111111"_s), std::optional(u"auto"_s));
    QCOMPARE(languages.value(u"22222222-2222-2222-2222-222222222222"_s), std::optional(u"auto"_s));
    QCOMPARE(languages.value(u"33333333-3333-3333-3333-333333333333"_s), std::optional(u"de"_s));
}

void SettingsStoreTest::outputLanguage_data()
{
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("language");

    QTest::newRow("custom-legacy-pattern-stays") << QByteArray(
        R"({"namingPattern": "{title}_{date}", "isCustomPatternEnabled": true, "namingCaseStyle": "title"})")
                                                 << u"{title}_{date}"_s << u"auto"_s;
    QTest::newRow("pre-case-style-title-token")
        << QByteArray(R"({"namingPattern": "{date} {Title}"})") << u"{date} {Title Name}"_s << u"auto"_s;
}

void SettingsStoreTest::outputLanguage()
{
    QFETCH(QByteArray, stored);
    QFETCH(QString, pattern);
    QFETCH(QString, language);

    QVERIFY(execute(m_database->filePath(), "INSERT INTO settings (id, data) VALUES (1, " + quoted(stored) + ")"));
    MigrationService migrations(*m_store);
    Settings settings = m_store->load();
    migrations.run(settings);

    QCOMPARE(settings.namingPattern, pattern);
    QCOMPARE(settings.outputLanguage, language);
    QCOMPARE(m_store->load(), settings);
    // Without a secret store the key step waits for a later launch.
    QVERIFY(!m_defaults->boolValue(MigrationService::ApiKeysFlag));
}

QTEST_GUILESS_MAIN(SettingsStoreTest)
#include "settingsstoretest.moc"
