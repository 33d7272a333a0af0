#include "ai/iworkpdfexportservice.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QStringDecoder>
#include <QTimer>
#include <QUuid>
#include <memory>
#include <optional>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>
#include <qcoro/qcorosignal.h>
#include <qcoro/qcorotimer.h>

#include "ai/deviceservice.h"
#include "platform/folderzip.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

using Exported = Result<QByteArray, IWorkPDFExportError>;

struct ReplyDeleter
{
    void operator()(QNetworkReply *reply) const { reply->deleteLater(); }
};

// One send: the HTTP status with its body, or the transport's failure.
struct Answer
{
    std::optional<int> status;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QString errorText;
    QByteArray body;
};

// The whole file, when it fits the upload; a size the file system cannot
// tell counts as fitting until the bytes are in.
Exported readWhole(const QString &path)
{
    QFile file(path);
    const qint64 size = file.size();
    if (size > IWorkPDFExportService::MaxUploadBytes)
        return IWorkPDFExportError::fileTooLarge(size);
    if (!file.open(QIODevice::ReadOnly))
        return IWorkPDFExportError::unreadableFile();
    QByteArray bytes = file.read(IWorkPDFExportService::MaxUploadBytes + 1);
    if (file.error() != QFileDevice::NoError)
        return IWorkPDFExportError::unreadableFile();
    if (bytes.size() > IWorkPDFExportService::MaxUploadBytes)
        return IWorkPDFExportError::fileTooLarge(std::max<qint64>(size, bytes.size()));
    return bytes;
}

// What is uploaded: the document's bytes, or for a package folder a ZIP
// of it, which is gone again once read, whatever happened.
Exported packaged(const QString &path)
{
    if (!QFileInfo(path).isDir())
        return readWhole(path);
    const QString archive
        = QDir(QDir::tempPath())
              .filePath(QStringLiteral("NomlyIWorkPackage-") + QUuid::createUuid().toString(QUuid::WithoutBraces)
                        + QStringLiteral(".zip"));
    const Result<> zipped = zipFolderStored(path, archive);
    if (!zipped) {
        qCWarning(lcNetwork).noquote() << "iWork package could not be zipped:" << zipped.error();
        QFile::remove(archive);
        return IWorkPDFExportError::unreadableFile();
    }
    Exported bytes = readWhole(archive);
    QFile::remove(archive);
    return bytes;
}

QCoro::Task<Answer> send(QNetworkAccessManager &network,
                         QNetworkRequest request,
                         QByteArray body,
                         std::stop_token cancel)
{
    const std::unique_ptr<QNetworkReply, ReplyDeleter> reply(network.post(request, body));
    QNetworkReply *pending = reply.get();
    // Aborted on the next turn of the event loop, never inside the call that
    // asks for the stop, which may belong to a frame this one resumes.
    const std::stop_callback onCancel(cancel, [pending] {
        QMetaObject::invokeMethod(
            pending, [pending] { pending->abort(); }, Qt::QueuedConnection);
    });
    if (!reply->isFinished()) {
        auto finished = qCoro(pending, &QNetworkReply::finished);
        co_await finished;
    }
    Answer answer;
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid())
        answer.status = status.toInt();
    answer.error = reply->error();
    answer.errorText = reply->errorString();
    answer.body = reply->readAll();
    co_return answer;
}

QString bodyText(const QByteArray &body)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(body);
    return decoder.hasError() ? QStringLiteral("iWork export failed") : text;
}

QByteArray encodedFilename(const QString &path)
{
    // The characters a URL path may hold stay as they are.
    return QUrl::toPercentEncoding(QFileInfo(path).fileName(), "!$&'()*+,;=:@/");
}

} // namespace

IWorkPDFExportService::IWorkPDFExportService(QNetworkAccessManager &network,
                                             HostedBackend backend,
                                             DeviceService &device,
                                             Sleep sleep)
    : m_network(network)
    , m_backend(std::move(backend))
    , m_device(device)
    , m_sleep(std::move(sleep))
{}

QCoro::Task<bool> IWorkPDFExportService::cancellableSleep(std::chrono::nanoseconds duration, std::stop_token cancel)
{
    if (cancel.stop_requested())
        co_return false;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    const std::stop_callback onCancel(cancel, [&timer] {
        QMetaObject::invokeMethod(
            &timer, [&timer] { timer.start(0); }, Qt::QueuedConnection);
    });
    timer.start(std::chrono::duration_cast<std::chrono::milliseconds>(duration));
    co_await timer;
    co_return !cancel.stop_requested();
}

QCoro::Task<Result<QByteArray>> IWorkPDFExportService::exportedPDF(QString path, std::stop_token cancel)
{
    auto exporting = exportToPDF(std::move(path), std::move(cancel));
    Exported exported = co_await exporting;
    if (!exported)
        co_return Failure { exported.error(), exported.failure().statusCode() };
    co_return std::move(exported).value();
}

QCoro::Task<Result<QByteArray, IWorkPDFExportError>> IWorkPDFExportService::exportToPDF(QString path,
                                                                                        std::stop_token cancel)
{
    Result<QNetworkRequest> prepared = m_backend.request(BackendFunction::IWorkExport);
    if (!prepared) {
        qCWarning(lcNetwork).noquote() << "iWork export not sent:" << prepared.error();
        co_return IWorkPDFExportError::invalidURL();
    }
    auto packaging = QtConcurrent::run([path] { return packaged(path); });
    const Exported body = co_await packaging;
    if (!body)
        co_return body.failure();
    if (cancel.stop_requested())
        co_return IWorkPDFExportError::cancelled();

    auto identifying = m_device.deviceId();
    const QString deviceId = co_await identifying;
    auto authenticating = m_device.deviceSecret();
    const Result<QString> deviceSecret = co_await authenticating;
    if (!deviceSecret)
        co_return IWorkPDFExportError::deviceAuthentication(deviceSecret.error());

    QNetworkRequest request = prepared.value();
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/octet-stream"));
    request.setRawHeader("apikey", m_backend.gatewayToken().toUtf8());
    request.setRawHeader("x-device-id", deviceId.toUtf8());
    request.setRawHeader("x-device-secret", deviceSecret.value().toUtf8());
    request.setRawHeader("x-file-extension", QFileInfo(path).suffix().toUtf8());
    request.setRawHeader("x-filename", encodedFilename(path));
    // The document must stay out of any cache.
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    qCInfo(lcNetwork).noquote() << QStringLiteral("Sending iWork export of %1 bytes to: %2")
                                       .arg(body.value().size())
                                       .arg(request.url().toString(QUrl::RemoveUserInfo));

    for (int sends = 1;; ++sends) {
        if (cancel.stop_requested())
            co_return IWorkPDFExportError::cancelled();
        auto sending = send(m_network, request, body.value(), cancel);
        const Answer answer = co_await sending;
        if (!answer.status) {
            if (cancel.stop_requested())
                co_return IWorkPDFExportError::cancelled();
            if (answer.error == QNetworkReply::NoError)
                co_return IWorkPDFExportError::invalidResponse();
            co_return IWorkPDFExportError::networkFailure(answer.errorText);
        }
        const int status = *answer.status;
        HostedBackend::isDeviceRefusal(status, answer.body);
        if (status == 429 && sends < MaxSends) {
            const std::chrono::nanoseconds wait = RetryWaitStep * sends;
            qCInfo(lcNetwork).noquote() << QStringLiteral("iWork export rate limited; sending again in %1ms")
                                               .arg(
                                                   std::chrono::duration_cast<std::chrono::milliseconds>(wait).count());
            auto pausing = m_sleep(wait, cancel);
            if (!co_await pausing)
                co_return IWorkPDFExportError::cancelled();
            continue;
        }
        if (status >= 200 && status <= 299) {
            if (!answer.body.startsWith("%PDF"))
                co_return IWorkPDFExportError::invalidResponse();
            co_return answer.body;
        }
        co_return IWorkPDFExportError::requestFailed(status, bodyText(answer.body));
    }
}

} // namespace Nomly
