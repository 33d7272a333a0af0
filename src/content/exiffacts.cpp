#include "content/exiffacts.h"

#include <QFile>
#include <array>
#include <cmath>
#include <utility>

#include <exiv2/exiv2.hpp>

#include "content/heifimage.h"
#include "naming/dateformats.h"
#include "naming/valuevariants.h"

namespace Nomly {

namespace {

constexpr std::array<std::pair<int, const char16_t *>, 20> LightSources { {
    { 1, u"Daylight" },
    { 2, u"Fluorescent" },
    { 3, u"Tungsten" },
    { 4, u"Flash" },
    { 9, u"Fine Weather" },
    { 10, u"Cloudy" },
    { 11, u"Shade" },
    { 12, u"Daylight Fluorescent" },
    { 13, u"Day White Fluorescent" },
    { 14, u"Cool White Fluorescent" },
    { 15, u"White Fluorescent" },
    { 17, u"Standard Light A" },
    { 18, u"Standard Light B" },
    { 19, u"Standard Light C" },
    { 20, u"D55" },
    { 21, u"D65" },
    { 22, u"D75" },
    { 23, u"D50" },
    { 24, u"ISO Studio Tungsten" },
    { 255, u"Other" },
} };

class ExifLookup
{
public:
    explicit ExifLookup(const Exiv2::ExifData &data)
        : m_data(data)
    {}

    const Exiv2::Exifdatum *find(const char *key) const
    {
        const auto it = m_data.findKey(Exiv2::ExifKey(key));
        return it == m_data.end() || it->count() == 0 ? nullptr : &*it;
    }

    QString text(const char *key) const
    {
        const Exiv2::Exifdatum *datum = find(key);
        return datum ? QString::fromStdString(datum->toString()).trimmed() : QString();
    }

    std::optional<double> number(const char *key, long index = 0) const
    {
        const Exiv2::Exifdatum *datum = find(key);
        if (!datum || index >= long(datum->count()))
            return std::nullopt;
        const Exiv2::Rational rational = datum->toRational(index);
        if (datum->typeId() == Exiv2::unsignedRational || datum->typeId() == Exiv2::signedRational) {
            if (rational.second == 0)
                return std::nullopt;
            return double(rational.first) / double(rational.second);
        }
        return double(datum->toLong(index));
    }

    std::optional<int> integer(const char *key) const
    {
        const auto value = number(key);
        return value ? std::optional(int(std::lround(*value))) : std::nullopt;
    }

private:
    const Exiv2::ExifData &m_data;
};

// Degrees, minutes and seconds, signed by the hemisphere.
std::optional<double> coordinateOf(const ExifLookup &exif, const char *key, const char *refKey, char negative)
{
    const auto degrees = exif.number(key, 0);
    if (!degrees)
        return std::nullopt;
    const double value = *degrees + exif.number(key, 1).value_or(0) / 60 + exif.number(key, 2).value_or(0) / 3600;
    const QString ref = exif.text(refKey).toUpper();
    return ref.startsWith(QLatin1Char(negative)) ? -value : value;
}

} // namespace

namespace ExifText {

QString focalLength(double millimetres)
{
    return QString::number(millimetres, 'f', 0) + u"mm";
}

QString aperture(double fNumber)
{
    return u"f" + formatDecimal(fNumber, 1);
}

QString shutterSpeed(double seconds)
{
    if (!(seconds > 0) || !std::isfinite(seconds))
        return {};
    if (seconds < 1)
        return QStringLiteral("1/%1s").arg(std::lround(1.0 / seconds));
    return formatDecimal(seconds, 1) + u's';
}

QString exposureBias(double ev)
{
    if (std::abs(ev) < 0.005)
        return QStringLiteral("0EV");
    return (ev > 0 ? QStringLiteral("+") : QString()) + formatDecimal(ev, 2) + u"EV";
}

QString whiteBalance(std::optional<int> lightSource, std::optional<int> whiteBalance)
{
    if (lightSource) {
        for (const auto &[code, name] : LightSources) {
            if (code == *lightSource)
                return QString::fromUtf16(name);
        }
    }
    if (whiteBalance == 0)
        return QStringLiteral("Auto");
    if (whiteBalance == 1)
        return QStringLiteral("Manual");
    return {};
}

QString flash(int flash)
{
    return (flash & 1) ? QStringLiteral("Flash") : QStringLiteral("No Flash");
}

QString coordinate(double degrees)
{
    return formatDecimal(degrees, 5);
}

} // namespace ExifText

void prepareExiv2()
{
    // Its XMP parser must be set up once before threads read files at the
    // same time; its warnings about odd files would only clutter the output.
    // Its reader of HEIC, AVIF and CR3 files is built in but off until asked.
    static const bool ready = [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        Exiv2::XmpParser::initialize();
        Exiv2::enableBMFF();
        return true;
    }();
    Q_UNUSED(ready);
}

void readExifFacts(const QString &path, const QString &datePattern, PatternFileMetadata &metadata)
{
    prepareExiv2();
    try {
        auto image = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
        if (!image.get())
            return;
        image->readMetadata();
        // The library gives a HEIF picture's size as stored, before the
        // rotation the container asks for; libheif gives it upright.
        const Result<QSize> heifSize
            = image->imageType() == Exiv2::ImageType::bmff ? HeifImage::size(path) : Failure {};
        const QSize size = heifSize ? heifSize.value() : QSize(int(image->pixelWidth()), int(image->pixelHeight()));
        if (size.width() > 0 && size.height() > 0) {
            metadata.width = QString::number(size.width());
            metadata.height = QString::number(size.height());
            metadata.resolution = metadata.width + u'x' + metadata.height;
        }
        const ExifLookup exif(image->exifData());
        if (const auto taken
            = DateFormats::parse(exif.text("Exif.Photo.DateTimeOriginal"), QStringLiteral("yyyy:MM:dd HH:mm:ss"))) {
            metadata.captureDate = DateFormats::format(*taken, datePattern);
            metadata.captureTime = DateFormats::format(*taken, QStringLiteral("HH.mm.ss"));
        }
        metadata.cameraMake = exif.text("Exif.Image.Make");
        metadata.cameraModel = exif.text("Exif.Image.Model");
        metadata.lensModel = exif.text("Exif.Photo.LensModel");
        if (const auto focal = exif.number("Exif.Photo.FocalLength"))
            metadata.focalLength = ExifText::focalLength(*focal);
        if (const auto focal35 = exif.number("Exif.Photo.FocalLengthIn35mmFilm"))
            metadata.focalLength35mm = ExifText::focalLength(*focal35);
        if (const auto fNumber = exif.number("Exif.Photo.FNumber"))
            metadata.aperture = ExifText::aperture(*fNumber);
        if (const auto exposure = exif.number("Exif.Photo.ExposureTime"))
            metadata.shutterSpeed = ExifText::shutterSpeed(*exposure);
        if (const auto bias = exif.number("Exif.Photo.ExposureBiasValue"))
            metadata.exposureCompensation = ExifText::exposureBias(*bias);
        if (const auto iso = exif.integer("Exif.Photo.ISOSpeedRatings"))
            metadata.iso = QString::number(*iso);
        if (const auto flash = exif.integer("Exif.Photo.Flash"))
            metadata.flash = ExifText::flash(*flash);
        metadata.whiteBalance
            = ExifText::whiteBalance(exif.integer("Exif.Photo.LightSource"), exif.integer("Exif.Photo.WhiteBalance"));
        const auto latitude = coordinateOf(exif, "Exif.GPSInfo.GPSLatitude", "Exif.GPSInfo.GPSLatitudeRef", 'S');
        const auto longitude = coordinateOf(exif, "Exif.GPSInfo.GPSLongitude", "Exif.GPSInfo.GPSLongitudeRef", 'W');
        if (latitude && longitude)
            metadata.detectedFields.insert(QStringLiteral("location"),
                                           ExifText::coordinate(*latitude) + u' ' + ExifText::coordinate(*longitude));
    } catch (const std::exception &) {
        // A file the library does not understand, or one whose sizes overflow
        // its arithmetic, simply has no camera facts.
    }
}

} // namespace Nomly
