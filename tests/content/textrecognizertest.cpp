// Recognition of rendered text with the installed English model, and the
// reduction that bounds every OCR result.

#include <QTest>

#include "content/textrecognizer.h"
#include "samplepictures.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

QStringList numbered(int count, const QString &pattern)
{
    QStringList lines;
    for (int i = 1; i <= count; ++i)
        lines.append(pattern.arg(i));
    return lines;
}

} // namespace

class TextRecognizerTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase()
    {
        if (!TextRecognizer::isAvailable())
            QSKIP("the English OCR data is not installed");
    }

    void readsRenderedText()
    {
        const QImage image = textImage({ u"INVOICE 4471"_s, u"Total due 128.50 EUR"_s });
        const QString text = TextRecognizer::recognize(image).value_or(QString());
        QVERIFY2(text.contains(u"INVOICE 4471"_s), qPrintable(text));
        QVERIFY2(text.contains(u"Total due 128.50 EUR"_s), qPrintable(text));
        QVERIFY(!TextRecognizer::recognize(textImage({})));
        QVERIFY(!TextRecognizer::recognize(QImage()));
    }

    // Of a list, only the first five images are read.
    void batchReadsFirstFive()
    {
        QList<QImage> images;
        for (int i = 1; i <= 6; ++i)
            images.append(textImage({ u"Receipt page number %1 of six"_s.arg(i) }));
        const QString text = TextRecognizer::recognize(images).value_or(QString());
        QVERIFY2(text.contains(u"number 5"_s), qPrintable(text));
        QVERIFY2(!text.contains(u"number 6"_s), qPrintable(text));
    }

    void confidenceFloor_data()
    {
        QTest::addColumn<double>("confidence");
        QTest::addColumn<bool>("kept");
        QTest::newRow("below") << 0.349 << false;
        QTest::newRow("at the floor") << 0.35 << true;
        QTest::newRow("sure") << 0.99 << true;
    }

    void confidenceFloor()
    {
        QFETCH(double, confidence);
        QFETCH(bool, kept);
        const QStringList lines
            = TextRecognizer::confidentLines({ { u"a line of text"_s, confidence }, { u"   "_s, 1.0 } });
        QCOMPARE(lines, kept ? QStringList { u"a line of text"_s } : QStringList());
    }

    void reduction_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<int>("keptLines");
        QTest::addColumn<int>("length");
        QTest::newRow("80 lines kept") << numbered(100, u"line %1 abc"_s) << 80 << -1;
        QTest::newRow("repeats dropped, any case")
            << (QStringList(30, u"Same Line abc"_s) + QStringList { u"SAME LINE ABC"_s, u"another one here"_s }) << 2
            << -1;
        QTest::newRow("single characters dropped")
            << QStringList { u"x"_s, u"a long enough line of text"_s } << 1 << -1;
        QTest::newRow("3,000 characters") << numbered(60, u"%1 "_s + QString(98, u'w')) << -1 << 3000;
        QTest::newRow("19 characters is nothing") << QStringList { u"nineteen characters"_s } << 0 << -1;
    }

    void reduction()
    {
        QFETCH(QStringList, lines);
        QFETCH(int, keptLines);
        QFETCH(int, length);
        const auto text = TextRecognizer::reduced(lines);
        if (keptLines == 0) {
            QVERIFY(!text);
            return;
        }
        QVERIFY(text);
        if (keptLines > 0)
            QCOMPARE(text->split(u'\n').size(), keptLines);
        if (length > 0)
            QCOMPARE(text->size(), length);
    }
};

QTEST_MAIN(TextRecognizerTest)
#include "textrecognizertest.moc"
