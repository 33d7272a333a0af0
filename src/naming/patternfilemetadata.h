#pragma once

#include <QHash>
#include <QString>
#include <optional>

namespace Nomly {

// Everything known of one file for rendering its name. An empty string means
// the value is missing; the file readers fill what they can.
struct PatternFileMetadata
{
    QString fileExtension; // lowercased
    QString fileExtensionOriginal; // as it stands in the file name
    QString size; // automatic size text, "420KB"
    std::optional<qint64> sizeBytes;
    QString duration; // "1m24s"
    std::optional<double> durationSeconds;
    QString recordingDate;
    QString width;
    QString height;
    QString resolution; // "1920x1080"
    QString pages;
    QString currency; // three-letter code
    QString createdDate; // with the settings' date format
    QString modifiedDate;
    QString parentFolder;
    QString captureDate;
    QString captureTime; // "HH.mm.ss"
    QString cameraMake;
    QString cameraModel;
    QString lensModel;
    QString focalLength;
    QString focalLength35mm;
    QString aperture;
    QString shutterSpeed;
    QString exposureCompensation;
    QString iso;
    QString whiteBalance;
    QString flash;
    QString orientation; // "Portrait", "Landscape" or "Square"
    QString frameRate;
    QString codec; // the video stream's; empty when there is none
    QString bitrate;
    QString audioCodec;
    // Every other field by its normalised name ("invoice_date").
    QHash<QString, QString> detectedFields;

    bool operator==(const PatternFileMetadata &) const = default;
};

} // namespace Nomly
