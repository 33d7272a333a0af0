#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <optional>

namespace Nomly {

// The expensive product of an image, kept so that analysing it again costs no
// rendering and no recognition: the JPEG exactly as it is sent, the text read
// in it and what its own metadata says.
struct PreparedImageAnalysisArtifact
{
    QByteArray data; // the JPEG
    std::optional<QString> text;
    std::optional<QString> localMetadata;

    bool operator==(const PreparedImageAnalysisArtifact &) const = default;
};

namespace PreparedImageAnalysisArtifactKeys {
inline const QString Data = QStringLiteral("data");
inline const QString Text = QStringLiteral("text");
inline const QString LocalMetadata = QStringLiteral("localMetadata");
} // namespace PreparedImageAnalysisArtifactKeys

// Keys are the field names, the JPEG is base64 and absent texts are left out.
inline QJsonObject toJson(const PreparedImageAnalysisArtifact &artifact)
{
    namespace Keys = PreparedImageAnalysisArtifactKeys;
    QJsonObject json { { Keys::Data, QString::fromLatin1(artifact.data.toBase64()) } };
    if (artifact.text)
        json.insert(Keys::Text, *artifact.text);
    if (artifact.localMetadata)
        json.insert(Keys::LocalMetadata, *artifact.localMetadata);
    return json;
}

// Strict, unlike the tolerant records: the JSON comes from a cache file, and
// anything but a well-formed artifact must read as a miss rather than as an
// empty picture. None when `data` is missing or not base64, or when a text is
// present but not a string.
inline std::optional<PreparedImageAnalysisArtifact> preparedImageAnalysisArtifactFromJson(const QJsonObject &json)
{
    namespace Keys = PreparedImageAnalysisArtifactKeys;
    const QJsonValue data = json.value(Keys::Data);
    if (!data.isString())
        return std::nullopt;
    auto decoded = QByteArray::fromBase64Encoding(data.toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;

    PreparedImageAnalysisArtifact artifact;
    artifact.data = std::move(*decoded);
    for (const auto &[key, field] :
         { std::pair { &Keys::Text, &PreparedImageAnalysisArtifact::text },
           std::pair { &Keys::LocalMetadata, &PreparedImageAnalysisArtifact::localMetadata } }) {
        const QJsonValue value = json.value(*key);
        if (value.isUndefined() || value.isNull())
            continue;
        if (!value.isString())
            return std::nullopt;
        artifact.*field = value.toString();
    }
    return artifact;
}

} // namespace Nomly
