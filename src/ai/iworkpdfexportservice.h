#pragma once

#include <QByteArray>
#include <QString>
#include <chrono>
#include <functional>
#include <stop_token>

#include <qcoro/qcorotask.h>

#include "ai/hostedbackend.h"
#include "ai/iworkpdfexporterror.h"
#include "content/iworkpdfexporter.h"
#include "platform/result.h"

class QNetworkAccessManager;

namespace Nomly {

class DeviceService;

// The client of the hosted backend's iWork export: uploads a Pages, Numbers
// or Keynote document (a package folder zipped first) and takes back a PDF.
// A 429 is sent again after a growing wait, up to three sends in all. Holds no
// state between calls; one instance serves every extraction.
class IWorkPDFExportService final : public IWorkPDFExporter
{
public:
    static constexpr qint64 MaxUploadBytes = HostedBackend::MaxIWorkExportBytes;
    static constexpr int MaxSends = 3;
    // The wait after send n is this times n.
    static constexpr std::chrono::milliseconds RetryWaitStep { 1'100 };

    // Waits for the duration; false when cancelled first.
    using Sleep = std::function<QCoro::Task<bool>(std::chrono::nanoseconds duration, std::stop_token cancel)>;

    IWorkPDFExportService(QNetworkAccessManager &network,
                          HostedBackend backend,
                          DeviceService &device,
                          Sleep sleep = cancellableSleep);
    IWorkPDFExportService(const IWorkPDFExportService &) = delete;
    IWorkPDFExportService &operator=(const IWorkPDFExportService &) = delete;

    // The PDF's bytes, which begin with "%PDF".
    QCoro::Task<Result<QByteArray, IWorkPDFExportError>> exportToPDF(QString path, std::stop_token cancel = {});

    QCoro::Task<Result<QByteArray>> exportedPDF(QString path, std::stop_token cancel) override;

    // The default wait: a timer on the calling thread, cut short by `cancel`.
    static QCoro::Task<bool> cancellableSleep(std::chrono::nanoseconds duration, std::stop_token cancel);

private:
    QNetworkAccessManager &m_network;
    HostedBackend m_backend;
    DeviceService &m_device;
    Sleep m_sleep;
};

} // namespace Nomly
