#include "content/iworkpreview.h"

#include <QImage>
#include <QPainter>
#include <algorithm>

#include "content/contenttext.h"
#include "content/imagecompressionservice.h"
#include "content/textrecognizer.h"

namespace Nomly {

namespace {

// The preview is judged as the AI would see it in a small request.
constexpr int PreviewTarget = 384;
constexpr double PreviewQuality = 0.8;

// The blank test looks at a thumbnail of this edge.
constexpr int SampleEdge = 16;
// Below this alpha a pixel is not seen at all.
constexpr int MinVisibleAlpha = 13;
// A channel below this makes a pixel ink rather than paper.
constexpr int InkChannelBelow = 246;
// Shares of ink among the visible pixels: below the first the page is
// empty; from the second on it has content; between, faint marks (a grey
// rule, a scan's speck) count for nothing.
constexpr double EmptyInkShare = 0.02;
constexpr double ContentInkShare = 0.08;
constexpr double FaintLuminanceSpan = 30;

double luminance(QRgb pixel)
{
    return 0.2126 * qRed(pixel) + 0.7152 * qGreen(pixel) + 0.0722 * qBlue(pixel);
}

} // namespace

bool isBlankPreview(const QByteArray &imageBytes)
{
    const QImage image = QImage::fromData(imageBytes);
    if (image.isNull() || image.width() < 1 || image.height() < 1)
        return true;
    QImage sample(SampleEdge, SampleEdge, QImage::Format_RGBA8888_Premultiplied);
    if (sample.isNull())
        return true;
    sample.fill(Qt::transparent);
    {
        // No smoothing: a few sharp marks must stay marks, not a grey wash.
        QPainter painter(&sample);
        painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
        painter.drawImage(QRect(0, 0, SampleEdge, SampleEdge), image);
    }

    int visible = 0;
    int ink = 0;
    double lowest = 255;
    double highest = 0;
    for (int y = 0; y < SampleEdge; ++y) {
        // RGBA8888 keeps the bytes in R, G, B, A order whatever the machine.
        const uchar *row = sample.constScanLine(y);
        for (int x = 0; x < SampleEdge; ++x) {
            const uchar *p = row + 4 * x;
            if (p[3] < MinVisibleAlpha)
                continue;
            ++visible;
            if (p[0] < InkChannelBelow || p[1] < InkChannelBelow || p[2] < InkChannelBelow)
                ++ink;
            const double value = luminance(qRgb(p[0], p[1], p[2]));
            lowest = std::min(lowest, value);
            highest = std::max(highest, value);
        }
    }
    if (visible == 0)
        return true;
    const double share = double(ink) / visible;
    if (share < EmptyInkShare)
        return true;
    if (share < ContentInkShare)
        return highest - lowest < FaintLuminanceSpan;
    return false;
}

bool isWeakIWorkPreview(const QString &path)
{
    const std::optional<QByteArray> preview = ImageCompressionService::loadImage(path, PreviewTarget, PreviewQuality);
    if (!preview)
        return true;
    const std::optional<QString> text = TextRecognizer::recognize(QImage::fromData(*preview, "JPEG"));
    if (text && isReadableText(*text))
        return false;
    return isBlankPreview(*preview);
}

} // namespace Nomly
