// Settings, templates and watched folders through the real `nomly` binary,
// each test in a fresh profile.

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include "cliprocess.h"

using namespace Qt::StringLiterals;
using namespace Nomly::Test;

class ProfileCommandsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void demoTemplatesSeededOnce();
    void templateCreateAndUse();
    void configSet_data();
    void configSet();
    void storedSettingsDriveNames();
    void folders_data();
    void folders();
    void keysNeverShow();

private:
    CliRun nomly(const QStringList &arguments, const QByteArray &input = {}) const
    {
        return runCli(QStringLiteral(NOMLY_BINARY), arguments, m_dir->path(), m_dir->filePath(u"files"_s), input);
    }

    QStringList templateNames() const;

    std::unique_ptr<QTemporaryDir> m_dir;
};

void ProfileCommandsTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(m_dir->path()).mkpath(u"files"_s));
    QFile file(m_dir->filePath(u"files/x.txt"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
}

QStringList ProfileCommandsTest::templateNames() const
{
    QStringList names;
    for (const QJsonValue &preset :
         QJsonDocument::fromJson(nomly({ u"templates"_s, u"list"_s, u"--json"_s }).out.toUtf8()).array())
        names.append(preset[u"name"].toString());
    return names;
}

void ProfileCommandsTest::demoTemplatesSeededOnce()
{
    QCOMPARE(templateNames().size(), 11);
    QCOMPARE(nomly({ u"templates"_s, u"delete"_s, u"screenshots"_s }).exitCode, 0);
    // Any later command must not bring it back; only restore does.
    QCOMPARE(nomly({ u"preview"_s, u"x.txt"_s }).exitCode, 0);
    QVERIFY(!templateNames().contains(u"Screenshots"_s));
    QCOMPARE(templateNames().size(), 10);
    QVERIFY(nomly({ u"templates"_s, u"restore"_s }).out.contains(u"Restored Screenshots"_s));
    QCOMPARE(templateNames().size(), 11);
    QCOMPARE(nomly({ u"templates"_s, u"delete"_s, u"No Such"_s }).exitCode, 2);
}

void ProfileCommandsTest::templateCreateAndUse()
{
    const CliRun created = nomly({ u"templates"_s,
                                   u"create"_s,
                                   u"Invoices"_s,
                                   u"--pattern"_s,
                                   u"{vendor}_{title}"_s,
                                   u"--style"_s,
                                   u"snake"_s,
                                   u"--color"_s,
                                   u"green"_s });
    QCOMPARE(created.exitCode, 0);
    QCOMPARE(nomly({ u"templates"_s, u"create"_s, u"invoices"_s }).exitCode, 2);
    QCOMPARE(nomly({ u"templates"_s, u"create"_s, u"Other"_s, u"--color"_s, u"pink"_s }).exitCode, 2);

    const QJsonObject shown
        = QJsonDocument::fromJson(nomly({ u"templates"_s, u"show"_s, u"INVOICES"_s }).out.toUtf8()).object();
    QCOMPARE(shown[u"color"].toString(), u"green"_s);
    QCOMPARE(shown[u"settings"][u"namingPattern"].toString(), u"{vendor}_{title}"_s);

    const CliRun named = nomly({ u"preview"_s,
                                 u"--template"_s,
                                 u"Invoices"_s,
                                 u"--vendor"_s,
                                 u"Acme Tools"_s,
                                 u"--title"_s,
                                 u"office chairs"_s,
                                 u"x.txt"_s });
    QCOMPARE(named.out.trimmed(), u"acme_tools_office_chairs.txt"_s);
    // Options given with --template change it for this call only.
    const CliRun changed = nomly({ u"preview"_s,
                                   u"--template"_s,
                                   u"Invoices"_s,
                                   u"--style"_s,
                                   u"kebab"_s,
                                   u"--vendor"_s,
                                   u"Acme"_s,
                                   u"--title"_s,
                                   u"chairs"_s,
                                   u"x.txt"_s });
    QCOMPARE(changed.out.trimmed(), u"acme_chairs.txt"_s);
    QCOMPARE(nomly({ u"preview"_s, u"--template"_s, u"Nope"_s, u"x.txt"_s }).exitCode, 2);
}

// A refused value exits 2 and leaves the stored value alone.
void ProfileCommandsTest::configSet_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("stored");

    QTest::newRow("case-style") << u"namingCaseStyle"_s << u"kebab"_s << 0 << u"kebab"_s;
    QTest::newRow("unknown-case-style") << u"namingCaseStyle"_s << u"nonsense"_s << 2 << u"title"_s;
    QTest::newRow("bool-spelled-out") << u"addFinderTags"_s << u"yes"_s << 2 << u"false"_s;
    QTest::newRow("list-as-json") << u"monitorFileExtensions"_s << u"[\"pdf\"]"_s << 0 << u"[\"pdf\"]"_s;
    QTest::newRow("processing-mode-would-fall-back") << u"aiProcessingMode"_s << u"sometimes"_s << 2 << u"cloud"_s;
    QTest::newRow("unknown-key") << u"colour"_s << u"red"_s << 2 << u""_s;
}

void ProfileCommandsTest::configSet()
{
    QFETCH(QString, key);
    QFETCH(QString, value);
    QFETCH(int, exitCode);
    QFETCH(QString, stored);

    const CliRun set = nomly({ u"config"_s, u"set"_s, key, value });
    QCOMPARE(set.exitCode, exitCode);
    if (exitCode != 0)
        QVERIFY(!set.err.isEmpty());
    if (!stored.isEmpty())
        QCOMPARE(nomly({ u"config"_s, u"get"_s, key }).out.trimmed(), stored);
}

void ProfileCommandsTest::storedSettingsDriveNames()
{
    QCOMPARE(nomly({ u"config"_s, u"set"_s, u"namingCaseStyle"_s, u"kebab"_s }).exitCode, 0);
    QCOMPARE(nomly({ u"preview"_s, u"--title"_s, u"Quarterly budget"_s, u"x.txt"_s }).out.trimmed(),
             u"quarterly-budget.txt"_s);
    const QJsonObject shown
        = QJsonDocument::fromJson(nomly({ u"config"_s, u"show"_s, u"--json"_s }).out.toUtf8()).object();
    QCOMPARE(shown[u"namingCaseStyle"].toString(), u"kebab"_s);
}

void ProfileCommandsTest::folders_data()
{
    QTest::addColumn<QString>("folder"); // under the profile root, which is HOME
    QTest::addColumn<int>("exitCode");

    QTest::newRow("ordinary-folder") << u"Documents/Scans"_s << 0;
    QTest::newRow("home-itself") << u""_s << 2;
    QTest::newRow("root") << u"/"_s << 2;
}

void ProfileCommandsTest::folders()
{
    QFETCH(QString, folder);
    QFETCH(int, exitCode);

    const QString path = folder.startsWith(u'/') ? folder : m_dir->filePath(folder);
    if (!folder.startsWith(u'/') && !folder.endsWith(u".txt"))
        QVERIFY(QDir().mkpath(path));

    const CliRun added = nomly({ u"folders"_s, u"add"_s, path, u"--template"_s, u"Clinic Records"_s });
    QCOMPARE(added.exitCode, exitCode);
    const QString listed = nomly({ u"folders"_s, u"list"_s }).out;
    if (exitCode != 0) {
        QVERIFY(listed.startsWith(u"No watched folders"_s));
        if (folder != u"files/x.txt")
            QVERIFY(added.err.contains(u"Folder Not Allowed"_s));
        return;
    }
    QVERIFY(listed.contains(u"Clinic Records"_s));
    QCOMPARE(nomly({ u"folders"_s, u"remove"_s, path }).exitCode, 0);
    QVERIFY(nomly({ u"folders"_s, u"list"_s }).out.startsWith(u"No watched folders"_s));
}

// Wherever the key is kept, it never shows: not in the listing, the settings,
// the database or any output. Without a Secret Service here it is the file
// only its owner can read.
void ProfileCommandsTest::keysNeverShow()
{
    const QByteArray key = "sk-test-123-never-shown";
    const CliRun set = nomly({ u"keys"_s, u"set"_s, u"OpenAI"_s }, key + '\n');
    QCOMPARE(set.exitCode, 0);
    QCOMPARE(nomly({ u"keys"_s, u"set"_s, u"openai"_s }, "").exitCode, 2);
    QCOMPARE(nomly({ u"keys"_s, u"set"_s, u"acme"_s }, key).exitCode, 2);

    const CliRun listed = nomly({ u"keys"_s, u"list"_s });
    QVERIFY(listed.out.contains(u"openai    set"_s));
    QVERIFY(listed.out.contains(u"gemini    not set"_s));
    const CliRun shown = nomly({ u"config"_s, u"show"_s, u"--json"_s });
    QVERIFY(shown.out.contains(u"\"hasOpenaiApiKey\": true"_s));
    for (const CliRun &run : { set, listed, shown })
        QVERIFY(!QString(run.out + run.err).contains(QString::fromLatin1(key)));
    QFile database(m_dir->filePath(u"data/Nomly/nomly.db"_s));
    QVERIFY(database.open(QIODevice::ReadOnly));
    QVERIFY(!database.readAll().contains(key));

    QCOMPARE(nomly({ u"keys"_s, u"remove"_s, u"openai"_s }).exitCode, 0);
    QVERIFY(nomly({ u"keys"_s, u"list"_s }).out.contains(u"openai    not set"_s));
}

QTEST_GUILESS_MAIN(ProfileCommandsTest)
#include "profilecommandstest.moc"
