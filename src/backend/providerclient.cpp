#include "backend/providerclient.h"

#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>
#include <memory>

#include <qcoro/qcorosignal.h>

#include "ai/analysisprompt.h"
#include "backend/backendlog.h"
#include "backend/providerfailure.h"

namespace Nomly {

namespace {

struct ReplyDeleter
{
    void operator()(QNetworkReply *reply) const { reply->deleteLater(); }
};

AnalyzeResponse failed(const QString &text)
{
    AnalyzeResponse response;
    response.error = text;
    return response;
}

} // namespace

ProviderClient::ProviderClient(QNetworkAccessManager &network, std::chrono::milliseconds timeout)
    : m_network(network)
    , m_timeout(timeout)
{}

QCoro::Task<AnalyzeResponse> ProviderClient::analyze(ProviderCall call, AnalyzeRequest request)
{
    const QByteArray body = call.body(analysisPrompt(request), request);
    QElapsedTimer clock;
    clock.start();
    const std::unique_ptr<QNetworkReply, ReplyDeleter> reply(m_network.post(call.networkRequest(), body));
    // The whole call has one deadline, not an idle limit: a provider that
    // trickles its answer still ends in time.
    bool timedOut = false;
    QTimer deadline;
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, reply.get(), [&timedOut, &reply] {
        timedOut = true;
        reply->abort();
    });
    deadline.start(m_timeout);
    if (!reply->isFinished()) {
        auto finished = qCoro(reply.get(), &QNetworkReply::finished);
        co_await finished;
    }
    deadline.stop();

    const QVariant statusAttribute = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    ProviderFailure failure;
    failure.status = statusAttribute.isValid() ? statusAttribute.toInt() : 0;
    if (reply->isOpen())
        failure.body = reply->readAll();
    if (timedOut) {
        failure.kind = ProviderFailure::Kind::TimedOut;
    } else if (failure.status == 0) {
        failure.kind = ProviderFailure::Kind::Dropped;
    } else {
        failure.kind = ProviderFailure::Kind::Status;
    }
    const bool answered
        = failure.kind == ProviderFailure::Kind::Status && failure.status >= 200 && failure.status < 300;
    if (!answered) {
        qCWarning(lcBackend).noquote() << QStringLiteral("Provider call failed: %1 sent_bytes=%2 ms=%3")
                                              .arg(providerFailureSummary(call.provider, failure))
                                              .arg(body.size())
                                              .arg(clock.elapsed());
        co_return failed(providerFailureText(call.provider, failure));
    }
    qCInfo(lcBackend).noquote() << QStringLiteral("Provider call: %1 status=%2 sent_bytes=%3 received_bytes=%4 ms=%5")
                                       .arg(call.effectiveName())
                                       .arg(failure.status)
                                       .arg(body.size())
                                       .arg(failure.body.size())
                                       .arg(clock.elapsed());
    const std::optional<QString> text = call.answerText(failure.body);
    std::optional<AnalyzeResponse> answer = text ? parseModelAnswer(*text) : std::nullopt;
    if (!answer) {
        qCWarning(lcBackend).noquote() << "Unreadable model answer from" << call.effectiveName();
        co_return failed(QStringLiteral("AI analysis failed"));
    }
    answer->error.reset();
    co_return *answer;
}

} // namespace Nomly
