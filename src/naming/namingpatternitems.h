#pragma once

#include <QList>
#include <QString>

#include "naming/namingcasestyle.h"
#include "naming/namingpatternblock.h"
#include "naming/namingpatternseparator.h"
#include "naming/namingpatterntokenitem.h"

namespace Nomly {

// The chips of a pattern and what joins them: `separators[i]` stands between
// `items[i]` and `items[i + 1]`.
struct NamingPatternItems
{
    QList<NamingPatternTokenItem> items;
    QList<NamingPatternSeparator> separators;

    bool operator==(const NamingPatternItems &) const = default;
};

// Reads chips out of pattern text. Separator characters between tokens become
// separators, other text becomes sanitised custom text: "IMG-{created_date}_{title}"
// gives "IMG", "-", {created_date}, "_", {title}.
NamingPatternItems itemsFromText(const QString &text);

// One chip per block; custom text that sanitises to nothing is dropped. A
// block after the first without a separator is joined by none.
NamingPatternItems itemsFromBlocks(const QList<NamingPatternBlock> &blocks);

// The blocks the chips are stored as, one per chip. "{title}" is written in the
// spelling of the pattern's case style and word separator, and "{original}" in
// the spelling of its own formatting. The pattern text is `joinedText()` of
// the result.
QList<NamingPatternBlock> blocksFromItems(const NamingPatternItems &items,
                                          NamingCaseStyle caseStyle,
                                          NamingPatternSeparator wordSeparator);

// The title spelling that renders in the given case style and word separator,
// e.g. "{Title_Name}" for title case joined by "_".
QString titleToken(NamingCaseStyle caseStyle, NamingPatternSeparator wordSeparator);

} // namespace Nomly
