#include "samplepictures.h"

#include <QBuffer>
#include <QFile>
#include <QFont>
#include <QPainter>
#include <QProcess>
#include <QStandardPaths>

namespace Nomly::Test {

QImage textImage(const QStringList &lines, int pixelSize)
{
    QImage image(1400, 120 + int(lines.size()) * pixelSize * 2, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    painter.setFont(font);
    painter.setPen(Qt::black);
    for (int i = 0; i < lines.size(); ++i)
        painter.drawText(40, 80 + i * pixelSize * 2, lines.at(i));
    return image;
}

QByteArray encodedImage(const QImage &image, const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QString heifSampleMissing(const QString &extension)
{
    if (QStandardPaths::findExecutable(QStringLiteral("heif-enc")).isEmpty())
        return QStringLiteral("heif-enc is not installed");
    QProcess encoders;
    encoders.start(QStringLiteral("heif-enc"), { QStringLiteral("--list-encoders") });
    encoders.waitForFinished();
    // A heading per format, then one "- name" line per encoder.
    const QString list = QString::fromUtf8(encoders.readAllStandardOutput());
    const QString heading = (extension == u"avif" ? QStringLiteral("AVIF") : QStringLiteral("HEIC")) + u" encoders:";
    const qsizetype start = list.indexOf(heading);
    const QString section
        = start < 0 ? QString() : list.mid(start + heading.size()).section(QStringLiteral("encoders:"), 0, 0);
    if (!section.contains(u"\n- "))
        return QStringLiteral("heif-enc here has no %1 encoder").arg(extension.toUpper());
    if (QStandardPaths::findExecutable(QStringLiteral("exiv2")).isEmpty())
        return QStringLiteral("exiv2 is not installed");
    return {};
}

QString writeHeif(const QString &path, const QImage &image, const HeifSample &sample)
{
    const QString source = path + u".source.jpg";
    if (!image.save(source, "JPG", 95))
        return QStringLiteral("cannot write %1").arg(source);
    const auto run = [](const QString &program, const QStringList &arguments) {
        QProcess process;
        process.start(program, arguments);
        process.waitForFinished(120000);
        return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0
            ? QString()
            : program + u": " + QString::fromUtf8(process.readAllStandardError());
    };
    QStringList exiv2;
    for (const QString &command : sample.exif)
        exiv2 << QStringLiteral("-M") << command;
    QString failure = sample.exif.isEmpty() ? QString() : run(QStringLiteral("exiv2"), exiv2 << source);
    if (failure.isEmpty()) {
        const QStringList format = path.endsWith(u".avif") ? QStringList { QStringLiteral("-A") } : QStringList();
        failure = run(QStringLiteral("heif-enc"),
                      format + sample.encoderArguments + QStringList { QStringLiteral("-o"), path, source });
    }
    QFile::remove(source);
    if (!failure.isEmpty() || !sample.quarterTurn)
        return failure;
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite))
        return file.errorString();
    QByteArray bytes = file.readAll();
    // The property's type, then its first byte: the angle in quarter turns.
    const qsizetype at = bytes.indexOf("pixi");
    if (at < 0)
        return QStringLiteral("no pixel-information property in %1").arg(path);
    bytes.replace(at, 5, QByteArray("irot\x01", 5));
    file.seek(0);
    return file.write(bytes) == bytes.size() ? QString() : file.errorString();
}

} // namespace Nomly::Test
