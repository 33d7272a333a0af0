#pragma once

#include <QByteArray>
#include <QImage>
#include <QStringList>

namespace Nomly::Test {

// Black lines of text on white, large enough to read back by OCR.
QImage textImage(const QStringList &lines, int pixelSize = 40);

// The picture in a file format ("PNG", "JPG"), as bytes.
QByteArray encodedImage(const QImage &image, const char *format = "PNG");

} // namespace Nomly::Test
