#pragma once

#include <QByteArray>
#include <QImage>
#include <QStringList>

namespace Nomly::Test {

// Black lines of text on white, large enough to read back by OCR.
QImage textImage(const QStringList &lines, int pixelSize = 40);

// The picture in a file format ("PNG", "JPG"), as bytes.
QByteArray encodedImage(const QImage &image, const char *format = "PNG");

// How writeHeif makes its file.
struct HeifSample
{
    // exiv2 `-M` commands ("set Exif.Image.Model Pixel 8") written into the
    // JPEG the picture is encoded from; heif-enc carries that EXIF over.
    QStringList exif;
    // Given to heif-enc as they are: {"-t", "128"} adds a thumbnail.
    QStringList encoderArguments;
    // Marked as stored on its side: the file's pixel-information property
    // is rewritten in place into a rotation a quarter turn anticlockwise,
    // so that a reader shows it upright only by applying that rotation.
    bool quarterTurn = false;
};

// Why writeHeif cannot make a file with this extension here ("heic",
// "avif"): heif-enc, its encoder for the format, or exiv2 is missing.
// Empty when it can.
QString heifSampleMissing(const QString &extension);

// The picture made into a HEIF file by heif-enc: AVIF when `path` ends in
// ".avif", HEIC otherwise. Empty on success, else what went wrong.
QString writeHeif(const QString &path, const QImage &image, const HeifSample &sample = {});

} // namespace Nomly::Test
