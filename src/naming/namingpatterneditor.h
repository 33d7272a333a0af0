#pragma once

#include <QList>
#include <QString>
#include <QUuid>

#include "naming/namingcasestyle.h"
#include "naming/namingpatternblock.h"
#include "naming/namingpatternitems.h"
#include "naming/namingpatternseparator.h"
#include "naming/namingpatterntokenitem.h"

namespace Nomly {

// The model behind the block editor: a pattern as a row of chips with a
// separator between each two. Every change writes the pattern text and its
// blocks anew, and every change returns whether anything changed; while the
// editor is read-only none is made.
class NamingPatternEditor final
{
public:
    NamingPatternEditor() = default;
    NamingPatternEditor(NamingCaseStyle caseStyle,
                        NamingPatternSeparator wordSeparator,
                        NamingPatternSeparator blockSeparator);

    // Shows a stored pattern. The blocks are used when they spell out the text
    // exactly, otherwise the text is read. Loading leaves the stored text and
    // blocks as they are, except that a pattern without chips shows the
    // fallback token and writes it back as the text, without blocks.
    void load(const QString &text, const QList<NamingPatternBlock> &blocks, const QString &fallbackToken);

    const QList<NamingPatternTokenItem> &items() const { return m_items.items; }

    // One fewer than the items; entry i joins item i and item i + 1.
    const QList<NamingPatternSeparator> &separators() const { return m_items.separators; }

    qsizetype indexOf(const QUuid &id) const;

    const QString &text() const { return m_text; }

    const QList<NamingPatternBlock> &blocks() const { return m_blocks; }

    NamingCaseStyle namingCaseStyle() const { return m_caseStyle; }

    NamingPatternSeparator namingWordSeparator() const { return m_wordSeparator; }

    NamingPatternSeparator namingBlockSeparator() const { return m_blockSeparator; }

    bool isReadOnly() const { return m_readOnly; }

    void setReadOnly(bool readOnly) { m_readOnly = readOnly; }

    // The pattern's title style; the title chip's spelling follows it.
    bool setNamingCaseStyle(NamingCaseStyle caseStyle);
    bool setNamingWordSeparator(NamingPatternSeparator wordSeparator);

    // Joins chips added from now on.
    void setNamingBlockSeparator(NamingPatternSeparator blockSeparator) { m_blockSeparator = blockSeparator; }

    bool addVariable(const QString &token);
    // Sanitised first; text that sanitises to nothing adds nothing.
    bool addCustomText(const QString &text);
    // The last chip stays. Removing the first chip drops the separator after
    // it, removing any other drops the one before it.
    bool removeItem(qsizetype index);
    // Text that sanitises to nothing removes the chip.
    bool editCustomText(qsizetype index, const QString &text);
    // Switches a variable chip to another token, e.g. a format from its menu.
    bool changeFormat(qsizetype index, const QString &token);
    // On an original-name chip these set the chip's own formatting; on any
    // other chip they set the pattern's title style.
    bool changeCaseStyle(qsizetype index, NamingCaseStyle caseStyle);
    bool changeWordSeparator(qsizetype index, NamingPatternSeparator wordSeparator);
    bool changeSeparator(qsizetype index, NamingPatternSeparator separator);
    // Drops a dragged chip onto another chip's place. Separators stay where
    // they are, so each gap keeps its separator.
    bool moveItem(qsizetype from, qsizetype to);

private:
    bool isOriginalNameItem(qsizetype index) const;
    bool setOriginalNameFormatting(qsizetype index, const std::optional<TextFormatting> &formatting);
    void append(NamingPatternTokenItem item);
    void fitSeparators();
    void writeBack();

    NamingPatternItems m_items;
    QString m_text;
    QList<NamingPatternBlock> m_blocks;
    NamingCaseStyle m_caseStyle = NamingCaseStyle::Title;
    NamingPatternSeparator m_wordSeparator = NamingPatternSeparator::Space;
    NamingPatternSeparator m_blockSeparator = NamingPatternSeparator::Space;
    bool m_readOnly = false;
};

} // namespace Nomly
