// `nomly inspect` and `nomly thumbnail` as a user runs them, on files made
// here: what inspect reports of each kind, its exit status and the content
// hash across touch and rename; the JPEG thumbnail writes, and what it refuses.

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <utime.h>

#include "cliprocess.h"
#include "filesystemfixtures.h"
#include "samplepdfs.h"

using namespace Qt::StringLiterals;
using namespace Nomly::Test;

class ContentCommandsTest : public QObject
{
    Q_OBJECT

private slots:

    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void reportsEachKind()
    {
        QVERIFY(writeTextPdf(file(u"long.pdf"_s), numberedPages(40)));
        QVERIFY(writeFile(file(u"notes.txt"_s), "Budget review notes for the third quarter"));
        QVERIFY(writeFile(file(u"archive.xyz123"_s), "bytes"));
        const CliRun run = inspect({ u"--json"_s, u"long.pdf"_s, u"notes.txt"_s, u"archive.xyz123"_s, u"gone.txt"_s });
        QCOMPARE(run.exitCode, 1);
        const QJsonArray results = QJsonDocument::fromJson(run.out.toUtf8()).array();
        QCOMPARE(results.size(), 4);

        const QJsonObject pdf = results.at(0).toObject();
        QCOMPARE(pdf.value(u"kind"_s).toString(), u"document"_s);
        QCOMPARE(pdf.value(u"pageCount"_s).toInt(), 40);
        const QString text = pdf.value(u"text"_s).toString();
        QVERIFY(text.size() <= 12000);
        QVERIFY(text.startsWith(u"PDF text excerpts from 12 of 40 pages."_s));
        QVERIFY(text.contains(u"Page 4 of 40:"_s) && text.contains(u"Page 40 of 40:"_s));
        QVERIFY(text.contains(u"Page 5 of 40:"_s));
        QVERIFY(!text.contains(u"Page 6 of 40:"_s));
        QCOMPARE(pdf.value(u"contentHash"_s).toString().size(), 64);

        QCOMPARE(results.at(1).toObject().value(u"text"_s).toString(), u"Budget review notes for the third quarter"_s);
        const QJsonObject fields = results.at(1).toObject().value(u"fields"_s).toObject();
        QCOMPARE(fields.value(u"extension"_s).toString(), u"txt"_s);
        QCOMPARE(fields.value(u"size"_s).toString(), u"41B"_s);
        QCOMPARE(results.at(2).toObject().value(u"status"_s).toString(), u"unsupported"_s);
        QCOMPARE(results.at(3).toObject().value(u"failure"_s).toString(), u"File not found"_s);
    }

    void unreadablePdfsSayWhy()
    {
        if (QStandardPaths::findExecutable(u"qpdf"_s).isEmpty())
            QSKIP("qpdf is not installed");
        QVERIFY(writeTextPdf(file(u"open.pdf"_s), numberedPages(2)));
        QCOMPARE(QProcess::execute(
                     u"qpdf"_s,
                     { u"--encrypt"_s, u"u"_s, u"o"_s, u"256"_s, u"--"_s, file(u"open.pdf"_s), file(u"locked.pdf"_s) }),
                 0);
        const CliRun run = inspect({ u"locked.pdf"_s });
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.out.contains(u"failed: PDF is password protected"_s), qPrintable(run.out));
        QVERIFY2(run.err.isEmpty(), qPrintable(run.err));
    }

    void scannedPdfIsRecognised()
    {
        QVERIFY(writeScannedPdf(file(u"scan.pdf"_s), { u"INVOICE 4471\nAcme Hardware Supplies"_s }));
        const CliRun run = inspect({ u"--json"_s, u"scan.pdf"_s });
        QCOMPARE(run.exitCode, 0);
        const QJsonObject scan = QJsonDocument::fromJson(run.out.toUtf8()).array().at(0).toObject();
        QVERIFY(!scan.contains(u"text"_s));
        QCOMPARE(scan.value(u"previewPageIndices"_s).toArray(), QJsonArray { 0 });
        if (!QFile::exists(u"/usr/share/tesseract-ocr/5/tessdata/eng.traineddata"_s))
            QSKIP("the English OCR data is not installed");
        QVERIFY2(scan.value(u"recognizedText"_s).toString().contains(u"Acme Hardware Supplies"_s), qPrintable(run.out));
    }

    // Same bytes and time, same hash; a new time, a new hash; a new name,
    // the same hash.
    void contentHashFollowsContentAndTime()
    {
        QVERIFY(writeFile(file(u"a.txt"_s), "identical content of twenty characters"));
        QVERIFY(writeFile(file(u"b.txt"_s), "identical content of twenty characters"));
        const utimbuf when { 1731962381, 1731962381 };
        QVERIFY(utime(QFile::encodeName(file(u"a.txt"_s)).constData(), &when) == 0);
        QVERIFY(utime(QFile::encodeName(file(u"b.txt"_s)).constData(), &when) == 0);
        const QString first = hashOf(u"a.txt"_s);
        QCOMPARE(hashOf(u"b.txt"_s), first);
        QVERIFY(QFile::rename(file(u"b.txt"_s), file(u"renamed.txt"_s)));
        QCOMPARE(hashOf(u"renamed.txt"_s), first);
        const utimbuf later { 1731962391, 1731962391 };
        QVERIFY(utime(QFile::encodeName(file(u"renamed.txt"_s)).constData(), &later) == 0);
        QVERIFY(hashOf(u"renamed.txt"_s) != first);
    }

    void thumbnailFitsTheEdge()
    {
        QImage photo(3000, 2000, QImage::Format_RGB32);
        photo.fill(Qt::darkGreen);
        QVERIFY(photo.save(file(u"photo.jpg"_s), "JPG"));
        const CliRun run = runIn({ u"thumbnail"_s,
                                   u"photo.jpg"_s,
                                   u"--edge"_s,
                                   u"1024"_s,
                                   u"--quality"_s,
                                   u"0.6"_s,
                                   u"-o"_s,
                                   u"out.jpg"_s });
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(QImage(file(u"out.jpg"_s)).size(), QSize(1024, 683));

        // The output is never replaced, and bad values are refused.
        const QByteArray written = readFile(file(u"out.jpg"_s));
        QCOMPARE(runIn({ u"thumbnail"_s, u"photo.jpg"_s, u"-o"_s, u"out.jpg"_s }).exitCode, 2);
        QCOMPARE(readFile(file(u"out.jpg"_s)), written);
        QCOMPARE(runIn({ u"thumbnail"_s, u"photo.jpg"_s, u"--edge"_s, u"0"_s, u"-o"_s, u"x.jpg"_s }).exitCode, 2);
        QCOMPARE(runIn({ u"thumbnail"_s, u"photo.jpg"_s, u"--quality"_s, u"1.5"_s, u"-o"_s, u"x.jpg"_s }).exitCode, 2);
        QCOMPARE(runIn({ u"thumbnail"_s, u"gone.jpg"_s, u"-o"_s, u"x.jpg"_s }).exitCode, 1);
        QVERIFY(!QFile::exists(file(u"x.jpg"_s)));
    }

    // Text in an SVG needs fonts, which only a GUI application has; the
    // command line draws off screen and reads every file of the run.
    void svgWithTextRenders()
    {
        QVERIFY(writeFile(file(u"label.svg"_s),
                          "<svg xmlns='http://www.w3.org/2000/svg' width='400' height='200'>"
                          "<rect width='400' height='200' fill='white'/>"
                          "<text x='20' y='100' font-size='40'>Spring Sale</text></svg>"));
        QVERIFY(writeFile(file(u"notes.txt"_s), "Budget review notes for the third quarter"));
        const CliRun run = inspect({ u"--json"_s, u"label.svg"_s, u"notes.txt"_s });
        QVERIFY2(run.exitCode == 0, qPrintable(run.err));
        QCOMPARE(QJsonDocument::fromJson(run.out.toUtf8()).array().size(), 2);
        const CliRun drawn = runIn({ u"thumbnail"_s, u"label.svg"_s, u"-o"_s, u"label.jpg"_s });
        QVERIFY2(drawn.exitCode == 0, qPrintable(drawn.err));
        QVERIFY(!QImage(file(u"label.jpg"_s)).isNull());
    }

    // A name that is not valid UTF-8 would read back as another name; the
    // command refuses it rather than touch the file that other name names.
    void undecodableNameRefused()
    {
        QVERIFY(writeFile(file(u"clash\uFFFD.txt"_s), "neighbour"));
        const CliRun run = runCli(u"/bin/sh"_s,
                                  { u"-c"_s,
                                    u"printf x > \"$(printf 'clash\\377.txt')\"; "
                                    "exec \"$0\" apply --title renamed \"$(printf 'clash\\377.txt')\""_s,
                                    QStringLiteral(NOMLY_BINARY) },
                                  m_dir->filePath(u"profile"_s),
                                  m_dir->path());
        QCOMPARE(run.exitCode, 2);
        QVERIFY2(run.err.contains(u"is not valid UTF-8"_s), qPrintable(run.err));
        QCOMPARE(readFile(file(u"clash\uFFFD.txt"_s)), "neighbour");
        QVERIFY(!QFile::exists(file(u"renamed.txt"_s)));
    }

    // A photo's own EXIF renders in its name.
    void previewRendersFileFacts()
    {
        if (QStandardPaths::findExecutable(u"exiv2"_s).isEmpty())
            QSKIP("exiv2 is not installed");
        QImage photo(640, 480, QImage::Format_RGB32);
        photo.fill(Qt::darkCyan);
        QVERIFY(photo.save(file(u"photo.jpg"_s), "JPG"));
        QCOMPARE(QProcess::execute(u"exiv2"_s,
                                   { u"-M"_s,
                                     u"set Exif.Photo.DateTimeOriginal 2025:07:14 09:15:30"_s,
                                     u"-M"_s,
                                     u"set Exif.Image.Model Canon"_s,
                                     file(u"photo.jpg"_s) }),
                 0);
        const CliRun run = runIn({ u"preview"_s,
                                   u"--pattern"_s,
                                   u"{capture_date}_{camera_model}_{resolution}"_s,
                                   u"--title"_s,
                                   u"x"_s,
                                   u"photo.jpg"_s });
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out.trimmed(), u"2025-07-14_Canon_640x480.jpg"_s);
    }

private:
    QString file(const QString &name) const { return m_dir->filePath(name); }

    CliRun runIn(const QStringList &arguments)
    {
        return runCli(QStringLiteral(NOMLY_BINARY), arguments, m_dir->filePath(u"profile"_s), m_dir->path());
    }

    CliRun inspect(const QStringList &arguments) { return runIn(QStringList { u"inspect"_s } + arguments); }

    QString hashOf(const QString &name)
    {
        const CliRun run = inspect({ u"--json"_s, name });
        return QJsonDocument::fromJson(run.out.toUtf8()).array().at(0).toObject().value(u"contentHash"_s).toString();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_MAIN(ContentCommandsTest)
#include "contentcommandstest.moc"
