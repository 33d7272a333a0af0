#include "ai/iworkpdfexporterror.h"

#include <QLocale>
#include <array>
#include <cmath>

namespace Nomly {

QString fileStyleByteCount(qint64 bytes)
{
    if (bytes == 1)
        return QStringLiteral("1 byte");
    if (bytes < 1000)
        return QStringLiteral("%1 bytes").arg(bytes);
    // Kilobytes whole, megabytes to one decimal, larger units to two; a
    // value that would show as 1000 moves up a unit.
    constexpr std::array<const char *, 5> Units { "KB", "MB", "GB", "TB", "PB" };
    const auto decimalsOf = [](std::size_t unit) { return unit == 0 ? 0 : unit == 1 ? 1 : 2; };
    double value = double(bytes) / 1000;
    std::size_t unit = 0;
    while (unit + 1 < Units.size()) {
        const double scale = std::pow(10.0, decimalsOf(unit));
        if (std::round(value * scale) / scale < 1000)
            break;
        value /= 1000;
        ++unit;
    }
    return QLocale::c().toString(value, 'f', decimalsOf(unit)) + u' ' + QLatin1StringView(Units[unit]);
}

QString IWorkPDFExportError::text() const
{
    switch (m_kind) {
    case Kind::FileTooLarge:
        return QStringLiteral("iWork file is too large for PDF export (%1).").arg(fileStyleByteCount(m_bytes));
    case Kind::RequestFailed:
        return QStringLiteral("iWork PDF export failed with HTTP %1: %2").arg(m_statusCode).arg(m_message);
    case Kind::InvalidURL:
        return QStringLiteral("iWork PDF export endpoint URL is invalid.");
    case Kind::UnreadableFile:
        return QStringLiteral("iWork file could not be read for PDF export.");
    case Kind::InvalidResponse:
        return QStringLiteral("iWork PDF export returned an invalid or non-PDF response.");
    case Kind::NetworkFailure:
    case Kind::DeviceAuthentication:
        return m_message;
    case Kind::Cancelled:
        return QStringLiteral("iWork PDF export was cancelled.");
    }
    return {};
}

} // namespace Nomly
