// Reading files as the AI sees them, each measured against a standard tool
// doing the same work in the same run, so that the machine's noise cancels in
// the ratio. Each case runs its rounds alternately, ours then the tool's, on
// a warm page cache, and reports the median time of each and their ratio.
// Peak memory is the maximum resident size of a process doing the work once:
// this program run again for ours (`--once CASE FILE`), the tool for theirs;
// ours includes the 25 to 30 MB every Qt program starts with.
//
//   content hash   FileHashService::hash of a 1 GiB file
//                  vs `openssl dgst -sha256` (goal: at least 0.9x its speed)
//   jpeg preview   ImageCompressionService::loadImage, 1024 px of a
//                  24-megapixel JPEG, vs `vipsthumbnail` (goal: within 1.5x
//                  of its time and memory)
//   pdf text       FileExtractionService::extract of a one-page text PDF
//                  vs `pdftotext -l 1`
//   heic preview   ImageCompressionService::loadImage, 1024 px of a
//                  12-megapixel HEIC made by `heif-enc`, vs `heif-convert`
//                  to a JPEG then `vipsthumbnail` of that, run by `sh`
//   docx text      extraction of a 50-page docx made by pandoc, vs
//                  `pandoc -t plain` and LibreOffice's conversion to text
//   xlsx text      a 20-sheet workbook made by LibreOffice, vs its
//                  conversion to CSV
//   pptx text      a 40-slide presentation made by pandoc, vs LibreOffice's
//                  conversion to PDF (it has no plain-text export of slides)
//                  Goal for the three: faster than each tool, and less memory.

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QLoggingCategory>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

#include "content/fileextractionservice.h"
#include "content/imagecompressionservice.h"
#include "history/filehashservice.h"
#include "programrun.h"

using namespace Nomly;
using Nomly::Bench::alternated;
using Nomly::Bench::Comparison;
using Nomly::Bench::Run;
using Nomly::Bench::runProgram;

namespace {

constexpr int Rounds = 5;

struct Case
{
    const char *name;
    std::function<bool(const QString &path)> work;
};

bool extracts(const QString &path)
{
    return FileExtractionService::extract(path, ExtractionOptions()).analyzeInput() != nullptr;
}

const std::vector<Case> &cases()
{
    static const std::vector<Case> all {
        { "content hash", [](const QString &path) { return FileHashService::hash(path).has_value(); } },
        { "jpeg preview",
          [](const QString &path) { return ImageCompressionService::loadImage(path, 1024, 0.6).has_value(); } },
        { "pdf text", extracts },
        { "docx text", extracts },
        { "xlsx text", extracts },
        { "pptx text", extracts },
        { "heic preview",
          [](const QString &path) { return ImageCompressionService::loadImage(path, 1024, 0.6).has_value(); } },
    };
    return all;
}

const Case &caseNamed(const char *name)
{
    for (const Case &each : cases()) {
        if (std::strcmp(each.name, name) == 0)
            return each;
    }
    qFatal("no case %s", name);
}

void compare(const char *name, const QString &path, const QString &tool, const QStringList &arguments)
{
    const Case &work = caseNamed(name);
    const auto ours = [&work, &path] {
        QElapsedTimer timer;
        timer.start();
        if (!work.work(path))
            qFatal("%s gave nothing", work.name);
        return timer.nsecsElapsed() / 1e9;
    };
    const Comparison times = alternated(Rounds, ours, [&] { return runProgram(tool, arguments); });
    const long ourPeak = runProgram(QCoreApplication::applicationFilePath(),
                                    { QStringLiteral("--once"), QString::fromLatin1(name), path })
                             .peakKiB;
    const double megabytes = QFileInfo(path).size() / 1e6;
    const double ourMedian = times.ours;
    const double toolMedian = times.tool;
    const long toolPeak = times.toolPeakKiB;
    std::printf("%-13s ours %7.3f s (%6.0f MB/s, %7ld KiB)  tool %7.3f s (%6.0f MB/s, %7ld KiB)  "
                "speed ours/tool %.2f  memory ours/tool %.2f\n",
                name,
                ourMedian,
                megabytes / ourMedian,
                ourPeak,
                toolMedian,
                megabytes / toolMedian,
                toolPeak,
                toolMedian / ourMedian,
                double(ourPeak) / double(std::max(toolPeak, 1L)));
}

QString largeFile(const QTemporaryDir &dir)
{
    const QString path = dir.filePath(QStringLiteral("large.bin"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(path));
    QByteArray block(1 << 20, '\0');
    for (int n = 0; n < 1024; ++n) {
        for (qsizetype i = 0; i < block.size(); i += 4096)
            block[i] = static_cast<char>(n + i);
        file.write(block);
    }
    return path;
}

QString photograph(const QTemporaryDir &dir, const QString &name, QSize size)
{
    const QString path = dir.filePath(name);
    // Detail everywhere, as a photograph has, so the decoder does real work.
    QImage photo(size, QImage::Format_RGB32);
    for (int y = 0; y < photo.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(photo.scanLine(y));
        for (int x = 0; x < photo.width(); ++x)
            line[x] = qRgb((x * 7 + y) % 256, (y * 5 + x / 3) % 256, (x ^ y) % 256);
    }
    if (!photo.save(path, "JPG", 90))
        qFatal("cannot write the photograph");
    return path;
}

QString statement(const QTemporaryDir &dir)
{
    const QString path = dir.filePath(QStringLiteral("page.pdf"));
    QPdfWriter writer(path);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setResolution(72);
    QPainter painter(&writer);
    QString text;
    for (int line = 0; line < 60; ++line)
        text += QStringLiteral("Line %1 of the statement: opening balance, transfers and closing balance. ").arg(line);
    painter.drawText(QRect(30, 30, 530, 780), Qt::TextWordWrap, text);
    return path;
}

QString writeText(const QTemporaryDir &dir, const QString &name, const QString &text)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0)
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

// A document made by the tool that reads such files, so that ours reads
// what real writers produce. None when the tool is missing.
QString made(const QTemporaryDir &dir, const QString &program, const QStringList &arguments, const QString &result)
{
    if (QStandardPaths::findExecutable(program).isEmpty()) {
        std::printf("%-13s skipped: %s is not installed\n", qPrintable(result), qPrintable(program));
        return {};
    }
    QProcess process;
    process.setWorkingDirectory(dir.path());
    process.start(program, arguments);
    if (!process.waitForFinished(300'000) || process.exitCode() != 0 || !QFile::exists(dir.filePath(result)))
        qFatal("%s could not make %s", qPrintable(program), qPrintable(result));
    return dir.filePath(result);
}

QString paragraphs(int count)
{
    QString text;
    for (int i = 0; i < count; ++i)
        text += QStringLiteral("Clause %1 of the supply agreement sets out the delivery schedule, the prices "
                               "and the terms of payment agreed between the parties. ")
                    .arg(i)
                    .repeated(3)
            + QStringLiteral("\n\n");
    return text;
}

void compareOfficeReaders(const QTemporaryDir &dir)
{
    const QString profile = QStringLiteral("-env:UserInstallation=file://") + dir.filePath(QStringLiteral("lo"));
    const QStringList office { profile, QStringLiteral("--headless"), QStringLiteral("--convert-to") };
    const QString outDir = dir.filePath(QStringLiteral("converted"));

    // About fifty pages: a page holds some five of these paragraphs.
    writeText(dir, QStringLiteral("long.md"), paragraphs(250));
    const QString docx = made(dir,
                              QStringLiteral("pandoc"),
                              { QStringLiteral("long.md"), QStringLiteral("-o"), QStringLiteral("long.docx") },
                              QStringLiteral("long.docx"));
    if (!docx.isEmpty()) {
        compare("docx text", docx, QStringLiteral("pandoc"), { QStringLiteral("-t"), QStringLiteral("plain"), docx });
        if (!QStandardPaths::findExecutable(QStringLiteral("soffice")).isEmpty())
            compare("docx text",
                    docx,
                    QStringLiteral("soffice"),
                    office + QStringList { QStringLiteral("txt"), QStringLiteral("--outdir"), outDir, docx });
    }

    // Twenty sheets of a hundred rows, written as a flat OpenDocument file
    // and saved by LibreOffice as a workbook.
    QString sheets;
    for (int sheet = 1; sheet <= 20; ++sheet) {
        sheets += QStringLiteral("<table:table table:name=\"Region %1\">").arg(sheet);
        for (int row = 0; row < 100; ++row)
            sheets += QStringLiteral("<table:table-row><table:table-cell office:value-type=\"string\"><text:p>Item %1"
                                     "</text:p></table:table-cell><table:table-cell office:value-type=\"float\" "
                                     "office:value=\"%2\"><text:p>%2</text:p></table:table-cell></table:table-row>")
                          .arg(row)
                          .arg(row * sheet);
        sheets += QStringLiteral("</table:table>");
    }
    writeText(dir,
              QStringLiteral("book.fods"),
              QStringLiteral("<?xml version=\"1.0\"?><office:document "
                             "xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
                             "xmlns:table=\"urn:oasis:names:tc:opendocument:xmlns:table:1.0\" "
                             "xmlns:text=\"urn:oasis:names:tc:opendocument:xmlns:text:1.0\" office:version=\"1.2\" "
                             "office:mimetype=\"application/vnd.oasis.opendocument.spreadsheet\"><office:body>"
                             "<office:spreadsheet>")
                  + sheets + QStringLiteral("</office:spreadsheet></office:body></office:document>"));
    const QString xlsx = made(dir,
                              QStringLiteral("soffice"),
                              office + QStringList { QStringLiteral("xlsx"), QStringLiteral("book.fods") },
                              QStringLiteral("book.xlsx"));
    if (!xlsx.isEmpty())
        compare("xlsx text",
                xlsx,
                QStringLiteral("soffice"),
                office + QStringList { QStringLiteral("csv"), QStringLiteral("--outdir"), outDir, xlsx });

    QString slides;
    for (int i = 1; i <= 40; ++i)
        slides += QStringLiteral("# Milestone %1\n\n- Scope and budget of phase %1\n- Owners and dates\n\n").arg(i);
    writeText(dir, QStringLiteral("deck.md"), slides);
    const QString pptx = made(dir,
                              QStringLiteral("pandoc"),
                              { QStringLiteral("deck.md"), QStringLiteral("-o"), QStringLiteral("deck.pptx") },
                              QStringLiteral("deck.pptx"));
    if (!pptx.isEmpty() && !QStandardPaths::findExecutable(QStringLiteral("soffice")).isEmpty())
        compare("pptx text",
                pptx,
                QStringLiteral("soffice"),
                office + QStringList { QStringLiteral("pdf"), QStringLiteral("--outdir"), outDir, pptx });
}

} // namespace

int main(int argc, char *argv[])
{
    // Drawing the sample files needs fonts but no screen.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("com.nomly.app.*.info=false"));
    if (argc == 4 && std::strcmp(argv[1], "--once") == 0)
        return caseNamed(argv[2]).work(QString::fromLocal8Bit(argv[3])) ? 0 : 1;

    QTemporaryDir dir;
    if (!dir.isValid())
        qFatal("no temporary folder");
    const QString large = largeFile(dir);
    compare(
        "content hash", large, QStringLiteral("openssl"), { QStringLiteral("dgst"), QStringLiteral("-sha256"), large });
    const QString photo = photograph(dir, QStringLiteral("photo.jpg"), QSize(6000, 4000));
    compare("jpeg preview",
            photo,
            QStringLiteral("vipsthumbnail"),
            { photo,
              QStringLiteral("--size"),
              QStringLiteral("1024"),
              QStringLiteral("-o"),
              dir.filePath(QStringLiteral("vips-%s.jpg[Q=60]")) });
    const QString pdf = statement(dir);
    compare("pdf text",
            pdf,
            QStringLiteral("pdftotext"),
            { QStringLiteral("-l"), QStringLiteral("1"), pdf, QStringLiteral("-") });
    // A phone's 12 megapixels, encoded as heif-enc does by default.
    const QString heic = dir.filePath(QStringLiteral("photo.heic"));
    runProgram(QStringLiteral("heif-enc"),
               { QStringLiteral("-o"), heic, photograph(dir, QStringLiteral("phone.jpg"), QSize(4032, 3024)) });
    compare("heic preview",
            heic,
            QStringLiteral("sh"),
            { QStringLiteral("-c"),
              QStringLiteral("heif-convert -q 90 \"$0\" \"$1\" >/dev/null && vipsthumbnail \"$1\" --size 1024 -o "
                             "\"$2\""),
              heic,
              dir.filePath(QStringLiteral("converted.jpg")),
              dir.filePath(QStringLiteral("heic-%s.jpg[Q=60]")) });
    compareOfficeReaders(dir);
    return 0;
}
