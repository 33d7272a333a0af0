#include "samplepdfs.h"

#include <QFont>
#include <QImage>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>

namespace Nomly::Test {

namespace {

QFont sampleFont(int pixelSize)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    return font;
}

} // namespace

bool writeTextPdf(const QString &path, const QStringList &pages)
{
    QPdfWriter writer(path);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setResolution(72);
    QPainter painter(&writer);
    painter.setFont(sampleFont(12));
    for (int i = 0; i < pages.size(); ++i) {
        if (i > 0)
            writer.newPage();
        painter.drawText(QRect(40, 40, 500, 700), Qt::TextWordWrap, pages.at(i));
    }
    return painter.end();
}

bool writeScannedPdf(const QString &path, const QStringList &pages)
{
    QPdfWriter writer(path);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setResolution(150);
    QPainter painter(&writer);
    for (int i = 0; i < pages.size(); ++i) {
        if (i > 0)
            writer.newPage();
        QImage scan(1240, 1754, QImage::Format_RGB32);
        scan.fill(Qt::white);
        QPainter pen(&scan);
        pen.setFont(sampleFont(36));
        pen.drawText(QRect(80, 120, 1080, 1500), Qt::TextWordWrap, pages.at(i));
        pen.end();
        painter.drawImage(QRect(0, 0, 1240, 1754), scan);
    }
    return painter.end();
}

QStringList numberedPages(int count)
{
    QStringList pages;
    for (int i = 1; i <= count; ++i)
        pages.append(QStringLiteral("This is the text of page number %1 in the sample document.").arg(i));
    return pages;
}

} // namespace Nomly::Test
