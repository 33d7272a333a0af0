#pragma once

#include <QByteArray>
#include <QString>
#include <stop_token>

#include <qcoro/qcorotask.h>

#include "platform/result.h"

namespace Nomly {

// Turns an iWork document into a PDF somewhere this machine cannot: the one
// thing extraction needs from the hosted routes, which sit above it. Only
// extraction's iWork branch calls it, on a thread with an event loop.
class IWorkPDFExporter
{
public:
    virtual ~IWorkPDFExporter() = default;

    // The PDF's bytes, or what went wrong as the text a log reads. Once
    // `cancel` is requested (on the calling thread), the export winds down
    // promptly and fails.
    virtual QCoro::Task<Result<QByteArray>> exportedPDF(QString path, std::stop_token cancel) = 0;

protected:
    IWorkPDFExporter() = default;
    IWorkPDFExporter(const IWorkPDFExporter &) = default;
    IWorkPDFExporter &operator=(const IWorkPDFExporter &) = default;
};

} // namespace Nomly
