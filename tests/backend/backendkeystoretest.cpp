// The backend's store of the keys the key sync sends: what each kind of sync
// leaves, and who may read it back.

#include <QTest>

#include "backend/backendkeystore.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

namespace {

BYOKSyncRequest sync(const QString &key, std::optional<QString> model, bool enabled)
{
    BYOKSyncRequest request;
    request.deviceId = u"DEVICE-1"_s;
    request.deviceSecret = u"secret-1"_s;
    request.provider = u"claude"_s;
    request.apiKey = key;
    request.byokModel = std::move(model);
    request.enabled = enabled;
    return request;
}

BYOKSyncRequest save(const QString &key, const QString &model)
{
    return sync(key, model, true);
}

BYOKSyncRequest toggle(bool enabled)
{
    BYOKSyncRequest request = sync(QString(), std::nullopt, enabled);
    request.toggleOnly = true;
    return request;
}

BYOKSyncRequest changeModel(const QString &model)
{
    BYOKSyncRequest request = sync(QString(), model, true);
    request.modelOnly = true;
    return request;
}

BYOKSyncRequest clear()
{
    return sync(QString(), std::nullopt, false);
}

// "key|model", "key|" without a model, "" for no key.
QString describe(const std::optional<BackendKeyStore::SavedKey> &key)
{
    return key ? key->apiKey + u'|' + key->model.value_or(QString()) : QString();
}

} // namespace

Q_DECLARE_METATYPE(Nomly::BYOKSyncRequest)

class BackendKeyStoreTest : public QObject
{
    Q_OBJECT

private slots:

    void syncs_data()
    {
        QTest::addColumn<QList<BYOKSyncRequest>>("syncs");
        QTest::addColumn<QString>("saved");
        QTest::addColumn<bool>("enabled");

        QTest::newRow("save") << QList { save(u"k1"_s, u"claude-x"_s) } << u"k1|claude-x"_s << true;
        QTest::newRow("save-without-model") << QList { sync(u"k1"_s, std::nullopt, true) } << u"k1|"_s << true;
        QTest::newRow("toggle-off-keeps-key")
            << QList { save(u"k1"_s, u"claude-x"_s), toggle(false) } << u"k1|claude-x"_s << false;
        QTest::newRow("model-only-keeps-key")
            << QList { save(u"k1"_s, u"claude-x"_s), changeModel(u"claude-y"_s) } << u"k1|claude-y"_s << true;
        QTest::newRow("clear-forgets") << QList { save(u"k1"_s, u"claude-x"_s), clear() } << QString() << false;
        QTest::newRow("resave-replaces") << QList { save(u"k1"_s, u"a"_s), save(u"k2"_s, u"b"_s) } << u"k2|b"_s << true;
    }

    void syncs()
    {
        QFETCH(QList<BYOKSyncRequest>, syncs);
        QFETCH(QString, saved);
        QFETCH(bool, enabled);

        BackendKeyStore store;
        std::optional<bool> lastEnabled;
        for (const BYOKSyncRequest &request : syncs) {
            const Result<BYOKSyncResponse> reply = store.apply(request);
            QVERIFY2(reply.ok(), qPrintable(reply.error()));
            QCOMPARE(reply.value().aiProvider, u"claude"_s);
            lastEnabled = reply.value().byokEnabled;
        }
        QCOMPARE(lastEnabled, enabled);
        QCOMPARE(describe(store.savedKey(u"DEVICE-1"_s, u"secret-1"_s, BackendProvider::Claude)), saved);
        QCOMPARE(store.chosenProvider(u"DEVICE-1"_s, u"secret-1"_s), BackendProvider::Claude);
    }

    void otherSecretIsRefused_data()
    {
        QTest::addColumn<QString>("secret");
        QTest::newRow("another") << u"secret-2"_s;
        QTest::newRow("empty") << QString();
    }

    void otherSecretIsRefused()
    {
        QFETCH(QString, secret);

        BackendKeyStore store;
        QVERIFY(store.apply(save(u"k1"_s, u"m"_s)).ok());
        BYOKSyncRequest intruder = save(u"k2"_s, u"m"_s);
        intruder.deviceSecret = secret;
        const Result<BYOKSyncResponse> reply = store.apply(intruder);
        QVERIFY(!reply.ok());
        QCOMPARE(reply.failure().code, 403);
        QVERIFY(!store.savedKey(u"DEVICE-1"_s, secret, BackendProvider::Claude));
        QCOMPARE(describe(store.savedKey(u"DEVICE-1"_s, u"secret-1"_s, BackendProvider::Claude)), u"k1|m"_s);
    }

    void unknownProviderIsRefused()
    {
        BackendKeyStore store;
        BYOKSyncRequest request = save(u"k1"_s, u"m"_s);
        request.provider = u"mistral"_s;
        QCOMPARE(store.apply(request).failure().code, 400);
    }
};

QTEST_GUILESS_MAIN(BackendKeyStoreTest)
#include "backendkeystoretest.moc"
