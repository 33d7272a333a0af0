// The JPEG the AI sees, from real files made here: sizes at the target's
// edges, orientation from EXIF, SVG, PDF pages, transparency, design archives
// with their own previews, the desktop's thumbnail cache, HEIC and AVIF
// pictures, and hostile input.

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include "content/imagecompressionservice.h"
#include "content/picturereader.h"
#include "content/previewentries.h"
#include "content/textrecognizer.h"
#include "filesystemfixtures.h"
#include "platform/ziparchive.h"
#include "samplepdfs.h"
#include "samplepictures.h"
#include "samplezips.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

QImage decoded(const std::optional<QByteArray> &jpeg)
{
    return jpeg ? QImage::fromData(*jpeg, "JPG") : QImage();
}

QImage picture(int width, int height, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(width, height, format);
    image.fill(Qt::darkBlue);
    return image;
}

} // namespace

class ImageCompressionServiceTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void fitsTheEdgeNeverEnlarges_data()
    {
        QTest::addColumn<QSize>("source");
        QTest::addColumn<int>("target");
        QTest::addColumn<QSize>("expected");
        QTest::newRow("landscape scaled") << QSize(4000, 3000) << 1024 << QSize(1024, 768);
        QTest::newRow("portrait scaled") << QSize(1500, 3000) << 384 << QSize(192, 384);
        QTest::newRow("small stays") << QSize(300, 200) << 1024 << QSize(300, 200);
        QTest::newRow("exactly the edge") << QSize(1024, 10) << 1024 << QSize(1024, 10);
    }

    void fitsTheEdgeNeverEnlarges()
    {
        QFETCH(QSize, source);
        QFETCH(int, target);
        QFETCH(QSize, expected);
        const QString path = m_dir->filePath(u"photo.jpg"_s);
        QVERIFY(picture(source.width(), source.height()).save(path, "JPG"));
        QCOMPARE(decoded(ImageCompressionService::loadImage(path, target, 0.6)).size(), expected);
        // A page of the same size in a PDF is not enlarged either.
        QCOMPARE(
            decoded(ImageCompressionService::resizeImage(picture(source.width(), source.height()), target, 0.6)).size(),
            expected);
    }

    void orientationFromExif()
    {
        if (QStandardPaths::findExecutable(u"exiv2"_s).isEmpty())
            QSKIP("exiv2 is not installed");
        const QString path = m_dir->filePath(u"rotated.jpg"_s);
        QVERIFY(picture(400, 200).save(path, "JPG"));
        QCOMPARE(QProcess::execute(u"exiv2"_s, { u"-M"_s, u"set Exif.Image.Orientation Short 6"_s, path }), 0);
        QCOMPARE(decoded(ImageCompressionService::loadImage(path, 1024, 0.6)).size(), QSize(200, 400));
    }

    // An SVG is drawn to fill 76% of a square canvas, enlarged if small.
    void svgFillsTheCanvas()
    {
        const QString path = m_dir->filePath(u"icon.svg"_s);
        QVERIFY(writeFile(path,
                          R"(<svg xmlns="http://www.w3.org/2000/svg" width="300" height="200">)"
                          R"(<rect width="300" height="200" fill="black"/></svg>)"));
        const QImage image = decoded(ImageCompressionService::loadImage(path, 1000, 0.9));
        QCOMPARE(image.size(), QSize(1000, 1000));
        QVERIFY(qGray(image.pixel(500, 500)) < 40); // drawn, centred
        QVERIFY(qGray(image.pixel(500, 200)) > 215); // white above the 760 by 507 drawing
        QVERIFY(qGray(image.pixel(500, 260)) < 40);
        QVERIFY(qGray(image.pixel(130, 500)) < 40 && qGray(image.pixel(110, 500)) > 215);
    }

    void transparencyBecomesWhite()
    {
        QImage clear(64, 64, QImage::Format_ARGB32);
        clear.fill(Qt::transparent);
        const QImage image = decoded(ImageCompressionService::resizeImage(clear, 64, 0.9));
        QVERIFY(qGray(image.pixel(32, 32)) > 245);
    }

    void pdfPages()
    {
        const QString path = m_dir->filePath(u"doc.pdf"_s);
        QVERIFY(writeTextPdf(path, numberedPages(3)));
        const QList<QByteArray> pages = ImageCompressionService::renderPdfPages(path, { 2, 7, -1, 0 }, 512, 0.6);
        QCOMPARE(pages.size(), 2);
        // A4 at 72 points per inch is 595 by 842, scaled to fit 512.
        QCOMPARE(decoded(pages.first()).size(), QSize(362, 512));
        QCOMPARE(decoded(ImageCompressionService::loadImage(path, 2000, 0.6)).size(), QSize(595, 842));
    }

    // A page that claims to be 200 inches square renders within the target.
    void hugePdfPageStaysBounded()
    {
        const QString path = m_dir->filePath(u"poster.pdf"_s);
        {
            QPdfWriter writer(path);
            writer.setPageSize(QPageSize(QSizeF(14400, 14400), QPageSize::Point));
            writer.setResolution(72);
            QPainter painter(&writer);
            painter.drawText(QPointF(100, 100), u"Huge page"_s);
        }
        const QImage image = decoded(ImageCompressionService::loadImage(path, 1024, 0.6));
        QCOMPARE(image.size(), QSize(1024, 1024));
    }

    void previewEntriesRanked_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("previews folder before thumbnail")
            << QStringList { u"other/thumbnail.png"_s, u"previews/preview.png"_s }
            << QStringList { u"previews/preview.png"_s, u"other/thumbnail.png"_s };
        QTest::newRow("deep preview ranks first")
            << QStringList { u"QuickLook/Thumbnail.jpg"_s, u"a/b/c/preview.png"_s, u"doc.json"_s, u"preview.txt"_s }
            << QStringList { u"a/b/c/preview.png"_s, u"QuickLook/Thumbnail.jpg"_s };
        QTest::newRow("web before micro, archive order kept")
            << QStringList { u"x/preview-micro.png"_s, u"y/preview-web.jpg"_s, u"z/preview-web.png"_s }
            << QStringList { u"y/preview-web.jpg"_s, u"z/preview-web.png"_s, u"x/preview-micro.png"_s };
    }

    void previewEntriesRanked()
    {
        QFETCH(QStringList, entries);
        QFETCH(QStringList, expected);
        QCOMPARE(rankedPreviewEntries(entries), expected);
    }

    void designArchivePreview()
    {
        const QString path = m_dir->filePath(u"poster.sketch"_s);
        QVERIFY(writeZip(
            path, { { u"document.json"_s, "{}" }, { u"previews/preview.png"_s, encodedImage(picture(800, 600)) } }));
        QCOMPARE(decoded(ImageCompressionService::loadImage(path, 400, 0.6)).size(), QSize(400, 300));
    }

    // A design file with no preview of its own takes the desktop's thumbnail,
    // but only one made after the file's last change.
    void desktopThumbnailCache_data()
    {
        QTest::addColumn<int>("ageOffset");
        QTest::addColumn<bool>("used");
        QTest::newRow("fresh") << 0 << true;
        QTest::newRow("stale") << -60 << false;
    }

    void desktopThumbnailCache()
    {
        QFETCH(int, ageOffset);
        QFETCH(bool, used);
        const QString path = m_dir->filePath(u"board.fig"_s);
        QVERIFY(writeFile(path, "not a zip"));
        const QByteArray uri = QUrl::fromLocalFile(path).toEncoded();
        const QString folder
            = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/thumbnails/large"_s;
        QVERIFY(QDir().mkpath(folder));
        const QString thumbnail = folder + u'/'
            + QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex()) + u".png"_s;
        QImage image = picture(256, 128);
        image.setText(u"Thumb::MTime"_s,
                      QString::number(QFileInfo(path).lastModified().toSecsSinceEpoch() + ageOffset));
        image.setText(u"Thumb::URI"_s, QString::fromLatin1(uri));
        QVERIFY(image.save(thumbnail, "PNG"));
        QCOMPARE(decoded(ImageCompressionService::loadImage(path, 128, 0.6)).size(),
                 used ? QSize(128, 64) : QSize(0, 0));
        QFile::remove(thumbnail);
    }

    // Lying headers and broken data give nothing or a bounded picture, fast.
    void hostileInput_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("kind");
        QTest::newRow("100 megapixel header") << u"huge.jpg"_s << u"huge"_s;
        QTest::newRow("truncated") << u"cut.jpg"_s << u"truncated"_s;
        QTest::newRow("empty") << u"empty.png"_s << u"empty"_s;
        QTest::newRow("wrong extension") << u"text.png"_s << u"text"_s;
        QTest::newRow("zip declaring a huge entry") << u"bomb.sketch"_s << u"bomb"_s;
    }

    void hostileInput()
    {
        QFETCH(QString, name);
        QFETCH(QString, kind);
        const QString path = m_dir->filePath(name);
        QByteArray bytes;
        {
            QBuffer buffer(&bytes);
            buffer.open(QIODevice::WriteOnly);
            picture(64, 64).save(&buffer, "JPG");
        }
        if (kind == u"huge") {
            // The frame header's height and width, after the SOF0 marker.
            const qsizetype sof = bytes.indexOf("\xFF\xC0");
            QVERIFY(sof > 0);
            bytes[sof + 5] = char(0x27), bytes[sof + 6] = char(0x10); // 10000
            bytes[sof + 7] = char(0x27), bytes[sof + 8] = char(0x10);
        } else if (kind == u"truncated") {
            bytes.truncate(bytes.size() / 3);
        } else if (kind == u"empty") {
            bytes.clear();
        } else if (kind == u"text") {
            bytes = "plain text, not a picture";
        } else {
            QVERIFY(writeZip(
                path, { { u"preview.png"_s, QByteArray(ImageCompressionService::ArchivePreviewMaxBytes + 1, '\0') } }));
        }
        if (kind != u"bomb")
            QVERIFY(writeFile(path, bytes));
        QElapsedTimer timer;
        timer.start();
        const QImage image = decoded(ImageCompressionService::loadImage(path, 1024, 0.6));
        QVERIFY(image.width() <= 1024 && image.height() <= 1024);
        QVERIFY2(timer.elapsed() < 20000, "decoding must stay bounded");
    }

    // HEIF pictures made by heif-enc from a 640 by 480 drawing, red on the
    // left and blue on the right: decoded by their content whatever their
    // name, upright, fitted to the target, from the thumbnail inside only
    // when that is large enough.
    void heifPreviews_data()
    {
        QTest::addColumn<QString>("name"); // ".avif" makes an AVIF
        QTest::addColumn<QStringList>("encoderArguments");
        QTest::addColumn<bool>("quarterTurn");
        QTest::addColumn<int>("target");
        QTest::addColumn<QSize>("expected");
        QTest::addColumn<QPointF>("redAt"); // a fraction of the width and height
        QTest::newRow("heic-scaled-to-target")
            << u"IMG_0001.heic"_s << QStringList() << false << 320 << QSize(320, 240) << QPointF(0.25, 0.5);
        QTest::newRow("avif-scaled-to-target")
            << u"IMG_0001.avif"_s << QStringList() << false << 320 << QSize(320, 240) << QPointF(0.25, 0.5);
        QTest::newRow("heic-named-jpg") << u"IMG_0001.jpg"_s << QStringList() << false << 1024 << QSize(640, 480)
                                        << QPointF(0.25, 0.5);
        QTest::newRow("heic-without-extension")
            << u"IMG_0001"_s << QStringList() << false << 1024 << QSize(640, 480) << QPointF(0.25, 0.5);
        QTest::newRow("stored-on-its-side-stands-upright")
            << u"IMG_0001.heic"_s << QStringList() << true << 1024 << QSize(480, 640) << QPointF(0.5, 0.75);
        QTest::newRow("thumbnail-too-small-passed-over") << u"IMG_0001.heic"_s << QStringList { u"-t"_s, u"128"_s }
                                                         << false << 1024 << QSize(640, 480) << QPointF(0.25, 0.5);
        QTest::newRow("thumbnail-large-enough-used") << u"IMG_0001.heic"_s << QStringList { u"-t"_s, u"256"_s } << false
                                                     << 100 << QSize(100, 75) << QPointF(0.25, 0.5);
    }

    void heifPreviews()
    {
        QFETCH(QString, name);
        QFETCH(QStringList, encoderArguments);
        QFETCH(bool, quarterTurn);
        QFETCH(int, target);
        QFETCH(QSize, expected);
        QFETCH(QPointF, redAt);
        if (const QString missing = heifSampleMissing(name.endsWith(u".avif"_s) ? u"avif"_s : u"heic"_s);
            !missing.isEmpty())
            QSKIP(qPrintable(missing));
        QImage drawing(640, 480, QImage::Format_RGB32);
        drawing.fill(Qt::blue);
        QPainter(&drawing).fillRect(0, 0, 320, 480, Qt::red);
        const QString path = m_dir->filePath(name);
        const QString made = writeHeif(
            path, drawing, { .exif = {}, .encoderArguments = encoderArguments, .quarterTurn = quarterTurn });
        QVERIFY2(made.isEmpty(), qPrintable(made));
        const QImage image = decoded(ImageCompressionService::loadImage(path, target, 0.9));
        QCOMPARE(image.size(), expected);
        // Red where the drawing's left half lies, blue opposite it.
        const QColor red = image.pixelColor(int(redAt.x() * expected.width()), int(redAt.y() * expected.height()));
        const QColor blue
            = image.pixelColor(int((1 - redAt.x()) * expected.width()), int((1 - redAt.y()) * expected.height()));
        QVERIFY2(red.red() > 200 && red.blue() < 60, qPrintable(red.name()));
        QVERIFY2(blue.blue() > 200 && blue.red() < 60, qPrintable(blue.name()));
    }

    // A damaged HEIC gives no picture and says why, rather than garbage or
    // a crash; a size no photograph has is refused before decoding.
    void damagedHeif_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("failure");
        QTest::newRow("truncated") << u"truncated"_s << u"end of file"_s;
        QTest::newRow("lying-size") << u"lying-size"_s << u"too large"_s;
        QTest::newRow("not-a-heif-inside") << u"garbage"_s << u"Unsupported image format"_s;
    }

    void damagedHeif()
    {
        QFETCH(QString, damage);
        QFETCH(QString, failure);
        if (const QString missing = heifSampleMissing(u"heic"_s); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        const QString path = m_dir->filePath(u"IMG_0002.heic"_s);
        QVERIFY(writeHeif(path, textImage({ u"Harbour at dawn"_s })).isEmpty());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QByteArray bytes = file.readAll();
        if (damage == u"truncated") {
            bytes.truncate(bytes.size() / 2);
        } else if (damage == u"lying-size") {
            // The stored size after the property's type, version and flags.
            const qsizetype at = bytes.indexOf("ispe");
            QVERIFY(at > 0);
            bytes.replace(at + 8, 8, QByteArray::fromHex("00004e2000004e20")); // 20000 by 20000
        } else {
            bytes = QByteArray(4096, 'x');
        }
        QVERIFY(file.resize(0) && file.write(bytes) == bytes.size());
        file.close();
        QVERIFY(!ImageCompressionService::loadImage(path, 1024, 0.6));
        const QString error = PictureReader::read(path).error();
        QVERIFY2(error.contains(failure, Qt::CaseInsensitive), qPrintable(error));
    }

    // Text drawn into a HEIC is read back from the preview the AI sees.
    void heicPreviewIsLegible()
    {
        if (const QString missing = heifSampleMissing(u"heic"_s); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        if (!TextRecognizer::isAvailable())
            QSKIP("the English OCR data is not installed");
        const QString path = m_dir->filePath(u"IMG_0003.heic"_s);
        QVERIFY(writeHeif(path, textImage({ u"HARBOUR INVOICE 2291"_s, u"Total due 128.50 EUR"_s })).isEmpty());
        const QString text = TextRecognizer::recognize(decoded(ImageCompressionService::loadImage(path, 1024, 0.8)))
                                 .value_or(QString());
        QVERIFY2(text.contains(u"HARBOUR INVOICE 2291"_s) && text.contains(u"128.50 EUR"_s), qPrintable(text));
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_MAIN(ImageCompressionServiceTest)
#include "imagecompressionservicetest.moc"
