#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QHostAddress>
#include <QStandardPaths>
#include <QTextStream>
#include <cstdio>

#include "backend/backendconfig.h"
#include "backend/backendserver.h"

namespace {

struct ListenAddress
{
    QHostAddress address;
    quint16 port = 0;
    bool ok = false;
};

// "127.0.0.1:8787", "[::1]:8787" or ":8787" (loopback).
ListenAddress parseListen(const QString &text)
{
    ListenAddress out;
    const qsizetype colon = text.lastIndexOf(QLatin1Char(':'));
    if (colon < 0)
        return out;
    QString host = text.left(colon);
    if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
        host = host.mid(1, host.size() - 2);
    bool portOk = false;
    const uint port = text.mid(colon + 1).toUInt(&portOk);
    out.address = host.isEmpty() ? QHostAddress(QHostAddress::LocalHost) : QHostAddress(host);
    out.port = static_cast<quint16>(port);
    out.ok = portOk && port <= 65535 && !out.address.isNull();
    return out;
}

QString urlHost(const QHostAddress &address)
{
    const QString text = address.toString();
    return address.protocol() == QAbstractSocket::IPv6Protocol ? QStringLiteral("[") + text + QStringLiteral("]")
                                                               : text;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("nomly-backend"));
    QCoreApplication::setApplicationVersion(QStringLiteral(NOMLY_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Answers Nomly's analysis, key sync, configuration and iWork export calls, and asks the chosen AI\n"
        "provider.\n\n"
        "Environment:\n"
        "  NOMLY_BACKEND_TOKEN       the Bearer token every caller must send (required)\n"
        "  NOMLY_BACKEND_PROVIDER    openai, gemini, claude, groq, ollama or openaiCompatible: used when a request "
        "names none\n"
        "  NOMLY_OPENAI_API_KEY, NOMLY_GEMINI_API_KEY, NOMLY_ANTHROPIC_API_KEY, NOMLY_GROQ_API_KEY,\n"
        "  NOMLY_OPENAI_COMPATIBLE_API_KEY\n"
        "                            the operator's keys, for requests without the user's own key\n"
        "  NOMLY_OPENAI_BASE_URL, NOMLY_GEMINI_BASE_URL, NOMLY_ANTHROPIC_BASE_URL, NOMLY_GROQ_BASE_URL\n"
        "                            replace a provider's address, with or without the version:\n"
        "                            http://127.0.0.1:1234/v1 and http://127.0.0.1:1234 both reach\n"
        "                            /v1/chat/completions\n"
        "  NOMLY_OPENAI_COMPATIBLE_BASE_URL\n"
        "                            the OpenAI-compatible server (LM Studio, vLLM, llama.cpp's server,\n"
        "                            LocalAI) of the openaiCompatible provider, over the address requests name\n"
        "  NOMLY_BACKEND_CALLS_CLIENT_SERVERS=1\n"
        "                            lets requests name their own OpenAI-compatible server; off by default,\n"
        "                            since a shared backend would call any address a caller gives\n"
        "  NOMLY_OLLAMA_URL, NOMLY_OLLAMA_MODEL\n"
        "                            the Ollama server and model of the ollama provider\n"
        "  NOMLY_DOCUMENT_CONVERTER  LibreOffice's soffice (default: soffice in PATH), which turns Pages,\n"
        "                            Numbers and Keynote documents into PDFs for the iWork export\n\n"
        "Keys that clients sync are held in memory only, never written to disk; after a restart each\n"
        "client's own key comes with its next analysis."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption listen(QStringLiteral("listen"),
                                    QStringLiteral("Address and port to listen on (default 127.0.0.1:8787)."),
                                    QStringLiteral("address:port"),
                                    QStringLiteral("127.0.0.1:8787"));
    parser.addOption(listen);
    parser.process(app);

    QTextStream err(stderr);
    const ListenAddress where = parseListen(parser.value(listen));
    if (!where.ok) {
        err << "nomly-backend: --listen wants ADDRESS:PORT, as in 127.0.0.1:8787\n";
        return 2;
    }

    Nomly::BackendConfig config = Nomly::BackendConfig::fromEnvironment();
    // Earlier versions kept synced keys in this file; none is kept on disk
    // any more, and none may stay there.
    const QString oldKeyStore = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/nomly-backend/keys.json");
    if (QFile::exists(oldKeyStore) && QFile::remove(oldKeyStore))
        err << "nomly-backend: removed the key store earlier versions kept on disk\n";
    if (config.gatewayToken.isEmpty())
        err << "nomly-backend: NOMLY_BACKEND_TOKEN is not set, so every call will be refused\n";
    err.flush();

    Nomly::BackendServer server(config);
    if (!server.listen(where.address, where.port)) {
        err << "nomly-backend: cannot listen on " << parser.value(listen) << ": " << server.errorString() << '\n';
        return 1;
    }
    QTextStream out(stdout);
    out << "Listening on http://" << urlHost(where.address) << ':' << server.serverPort() << Qt::endl;
    return app.exec();
}
