#pragma once

#include <QString>
#include <QtGlobal>

namespace Nomly {

// Why an iWork document could not be exported to PDF, with the text a log
// reads. Beyond the export's own refusals, a call may end without any HTTP
// answer, when the device has no usable secret, or when it is cancelled.
class IWorkPDFExportError
{
public:
    enum class Kind
    {
        FileTooLarge,
        RequestFailed,
        InvalidURL,
        UnreadableFile,
        InvalidResponse,
        NetworkFailure,
        DeviceAuthentication,
        Cancelled,
    };

    static IWorkPDFExportError fileTooLarge(qint64 bytes) { return { Kind::FileTooLarge, bytes, 0, {} }; }

    static IWorkPDFExportError requestFailed(int statusCode, QString message)
    {
        return { Kind::RequestFailed, 0, statusCode, std::move(message) };
    }

    static IWorkPDFExportError invalidURL() { return { Kind::InvalidURL, 0, 0, {} }; }

    static IWorkPDFExportError unreadableFile() { return { Kind::UnreadableFile, 0, 0, {} }; }

    static IWorkPDFExportError invalidResponse() { return { Kind::InvalidResponse, 0, 0, {} }; }

    static IWorkPDFExportError networkFailure(QString message)
    {
        return { Kind::NetworkFailure, 0, 0, std::move(message) };
    }

    static IWorkPDFExportError deviceAuthentication(QString message)
    {
        return { Kind::DeviceAuthentication, 0, 0, std::move(message) };
    }

    static IWorkPDFExportError cancelled() { return { Kind::Cancelled, 0, 0, {} }; }

    Kind kind() const { return m_kind; }

    // The size refused, for FileTooLarge.
    qint64 bytes() const { return m_bytes; }

    // The HTTP status, for RequestFailed.
    int statusCode() const { return m_statusCode; }

    QString text() const;

    bool operator==(const IWorkPDFExportError &) const = default;

private:
    IWorkPDFExportError(Kind kind, qint64 bytes, int statusCode, QString message)
        : m_kind(kind)
        , m_bytes(bytes)
        , m_statusCode(statusCode)
        , m_message(std::move(message))
    {}

    Kind m_kind;
    qint64 m_bytes;
    int m_statusCode;
    QString m_message;
};

// A size as file browsers show it: decimal units, "52.4 MB".
QString fileStyleByteCount(qint64 bytes);

} // namespace Nomly
