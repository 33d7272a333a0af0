#include "content/heifimage.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <vector>

#include <libheif/heif.h>

#include "content/picturefit_p.h"
#include "platform/fileidentity.h"

namespace Nomly {

namespace {

// Brands of still pictures libheif decodes: HEVC-coded ones (single, with
// range extensions, multi-view, scalable), AV1-coded ones, and the general
// image brands that HEIF files from phones and cameras list beside them.
// Sequence brands alone mean a video, which has no primary picture.
constexpr std::array<QByteArrayView, 7> StillBrands { "heic", "heix", "heim", "heis", "avif", "mif1", "mif2" };

struct ContextFree
{
    void operator()(heif_context *context) const { heif_context_free(context); }
};

struct HandleRelease
{
    void operator()(const heif_image_handle *handle) const { heif_image_handle_release(handle); }
};

struct ImageRelease
{
    void operator()(const heif_image *image) const { heif_image_release(image); }
};

struct OptionsFree
{
    void operator()(heif_decoding_options *options) const { heif_decoding_options_free(options); }
};

using Context = std::unique_ptr<heif_context, ContextFree>;
using Handle = std::unique_ptr<const heif_image_handle, HandleRelease>;
using Image = std::unique_ptr<heif_image, ImageRelease>;
using Options = std::unique_ptr<heif_decoding_options, OptionsFree>;

// The file read into a context, with its primary image; the handle goes
// before the context that holds its data.
struct Opened
{
    Context context;
    Handle primary;
    QSize size;
};

Failure failureOf(const heif_error &error)
{
    return { QString::fromUtf8(error.message), int(error.code) };
}

QSize sizeOf(const heif_image_handle *handle)
{
    return QSize(heif_image_handle_get_width(handle), heif_image_handle_get_height(handle));
}

// `read` fills the context from a file or from memory.
template<typename Read> Result<Opened> opened(Read read)
{
    // Once for the process; the codecs it registers stay until exit.
    static const heif_error ready = heif_init(nullptr);
    if (ready.code != heif_error_Ok)
        return failureOf(ready);
    Context context(heif_context_alloc());
    if (!context)
        return Failure { QStringLiteral("Out of memory for the HEIF reader") };
    heif_context_set_maximum_image_size_limit(context.get(), HeifImage::MaxEdge);
    if (const heif_error error = read(context.get()); error.code != heif_error_Ok)
        return failureOf(error);
    heif_image_handle *primary = nullptr;
    if (const heif_error error = heif_context_get_primary_image_handle(context.get(), &primary);
        error.code != heif_error_Ok)
        return failureOf(error);
    Handle handle(primary);
    const QSize size = sizeOf(primary);
    if (size.isEmpty())
        return Failure { QStringLiteral("The picture has no size") };
    // A lying header must not make the decoder allocate gigabytes.
    if (qint64(size.width()) * size.height() > HeifImage::MaxPixels || size.width() > HeifImage::MaxEdge
        || size.height() > HeifImage::MaxEdge)
        return Failure {
            QStringLiteral("The picture is too large: %1 x %2 pixels").arg(size.width()).arg(size.height())
        };
    return Opened { std::move(context), std::move(handle), size };
}

Result<Opened> openedFile(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    return opened(
        [&name](heif_context *context) { return heif_context_read_from_file(context, name.constData(), nullptr); });
}

Result<Opened> openedData(const QByteArray &data)
{
    return opened([&data](heif_context *context) {
        return heif_context_read_from_memory_without_copy(context, data.constData(), size_t(data.size()), nullptr);
    });
}

// The smallest thumbnail that still fills `fitted` and shows the primary
// image's proportions to within a pixel; none when no thumbnail does.
Handle fittingThumbnail(const Opened &file, const QSize &fitted)
{
    const int count = heif_image_handle_get_number_of_thumbnails(file.primary.get());
    if (count <= 0)
        return nullptr;
    std::vector<heif_item_id> ids(static_cast<size_t>(count));
    const int listed = heif_image_handle_get_list_of_thumbnail_IDs(file.primary.get(), ids.data(), count);
    Handle best;
    for (int i = 0; i < listed; ++i) {
        heif_image_handle *thumbnail = nullptr;
        if (heif_image_handle_get_thumbnail(file.primary.get(), ids[size_t(i)], &thumbnail).code != heif_error_Ok)
            continue;
        Handle candidate(thumbnail);
        const QSize size = sizeOf(thumbnail);
        const qint64 skew = qint64(size.width()) * file.size.height() - qint64(size.height()) * file.size.width();
        if (size.width() < fitted.width() || size.height() < fitted.height()
            || std::abs(skew) > file.size.width() + file.size.height())
            continue;
        if (!best || size.width() < sizeOf(best.get()).width())
            best = std::move(candidate);
    }
    return best;
}

Result<QImage> decoded(Result<Opened> file, QSize bound)
{
    if (!file)
        return file.failure();
    const QSize fitted = fittedSize(file.value().size, bound);
    const Handle thumbnail = fittingThumbnail(file.value(), fitted);
    const heif_image_handle *picture = thumbnail ? thumbnail.get() : file.value().primary.get();
    const bool alpha = heif_image_handle_has_alpha_channel(picture) != 0;
    const Options options(heif_decoding_options_alloc());
    options->convert_hdr_to_8bit = 1;
    heif_image *raw = nullptr;
    // Four bytes a pixel even without alpha: Qt scales that layout as it is.
    const heif_error error
        = heif_decode_image(picture, &raw, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, options.get());
    Image image(raw);
    if (error.code != heif_error_Ok)
        return failureOf(error);
    int stride = 0;
    const uint8_t *pixels = heif_image_get_plane_readonly(raw, heif_channel_interleaved, &stride);
    const int width = heif_image_get_primary_width(raw);
    const int height = heif_image_get_primary_height(raw);
    if (!pixels || width < 1 || height < 1 || stride < width * 4)
        return Failure { QStringLiteral("The picture decoded to no pixels") };
    // The decoded pixels are used where they lie; the last QImage sharing
    // them gives them back.
    const QImage whole(
        pixels,
        width,
        height,
        stride,
        alpha ? QImage::Format_RGBA8888 : QImage::Format_RGBX8888,
        [](void *decodedImage) { heif_image_release(static_cast<heif_image *>(decodedImage)); },
        image.release());
    const QSize target = fittedSize(whole.size(), fitted);
    if (target == whole.size())
        return whole;
    return whole.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

const QStringList &HeifImage::extensions()
{
    static const QStringList list { QStringLiteral("heic"),
                                    QStringLiteral("heif"),
                                    QStringLiteral("heics"),
                                    QStringLiteral("hif"),
                                    QStringLiteral("avif") };
    return list;
}

bool HeifImage::isHeif(const QByteArray &head)
{
    if (head.size() < 12 || QByteArrayView(head).sliced(4, 4) != "ftyp")
        return false;
    const qsizetype end = std::min<qsizetype>(qFromBigEndian<quint32>(head.constData()), head.size());
    const auto still = [&head](qsizetype at) {
        const QByteArrayView brand = QByteArrayView(head).sliced(at, 4);
        return std::find(StillBrands.cbegin(), StillBrands.cend(), brand) != StillBrands.cend();
    };
    if (end < 12)
        return false;
    if (still(8))
        return true;
    // After the major brand and the minor version come the compatible brands.
    for (qsizetype at = 16; at + 4 <= end; at += 4) {
        if (still(at))
            return true;
    }
    return false;
}

bool HeifImage::isHeifFile(const QString &path)
{
    if (!leadsToRegularFile(path))
        return false;
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && isHeif(file.read(256));
}

Result<QSize> HeifImage::size(const QString &path)
{
    const Result<Opened> file = openedFile(path);
    if (!file)
        return file.failure();
    return file.value().size;
}

Result<QImage> HeifImage::read(const QString &path, QSize bound)
{
    return decoded(openedFile(path), bound);
}

Result<QImage> HeifImage::read(const QByteArray &data, QSize bound)
{
    return decoded(openedData(data), bound);
}

} // namespace Nomly
