// Office text read straight from the containers: files that LibreOffice and
// pandoc make at test time, each holding one invoice number to find, and
// archives built here for the rules that real writers rarely exercise.

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include "content/fileextractionservice.h"
#include "content/legacyworkbookscan.h"
#include "content/officedocumentreader.h"
#include "samplezips.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

using Entries = QList<std::pair<QString, QByteArray>>;

namespace {

const QString InvoiceLine = u"Invoice number INV-2026-0420 is due on 15 December 2026."_s;

QByteArray sheet(const QList<QStringList> &rows)
{
    QByteArray xml = "<worksheet><sheetData>";
    for (const QStringList &row : rows) {
        xml += "<row>";
        for (const QString &cell : row)
            xml += cell.isEmpty() ? QByteArray("<c/>") : "<c t=\"inlineStr\"><is><t>" + cell.toUtf8() + "</t></is></c>";
        xml += "</row>";
    }
    return xml + "</sheetData></worksheet>";
}

QByteArray workbook(const QStringList &names)
{
    QByteArray xml = "<workbook xmlns:r=\"urn:r\"><sheets>";
    for (qsizetype i = 0; i < names.size(); ++i)
        xml += "<sheet name=\"" + names.at(i).toUtf8() + "\" sheetId=\"1\" r:id=\"rId" + QByteArray::number(i + 1)
            + "\"/>";
    return xml + "</sheets></workbook>";
}

QByteArray relationships(const QStringList &targets)
{
    QByteArray xml = "<Relationships>";
    for (qsizetype i = 0; i < targets.size(); ++i)
        xml += "<Relationship Id=\"rId" + QByteArray::number(i + 1) + "\" Target=\"" + targets.at(i).toUtf8() + "\"/>";
    return xml + "</Relationships>";
}

QByteArray slide(const QString &text)
{
    return "<p:sld xmlns:p=\"urn:p\" xmlns:a=\"urn:a\"><a:t>" + text.toUtf8() + "</a:t></p:sld>";
}

QByteArray core(const QByteArray &properties)
{
    return "<cp:coreProperties xmlns:cp=\"urn:cp\" xmlns:dc=\"urn:dc\">" + properties + "</cp:coreProperties>";
}

} // namespace

class OfficeDocumentReaderTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        const QString soffice = QStandardPaths::findExecutable(u"soffice"_s);
        const QString pandoc = QStandardPaths::findExecutable(u"pandoc"_s);
        if (soffice.isEmpty() || pandoc.isEmpty())
            return;
        QFile source(m_dir.filePath(u"invoice.md"_s));
        QVERIFY(source.open(QIODevice::WriteOnly));
        source.write("# Invoice for Acme Widgets\n\n" + InvoiceLine.toUtf8()
                     + "\n\n# Terms\n\nPayment is due thirty days from the invoice date.\n");
        source.close();
        QFile table(m_dir.filePath(u"invoice.csv"_s));
        QVERIFY(table.open(QIODevice::WriteOnly));
        table.write("Item,Description,Amount\n1,Invoice number INV-2026-0420 for Acme Widgets,120\n");
        table.close();
        for (const QString &format : { u"docx"_s, u"pptx"_s, u"odt"_s })
            QVERIFY(run(pandoc, { u"invoice.md"_s, u"-o"_s, u"invoice."_s + format }));
        // A private profile, so that a second LibreOffice elsewhere on the
        // machine cannot hold ours up.
        const QString profile = u"-env:UserInstallation=file://"_s + m_dir.filePath(u"lo-profile"_s);
        const QList<std::pair<QString, QStringList>> conversions {
            { u"invoice.csv"_s, { u"xlsx"_s, u"ods"_s, u"xls"_s } },
            { u"invoice.docx"_s, { u"doc"_s } },
            { u"invoice.pptx"_s, { u"odp"_s, u"ppt"_s } },
        };
        for (const auto &[input, formats] : conversions) {
            for (const QString &format : formats)
                QVERIFY(run(soffice, { profile, u"--headless"_s, u"--convert-to"_s, format, input }));
        }
        m_madeByOfficeSuite = true;
    }

    void realFiles_data()
    {
        QTest::addColumn<QString>("format");
        for (const char *format : { "docx", "xlsx", "pptx", "odt", "ods", "odp", "doc", "xls", "ppt" })
            QTest::newRow(format) << QString::fromLatin1(format);
    }

    void realFiles()
    {
        if (!m_madeByOfficeSuite)
            QSKIP("needs LibreOffice (soffice) and pandoc to make the documents");
        QFETCH(QString, format);
        const FileExtractionResult result
            = FileExtractionService::extract(m_dir.filePath(u"invoice."_s + format), ExtractionOptions());
        QVERIFY2(result.analyzeInput(), qPrintable(result.failureReason()));
        const auto *payload = result.analyzeInput()->get<FileTextAnalysisPayload>();
        QVERIFY(payload);
        const QString text = payload->text;
        QVERIFY2(text.contains(u"INV-2026-0420"), qPrintable(text));
    }

    void archives_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<Entries>("entries");
        QTest::addColumn<QString>("text"); // empty: no text

        const QByteArray book = workbook({ u"One"_s, u"Two"_s, u"Three"_s });
        QTest::newRow("workbook-names-two-sheets")
            << u"xlsx"_s
            << Entries { { u"xl/workbook.xml"_s, book },
                         { u"xl/_rels/workbook.xml.rels"_s,
                           relationships({ u"worksheets/a.xml"_s, u"/xl/worksheets/b.xml"_s, u"worksheets/c.xml"_s }) },
                         { u"xl/worksheets/a.xml"_s, sheet({ { u"first"_s } }) },
                         { u"xl/worksheets/b.xml"_s, sheet({ { u"second"_s } }) },
                         { u"xl/worksheets/c.xml"_s, sheet({ { u"third"_s } }) } }
            << u"Sheet: One\nHeaders: first\nSheet: Two\nHeaders: second"_s;
        QTest::newRow("missing-relationship-reads-sheet1")
            << u"xlsx"_s
            << Entries { { u"xl/workbook.xml"_s, workbook({ u"Data"_s }) },
                         { u"xl/_rels/workbook.xml.rels"_s, "<Relationships/>" },
                         { u"xl/worksheets/sheet1.xml"_s, sheet({ { u"Region"_s, u"Total"_s } }) } }
            << u"Sheet: Data\nHeaders: Region, Total"_s;
        QTest::newRow("target-climbs-out-of-base")
            << u"xlsx"_s
            << Entries { { u"xl/workbook.xml"_s, workbook({ u"Data"_s }) },
                         { u"xl/_rels/workbook.xml.rels"_s, relationships({ u"../sheets/data.xml"_s }) },
                         { u"sheets/data.xml"_s, sheet({ { u"Outside"_s } }) } }
            << u"Sheet: Data\nHeaders: Outside"_s;
        QTest::newRow("shared-strings-runs-and-bad-index")
            << u"xlsx"_s
            << Entries { { u"xl/sharedStrings.xml"_s, "<sst><si><r><t>Inv</t></r><r><t>oice</t></r></si></sst>" },
                         { u"xl/worksheets/sheet1.xml"_s,
                           "<worksheet><sheetData><row><c t=\"s\"><v>0</v></c><c t=\"s\"><v>7</v></c>"
                           "<c t=\"s\"><v>-1</v></c></row></sheetData></worksheet>" } }
            << u"Sheet: Sheet1\nHeaders: Invoice, 7, -1"_s;
        QTest::newRow("empty-rows-not-counted") << u"xlsx"_s
                                                << Entries { { u"xl/worksheets/sheet1.xml"_s,
                                                               sheet({ { u"Name"_s },
                                                                       { u""_s },
                                                                       { u""_s },
                                                                       { u""_s },
                                                                       { u"a"_s },
                                                                       { u"b"_s },
                                                                       { u"c"_s },
                                                                       { u"d"_s },
                                                                       { u"e"_s } }) } }
                                                << u"Sheet: Sheet1\nHeaders: Name\na\nb\nc\nd"_s;
        QTest::newRow("sheets-by-number-without-workbook")
            << u"xlsx"_s
            << Entries { { u"xl/worksheets/sheet10.xml"_s, sheet({ { u"ten"_s } }) },
                         { u"xl/worksheets/sheet2.xml"_s, sheet({ { u"two"_s } }) } }
            << u"Sheet: Sheet1\nHeaders: two\nSheet: Sheet2\nHeaders: ten"_s;
        QTest::newRow("slides-in-show-order")
            << u"pptx"_s
            << Entries { { u"ppt/presentation.xml"_s,
                           "<p:presentation xmlns:p=\"urn:p\" xmlns:r=\"urn:r\"><p:sldIdLst>"
                           "<p:sldId id=\"256\" r:id=\"rId2\"/><p:sldId id=\"257\" r:id=\"rId1\"/>"
                           "</p:sldIdLst></p:presentation>" },
                         { u"ppt/_rels/presentation.xml.rels"_s,
                           relationships({ u"slides/slide1.xml"_s, u"slides/slide2.xml"_s }) },
                         { u"ppt/slides/slide1.xml"_s, slide(u"filed first"_s) },
                         { u"ppt/slides/slide2.xml"_s, slide(u"shown first"_s) } }
            << u"Slide 1: shown first\nSlide 2: filed first"_s;
        QTest::newRow("slide-numbers-sort-as-numbers") << u"pptx"_s
                                                       << Entries { { u"ppt/slides/slide10.xml"_s, slide(u"ten"_s) },
                                                                    { u"ppt/slides/slide2.xml"_s, slide(u"two"_s) } }
                                                       << u"Slide 1: two\nSlide 2: ten"_s;
        QTest::newRow("word-title-without-body")
            << u"docx"_s
            << Entries { { u"docProps/core.xml"_s,
                           core("<dc:title>Quarterly &amp; annual report</dc:title><dc:creator>Ann Lee</dc:creator>") },
                         { u"word/document.xml"_s, "<w:document xmlns:w=\"urn:w\"><w:body/></w:document>" } }
            << u"Title: Quarterly & annual report\nCreator: Ann Lee"_s;
        QTest::newRow("word-undeclared-prefix")
            << u"docx"_s
            << Entries { { u"word/document.xml"_s, "<w:document><w:p><w:t>Lease agreement</w:t></w:p></w:document>" } }
            << u"Lease agreement"_s;
        QTest::newRow("odf-paragraph-with-span-once")
            << u"odt"_s
            << Entries { { u"content.xml"_s,
                           "<office:document-content xmlns:office=\"urn:o\" xmlns:text=\"urn:t\"><text:h>Minutes"
                           "</text:h><text:p>Budget <text:span>review</text:span> for the third quarter</text:p>"
                           "</office:document-content>" } }
            << u"Minutes\nBudget review for the third quarter"_s;
        QTest::newRow("odf-spans-without-paragraphs")
            << u"odp"_s << Entries { { u"content.xml"_s, "<doc><span>Roadmap for the coming year</span></doc>" } }
            << u"Roadmap for the coming year"_s;
        QTest::newRow("not-an-archive") << u"docx"_s << Entries {} << QString();
    }

    void archives()
    {
        QFETCH(QString, extension);
        QFETCH(Entries, entries);
        QFETCH(QString, text);
        const QString path = m_dir.filePath(u"sample."_s + extension);
        QFile::remove(path);
        if (entries.isEmpty()) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("PK\x03\x04 not really a zip");
        } else {
            QVERIFY(writeZip(path, entries));
        }
        const auto read = extension == u"xlsx" ? OfficeDocumentReader::excelText(path)
            : extension == u"pptx"             ? OfficeDocumentReader::powerPointText(path)
            : extension == u"docx"             ? OfficeDocumentReader::wordText(path)
                                               : OfficeDocumentReader::openDocumentText(path);
        QCOMPARE(read.value_or(QString()), text);
    }

    // Forty slides give twelve lines spread over the show, numbered by their
    // place in it, the first and the last among them.
    void slidesSpreadOverLongShow()
    {
        Entries entries;
        for (int i = 1; i <= 40; ++i)
            entries.append({ u"ppt/slides/slide%1.xml"_s.arg(i), slide(u"topic %1"_s.arg(i)) });
        const QString path = m_dir.filePath(u"long.pptx"_s);
        QVERIFY(writeZip(path, entries));
        const QStringList lines = OfficeDocumentReader::powerPointText(path).value_or(QString()).split(u'\n');
        QCOMPARE(lines.size(), 12);
        QCOMPARE(lines.first(), u"Slide 1: topic 1"_s);
        QCOMPARE(lines.last(), u"Slide 40: topic 40"_s);
    }

    // An entry that inflates far beyond what is kept is read only as far as
    // the limit: its beginning is the text, and nothing after it is read.
    void inflatedEntryReadOnlyToLimit()
    {
        QByteArray body = "<w:document xmlns:w=\"urn:w\"><w:t>Opening clause of the contract</w:t>";
        body += QByteArray(64 * 1024 * 1024, ' ');
        body += "<w:t>Never reached</w:t></w:document>";
        const QString path = m_dir.filePath(u"bomb.docx"_s);
        QVERIFY(writeZip(path, { { u"word/document.xml"_s, body } }));
        body.clear();
        QCOMPARE(OfficeDocumentReader::wordText(path).value_or(QString()), u"Opening clause of the contract"_s);
    }

    void legacyWorkbookScan_data()
    {
        QTest::addColumn<QStringList>("strings");
        QTest::addColumn<QString>("text");

        QTest::newRow("tabs-then-key-lines")
            << QStringList { u"Budget"_s,
                             u"Arial"_s,
                             u"Sheet1"_s,
                             u"http://example.org/a b"_s,
                             u"Quarterly spending for the northern office"_s }
            << u"Legacy XLS spreadsheet content\nWorkbook tabs: Budget\nKey extracted text:\n"
               "Quarterly spending for the northern office"_s;
        QTest::newRow("question-first-no-tabs")
            << QStringList { u"What is the capital of France?"_s, u"Geography"_s }
            << u"Legacy XLS spreadsheet content\nKey extracted text:\nWhat is the capital of France?"_s;
        QTest::newRow("two-questions-likely-quiz")
            << QStringList { u"Answers"_s, u"Which river is longest?"_s, u"Which city is largest?"_s }
            << u"Legacy XLS spreadsheet content\nWorkbook tabs: Answers\nLikely content: quiz or exam spreadsheet "
               "with prompts, answer options, and format guidance\nKey extracted text:\nWhich river is longest?\n"
               "Which city is largest?"_s;
        QTest::newRow("correct-is-no-tab-name")
            << QStringList { u"CORRECT"_s, u"Summary"_s }
            << u"Legacy XLS spreadsheet content\nWorkbook tabs: Summary\nKey extracted text:\nCORRECT"_s;
        QTest::newRow("repeats-folded-and-noise-dropped")
            << QStringList { u"Travel Notes"_s, u"TRAVEL notes"_s, u"file_name"_s, u"a b c d"_s }
            << u"Legacy XLS spreadsheet content\nWorkbook tabs: Travel Notes"_s;
    }

    void legacyWorkbookScan()
    {
        QFETCH(QStringList, strings);
        QFETCH(QString, text);
        // Strings as a binary workbook holds them: the first in UTF-16, the
        // others as 8-bit runs, between bytes that are no text.
        QByteArray bytes("\x09\x08\x10\x00\x00\x06", 6);
        for (qsizetype i = 0; i < strings.size(); ++i) {
            if (i == 0) {
                const QString &first = strings.first();
                bytes.append(reinterpret_cast<const char *>(first.utf16()), first.size() * 2);
            } else {
                bytes += strings.at(i).toLatin1();
            }
            bytes += QByteArray("\x00\x01\x02", 3);
        }
        QCOMPARE(legacyWorkbookText(bytes).value_or(QString()), text);
    }

private:
    static bool run(const QString &program, const QStringList &arguments)
    {
        QProcess process;
        process.setWorkingDirectory(s_workingDirectory);
        process.start(program, arguments);
        return process.waitForFinished(120'000) && process.exitCode() == 0;
    }

    QTemporaryDir m_dir;
    bool m_madeByOfficeSuite = false;
    static inline QString s_workingDirectory;

public:
    OfficeDocumentReaderTest() { s_workingDirectory = m_dir.path(); }
};

QTEST_GUILESS_MAIN(OfficeDocumentReaderTest)
#include "officedocumentreadertest.moc"
