// What the local route learns of Ollama: from a peer on loopback that
// answers as Ollama does, from a port where nothing listens, and from a
// machine with or without the program.

#include <QFile>
#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <QtTest>

#include "ai/localollamaservice.h"
#include "awaited.h"
#include "loopbackresponder.h"

using namespace Qt::StringLiterals;
using Nomly::Test::LoopbackResponder;

namespace Nomly {

class LocalOllamaServiceTest : public QObject
{
    Q_OBJECT

private:
    QNetworkAccessManager m_network;
    QTemporaryDir m_bin;
    QByteArray m_path;

private slots:

    void initTestCase() { m_path = qgetenv("PATH"); }

    void cleanup() { qputenv("PATH", m_path); }

    // The models a reply lists, or why there are none, and whether the
    // local route may be switched on.
    void listsInstalledModels_data()
    {
        QTest::addColumn<int>("status"); // -1: nothing listens
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("installed");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("refusal");

        QTest::newRow("models-in-reply-order")
            << 200 << R"({"models":[{"name":"qwen3:latest"},{"name":" "},{"name":" llava:7b "}]})"_ba << true
            << u"qwen3:latest llava:7b"_s << QString();
        QTest::newRow("no-models") << 200 << R"({"models":[]})"_ba << true << QString()
                                   << u"Install at least one Ollama model before enabling Offline AI mode."_s;
        QTest::newRow("server-error") << 500 << R"({"error":"boom"})"_ba << true << u"Ollama is unavailable"_s
                                      << u"Ollama is unavailable. Check your setup and try again."_s;
        QTest::newRow("not-a-tags-reply") << 200 << "<html>"_ba << true << u"Ollama is unavailable"_s
                                          << u"Ollama is unavailable. Check your setup and try again."_s;
        QTest::newRow("nothing-listens-not-installed") << -1 << QByteArray() << false << u"Ollama is not installed"_s
                                                       << u"Install Ollama before enabling Offline AI mode."_s;
        QTest::newRow("nothing-listens-installed") << -1 << QByteArray() << true << u"Ollama is not running"_s
                                                   << u"Start Ollama before enabling Offline AI mode."_s;
    }

    void listsInstalledModels()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(bool, installed);
        QFETCH(QString, expected);
        QFETCH(QString, refusal);

        // The program is looked up on the PATH; here it holds our folder
        // alone, with or without an `ollama` in it.
        QFile program(m_bin.filePath(u"ollama"_s));
        if (installed) {
            QVERIFY(program.open(QIODevice::WriteOnly));
            program.write("#!/bin/sh\n");
            program.close();
            QVERIFY(program.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
        } else {
            program.remove();
        }
        qputenv("PATH", QFile::encodeName(m_bin.path()));
        if (!installed && LocalOllamaService::isInstalled())
            QSKIP("an Ollama service unit is installed on this machine");

        std::unique_ptr<LoopbackResponder> peer;
        // Without a scheme, and as users type "localhost".
        QString endpoint = u"localhost:%1"_s.arg(Test::closedLoopbackPort());
        if (status >= 0) {
            peer = std::make_unique<LoopbackResponder>(status, body);
            endpoint = peer->baseUrl().replace(u"127.0.0.1"_s, u"localhost"_s).remove(u"http://"_s);
        }
        LocalOllamaService service(m_network);
        const auto models = Test::awaited(service.installedModels(endpoint));
        QCOMPARE(models ? models.value().join(u' ') : models.error(), expected);
        QCOMPARE(LocalOllamaService::enableRefusal(models).value_or(QString()), refusal);
        if (peer)
            QCOMPARE(peer->received.value(0).path, "/api/tags"_ba);
    }

    // A remote endpoint that doesn't answer is unavailable, never "not
    // installed": nothing is known of that machine.
    void remoteSilenceIsUnavailable()
    {
        LocalOllamaService service(m_network);
        service.setTimeout(std::chrono::milliseconds(300));
        QCOMPARE(Test::awaited(service.availability(u"http://192.0.2.1:11434"_s)), OllamaAvailability::Unavailable);
    }

    void checksTheModel_data()
    {
        QTest::addColumn<QStringList>("installed");
        QTest::addColumn<QString>("selected");
        QTest::addColumn<QString>("expected");

        const QStringList both { u"qwen3:latest"_s, u"llava"_s };
        QTest::newRow("bare-name-finds-latest") << both << u"qwen3"_s << QString();
        QTest::newRow("latest-finds-bare-name") << both << u"llava:latest"_s << QString();
        QTest::newRow("other-tag-not-found") << both << u"qwen3:8b"_s << u"Model not found: qwen3:8b"_s;
        QTest::newRow("none-installed") << QStringList() << u"qwen3"_s << u"No models installed"_s;
        QTest::newRow("nothing-chosen") << both << u" "_s << u"Choose a model"_s;
    }

    void checksTheModel()
    {
        QFETCH(QStringList, installed);
        QFETCH(QString, selected);
        QFETCH(QString, expected);
        QCOMPARE(LocalOllamaService::modelCheck(installed, selected).value_or(QString()), expected);
    }
};

} // namespace Nomly

QTEST_GUILESS_MAIN(Nomly::LocalOllamaServiceTest)
#include "localollamaservicetest.moc"
