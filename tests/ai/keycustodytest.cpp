// Provider keys kept in the file that stands in for a Secret Service, and in
// a real Secret Service when one runs in a private session bus
// (scripts/with-secret-service.sh).

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <QtConcurrent/QtConcurrentRun>

#include "ai/filesecretstore.h"
#include "ai/keychainsecretstore.h"
#include "ai/keycustody.h"
#include "ai/secretstores.h"
#include "awaited.h"

using namespace Nomly;
using namespace Nomly::Test;
using namespace Qt::StringLiterals;

namespace {

QStringList s_logLines;

void captureMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    s_logLines.append(message);
}

mode_t modeOf(const QString &path)
{
    struct stat status
    {};

    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

bool writeRaw(const QString &path, const QByteArray &bytes, QFileDevice::Permissions permissions)
{
    QFile file(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || file.write(bytes) != bytes.size()) {
        return false;
    }
    file.close();
    return file.setPermissions(permissions);
}

// The keys a fresh view of the store sees, as "provider=key".
QStringList keysSeenThrough(SecretStore &store)
{
    KeyCustody custody(store);
    QStringList seen;
    for (const auto &[provider, name] : AIProviderRawValues) {
        if (const std::optional<QString> key = awaited(custody.load(provider))) {
            seen.append(QString::fromUtf16(name) + u'=' + *key);
        }
    }
    return seen;
}

} // namespace

class KeyCustodyTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void fileKeepsOwnerOnlyMode_data();
    void fileKeepsOwnerOnlyMode();
    void damagedFileRefusesAndIsLeftAlone();
    void legacyKeyMovesOnSave();
    void twoWritersLoseNothing();

    void secretServiceRoundTrip();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_secretsPath;
};

void KeyCustodyTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_secretsPath = m_dir->filePath(u"config/Nomly/secrets.json"_s);
    s_logLines.clear();
    qInstallMessageHandler(captureMessage);
}

// No key of any test may show up in a log line.
void KeyCustodyTest::cleanup()
{
    qInstallMessageHandler(nullptr);
    for (const QString &line : std::as_const(s_logLines)) {
        QVERIFY2(!line.contains(u"sk-"_s) && !line.contains(u"Schlüssel"_s), qPrintable(line));
    }
}

// Steps are "save provider key" or "remove provider"; after each one the file
// is owner-only, even one found readable by others, and no temporary file is
// left beside it.
void KeyCustodyTest::fileKeepsOwnerOnlyMode_data()
{
    QTest::addColumn<mode_t>("umask");
    QTest::addColumn<QByteArray>("existing");
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QStringList>("seen");

    QTest::newRow("permissive-umask-still-owner-only")
        << mode_t(0) << QByteArray() << QStringList { u"save openai sk-oa-1"_s, u"save groq sk-gq-1"_s }
        << QStringList { u"openai=sk-oa-1"_s, u"groq=sk-gq-1"_s };
    QTest::newRow("later-save-replaces-key")
        << mode_t(022) << QByteArray() << QStringList { u"save claude sk-old"_s, u"save claude sk-new"_s }
        << QStringList { u"claude=sk-new"_s };
    QTest::newRow("remove-leaves-other-providers")
        << mode_t(022) << QByteArray()
        << QStringList { u"save gemini sk-g"_s, u"save openai sk-o"_s, u"remove gemini"_s }
        << QStringList { u"openai=sk-o"_s };
    QTest::newRow("loose-existing-file-is-narrowed")
        << mode_t(022) << R"({"com.nomly.apikeys":{"com.nomly.byok.groq":"c2stZ3JvcQ=="}})"_ba
        << QStringList { u"save openai sk-o"_s } << QStringList { u"openai=sk-o"_s, u"groq=sk-groq"_s };
    QTest::newRow("non-ascii-key-round-trips")
        << mode_t(022) << QByteArray() << QStringList { u"save gemini sk-Schlüssel-ü€"_s }
        << QStringList { u"gemini=sk-Schlüssel-ü€"_s };
}

void KeyCustodyTest::fileKeepsOwnerOnlyMode()
{
    QFETCH(mode_t, umask);
    QFETCH(QByteArray, existing);
    QFETCH(QStringList, steps);
    QFETCH(QStringList, seen);

    QVERIFY(existing.isEmpty()
            || writeRaw(
                m_secretsPath, existing, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadOther));
    const mode_t previousUmask = ::umask(umask);
    FileSecretStore store(m_secretsPath);
    KeyCustody custody(store);
    for (const QString &step : std::as_const(steps)) {
        const QStringList words = step.split(u' ');
        if (words.at(0) == u"save") {
            QVERIFY(awaited(custody.save(aiProviderFromRaw(words.at(1)).value(), words.at(2))));
        } else {
            QCoro::waitFor(custody.remove(aiProviderFromRaw(words.at(1)).value()));
        }
        QCOMPARE(modeOf(m_secretsPath), mode_t(0600));
        // No temporary copy is left behind; the lock file holds no secret.
        QCOMPARE(QDir(QFileInfo(m_secretsPath).path()).entryList(QDir::Files),
                 (QStringList { u"secrets.json"_s, u"secrets.json.lock"_s }));
        QCOMPARE(QFileInfo(m_secretsPath + u".lock"_s).size(), 0);
    }
    ::umask(previousUmask);

    // Another process opens the file afresh.
    FileSecretStore reopened(m_secretsPath);
    QCOMPARE(keysSeenThrough(reopened), seen);
}

// A store that cannot read its file refuses the key and loses nothing it held.
void KeyCustodyTest::damagedFileRefusesAndIsLeftAlone()
{
    const QByteArray damaged = "{\"com.nomly.apikeys\": ";
    QVERIFY(writeRaw(m_secretsPath, damaged, QFileDevice::ReadOwner | QFileDevice::WriteOwner));

    FileSecretStore store(m_secretsPath);
    KeyCustody custody(store);
    QVERIFY(!awaited(custody.save(AIProvider::OpenAI, u"sk-refused"_s)));
    QVERIFY(!awaited(custody.has(AIProvider::OpenAI)));
    QFile file(m_secretsPath);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), damaged);
}

// A key that an earlier session kept in the legacy store is found, and the
// next save moves it into the primary store.
void KeyCustodyTest::legacyKeyMovesOnSave()
{
    FileSecretStore primary(m_dir->filePath(u"primary.json"_s));
    FileSecretStore legacy(m_dir->filePath(u"legacy.json"_s));
    {
        KeyCustody earlier(legacy);
        QVERIFY(awaited(earlier.save(AIProvider::Claude, u"sk-claude-old"_s)));
    }
    KeyCustody custody(primary, &legacy);
    QCOMPARE(awaited(custody.load(AIProvider::Claude)), std::optional<QString>(u"sk-claude-old"_s));

    QVERIFY(awaited(custody.save(AIProvider::Claude, u"sk-claude-new"_s)));
    QCOMPARE(keysSeenThrough(primary), QStringList { u"claude=sk-claude-new"_s });
    QCOMPARE(keysSeenThrough(legacy), QStringList {});
}

// Two stores on one file stand for two processes: only the lock beside the
// file keeps one's read-modify-write from dropping the other's entries.
void KeyCustodyTest::twoWritersLoseNothing()
{
    const QString path = m_dir->filePath(u"shared/secrets.json"_s);
    const auto writeMany = [path](const QString &prefix) {
        FileSecretStore store(path);
        for (int i = 0; i < 40; ++i) {
            if (!awaited(store.write(u"svc"_s, prefix + QString::number(i), "v")).ok())
                return false;
        }
        return true;
    };
    auto first = QtConcurrent::run(writeMany, u"a"_s);
    auto second = QtConcurrent::run(writeMany, u"b"_s);
    QVERIFY(first.result());
    QVERIFY(second.result());

    FileSecretStore reader(path);
    int found = 0;
    for (const QString &prefix : { u"a"_s, u"b"_s }) {
        for (int i = 0; i < 40; ++i)
            found += awaited(reader.read(u"svc"_s, prefix + QString::number(i))).value().has_value() ? 1 : 0;
    }
    QCOMPARE(found, 80);
}

void KeyCustodyTest::secretServiceRoundTrip()
{
    if (!qEnvironmentVariableIsSet("NOMLY_PRIVATE_SECRET_SERVICE") || !secretServiceAvailable()) {
        QSKIP("Needs a private Secret Service; run through scripts/with-secret-service.sh");
    }
    const SecretStores stores = SecretStores::forSession(m_secretsPath);
    QVERIFY(!stores.usesFileFallback);
    KeyCustody custody(*stores.primary, stores.legacy.get());

    QVERIFY(awaited(custody.save(AIProvider::OpenAI, u"sk-service-1"_s)));
    QVERIFY(awaited(custody.save(AIProvider::OpenAI, u"sk-service-2"_s)));
    KeychainSecretStore fresh;
    QCOMPARE(keysSeenThrough(fresh), QStringList { u"openai=sk-service-2"_s });
    QVERIFY(!QFile::exists(m_secretsPath));

    QCoro::waitFor(custody.remove(AIProvider::OpenAI));
    QVERIFY(!awaited(custody.has(AIProvider::OpenAI)));
}

QTEST_GUILESS_MAIN(KeyCustodyTest)
#include "keycustodytest.moc"
