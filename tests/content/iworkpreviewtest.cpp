// Whether an iWork document's own preview is enough for the AI: the blank
// test on drawn pictures whose ink falls on either side of each threshold,
// and the whole judgement on real documents with and without a preview.

#include <QDir>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include "content/iworkpreview.h"
#include "content/textrecognizer.h"
#include "samplepictures.h"
#include "samplezips.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

// A 160-pixel page on a 16 × 16 grid of 10-pixel cells, so that each cell is
// one pixel of the test's reduction: `cells` of them, spread over the page,
// in `ink`.
QByteArray page(int cells, const QColor &ink, const QColor &paper = Qt::white)
{
    QImage image(160, 160, QImage::Format_ARGB32);
    image.fill(paper);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    for (int i = 0; i < cells; ++i) {
        const int cell = (i * 37) % 256;
        painter.fillRect((cell % 16) * 10, (cell / 16) * 10, 10, 10, ink);
    }
    painter.end();
    return encodedImage(image, "PNG");
}

// Large pale-grey words: legible to OCR, yet too faint and sparse for the
// blank test to count as content.
QByteArray paleText()
{
    QImage image(1200, 1600, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(90);
    painter.setFont(font);
    painter.setPen(QColor(228, 228, 228));
    painter.drawText(80, 300, u"Invoice 2026"_s);
    painter.drawText(80, 450, u"Harbour Office"_s);
    painter.end();
    return encodedImage(image, "JPG");
}

} // namespace

class IWorkPreviewTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void blankTest_data()
    {
        QTest::addColumn<QByteArray>("picture");
        QTest::addColumn<bool>("blank");

        const QColor grey(230, 230, 230);
        QTest::newRow("few-grey-marks-are-blank") << page(10, grey) << true;
        QTest::newRow("same-share-in-black-is-not") << page(10, Qt::black) << false;
        QTest::newRow("eight-percent-grey-is-not") << page(21, grey) << false;
        QTest::newRow("under-two-percent-black-is-blank") << page(5, Qt::black) << true;
        QTest::newRow("channel-246-is-paper") << page(0, Qt::black, QColor(246, 246, 246)) << true;
        QTest::newRow("channel-245-is-ink") << page(0, Qt::black, QColor(255, 245, 255)) << false;
        QTest::newRow("transparent-is-blank") << page(0, Qt::black, Qt::transparent) << true;
        QTest::newRow("alpha-12-unseen") << page(0, Qt::black, QColor(0, 0, 0, 12)) << true;
        QTest::newRow("alpha-13-seen") << page(0, Qt::black, QColor(0, 0, 0, 13)) << false;
        QTest::newRow("undecodable-is-blank") << QByteArray("not a picture at all") << true;
    }

    void blankTest()
    {
        QFETCH(QByteArray, picture);
        QFETCH(bool, blank);
        QCOMPARE(isBlankPreview(picture), blank);
    }

    void weakPreview_data()
    {
        QTest::addColumn<QString>("preview");
        QTest::addColumn<bool>("weak");

        QTest::newRow("legible-text-is-strong") << u"text"_s << false;
        QTest::newRow("dark-drawing-is-strong") << u"drawing"_s << false;
        QTest::newRow("empty-page-is-weak") << u"empty"_s << true;
        QTest::newRow("no-preview-is-weak") << QString() << true;
    }

    void weakPreview()
    {
        QFETCH(QString, preview);
        QFETCH(bool, weak);

        QTemporaryDir dir;
        const QString path = dir.filePath(u"Budget.pages"_s);
        QList<std::pair<QString, QByteArray>> entries { { u"Index/Document.iwa"_s, QByteArray(64, '\x01') } };
        if (preview == u"text") {
            if (!TextRecognizer::isAvailable())
                QSKIP("tesseract or its English data is missing");
            QVERIFY(isBlankPreview(paleText()));
            entries.append({ u"preview.jpg"_s, paleText() });
        } else if (preview == u"drawing") {
            QImage drawing(600, 800, QImage::Format_RGB32);
            drawing.fill(Qt::white);
            QPainter(&drawing).fillRect(100, 100, 400, 300, Qt::darkBlue);
            entries.append({ u"preview.jpg"_s, encodedImage(drawing, "JPG") });
        } else if (preview == u"empty") {
            QImage empty(600, 800, QImage::Format_RGB32);
            empty.fill(Qt::white);
            entries.append({ u"preview.jpg"_s, encodedImage(empty, "JPG") });
        }
        QVERIFY(writeZip(path, entries));
        QCOMPARE(isWeakIWorkPreview(path), weak);
    }
};

QTEST_MAIN(IWorkPreviewTest)
#include "iworkpreviewtest.moc"
