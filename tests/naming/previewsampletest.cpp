// The sample a template is previewed with, rendered through the real
// renderer: each template gets the file kind it names, and the size text of a
// sample reads back as bytes for the size variants.

#include <QTest>

#include "naming/filerenamer.h"
#include "naming/previewsample.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

class PreviewSampleTest : public QObject
{
    Q_OBJECT

private slots:

    void rendersTemplateSample_data()
    {
        QTest::addColumn<QString>("templateName");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("expected");
        QTest::newRow("receipt fields") << u"Bookkeeper Expenses"_s << u"{invoice_date}_{vendor}_{invoice_number}"_s
                                        << u"2026-05-10_Sample Store_3839"_s;
        QTest::newRow("photo camera") << u"Photographer Shoots"_s << u"{camera_model} {iso}"_s
                                      << u"Mirrorless X1 200"_s;
        QTest::newRow("video duration") << u"Video Production"_s << u"{title} {duration}"_s
                                        << u"Coastal Vacation 1m24s"_s;
        QTest::newRow("audio has no picture")
            << u"Music Tracks"_s << u"{title} {resolution}"_s << u"Summer Beach Sunset"_s;
        QTest::newRow("unknown name is a document")
            << u"My Own"_s << u"{title} {vendor}"_s << u"Wireless Headphones Sample Vendor"_s;
        QTest::newRow("screenshot original name")
            << u" Screenshots "_s << u"{original_name}"_s << u"screenshot_2026_05_12_at_14_30_00"_s;
    }

    void rendersTemplateSample()
    {
        QFETCH(QString, templateName);
        QFETCH(QString, pattern);
        QFETCH(QString, expected);
        PatternRenderInput base;
        base.pattern = pattern;
        const PreviewSample sample = previewSample(previewProfileForTemplate(templateName));
        const QDateTime now(QDate(2026, 11, 23), QTime(9, 30));
        QCOMPARE(FileRenamer::applyPattern(previewRenderInput(base, sample, now)), expected);
    }

    void sizeTextInBytes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qint64>("bytes");
        QTest::newRow("kilobytes") << u"340KB"_s << qint64(340 * 1024);
        QTest::newRow("fraction, lower case") << u"1.5mb"_s << qint64(1572864);
        QTest::newRow("bare number") << u"12"_s << qint64(12);
        QTest::newRow("no number") << u"KB"_s << qint64(-1);
        QTest::newRow("unknown unit") << u"3 parsecs"_s << qint64(-1);
    }

    void sizeTextInBytes()
    {
        QFETCH(QString, text);
        QFETCH(qint64, bytes);
        QCOMPARE(previewSizeBytes(text).value_or(-1), bytes);
    }
};

QTEST_APPLESS_MAIN(PreviewSampleTest)
#include "previewsampletest.moc"
