#pragma once

#include <QString>
#include <array>
#include <optional>

namespace Nomly {

// The spellings of one short text (a vendor, a type, a kind, an extension)
// that tokens such as {Vendor}, {vendor_name} and {VendorName} stand for.
struct TextVariants
{
    enum Slot
    {
        Normalized,
        Lower,
        LowerFirstUpper,
        BaseLower,
        BaseLowerFirstUpper,
        BaseUpper,
        Joined,
        JoinedFirstLower,
        JoinedLower,
        JoinedUpper,
        NormalizedUpper,
        SlotCount,
    };

    std::array<QString, SlotCount> values;
    // Words joined by "_", only letters, numbers, "-", "_" and "." left.
    QString base;

    const QString &operator[](Slot slot) const { return values[slot]; }

    static TextVariants from(QStringView raw);
};

// Numbers with at most `maxFractionDigits` digits after the point, no
// grouping, no trailing zeros: 1.40 -> "1.4", 2.0 -> "2".
QString formatDecimal(double value, int maxFractionDigits);

// "420KB", "1.4MB"; empty when the size is missing or not above zero.
QString automaticSizeText(std::optional<qint64> bytes);

// {size_bytes}, {size_kb}, {size_mb} by the suffix "bytes", "kb" or "mb".
QString sizeVariant(QStringView suffix, std::optional<qint64> bytes, const QString &sizeText);

// {duration} (empty suffix), {duration_clock}, {duration_minutes}, {duration_seconds}.
QString durationVariant(QStringView suffix, std::optional<double> seconds, const QString &durationText);

// {resolution} (empty suffix), {resolution_hyphen}, {resolution_height}.
QString resolutionVariant(QStringView suffix, const QString &resolution);

// {frame_rate} (empty suffix), {frame_rate_rounded}, {frame_rate_number}.
QString frameRateVariant(QStringView suffix, const QString &frameRate);

} // namespace Nomly
