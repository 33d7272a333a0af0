// The installation's identifier and secret: where each comes from, that a
// secret is made once even for callers on several threads, and that a secret
// no store keeps is never handed out.

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include "ai/deviceservice.h"
#include "ai/filesecretstore.h"
#include "awaited.h"
#include "platform/userdefaults.h"

using namespace Nomly;
using namespace Nomly::Test;
using namespace Qt::StringLiterals;

namespace {

QStringList s_logLines;

void captureMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    s_logLines.append(message);
}

constexpr QByteArrayView MachineId = "4c4c4544003957108052b4c04f383232\n";

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString storedText(SecretStore &store, const QString &account)
{
    const auto stored = awaited(store.read(DeviceService::ServiceName, account));
    return stored && stored.value() ? QString::fromUtf8(*stored.value()) : QString();
}

} // namespace

class DeviceServiceTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void idFromMachineId_data();
    void idFromMachineId();
    void deviceIdSource_data();
    void deviceIdSource();
    void secretIsMadeOnceAndKept();
    void parallelFirstCallsShareOneSecret();
    void secretFromLegacyStore();
    void secretRefusal_data();
    void secretRefusal();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

void DeviceServiceTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    s_logLines.clear();
    qInstallMessageHandler(captureMessage);
}

void DeviceServiceTest::cleanup()
{
    qInstallMessageHandler(nullptr);
}

void DeviceServiceTest::idFromMachineId_data()
{
    QTest::addColumn<QByteArray>("machineId");
    QTest::addColumn<bool>("accepted");

    QTest::newRow("machine-id-with-newline") << MachineId.toByteArray() << true;
    QTest::newRow("machine-id-without-newline") << QByteArray("0123456789abcdef0123456789abcdef") << true;
    QTest::newRow("all-zero-is-no-identity") << QByteArray(32, '0') << false;
    QTest::newRow("short-text-is-no-identity") << QByteArray("0123456789abcdef") << false;
    QTest::newRow("non-hex-is-no-identity") << QByteArray("0123456789abcdef0123456789abcdeg") << false;
    QTest::newRow("uninitialized-marker-is-no-identity") << QByteArray("uninitialized\n") << false;
}

// The identifier is an upper-case UUID derived by a keyed hash: stable for a
// machine, and nothing of the machine id shows in it.
void DeviceServiceTest::idFromMachineId()
{
    QFETCH(QByteArray, machineId);
    QFETCH(bool, accepted);

    const QString id = DeviceService::deviceIdFromMachineId(machineId);
    QCOMPARE(!id.isEmpty(), accepted);
    if (accepted) {
        static const QRegularExpression uuidShape(
            u"^[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"_s);
        QVERIFY2(uuidShape.match(id).hasMatch(), qPrintable(id));
        QCOMPARE(DeviceService::deviceIdFromMachineId(machineId.trimmed() + '\n'), id);
        const QString raw = QString::fromLatin1(machineId.trimmed()).toUpper();
        QVERIFY(!QString(id).remove(u'-').contains(raw.left(8)));
    }
}

void DeviceServiceTest::deviceIdSource_data()
{
    QTest::addColumn<QByteArray>("machineId");
    QTest::addColumn<QString>("inDefaults");
    QTest::addColumn<QString>("inStore");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("logLine");

    const QString fromMachine = DeviceService::deviceIdFromMachineId(MachineId.toByteArray());
    QTest::newRow("machine-id-wins-over-defaults")
        << MachineId.toByteArray() << u"11111111-2222-3333-4444-555555555555"_s << QString() << fromMachine
        << u"Device ID loaded from hardware UUID"_s;
    QTest::newRow("unreadable-machine-id-falls-back-to-defaults")
        << QByteArray() << u"aaaaaaaa-bbbb-cccc-dddd-eeeeeeeeeeee"_s << QString()
        << u"AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE"_s << u"Device ID loaded from UserDefaults"_s;
    QTest::newRow("malformed-machine-id-falls-back-to-defaults")
        << QByteArray("not a machine id") << u"AAAAAAAA-0000-0000-0000-000000000001"_s << QString()
        << u"AAAAAAAA-0000-0000-0000-000000000001"_s << u"Device ID loaded from UserDefaults"_s;
    QTest::newRow("keyring-item-when-defaults-are-empty")
        << QByteArray() << QString() << u"cccccccc-0000-0000-0000-000000000002"_s
        << u"CCCCCCCC-0000-0000-0000-000000000002"_s << QString();
}

void DeviceServiceTest::deviceIdSource()
{
    QFETCH(QByteArray, machineId);
    QFETCH(QString, inDefaults);
    QFETCH(QString, inStore);
    QFETCH(QString, expected);
    QFETCH(QString, logLine);

    const QString machineIdPath = m_dir->filePath(u"machine-id"_s);
    if (!machineId.isEmpty()) {
        QVERIFY(writeFile(machineIdPath, machineId));
    }
    UserDefaults defaults(m_dir->filePath(u"Nomly.conf"_s));
    if (!inDefaults.isEmpty()) {
        defaults.setValue(DeviceService::DeviceIdKey, inDefaults);
    }
    FileSecretStore store(m_dir->filePath(u"secrets.json"_s));
    if (!inStore.isEmpty()) {
        QVERIFY(awaited(store.write(DeviceService::ServiceName, DeviceService::DeviceIdKey, inStore.toUtf8())).ok());
    }

    DeviceService service(defaults, store, nullptr, machineIdPath);
    QCOMPARE(awaited(service.deviceId()), expected);
    QCOMPARE(awaited(service.deviceId()), expected);
    if (!logLine.isEmpty()) {
        QCOMPARE(s_logLines.count(logLine), 1);
    }
    if (logLine.contains(u"hardware"_s)) {
        QCOMPARE(defaults.value(DeviceService::DeviceIdKey).toString(), expected);
    }
}

void DeviceServiceTest::secretIsMadeOnceAndKept()
{
    UserDefaults defaults(m_dir->filePath(u"Nomly.conf"_s));
    FileSecretStore store(m_dir->filePath(u"secrets.json"_s));
    QString first;
    {
        DeviceService service(defaults, store, nullptr, m_dir->filePath(u"none"_s));
        const Result<QString> secret = awaited(service.deviceSecret());
        QVERIFY(secret.ok());
        first = secret.value();
        QCOMPARE(first.size(), 43);
        QVERIFY(QRegularExpression(u"^[A-Za-z0-9_-]{43}$"_s).match(first).hasMatch());
        QCOMPARE(storedText(store, DeviceService::DeviceSecretKey), first);
    }
    // The next launch finds the same secret.
    FileSecretStore reopened(m_dir->filePath(u"secrets.json"_s));
    DeviceService next(defaults, reopened, nullptr, m_dir->filePath(u"none"_s));
    QCOMPARE(awaited(next.deviceSecret()).value(), first);
    QVERIFY(DeviceService::newDeviceSecret() != DeviceService::newDeviceSecret());
}

void DeviceServiceTest::parallelFirstCallsShareOneSecret()
{
    for (int round = 0; round < 10; ++round) {
        QTemporaryDir dir;
        UserDefaults defaults(dir.filePath(u"Nomly.conf"_s));
        FileSecretStore store(dir.filePath(u"secrets.json"_s));
        DeviceService service(defaults, store, nullptr, dir.filePath(u"none"_s));

        constexpr int Callers = 6;
        std::array<QString, Callers> seen;
        std::vector<std::unique_ptr<QThread>> threads;
        for (int i = 0; i < Callers; ++i) {
            threads.emplace_back(QThread::create([&service, &seen, i] {
                const Result<QString> secret = awaited(service.deviceSecret());
                seen[static_cast<size_t>(i)] = secret.ok() ? secret.value() : QString();
            }));
        }
        for (auto &thread : threads) {
            thread->start();
        }
        for (auto &thread : threads) {
            QVERIFY(thread->wait(10000));
        }
        const QString kept = storedText(store, DeviceService::DeviceSecretKey);
        QCOMPARE(kept.size(), 43);
        for (const QString &secret : seen) {
            QCOMPARE(secret, kept);
        }
    }
}

void DeviceServiceTest::secretFromLegacyStore()
{
    UserDefaults defaults(m_dir->filePath(u"Nomly.conf"_s));
    FileSecretStore primary(m_dir->filePath(u"primary.json"_s));
    FileSecretStore legacy(m_dir->filePath(u"legacy.json"_s));
    QVERIFY(awaited(legacy.write(DeviceService::ServiceName, DeviceService::DeviceSecretKey, "kept-by-an-earlier-run"))
                .ok());
    DeviceService service(defaults, primary, &legacy, m_dir->filePath(u"none"_s));
    QCOMPARE(awaited(service.deviceSecret()).value(), u"kept-by-an-earlier-run"_s);
    QCOMPARE(storedText(primary, DeviceService::DeviceSecretKey), QString());
}

void DeviceServiceTest::secretRefusal_data()
{
    QTest::addColumn<QString>("obstacle");
    QTest::addColumn<QString>("logLine");

    QTest::newRow("store-cannot-be-written") << u"blocked-folder"_s << u"Data protection keychain save error: "_s;
    QTest::newRow("store-cannot-be-read-keeps-its-contents")
        << u"damaged"_s << u"Data protection keychain read error: "_s;
}

// No secret comes back, the user reads the one text for it, and a store that
// may still hold the old secret is not written over.
void DeviceServiceTest::secretRefusal()
{
    QFETCH(QString, obstacle);
    QFETCH(QString, logLine);

    QString path = m_dir->filePath(u"secrets.json"_s);
    const QByteArray damaged = "{\"com.nomly.service\": {\"com.nomly.deviceSecret\": ";
    if (obstacle == u"damaged") {
        QVERIFY(writeFile(path, damaged));
    } else {
        QVERIFY(writeFile(m_dir->filePath(u"blocker"_s), "x"));
        path = m_dir->filePath(u"blocker/secrets.json"_s);
    }
    UserDefaults defaults(m_dir->filePath(u"Nomly.conf"_s));
    FileSecretStore store(path);
    DeviceService service(defaults, store, nullptr, m_dir->filePath(u"none"_s));

    const Result<QString> secret = awaited(service.deviceSecret());
    QVERIFY(!secret.ok());
    QCOMPARE(secret.failure().code, static_cast<int>(DeviceSecretError::KeychainSaveFailed));
    QCOMPARE(secret.error(), u"Could not initialize device authentication. Please restart Nomly and try again."_s);
    QVERIFY(s_logLines.contains(u"Refusing to use transient device secret because Keychain persistence failed"_s));
    QVERIFY(std::any_of(
        s_logLines.cbegin(), s_logLines.cend(), [&](const QString &line) { return line.startsWith(logLine); }));
    if (obstacle == u"damaged") {
        QCOMPARE(readFile(path), damaged);
    }
}

QTEST_GUILESS_MAIN(DeviceServiceTest)
#include "deviceservicetest.moc"
