#pragma once

#include <QDateTime>
#include <QString>

#include "naming/namingcasestyle.h"
#include "naming/namingpatternseparator.h"
#include "naming/patternfilemetadata.h"

namespace Nomly {

// Everything one name is rendered from: the pattern and its formatting, the
// analysis, and the file's own facts.
struct PatternRenderInput
{
    QString pattern = QStringLiteral("{title}");
    QString title; // the analysis' title; callers pass "Untitled" when it has none
    QString originalName; // file name without extension
    QDateTime now; // the moment of the render, local time
    QString dateFormat = QStringLiteral("yyyy-MM-dd");
    NamingCaseStyle caseStyle = NamingCaseStyle::Title;
    NamingPatternSeparator wordSeparator = NamingPatternSeparator::Space;
    QString type;
    QString vendor;
    QString amount;
    QString currency;
    QString kind = QStringLiteral("file"); // design, image, video, audio, document or file
    PatternFileMetadata metadata;
};

} // namespace Nomly
