// Extraction of real files made at test time: text of each kind, media with
// their sidecars, images, and PDFs written here with Qt's PDF writer, locked
// with qpdf and damaged by truncation.

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include "content/fileextractionservice.h"
#include "content/patternmetadatareader.h"
#include "filesystemfixtures.h"
#include "samplepdfs.h"
#include "samplepictures.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

ExtractionOptions options()
{
    ExtractionOptions out;
    out.imageExtensions = { u"png"_s, u" .JPG "_s, u"pdf"_s, u"heic"_s, u"avif"_s };
    out.designExtensions = { u"psd"_s };
    return out;
}

} // namespace

class FileExtractionServiceTest : public QObject
{
    Q_OBJECT

private slots:

    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void textKinds_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("mime");
        QTest::newRow("plain") << u"notes.txt"_s << QByteArray("Meeting notes\r\n\r\n\r\n\tBudget  review for Q3")
                               << u"Meeting notes\n\nBudget review for Q3"_s << u"text/plain"_s;
        const QString utf16Note = u"Notes for the budget review in March"_s;
        QTest::newRow("utf-16 without a byte-order mark")
            << u"utf16.txt"_s << QByteArray(QStringEncoder(QStringEncoder::Utf16LE).encode(utf16Note)) << utf16Note
            << u"text/plain"_s;
        QTest::newRow("markdown, upper case extension")
            << u"README.MD"_s << QByteArray("# Title\n\nSome body text here.") << u"# Title\n\nSome body text here."_s
            << u"text/markdown"_s;
        QTest::newRow("json pretty, keys sorted")
            << u"data.json"_s << QByteArray(R"({"b":1,"a":"some text value"})")
            << u"{\n\"a\": \"some text value\",\n\"b\": 1\n}"_s << u"application/json"_s;
        QTest::newRow("broken json as text") << u"broken.json"_s << QByteArray("{\"unterminated\": \"some text")
                                             << u"{\"unterminated\": \"some text"_s << u"application/json"_s;
        QTest::newRow("tsv summary")
            << u"table.tsv"_s << QByteArray("id\tname\n1\tAlpha\n2\tBeta\n")
            << u"TSV file summary\nRows: 3\nColumns: 2\nHeaders: id, name\nSample rows:\n1 | Alpha\n2 | Beta"_s
            << u"text/tab-separated-values"_s;
        QTest::newRow("subtitles") << u"talk.srt"_s
                                   << QByteArray("1\n00:00:01,000 --> 00:00:02,000\nWelcome to the quarterly talk\n")
                                   << u"Welcome to the quarterly talk"_s << u"application/x-subrip"_s;
        QTest::newRow("rtf") << u"letter.rtf"_s
                             << QByteArray(R"({\rtf1\ansi Dear customer,\par your order has shipped.})")
                             << u"Dear customer,\nyour order has shipped."_s << u"application/rtf"_s;
    }

    void textKinds()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(QString, text);
        QFETCH(QString, mime);
        const QString path = m_dir->filePath(name);
        QVERIFY(writeFile(path, content));
        const FileExtractionResult result = FileExtractionService::extract(path, options());
        QCOMPARE(result.kind(), FileExtractionResult::Kind::Input);
        const auto *payload = result.analyzeInput()->get<FileTextAnalysisPayload>();
        QVERIFY(payload);
        QCOMPARE(payload->text, text);
        QCOMPARE(payload->filename, name);
        QCOMPARE(payload->originalExtension, name.section(u'.', -1).toLower());
        QCOMPARE(payload->mimeType, mime);
    }

    void textLimits_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("failure");
        QTest::addColumn<int>("length");
        QTest::newRow("19 letters") << QByteArray("abcd efgh ijkl mnop qrs") << u"No readable text found"_s << 0;
        QTest::newRow("20 letters") << QByteArray("abcd efgh ijkl mnop qrst") << QString() << 24;
        QTest::newRow("12,000 characters kept whole") << QByteArray(12000, 'x') << QString() << 12000;
        QTest::newRow("12,001st character cut") << QByteArray(12001, 'x') << QString() << 12000;
        QTest::newRow("cut then trimmed") << QByteArray(11999, 'x') + "  yz" << QString() << 11999;
        QTest::newRow("empty file") << QByteArray() << u"No readable text found"_s << 0;
    }

    void textLimits()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, failure);
        QFETCH(int, length);
        const QString path = m_dir->filePath(u"limits.txt"_s);
        QVERIFY(writeFile(path, content));
        const FileExtractionResult result = FileExtractionService::extract(path, options());
        QCOMPARE(result.failureReason(), failure);
        if (failure.isEmpty())
            QCOMPARE(result.analyzeInput()->get<FileTextAnalysisPayload>()->text.size(), length);
    }

    void kindsByExtension_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<FileExtractionResult::Kind>("kind");
        QTest::addColumn<int>("inputKind");
        QTest::newRow("image listed") << u"photo.png"_s << FileExtractionResult::Kind::Input
                                      << int(AIAnalyzeInputKind::Image);
        QTest::newRow("image entry normalised")
            << u"photo.jpg"_s << FileExtractionResult::Kind::Input << int(AIAnalyzeInputKind::Image);
        QTest::newRow("design listed") << u"poster.psd"_s << FileExtractionResult::Kind::Input
                                       << int(AIAnalyzeInputKind::Image);
        QTest::newRow("image not listed") << u"photo.webp"_s << FileExtractionResult::Kind::Unsupported << -1;
        QTest::newRow("unknown extension") << u"archive.xyz123"_s << FileExtractionResult::Kind::Unsupported << -1;
        QTest::newRow("office-not-an-archive") << u"report.docx"_s << FileExtractionResult::Kind::Failed << -1;
        QTest::newRow("video") << u"clip.MOV"_s << FileExtractionResult::Kind::Input << int(AIAnalyzeInputKind::Video);
        QTest::newRow("transport stream")
            << u"tv.ts"_s << FileExtractionResult::Kind::Input << int(AIAnalyzeInputKind::Video);
        QTest::newRow("audio") << u"song.flac"_s << FileExtractionResult::Kind::Input << int(AIAnalyzeInputKind::Audio);
        QTest::newRow("matroska-video") << u"film.mkv"_s << FileExtractionResult::Kind::Input
                                        << int(AIAnalyzeInputKind::Video);
        QTest::newRow("opus-audio") << u"talk.opus"_s << FileExtractionResult::Kind::Input
                                    << int(AIAnalyzeInputKind::Audio);
    }

    void kindsByExtension()
    {
        QFETCH(QString, name);
        QFETCH(FileExtractionResult::Kind, kind);
        QFETCH(int, inputKind);
        const QString path = m_dir->filePath(name);
        QVERIFY(writeFile(path, "bytes"));
        const FileExtractionResult result = FileExtractionService::extract(path, options());
        QCOMPARE(result.kind(), kind);
        if (inputKind >= 0)
            QCOMPARE(int(result.analyzeInput()->kind()), inputKind);
    }

    // A WebM made by ffmpeg: with a picture stream it goes as a video, with
    // sound alone as audio.
    void webmByItsStreams_data()
    {
        QTest::addColumn<QStringList>("making"); // ffmpeg arguments before the file
        QTest::addColumn<int>("inputKind");
        QTest::addColumn<QString>("mime");
        QTest::newRow("picture-and-sound")
            << QStringList { u"-f"_s,   u"lavfi"_s,  u"-i"_s,   u"testsrc=size=64x48:rate=5"_s,
                             u"-f"_s,   u"lavfi"_s,  u"-i"_s,   u"sine=d=1"_s,
                             u"-t"_s,   u"1"_s,      u"-c:v"_s, u"libvpx"_s,
                             u"-c:a"_s, u"libopus"_s }
            << int(AIAnalyzeInputKind::Video) << u"video/webm"_s;
        QTest::newRow("sound-only") << QStringList { u"-f"_s,       u"lavfi"_s, u"-i"_s,
                                                     u"sine=d=1"_s, u"-c:a"_s,  u"libopus"_s }
                                    << int(AIAnalyzeInputKind::Audio) << u"audio/webm"_s;
    }

    void webmByItsStreams()
    {
        QFETCH(QStringList, making);
        QFETCH(int, inputKind);
        QFETCH(QString, mime);
        if (QStandardPaths::findExecutable(u"ffmpeg"_s).isEmpty())
            QSKIP("ffmpeg is not installed");
        const QString path = m_dir->filePath(u"clip.webm"_s);
        QCOMPARE(QProcess::execute(u"ffmpeg"_s, QStringList { u"-v"_s, u"error"_s } + making + QStringList { path }),
                 0);

        const FileExtractionResult result = FileExtractionService::extract(path, options());
        QVERIFY(result.analyzeInput());
        QCOMPARE(int(result.analyzeInput()->kind()), inputKind);
        const QString given = inputKind == int(AIAnalyzeInputKind::Video)
            ? result.analyzeInput()->get<FileVideoAnalysisPayload>()->mimeType
            : result.analyzeInput()->get<FileAudioAnalysisPayload>()->mimeType;
        QCOMPARE(given, mime);
    }

    void missingFile()
    {
        QCOMPARE(FileExtractionService::extract(m_dir->filePath(u"gone.txt"_s), options()).failureReason(),
                 u"File not found"_s);
    }

    void mediaTakesSidecarAndMime_data()
    {
        QTest::addColumn<QString>("media");
        QTest::addColumn<QString>("sidecar");
        QTest::addColumn<QByteArray>("sidecarText");
        QTest::addColumn<QString>("mime");
        QTest::addColumn<QString>("text");
        QTest::newRow("vob subtitles") << u"Movie.VOB"_s << u"movie.srt"_s
                                       << QByteArray("1\n00:00:01,000 --> 00:00:02,000\nA long line of dialogue here\n")
                                       << u"video/dvd"_s << u"A long line of dialogue here"_s;
        QTest::newRow("audio transcript")
            << u"memo.m4a"_s << u"memo.txt"_s << QByteArray("Transcript of the voice memo about rent") << u"audio/mp4"_s
            << u"Transcript of the voice memo about rent"_s;
        QTest::newRow("video ignores plain text")
            << u"clip.mp4"_s << u"clip.txt"_s << QByteArray("Transcript that a video does not take") << u"video/mp4"_s
            << QString();
        QTest::newRow("short sidecar") << u"song.mp3"_s << u"song.txt"_s << QByteArray("too short") << u"audio/mpeg"_s
                                       << QString();
        QTest::newRow("no sidecar") << u"tone.wav"_s << QString() << QByteArray() << u"audio/wav"_s << QString();
    }

    void mediaTakesSidecarAndMime()
    {
        QFETCH(QString, media);
        QFETCH(QString, sidecar);
        QFETCH(QByteArray, sidecarText);
        QFETCH(QString, mime);
        QFETCH(QString, text);
        QVERIFY(writeFile(m_dir->filePath(media), "media bytes"));
        if (!sidecar.isEmpty())
            QVERIFY(writeFile(m_dir->filePath(sidecar), sidecarText));
        const FileExtractionResult result = FileExtractionService::extract(m_dir->filePath(media), options());
        const AIAnalyzeInput *input = result.analyzeInput();
        QVERIFY(input);
        const auto check = [&](const auto *payload) {
            QVERIFY(payload);
            QCOMPARE(payload->mimeType, mime);
            QCOMPARE(payload->text.value_or(QString()), text);
            QCOMPARE(payload->originalExtension, media.section(u'.', -1).toLower());
        };
        if (input->kind() == AIAnalyzeInputKind::Video)
            check(input->get<FileVideoAnalysisPayload>());
        else
            check(input->get<FileAudioAnalysisPayload>());
    }

    // A file without an extension is read as the kind its content shows;
    // nothing about its name changes.
    void kindsByContentWithoutExtension_data()
    {
        QTest::addColumn<QString>("content"); // pdf, png, heic, avif, text, unknown
        QTest::addColumn<int>("inputKind"); // -1: unsupported

        QTest::newRow("pdf") << u"pdf"_s << int(AIAnalyzeInputKind::Document);
        QTest::newRow("picture") << u"png"_s << int(AIAnalyzeInputKind::Image);
        QTest::newRow("heic-picture") << u"heic"_s << int(AIAnalyzeInputKind::Image);
        QTest::newRow("avif-picture") << u"avif"_s << int(AIAnalyzeInputKind::Image);
        QTest::newRow("plain-text") << u"text"_s << int(AIAnalyzeInputKind::Text);
        QTest::newRow("unknown-bytes") << u"unknown"_s << -1;
    }

    void kindsByContentWithoutExtension()
    {
        QFETCH(QString, content);
        QFETCH(int, inputKind);
        const QString path = m_dir->filePath(u"scan"_s);
        if (content == u"pdf") {
            QVERIFY(writeTextPdf(path, { u"Quarterly budget review for the northern region"_s }));
        } else if (content == u"png" || content == u"heic" || content == u"avif") {
            QImage picture(64, 48, QImage::Format_RGB32);
            picture.fill(Qt::darkBlue);
            if (content == u"png") {
                QVERIFY(picture.save(path, "PNG"));
            } else if (const QString missing = heifSampleMissing(content); !missing.isEmpty()) {
                QSKIP(qPrintable(missing));
            } else {
                const QStringList format = content == u"avif" ? QStringList { u"-A"_s } : QStringList();
                const QString made = writeHeif(path, picture, { .exif = {}, .encoderArguments = format });
                QVERIFY2(made.isEmpty(), qPrintable(made));
            }
        } else if (content == u"text") {
            QVERIFY(writeFile(path, "Minutes of the planning meeting with the product team about the roadmap."));
        } else {
            QVERIFY(writeFile(path, QByteArray("\x00\x01\x02\xfe\xff binary", 13)));
        }
        const FileExtractionResult result = FileExtractionService::extract(path, options());
        if (inputKind < 0) {
            QCOMPARE(result.kind(), FileExtractionResult::Kind::Unsupported);
            return;
        }
        QVERIFY2(result.analyzeInput(), qPrintable(result.failureReason()));
        QCOMPARE(int(result.analyzeInput()->kind()), inputKind);
    }

    // Only a regular file's content is read: a FIFO named like a document
    // would otherwise block the run for good, a folder has nothing to read.
    void onlyRegularFilesAreRead_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("fifo-named-like-text") << u"fifo"_s;
        QTest::newRow("folder-named-like-text") << u"folder"_s;
    }

    void onlyRegularFilesAreRead()
    {
        QFETCH(QString, kind);
        const QString path = m_dir->filePath(u"notes.txt"_s);
        if (kind == u"fifo")
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        else
            QVERIFY(QDir().mkpath(path));
        const FileExtractionResult result = FileExtractionService::extract(path, options());
        QCOMPARE(result.kind(), FileExtractionResult::Kind::Failed);
        QCOMPARE(result.failureReason(), u"Not a regular file"_s);
        if (kind == u"fifo")
            QCOMPARE(PatternMetadataReader::read(path, {}).fileExtension, u"txt"_s);
    }

    // A song made by a real encoder, with its tags: they become the naming
    // text; a file without tags has none.
    void embeddedAudioTags_data()
    {
        QTest::addColumn<QStringList>("tags"); // ffmpeg -metadata arguments
        QTest::addColumn<QStringList>("expectedLines"); // null list: no text at all

        QTest::newRow("song-with-tags") << QStringList { u"title=Morning   Light"_s,
                                                         u"artist=The Quiet Hours"_s,
                                                         u"album=Dawn"_s }
                                        << QStringList { u"Embedded audio metadata"_s,
                                                         u"Preferred filename title: The Quiet Hours - Morning Light"_s,
                                                         u"Title: Morning Light"_s,
                                                         u"Artist: The Quiet Hours"_s,
                                                         u"Album: Dawn"_s };
        QTest::newRow("album-artist-stands-in") << QStringList { u"title=Tide"_s, u"album_artist=Harbour Band"_s }
                                                << QStringList { u"Embedded audio metadata"_s,
                                                                 u"Preferred filename title: Harbour Band - Tide"_s,
                                                                 u"Title: Tide"_s,
                                                                 u"Album artist: Harbour Band"_s };
        QTest::newRow("no-tags") << QStringList {} << QStringList {};
    }

    void embeddedAudioTags()
    {
        QFETCH(QStringList, tags);
        QFETCH(QStringList, expectedLines);
        if (QStandardPaths::findExecutable(u"ffmpeg"_s).isEmpty())
            QSKIP("ffmpeg is not installed");
        const QString song = m_dir->filePath(u"song.mp3"_s);
        QStringList arguments { u"-v"_s, u"error"_s, u"-f"_s, u"lavfi"_s, u"-i"_s, u"sine=frequency=440:duration=1"_s };
        for (const QString &tag : tags)
            arguments << u"-metadata"_s << tag;
        QCOMPARE(QProcess::execute(u"ffmpeg"_s, arguments << song), 0);

        const FileExtractionResult result = FileExtractionService::extract(song, options());
        const auto *payload = result.analyzeInput()->get<FileAudioAnalysisPayload>();
        QVERIFY(payload);
        if (expectedLines.isEmpty()) {
            QVERIFY(!payload->embeddedMetadataText);
            return;
        }
        QVERIFY(payload->embeddedMetadataText);
        QCOMPARE(payload->embeddedMetadataText->split(u'\n').mid(0, expectedLines.size()), expectedLines);
    }

    void pdfDocuments_data()
    {
        QTest::addColumn<int>("pageCount");
        QTest::addColumn<bool>("withText");
        QTest::addColumn<bool>("extractionEnabled");
        QTest::addColumn<QString>("head");
        QTest::addColumn<QList<int>>("previews");
        QTest::newRow("short with text") << 3 << true << true << u"Page 1 of 3:\nThis is the text of page number 1"_s
                                         << QList<int> { 0, 1, 2 };
        QTest::newRow("40 pages") << 40 << true << true << u"PDF text excerpts from 12 of 40 pages."_s
                                  << QList<int> { 0, 20, 39 };
        QTest::newRow("no text layer") << 7 << false << true << QString() << QList<int> { 0, 2, 3, 5, 6 };
        QTest::newRow("text extraction off") << 4 << true << false << QString() << QList<int> { 0, 1, 2, 3 };
    }

    void pdfDocuments()
    {
        QFETCH(int, pageCount);
        QFETCH(bool, withText);
        QFETCH(bool, extractionEnabled);
        QFETCH(QString, head);
        QFETCH(QList<int>, previews);
        const QString path = m_dir->filePath(u"Scan.PDF"_s);
        QVERIFY(writeTextPdf(path, withText ? numberedPages(pageCount) : QStringList(pageCount, QString())));
        ExtractionOptions chosen = options();
        chosen.pdfTextExtractionEnabled = extractionEnabled;
        const FileExtractionResult result = FileExtractionService::extract(path, chosen);
        QCOMPARE(result.kind(), FileExtractionResult::Kind::Input);
        const auto *document = result.analyzeInput()->get<FileDocumentAnalysisPayload>();
        QVERIFY(document);
        QCOMPARE(document->pageCount, pageCount);
        QCOMPARE(document->previewPageIndices, previews);
        QCOMPARE(document->originalExtension, u"pdf"_s);
        QCOMPARE(document->mimeType, u"application/pdf"_s);
        QVERIFY2(document->text.value_or(QString()).startsWith(head), qPrintable(document->text.value_or(u"<none>"_s)));
        if (pageCount == 40) {
            // Only the chosen pages: the first four and the spread.
            QVERIFY(document->text->contains(u"Page 10 of 40:"_s));
            QVERIFY(!document->text->contains(u"Page 6 of 40:"_s));
        }
    }

    void unreadablePdfs_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("failure");
        QTest::newRow("locked") << u"lock"_s << u"PDF is password protected"_s;
        QTest::newRow("truncated") << u"truncate"_s << u"Failed to read PDF"_s;
        QTest::newRow("not a pdf at all") << u"garbage"_s << u"Failed to read PDF"_s;
        QTest::newRow("zero length") << u"empty"_s << u"Failed to read PDF"_s;
    }

    void unreadablePdfs()
    {
        QFETCH(QString, damage);
        QFETCH(QString, failure);
        const QString source = m_dir->filePath(u"source.pdf"_s);
        const QString path = m_dir->filePath(u"damaged.pdf"_s);
        QVERIFY(writeTextPdf(source, numberedPages(2)));
        if (damage == u"lock") {
            if (QStandardPaths::findExecutable(u"qpdf"_s).isEmpty())
                QSKIP("qpdf is not installed");
            QCOMPARE(QProcess::execute(u"qpdf"_s,
                                       { u"--encrypt"_s, u"user"_s, u"owner"_s, u"256"_s, u"--"_s, source, path }),
                     0);
        } else if (damage == u"truncate") {
            QVERIFY(writeFile(path, readFile(source).left(300)));
        } else if (damage == u"garbage") {
            QVERIFY(writeFile(path, QByteArray(5000, 'z')));
        } else {
            QVERIFY(writeFile(path, QByteArray()));
        }
        QCOMPARE(FileExtractionService::extract(path, options()).failureReason(), failure);
    }

    // Mail, markup, books and subtitles written by the programs people use:
    // Python's email library, pandoc and ffmpeg. Each reads to the text it
    // holds, without the markup, encodings or attachments around it.
    void documentsMadeByTools_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments"); // "in" and "out" stand for the two files
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text"); // a part of the text, or the failure
        QTest::addColumn<QString>("absent");
        QTest::addColumn<QString>("mime"); // empty when extraction fails
        QTest::addColumn<QString>("subject");
        const QString python = u"python3"_s;
        const QStringList script { u"in"_s, u"out"_s };
        const QString fact = u"invoice INV-2026-0420"_s;
        QTest::newRow("python-alternative-with-pdf-attachment") << python << script << QByteArray(R"py(import sys
from email.message import EmailMessage
m = EmailMessage()
m['From'] = 'Dana Lee <dana@example.com>'
m['Subject'] = 'Rechnung f\u00fcr M\u00e4rz'
m.set_content('Please pay invoice INV-2026-0420 by Friday.')
m.add_alternative('<p>HTML copy of the same</p>', subtype='html')
m.add_attachment(b'%PDF-1.4 ' + bytes(range(256)) * 400, maintype='application', subtype='pdf', filename='a.pdf')
open(sys.argv[1], 'wb').write(m.as_bytes(policy=m.policy.clone(linesep='\r\n')))
)py") << u"mail.eml"_s << u"Rechnung für März\n\nPlease pay "_s + fact
                                                                << u"JVBERi"_s << u"message/rfc822"_s
                                                                << u"Rechnung für März"_s;
        QTest::newRow("python-html-quoted-printable-latin-1-subject") << python << script << QByteArray(R"py(import sys
from email import charset
from email.header import Header
from email.mime.text import MIMEText
qp = charset.Charset('utf-8')
qp.body_encoding = charset.QP
m = MIMEText('<html><head><style>p {color: red}</style></head><body><p>Pay invoice INV-2026-0420 &amp; '
             'the caf\u00e9 ' + 'order ' * 20 + '</p></body></html>', 'html', qp)
m['Subject'] = Header('Caf\u00e9 order', 'iso-8859-1')
open(sys.argv[1], 'wb').write(m.as_bytes())
)py") << u"paid.eml"_s << u"Café order\n\nPay "_s + fact + u" & the café order order"_s
                                                                      << u"color"_s << u"message/rfc822"_s
                                                                      << u"Café order"_s;
        QTest::newRow("python-mailbox") << python << script << QByteArray(R"py(import mailbox, sys
from email.message import EmailMessage
box = mailbox.mbox(sys.argv[1])
for text in ['Please pay invoice INV-2026-0420 by Friday.', 'The delivery arrives on Monday morning.']:
    m = EmailMessage()
    m['From'] = 'dana@example.com'
    m.set_content(text)
    box.add(m)
box.flush()
)py") << u"orders.mbox"_s << fact + u" by Friday.\n\nThe delivery"_s
                                        << u"dana@"_s << u"application/mbox"_s << QString();
        const QByteArray markdown = "# Ledger\n\nPlease pay invoice INV-2026-0420 *by Friday* & thanks.\n";
        QTest::newRow("pandoc-epub") << u"pandoc"_s
                                     << QStringList { u"-f"_s, u"markdown"_s, u"--metadata"_s, u"title=L"_s,
                                                      u"in"_s, u"-o"_s,       u"out"_s }
                                     << markdown << u"book.epub"_s << fact + u" by Friday & thanks."_s << u"<"_s
                                     << u"application/epub+zip"_s << QString();
        QTest::newRow("pandoc-html") << u"pandoc"_s
                                     << QStringList { u"-s"_s,      u"-f"_s, u"markdown"_s, u"--metadata"_s,
                                                      u"title=L"_s, u"in"_s, u"-o"_s,       u"out"_s }
                                     << markdown << u"page.html"_s << fact + u" by Friday & thanks."_s << u"<"_s
                                     << u"text/html"_s << QString();
        QTest::newRow("ffmpeg-ass-from-srt")
            << u"ffmpeg"_s << QStringList { u"-v"_s, u"error"_s, u"-f"_s, u"srt"_s, u"-i"_s, u"in"_s, u"out"_s }
            << QByteArray("1\n00:00:01,000 --> 00:00:02,000\n<i>Please pay</i> invoice INV-2026-0420\n")
            << u"talk.ass"_s << u"Please pay "_s + fact << u"Dialogue"_s << u"text/x-ssa"_s << QString();
        QTest::newRow("broken-epub") << QString() << QStringList() << QByteArray("PK\x03\x04 not a zip")
                                     << u"broken.epub"_s << u"Failed to read file"_s << QString() << QString()
                                     << QString();
    }

    void documentsMadeByTools()
    {
        QFETCH(QString, program);
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, input);
        QFETCH(QString, name);
        QFETCH(QString, text);
        QFETCH(QString, absent);
        QFETCH(QString, mime);
        QFETCH(QString, subject);
        const QString path = m_dir->filePath(name);
        if (program.isEmpty()) {
            QVERIFY(writeFile(path, input));
        } else {
            if (QStandardPaths::findExecutable(program).isEmpty())
                QSKIP(qPrintable(program + u" is not installed"_s));
            const QString in = m_dir->filePath(u"input"_s);
            QVERIFY(writeFile(in, input));
            if (program == u"python3")
                arguments = QStringList { u"-c"_s, QString::fromUtf8(input), u"out"_s };
            arguments.replaceInStrings(QRegularExpression(u"^in$"_s), in);
            arguments.replaceInStrings(QRegularExpression(u"^out$"_s), path);
            QCOMPARE(QProcess::execute(program, arguments), 0);
        }
        const FileExtractionResult result = FileExtractionService::extract(path, options());
        if (mime.isEmpty()) {
            QCOMPARE(result.failureReason(), text);
            return;
        }
        QVERIFY2(result.analyzeInput(), qPrintable(result.failureReason()));
        const auto *payload = result.analyzeInput()->get<FileTextAnalysisPayload>();
        QVERIFY(payload);
        QVERIFY2(payload->text.contains(text), qPrintable(payload->text));
        QVERIFY2(!payload->text.contains(absent), qPrintable(payload->text));
        QCOMPARE(payload->mimeType, mime);
        if (!subject.isEmpty())
            QCOMPARE(PatternMetadataReader::read(path, {}).detectedFields.value(u"message_subject"_s), subject);
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_MAIN(FileExtractionServiceTest)
#include "fileextractionservicetest.moc"
