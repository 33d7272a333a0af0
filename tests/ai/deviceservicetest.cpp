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

const QByteArray MachineId = "4c4c4544003957108052b4c04f383232\n";

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

} // namespace

class DeviceServiceTest : public QObject
{
    Q_OBJECT

private slots:

    void init() { QVERIFY(m_dir.emplace().isValid()); }

    void idFromMachineId();
    void deviceIdSource_data();
    void deviceIdSource();
    void parallelFirstCallsShareOneKeptSecret();
    void unreadableStoreRefusesAndKeepsItsContents();

private:
    std::optional<QTemporaryDir> m_dir;
};

// An upper-case UUID from a keyed hash: stable, and showing nothing of the
// machine id; ids that name no machine give none.
void DeviceServiceTest::idFromMachineId()
{
    const QString id = DeviceService::deviceIdFromMachineId(MachineId);
    QVERIFY(QRegularExpression(u"^[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"_s)
                .match(id)
                .hasMatch());
    QCOMPARE(DeviceService::deviceIdFromMachineId(MachineId.trimmed()), id);
    QVERIFY(!QString(id).remove(u'-').contains(u"4C4C4544"_s));
    for (const QByteArray &none :
         { QByteArray(32, '0'), "0123456789abcdef0123456789abcdeg"_ba, "uninitialized\n"_ba }) {
        QVERIFY2(DeviceService::deviceIdFromMachineId(none).isEmpty(), none.constData());
    }
}

void DeviceServiceTest::deviceIdSource_data()
{
    QTest::addColumn<QByteArray>("machineId");
    QTest::addColumn<QString>("inDefaults");
    QTest::addColumn<QString>("inStore");
    QTest::addColumn<QString>("expected");

    QTest::newRow("machine-id-wins-over-defaults") << MachineId << u"11111111-2222-3333-4444-555555555555"_s
                                                   << QString() << DeviceService::deviceIdFromMachineId(MachineId);
    QTest::newRow("malformed-machine-id-falls-back-to-defaults")
        << "not a machine id"_ba << u"aaaaaaaa-0000-0000-0000-000000000001"_s << QString()
        << u"AAAAAAAA-0000-0000-0000-000000000001"_s;
    QTest::newRow("keyring-item-when-defaults-are-empty")
        << QByteArray() << QString() << u"cccccccc-0000-0000-0000-000000000002"_s
        << u"CCCCCCCC-0000-0000-0000-000000000002"_s;
}

void DeviceServiceTest::deviceIdSource()
{
    QFETCH(QByteArray, machineId);
    QFETCH(QString, inDefaults);
    QFETCH(QString, inStore);
    QFETCH(QString, expected);

    const QString machineIdPath = m_dir->filePath(u"machine-id"_s);
    QVERIFY(machineId.isEmpty() || writeFile(machineIdPath, machineId));
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
}

// Callers racing for the first secret all get the one that is kept, and the
// next launch finds it again.
void DeviceServiceTest::parallelFirstCallsShareOneKeptSecret()
{
    for (int round = 0; round < 10; ++round) {
        QTemporaryDir dir;
        UserDefaults defaults(dir.filePath(u"Nomly.conf"_s));
        FileSecretStore store(dir.filePath(u"secrets.json"_s));
        DeviceService service(defaults, store, nullptr, dir.filePath(u"none"_s));
        std::array<QString, 6> seen;
        std::vector<std::unique_ptr<QThread>> threads;
        for (size_t i = 0; i < seen.size(); ++i) {
            threads.emplace_back(QThread::create([&service, &seen, i] {
                const Result<QString> secret = awaited(service.deviceSecret());
                seen[i] = secret.ok() ? secret.value() : QString();
            }));
            threads.back()->start();
        }
        for (auto &thread : threads) {
            QVERIFY(thread->wait(10000));
        }
        FileSecretStore reopened(dir.filePath(u"secrets.json"_s));
        DeviceService next(defaults, reopened, nullptr, dir.filePath(u"none"_s));
        const QString kept = awaited(next.deviceSecret()).value();
        QVERIFY(QRegularExpression(u"^[A-Za-z0-9_-]{43}$"_s).match(kept).hasMatch());
        QCOMPARE(seen, (std::array<QString, 6> { kept, kept, kept, kept, kept, kept }));
    }
}

// No secret comes back, and a store that may still hold the old one is not
// written over.
void DeviceServiceTest::unreadableStoreRefusesAndKeepsItsContents()
{
    const QString path = m_dir->filePath(u"secrets.json"_s);
    const QByteArray damaged = "{\"com.nomly.service\": {\"com.nomly.deviceSecret\": ";
    QVERIFY(writeFile(path, damaged));
    UserDefaults defaults(m_dir->filePath(u"Nomly.conf"_s));
    FileSecretStore store(path);
    DeviceService service(defaults, store, nullptr, m_dir->filePath(u"none"_s));

    const Result<QString> secret = awaited(service.deviceSecret());
    QCOMPARE(secret.ok() ? 0 : secret.failure().code, static_cast<int>(DeviceSecretError::KeychainSaveFailed));
    QCOMPARE(secret.error(), u"Could not initialize device authentication. Please restart Nomly and try again."_s);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), damaged);
}

QTEST_GUILESS_MAIN(DeviceServiceTest)
#include "deviceservicetest.moc"
