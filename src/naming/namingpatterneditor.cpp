#include "naming/namingpatterneditor.h"

#include <algorithm>

#include "naming/nametext.h"
#include "naming/originalnametokens.h"

namespace Nomly {

namespace {

// The first formatting in the original-name table that `matches` accepts.
template<typename Predicate> std::optional<TextFormatting> firstOriginalNameFormatting(Predicate matches)
{
    for (const OriginalNameToken &row : OriginalNameTokens) {
        if (matches(row))
            return TextFormatting { row.caseStyle, row.wordSeparator };
    }
    return std::nullopt;
}

// A formatting only lasts if an original-name spelling can write it, so the
// chosen part wins and the other is kept where the pair has a spelling;
// otherwise the first spelling with the chosen part stands in.
std::optional<TextFormatting> withCaseStyle(const std::optional<TextFormatting> &current, NamingCaseStyle caseStyle)
{
    if (current && originalNameToken({ caseStyle, current->wordSeparator }))
        return TextFormatting { caseStyle, current->wordSeparator };
    return firstOriginalNameFormatting([&](const OriginalNameToken &row) { return row.caseStyle == caseStyle; });
}

std::optional<TextFormatting> withWordSeparator(const std::optional<TextFormatting> &current,
                                                NamingPatternSeparator wordSeparator)
{
    if (current && originalNameToken({ current->caseStyle, wordSeparator }))
        return TextFormatting { current->caseStyle, wordSeparator };
    return firstOriginalNameFormatting(
        [&](const OriginalNameToken &row) { return row.wordSeparator == wordSeparator; });
}

} // namespace

NamingPatternEditor::NamingPatternEditor(NamingCaseStyle caseStyle,
                                         NamingPatternSeparator wordSeparator,
                                         NamingPatternSeparator blockSeparator)
    : m_caseStyle(caseStyle)
    , m_wordSeparator(wordSeparator)
    , m_blockSeparator(blockSeparator)
{}

void NamingPatternEditor::load(const QString &text,
                               const QList<NamingPatternBlock> &blocks,
                               const QString &fallbackToken)
{
    m_items = {};
    if (!blocks.isEmpty() && joinedText(blocks) == text)
        m_items = itemsFromBlocks(blocks);
    if (m_items.items.isEmpty())
        m_items = itemsFromText(text);

    if (m_items.items.isEmpty()) {
        m_items.items.append(variableTokenItem(fallbackToken));
        m_text = fallbackToken;
        m_blocks.clear();
    } else {
        m_text = text;
        m_blocks = blocks;
    }
    fitSeparators();
}

qsizetype NamingPatternEditor::indexOf(const QUuid &id) const
{
    for (qsizetype i = 0; i < m_items.items.size(); ++i) {
        if (m_items.items.at(i).id == id)
            return i;
    }
    return -1;
}

bool NamingPatternEditor::setNamingCaseStyle(NamingCaseStyle caseStyle)
{
    if (m_readOnly || caseStyle == m_caseStyle)
        return false;
    m_caseStyle = caseStyle;
    writeBack();
    return true;
}

bool NamingPatternEditor::setNamingWordSeparator(NamingPatternSeparator wordSeparator)
{
    if (m_readOnly || wordSeparator == m_wordSeparator)
        return false;
    m_wordSeparator = wordSeparator;
    writeBack();
    return true;
}

bool NamingPatternEditor::addVariable(const QString &token)
{
    if (m_readOnly || token.trimmed().isEmpty())
        return false;
    append(variableTokenItem(token));
    return true;
}

bool NamingPatternEditor::addCustomText(const QString &text)
{
    if (m_readOnly)
        return false;
    const QString literal = sanitizeName(text, true);
    if (literal.isEmpty())
        return false;
    append(literalTokenItem(literal));
    return true;
}

bool NamingPatternEditor::removeItem(qsizetype index)
{
    if (m_readOnly || index < 0 || index >= m_items.items.size() || m_items.items.size() <= 1)
        return false;
    m_items.items.removeAt(index);
    const qsizetype separator = index == 0 ? 0 : index - 1;
    if (separator < m_items.separators.size())
        m_items.separators.removeAt(separator);
    fitSeparators();
    writeBack();
    return true;
}

bool NamingPatternEditor::editCustomText(qsizetype index, const QString &text)
{
    if (m_readOnly || index < 0 || index >= m_items.items.size() || !m_items.items.at(index).literal())
        return false;
    const QString literal = sanitizeName(text, true);
    if (literal.isEmpty())
        return removeItem(index);
    NamingPatternTokenItem &item = m_items.items[index];
    if (item.literal()->text == literal)
        return false;
    item.content = NamingPatternTokenItem::Literal { literal };
    writeBack();
    return true;
}

bool NamingPatternEditor::changeFormat(qsizetype index, const QString &token)
{
    if (m_readOnly || index < 0 || index >= m_items.items.size() || !m_items.items.at(index).variable()
        || token.trimmed().isEmpty()) {
        return false;
    }
    NamingPatternTokenItem &item = m_items.items[index];
    const NamingPatternTokenItem changed = variableTokenItem(token);
    if (item.content == changed.content)
        return false;
    item.content = changed.content;
    writeBack();
    return true;
}

bool NamingPatternEditor::changeCaseStyle(qsizetype index, NamingCaseStyle caseStyle)
{
    if (m_readOnly || index < 0 || index >= m_items.items.size())
        return false;
    if (!isOriginalNameItem(index))
        return setNamingCaseStyle(caseStyle);
    const auto current = m_items.items.at(index).variable()->originalNameFormatting;
    return setOriginalNameFormatting(index, withCaseStyle(current, caseStyle));
}

bool NamingPatternEditor::changeWordSeparator(qsizetype index, NamingPatternSeparator wordSeparator)
{
    if (m_readOnly || index < 0 || index >= m_items.items.size())
        return false;
    if (!isOriginalNameItem(index))
        return setNamingWordSeparator(wordSeparator);
    const auto current = m_items.items.at(index).variable()->originalNameFormatting;
    return setOriginalNameFormatting(index, withWordSeparator(current, wordSeparator));
}

bool NamingPatternEditor::changeSeparator(qsizetype index, NamingPatternSeparator separator)
{
    if (m_readOnly || index < 0 || index >= m_items.separators.size() || m_items.separators.at(index) == separator)
        return false;
    m_items.separators[index] = separator;
    writeBack();
    return true;
}

bool NamingPatternEditor::moveItem(qsizetype from, qsizetype to)
{
    const qsizetype count = m_items.items.size();
    if (m_readOnly || from == to || from < 0 || from >= count || to < 0 || to >= count)
        return false;
    // Take and insert rather than QList::move: g++ 12 at -O3 wrongly warns that
    // the std::rotate behind move reads an uninitialised variant.
    m_items.items.insert(to, m_items.items.takeAt(from));
    writeBack();
    return true;
}

bool NamingPatternEditor::isOriginalNameItem(qsizetype index) const
{
    const auto *variable = m_items.items.at(index).variable();
    return variable && variable->token == u"{original}";
}

bool NamingPatternEditor::setOriginalNameFormatting(qsizetype index, const std::optional<TextFormatting> &formatting)
{
    // No original-name spelling writes this style (snake case, say), so it
    // could not survive the next load.
    if (!formatting)
        return false;
    auto &variable = std::get<NamingPatternTokenItem::Variable>(m_items.items[index].content);
    if (variable.originalNameFormatting == formatting)
        return false;
    variable.originalNameFormatting = formatting;
    writeBack();
    return true;
}

void NamingPatternEditor::append(NamingPatternTokenItem item)
{
    if (!m_items.items.isEmpty()) {
        fitSeparators();
        m_items.separators.append(m_blockSeparator);
    }
    m_items.items.append(std::move(item));
    writeBack();
}

void NamingPatternEditor::fitSeparators()
{
    const qsizetype wanted = std::max<qsizetype>(m_items.items.size() - 1, 0);
    if (m_items.separators.size() > wanted)
        m_items.separators.resize(wanted);
    while (m_items.separators.size() < wanted)
        m_items.separators.append(m_blockSeparator);
}

void NamingPatternEditor::writeBack()
{
    m_blocks = blocksFromItems(m_items, m_caseStyle, m_wordSeparator);
    m_text = joinedText(m_blocks);
}

} // namespace Nomly
