#pragma once

#include <QString>
#include <optional>

#include "naming/patternfilemetadata.h"

namespace Nomly {

// Reads a picture's embedded EXIF into the camera fields: capture date and
// time (in `datePattern` and "HH.mm.ss"), make, model, lens, focal lengths,
// aperture, shutter speed, exposure compensation, ISO, flash and white
// balance, the pixel size, and `location` among the detected fields. Only
// the metadata is read, never the pixels. A file without EXIF, or one that
// cannot be read, leaves the fields as they were.
void readExifFacts(const QString &path, const QString &datePattern, PatternFileMetadata &metadata);

// Sets the metadata library up once, safely from any thread, and quiets its
// warnings; every reader calls it before its first read.
void prepareExiv2();

// The forms the camera fields are written in.
namespace ExifText {

QString focalLength(double millimetres); // "35mm"
QString aperture(double fNumber); // "f2.8", "f8"
QString shutterSpeed(double seconds); // "1/125s", "2.5s", empty when not above zero
QString exposureBias(double ev); // "-0.33EV", "0EV"
QString whiteBalance(std::optional<int> lightSource, std::optional<int> whiteBalance);
QString flash(int flash); // "Flash" or "No Flash"
QString coordinate(double degrees); // at most five fraction digits

} // namespace ExifText

} // namespace Nomly
