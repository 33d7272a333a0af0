#pragma once

#include <QDateTime>
#include <QString>
#include <optional>

#include "naming/patternfilemetadata.h"
#include "naming/patternrenderinput.h"

namespace Nomly {

// The kinds of file a template can be previewed with.
enum class PreviewProfile
{
    Audio,
    Video,
    Media,
    Receipt,
    Healthcare,
    Legal,
    Travel,
    Commerce,
    Code,
    Messages,
    Work,
    Downloads,
    Document,
    Photo,
    Screenshot,
    Design,
};

// Fixed values standing in for a file and what the AI said of it, so that the
// template editor can show a name before any file exists. The values are
// plain and recognisably invented.
struct PreviewSample
{
    QString title;
    QString vendor;
    QString amount;
    QString type;
    QString originalName;
    QString kind;
    PatternFileMetadata metadata;
};

PreviewSample previewSample(PreviewProfile profile);

// The sample that fits a template, chosen by its name; the demo templates
// each have theirs, any other template shows a document.
PreviewProfile previewProfileForTemplate(const QString &templateName);

// A size text of a sample ("340KB") in bytes: its leading number times its
// unit. None when it does not start with a number.
std::optional<qint64> previewSizeBytes(const QString &sizeText);

// `base` carries the pattern and its formatting; the sample fills the rest.
PatternRenderInput previewRenderInput(PatternRenderInput base, const PreviewSample &sample, const QDateTime &now);

} // namespace Nomly
