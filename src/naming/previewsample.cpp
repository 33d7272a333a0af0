#include "naming/previewsample.h"

#include <QHash>
#include <algorithm>
#include <array>

namespace Nomly {

namespace {

// One line of the sample table. Fields a profile has no use for stay empty,
// so that their tokens follow the empty-field rule as a real file would.
struct SampleRow
{
    PreviewProfile profile;
    const char16_t *title;
    const char16_t *vendor;
    const char16_t *amount;
    const char16_t *type;
    const char16_t *originalName;
    const char16_t *extension;
    const char16_t *kind;
    const char16_t *resolution; // "WIDTHxHEIGHT"
    const char16_t *duration;
    double durationSeconds;
    const char16_t *pages;
};

constexpr auto NoDuration = 0.0;

// clang-format off
constexpr std::array<SampleRow, 16> Samples { {
    { PreviewProfile::Audio,      u"Summer Beach Sunset", u"", u"", u"song", u"media_clip_001", u"mp3", u"audio", u"", u"1m24s", 84, u"" },
    { PreviewProfile::Video,      u"Coastal Vacation", u"", u"", u"travel video", u"media_clip_001", u"mp4", u"video", u"1920x1080", u"1m24s", 84, u"" },
    { PreviewProfile::Media,      u"Coastal Vacation", u"", u"", u"clip", u"media_clip_001", u"mov", u"video", u"1920x1080", u"1m24s", 84, u"" },
    { PreviewProfile::Receipt,    u"Wireless Headphones", u"Sample Store", u"$42.99", u"receipt", u"invoice-3839", u"pdf", u"document", u"", u"", NoDuration, u"1" },
    { PreviewProfile::Healthcare, u"Annual Checkup Results", u"Sample Vendor", u"", u"lab report", u"invoice-3839", u"pdf", u"document", u"", u"", NoDuration, u"2" },
    { PreviewProfile::Legal,      u"Lease Agreement", u"Sample Vendor", u"", u"contract", u"invoice-3839", u"pdf", u"document", u"", u"", NoDuration, u"12" },
    { PreviewProfile::Travel,     u"Coastal Vacation", u"Sample Vendor", u"$42.99", u"booking", u"invoice-3839", u"pdf", u"document", u"", u"", NoDuration, u"1" },
    { PreviewProfile::Commerce,   u"Wireless Headphones", u"Sample Store", u"$42.99", u"order", u"invoice-3839", u"pdf", u"document", u"", u"", NoDuration, u"1" },
    { PreviewProfile::Code,       u"Sample Project", u"", u"", u"source", u"main", u"txt", u"file", u"", u"", NoDuration, u"" },
    { PreviewProfile::Messages,   u"System Alert Email", u"Sample Vendor", u"", u"email", u"message", u"eml", u"file", u"", u"", NoDuration, u"" },
    { PreviewProfile::Work,       u"Project Kickoff Notes", u"Sample Vendor", u"", u"meeting notes", u"invoice-3839", u"docx", u"document", u"", u"", NoDuration, u"3" },
    { PreviewProfile::Downloads,  u"Wireless Headphones", u"Sample Store", u"", u"manual", u"invoice-3839", u"pdf", u"document", u"", u"", NoDuration, u"8" },
    { PreviewProfile::Document,   u"Wireless Headphones", u"Sample Vendor", u"$42.99", u"invoice", u"invoice-3839", u"pdf", u"document", u"", u"", NoDuration, u"1" },
    { PreviewProfile::Photo,      u"Summer Beach Sunset", u"", u"", u"photo", u"IMG_4271", u"jpg", u"image", u"4032x3024", u"", NoDuration, u"" },
    { PreviewProfile::Screenshot, u"System Alert Email", u"", u"", u"screenshot", u"Screenshot 2026-05-12 at 14.30.00", u"png", u"image", u"1920x1080", u"", NoDuration, u"" },
    { PreviewProfile::Design,     u"Red Sport Car", u"Sample Vendor", u"", u"illustration", u"IMG_4271", u"svg", u"design", u"1920x1080", u"", NoDuration, u"" },
} };
// clang-format on

// The sample's size, its dates and the camera a photo came from, shared by
// every profile.
constexpr auto SampleSize = u"340KB";
constexpr auto SampleDate = u"2026-05-10";
constexpr auto SampleTime = u"18.42.10";

void fillPhotoFacts(PatternFileMetadata &metadata)
{
    metadata.captureDate = QString::fromUtf16(SampleDate);
    metadata.captureTime = QString::fromUtf16(SampleTime);
    metadata.cameraMake = QStringLiteral("Camera Maker");
    metadata.cameraModel = QStringLiteral("Mirrorless X1");
    metadata.lensModel = QStringLiteral("35mm Prime");
    metadata.focalLength = QStringLiteral("35mm");
    metadata.focalLength35mm = QStringLiteral("35mm");
    metadata.aperture = QStringLiteral("f2.8");
    metadata.shutterSpeed = QStringLiteral("1/250s");
    metadata.exposureCompensation = QStringLiteral("-0.33EV");
    metadata.iso = QStringLiteral("200");
    metadata.whiteBalance = QStringLiteral("Auto");
    metadata.flash = QStringLiteral("No Flash");
}

void fillStreamFacts(PatternFileMetadata &metadata, bool hasPicture)
{
    metadata.recordingDate = QString::fromUtf16(SampleDate);
    metadata.bitrate = QStringLiteral("320kbps");
    metadata.audioCodec = QStringLiteral("AAC");
    if (hasPicture) {
        metadata.frameRate = QStringLiteral("30fps");
        metadata.codec = QStringLiteral("H.264");
        metadata.bitrate = QStringLiteral("8Mbps");
    }
}

// The dates and numbers a document template usually names files by, so that
// its preview shows them rather than leaving them out as empty.
constexpr std::array<std::pair<const char16_t *, const char16_t *>, 8> DocumentFields { {
    { u"invoice_date", SampleDate },
    { u"due_date", u"2026-06-09" },
    { u"payment_date", SampleDate },
    { u"document_date", SampleDate },
    { u"invoice_number", u"3839" },
    { u"order_number", u"3839" },
    { u"total_amount", u"$42.99" },
    { u"tax_amount", u"$3.44" },
} };

QString orientationOf(int width, int height)
{
    if (width == height)
        return QStringLiteral("Square");
    return width > height ? QStringLiteral("Landscape") : QStringLiteral("Portrait");
}

} // namespace

PreviewSample previewSample(PreviewProfile profile)
{
    const auto row = std::find_if(Samples.cbegin(), Samples.cend(), [profile](const SampleRow &candidate) {
        return candidate.profile == profile;
    });
    Q_ASSERT(row != Samples.cend());

    PreviewSample sample;
    sample.title = QString::fromUtf16(row->title);
    sample.vendor = QString::fromUtf16(row->vendor);
    sample.amount = QString::fromUtf16(row->amount);
    sample.type = QString::fromUtf16(row->type);
    sample.originalName = QString::fromUtf16(row->originalName);
    sample.kind = QString::fromUtf16(row->kind);

    PatternFileMetadata &metadata = sample.metadata;
    metadata.fileExtension = metadata.fileExtensionOriginal = QString::fromUtf16(row->extension);
    metadata.size = QString::fromUtf16(SampleSize);
    metadata.sizeBytes = previewSizeBytes(metadata.size);
    metadata.createdDate = metadata.modifiedDate = QString::fromUtf16(SampleDate);
    metadata.parentFolder = QStringLiteral("Samples");
    metadata.pages = QString::fromUtf16(row->pages);
    if (!sample.amount.isEmpty())
        metadata.currency = QStringLiteral("USD");

    const QString resolution = QString::fromUtf16(row->resolution);
    if (!resolution.isEmpty()) {
        metadata.resolution = resolution;
        metadata.width = resolution.section(u'x', 0, 0);
        metadata.height = resolution.section(u'x', 1, 1);
        metadata.orientation = orientationOf(metadata.width.toInt(), metadata.height.toInt());
    }
    if (row->durationSeconds > 0) {
        metadata.duration = QString::fromUtf16(row->duration);
        metadata.durationSeconds = row->durationSeconds;
        fillStreamFacts(metadata, !resolution.isEmpty());
    }
    if (profile == PreviewProfile::Photo)
        fillPhotoFacts(metadata);
    if (!sample.vendor.isEmpty())
        metadata.detectedFields.insert(QStringLiteral("vendor"), sample.vendor);
    if (!sample.amount.isEmpty())
        metadata.detectedFields.insert(QStringLiteral("amount"), sample.amount);
    metadata.detectedFields.insert(QStringLiteral("type"), sample.type);
    if (sample.kind == u"document") {
        for (const auto &[name, value] : DocumentFields)
            metadata.detectedFields.insert(QString::fromUtf16(name), QString::fromUtf16(value));
    }
    return sample;
}

PreviewProfile previewProfileForTemplate(const QString &templateName)
{
    static const QHash<QString, PreviewProfile> ByName {
        { QStringLiteral("Bookkeeper Expenses"), PreviewProfile::Receipt },
        { QStringLiteral("Photographer Shoots"), PreviewProfile::Photo },
        { QStringLiteral("Video Production"), PreviewProfile::Video },
        { QStringLiteral("Music Tracks"), PreviewProfile::Audio },
        { QStringLiteral("Client Meeting Notes"), PreviewProfile::Work },
        { QStringLiteral("Legal Matter Files"), PreviewProfile::Legal },
        { QStringLiteral("Store Orders & Shipping"), PreviewProfile::Commerce },
        { QStringLiteral("Travel Bookings"), PreviewProfile::Travel },
        { QStringLiteral("Clinic Records"), PreviewProfile::Healthcare },
        { QStringLiteral("Screenshots"), PreviewProfile::Screenshot },
        { QStringLiteral("Designer Assets"), PreviewProfile::Design },
    };
    return ByName.value(templateName.trimmed(), PreviewProfile::Document);
}

std::optional<qint64> previewSizeBytes(const QString &sizeText)
{
    qsizetype end = 0;
    while (end < sizeText.size() && (sizeText.at(end).isDigit() || sizeText.at(end) == u'.'))
        ++end;
    bool ok = false;
    const double number = sizeText.left(end).toDouble(&ok);
    if (!ok)
        return std::nullopt;
    static const QHash<QString, double> Units {
        { QString(), 1.0 },
        { QStringLiteral("B"), 1.0 },
        { QStringLiteral("KB"), 1024.0 },
        { QStringLiteral("MB"), 1024.0 * 1024 },
        { QStringLiteral("GB"), 1024.0 * 1024 * 1024 },
        { QStringLiteral("TB"), 1024.0 * 1024 * 1024 * 1024 },
    };
    const auto unit = Units.constFind(sizeText.mid(end).trimmed().toUpper());
    if (unit == Units.cend())
        return std::nullopt;
    return static_cast<qint64>(number * unit.value());
}

PatternRenderInput previewRenderInput(PatternRenderInput base, const PreviewSample &sample, const QDateTime &now)
{
    base.title = sample.title;
    base.vendor = sample.vendor;
    base.amount = sample.amount;
    base.type = sample.type;
    base.currency = sample.metadata.currency;
    base.originalName = sample.originalName;
    base.kind = sample.kind;
    base.now = now;
    base.metadata = sample.metadata;
    return base;
}

} // namespace Nomly
