#pragma once

#include <QList>
#include <QString>
#include <QtGlobal>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace Nomly {

// A file that will be sent as an image.
struct FileImageAnalysisPayload
{
    QString originalPath;
    // Keys the image artifact cache when the caller already knows it; absent
    // lets the cache compute its own key.
    std::optional<QString> contentHash;

    bool operator==(const FileImageAnalysisPayload &) const = default;
};

// Content already reduced to text on the device.
struct FileTextAnalysisPayload
{
    QString originalPath;
    QString text; // never empty, at most 12,000 characters
    QString filename; // last path component, extension included
    QString originalExtension; // lower case, without the dot
    QString mimeType = QStringLiteral("text/plain");

    bool operator==(const FileTextAnalysisPayload &) const = default;
};

// A paginated document whose pages can be rendered.
struct FileDocumentAnalysisPayload
{
    QString originalPath; // the file the user has
    std::optional<QString> text; // absent when extraction was off or found nothing
    QString filename;
    QString originalExtension;
    QString mimeType;
    QList<int> previewPageIndices; // zero-based, ascending, no duplicates
    int pageCount = 0;
    // The file to render instead of originalPath when the pages live elsewhere.
    std::optional<QString> previewSourcePath;
    // The same file when it is temporary and must be deleted after use.
    std::optional<QString> temporaryPreviewSourcePath;

    bool operator==(const FileDocumentAnalysisPayload &) const = default;
};

struct FileVideoAnalysisPayload
{
    QString originalPath;
    std::optional<QString> text; // a sidecar subtitle or transcript
    QString filename;
    QString originalExtension;
    QString mimeType;

    bool operator==(const FileVideoAnalysisPayload &) const = default;
};

struct FileAudioAnalysisPayload
{
    QString originalPath;
    std::optional<QString> text; // a sidecar transcript
    QString filename;
    QString originalExtension;
    QString mimeType;
    std::optional<qint64> sizeBytes;
    // The file's own tags as naming text; with them the sound stays here.
    std::optional<QString> embeddedMetadataText;

    bool operator==(const FileAudioAnalysisPayload &) const = default;
};

// The kind of an input; the values are the dispatch tags.
enum class AIAnalyzeInputKind
{
    Image = 0,
    Text = 1,
    Document = 2,
    Video = 3,
    Audio = 4,
};

// One file ready for analysis: exactly one of the five payloads. The default
// is an image without a path.
class AIAnalyzeInput
{
public:
    using Payload = std::variant<FileImageAnalysisPayload,
                                 FileTextAnalysisPayload,
                                 FileDocumentAnalysisPayload,
                                 FileVideoAnalysisPayload,
                                 FileAudioAnalysisPayload>;

    AIAnalyzeInput() = default;

    // Implicit, so that a payload reads as an input wherever one is expected.
    template<typename P>

    requires std::is_constructible_v<Payload, P &&> &&(!std::is_same_v<std::remove_cvref_t<P>, AIAnalyzeInput>)
        AIAnalyzeInput(P &&payload)
        : m_payload(std::forward<P>(payload))
    {}

    AIAnalyzeInputKind kind() const { return static_cast<AIAnalyzeInputKind>(m_payload.index()); }

    const QString &originalPath() const
    {
        return std::visit([](const auto &payload) -> const QString & { return payload.originalPath; }, m_payload);
    }

    const Payload &payload() const { return m_payload; }

    // The payload when it is of type P, else null.
    template<typename P> const P *get() const { return std::get_if<P>(&m_payload); }

    bool operator==(const AIAnalyzeInput &) const = default;

private:
    Payload m_payload;
};

// The tags are dispatched on and handed between routes, so the order of the
// alternatives must never drift from the kinds.
static_assert(std::is_same_v<std::variant_alternative_t<int(AIAnalyzeInputKind::Image), AIAnalyzeInput::Payload>,
                             FileImageAnalysisPayload>);
static_assert(std::is_same_v<std::variant_alternative_t<int(AIAnalyzeInputKind::Text), AIAnalyzeInput::Payload>,
                             FileTextAnalysisPayload>);
static_assert(std::is_same_v<std::variant_alternative_t<int(AIAnalyzeInputKind::Document), AIAnalyzeInput::Payload>,
                             FileDocumentAnalysisPayload>);
static_assert(std::is_same_v<std::variant_alternative_t<int(AIAnalyzeInputKind::Video), AIAnalyzeInput::Payload>,
                             FileVideoAnalysisPayload>);
static_assert(std::is_same_v<std::variant_alternative_t<int(AIAnalyzeInputKind::Audio), AIAnalyzeInput::Payload>,
                             FileAudioAnalysisPayload>);

} // namespace Nomly
