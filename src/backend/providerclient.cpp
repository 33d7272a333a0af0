#include "backend/providerclient.h"

#include <QElapsedTimer>
#include <QHttpMultiPart>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>
#include <memory>

#include <qcoro/qcorosignal.h>

#include "ai/analysisprompt.h"
#include "backend/audiotranscription.h"
#include "backend/backendlog.h"
#include "backend/providerfailure.h"

namespace Nomly {

namespace {

struct ReplyDeleter
{
    void operator()(QNetworkReply *reply) const { reply->deleteLater(); }
};

using ReplyPointer = std::unique_ptr<QNetworkReply, ReplyDeleter>;

AnalyzeResponse failed(const QString &text)
{
    AnalyzeResponse response;
    response.error = text;
    return response;
}

bool answered(const ProviderFailure &outcome)
{
    return outcome.kind == ProviderFailure::Kind::Status && outcome.status >= 200 && outcome.status < 300;
}

// How a call ended: a status with its body, or no reply by the deadline, or
// a connection that broke. The deadline is the file's, not the call's: a
// provider that trickles its answer still ends in time.
QCoro::Task<ProviderFailure> outcomeOf(QNetworkReply *reply, QDeadlineTimer deadline)
{
    bool timedOut = false;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, reply, [&timedOut, reply] {
        timedOut = true;
        reply->abort();
    });
    timer.start(static_cast<int>(std::max<qint64>(0, deadline.remainingTime())));
    if (!reply->isFinished()) {
        auto finished = qCoro(reply, &QNetworkReply::finished);
        co_await finished;
    }
    timer.stop();

    const QVariant statusAttribute = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    ProviderFailure outcome;
    outcome.status = statusAttribute.isValid() ? statusAttribute.toInt() : 0;
    if (reply->isOpen())
        outcome.body = reply->readAll();
    if (timedOut) {
        outcome.kind = ProviderFailure::Kind::TimedOut;
    } else if (outcome.status == 0) {
        outcome.kind = ProviderFailure::Kind::Dropped;
    } else {
        outcome.kind = ProviderFailure::Kind::Status;
    }
    co_return outcome;
}

// Sizes and times only: neither the sound nor what was said reach the log.
void logOutcome(const QString &what,
                const QString &who,
                BackendProvider provider,
                const ProviderFailure &outcome,
                qint64 sentBytes,
                qint64 elapsed)
{
    if (answered(outcome)) {
        qCInfo(lcBackend).noquote() << QStringLiteral("%1: %2 status=%3 sent_bytes=%4 received_bytes=%5 ms=%6")
                                           .arg(what, who)
                                           .arg(outcome.status)
                                           .arg(sentBytes)
                                           .arg(outcome.body.size())
                                           .arg(elapsed);
    } else {
        qCWarning(lcBackend).noquote() << QStringLiteral("%1 failed: %2 sent_bytes=%3 ms=%4")
                                              .arg(what, providerFailureSummary(provider, outcome))
                                              .arg(sentBytes)
                                              .arg(elapsed);
    }
}

} // namespace

ProviderClient::ProviderClient(QNetworkAccessManager &network, std::chrono::milliseconds timeout)
    : m_network(network)
    , m_timeout(timeout)
{}

QCoro::Task<Result<QString>> ProviderClient::transcribe(const ProviderCall &call,
                                                        const AnalyzeRequest &request,
                                                        QDeadlineTimer deadline)
{
    QHttpMultiPart *form = transcriptionForm(call.provider, request);
    const qint64 sentBytes = request.audio ? request.audio->size() : 0;
    QElapsedTimer clock;
    clock.start();
    const ReplyPointer reply(m_network.post(call.transcriptionRequest(), form));
    // The reply reads the form while it sends, so the form goes with it.
    form->setParent(reply.get());
    auto finishing = outcomeOf(reply.get(), deadline);
    const ProviderFailure outcome = co_await finishing;
    logOutcome(QStringLiteral("Transcription call"),
               providerName(call.provider) + QLatin1Char(':') + transcriptionModel(call.provider),
               call.provider,
               outcome,
               sentBytes,
               clock.elapsed());
    if (!answered(outcome))
        co_return Failure { providerFailureText(call.provider, outcome) };
    std::optional<QString> text = transcriptText(outcome.body);
    if (!text) {
        qCWarning(lcBackend).noquote() << "Unreadable transcription answer from" << providerName(call.provider);
        co_return Failure { QStringLiteral("AI analysis failed") };
    }
    co_return std::move(*text);
}

QCoro::Task<AnalyzeResponse> ProviderClient::analyze(ProviderCall call, AnalyzeRequest request)
{
    // One deadline for the file, transcription and chat together, so that
    // the file still fails before the application gives up on the batch.
    const QDeadlineTimer deadline(m_timeout);
    if (carriesAudio(request) && providerTranscribes(call.provider)) {
        auto transcribing = transcribe(call, request, deadline);
        const Result<QString> transcript = co_await transcribing;
        if (!transcript)
            co_return failed(transcript.error());
        request = withTranscript(std::move(request), call.provider, transcript.value());
    }

    const QByteArray body = call.body(analysisPrompt(request), request);
    QElapsedTimer clock;
    clock.start();
    const ReplyPointer reply(m_network.post(call.networkRequest(), body));
    auto finishing = outcomeOf(reply.get(), deadline);
    const ProviderFailure outcome = co_await finishing;
    logOutcome(
        QStringLiteral("Provider call"), call.effectiveName(), call.provider, outcome, body.size(), clock.elapsed());
    if (!answered(outcome))
        co_return failed(providerFailureText(call.provider, outcome));
    const std::optional<QString> text = call.answerText(outcome.body);
    std::optional<AnalyzeResponse> answer = text ? parseModelAnswer(*text) : std::nullopt;
    if (!answer) {
        qCWarning(lcBackend).noquote() << "Unreadable model answer from" << call.effectiveName();
        co_return failed(QStringLiteral("AI analysis failed"));
    }
    answer->error.reset();
    co_return *answer;
}

QCoro::Task<Result<>> ProviderClient::verifyKey(ProviderCall call)
{
    QElapsedTimer clock;
    clock.start();
    const ReplyPointer reply(m_network.get(call.modelListRequest()));
    auto finishing = outcomeOf(reply.get(), QDeadlineTimer(m_timeout));
    const ProviderFailure outcome = co_await finishing;
    logOutcome(QStringLiteral("Key check"), providerName(call.provider), call.provider, outcome, 0, clock.elapsed());
    if (refusesKey(outcome))
        co_return Failure { providerFailureText(call.provider, outcome), outcome.status };
    co_return Result<>();
}

} // namespace Nomly
