#include "samplepictures.h"

#include <QBuffer>
#include <QFont>
#include <QPainter>

namespace Nomly::Test {

QImage textImage(const QStringList &lines, int pixelSize)
{
    QImage image(1400, 120 + int(lines.size()) * pixelSize * 2, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    painter.setFont(font);
    painter.setPen(Qt::black);
    for (int i = 0; i < lines.size(); ++i)
        painter.drawText(40, 80 + i * pixelSize * 2, lines.at(i));
    return image;
}

QByteArray encodedImage(const QImage &image, const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

} // namespace Nomly::Test
