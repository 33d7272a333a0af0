#pragma once

#include <QString>
#include <QStringList>

namespace Nomly {

// The fixed extension sets extraction dispatches on. Image and design
// extensions are not among them: they come from the remote configuration.
enum class ExtensionSet
{
    PlainText,
    Subtitle,
    Structured,
    Delimited,
    RichText,
    OpenDocument,
    Word,
    Excel,
    PowerPoint,
    LegacyOffice,
    IWork,
    Video,
    Audio,
    EmbeddedImage,
    // Kinds common on Linux.
    Markup,
    Ebook,
    Mailbox,
    StyledSubtitle,
};

// Lower case, without the dot.
const QStringList &extensionsOf(ExtensionSet set);

inline bool isIn(ExtensionSet set, const QString &extension)
{
    return extensionsOf(set).contains(extension);
}

// The MIME type of a video or audio extension, taken before any lookup in
// the type database; empty for others.
QString mediaMimeType(const QString &extension);

// The MIME type of a text or document extension: the type database's first
// type for it, else "text/plain".
QString documentMimeType(const QString &extension);

// A path's extension as dispatch compares it: trimmed of blanks, then of
// dots, in lower case.
QString dispatchExtension(const QString &path);

// The extension that stands for what a file holds: its own, or for a file
// without one, the usual extension of the kind its content shows (a PDF, a
// picture, sound, video, mail or plain text), so that it is read as that
// kind. Empty when neither tells. Never written into a name.
QString contentExtension(const QString &path);

// A list entry in the same form ("  .PNG " is "png").
QString normalizedExtension(QString extension);

} // namespace Nomly
