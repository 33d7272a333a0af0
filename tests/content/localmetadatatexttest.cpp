// The local text that stands beside a picture: its own metadata, and the
// text in the pictures an Office file carries.

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include "content/localmetadatatext.h"
#include "content/textrecognizer.h"
#include "filesystemfixtures.h"
#include "samplepictures.h"
#include "samplezips.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

class LocalMetadataTextTest : public QObject
{
    Q_OBJECT

private slots:

    void pictureMetadata()
    {
        if (QStandardPaths::findExecutable(u"exiv2"_s).isEmpty())
            QSKIP("exiv2 is not installed");
        QTemporaryDir dir;
        const QString path = dir.filePath(u"shot.jpg"_s);
        QImage image(320, 200, QImage::Format_RGB32);
        image.fill(Qt::gray);
        QVERIFY(image.save(path, "JPG"));
        QCOMPARE(
            QProcess::execute(
                u"exiv2"_s,
                { u"-M"_s, u"set Exif.Image.Model Pixel 9"_s, u"-M"_s, u"set Exif.Photo.ISOSpeedRatings 400"_s, path }),
            0);
        const QString text = localMetadataText(path).value_or(QString());
        const QStringList lines = text.split(u'\n');
        QCOMPARE(lines.first(), u"File type: image/jpeg"_s);
        QVERIFY2(lines.contains(u"Image dimensions: 320 x 200"_s), qPrintable(text));
        QVERIFY2(lines.contains(u"Camera model: Pixel 9"_s), qPrintable(text));
        QVERIFY2(lines.contains(u"ISO: 400"_s), qPrintable(text));
        QVERIFY(!text.contains(u"Lens model"_s));
        QVERIFY(!localMetadataText(dir.filePath(u"gone.jpg"_s)));
    }

    void officePictures()
    {
        if (!TextRecognizer::isAvailable())
            QSKIP("the English OCR data is not installed");
        QTemporaryDir dir;
        const QString path = dir.filePath(u"deck.pptx"_s);
        QVERIFY(writeZip(path,
                         { { u"ppt/slides/slide1.xml"_s, "<p/>" },
                           { u"ppt/media/image2.png"_s, encodedImage(textImage({ u"Quarterly revenue grew"_s })) },
                           { u"ppt/media/notes.txt"_s, "not a picture" },
                           { u"word/media/image1.png"_s, encodedImage(textImage({ u"Wrong folder entirely"_s })) } }));
        const QString text = embeddedImagesText(path).value_or(QString());
        QVERIFY2(text.contains(u"Quarterly revenue grew"_s), qPrintable(text));
        QVERIFY(!text.contains(u"Wrong folder"_s));
        QVERIFY(!embeddedImagesText(dir.filePath(u"plain.txt"_s)));
    }
};

QTEST_MAIN(LocalMetadataTextTest)
#include "localmetadatatexttest.moc"
