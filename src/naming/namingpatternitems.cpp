#include "naming/namingpatternitems.h"

#include "naming/nametext.h"
#include "naming/namingpattern.h"

namespace Nomly {

namespace {

// The title spellings per case style: joined by "_", joined by nothing, and
// joined by any other separator.
struct TitleTokenRow
{
    NamingCaseStyle caseStyle;
    const char16_t *underscore;
    const char16_t *none;
    const char16_t *other;
};

constexpr TitleTokenRow TitleTokenRows[] = {
    { NamingCaseStyle::Title, u"{Title_Name}", u"{TitleName}", u"{Title Name}" },
    { NamingCaseStyle::Sentence, u"{Title_name}", u"{Title name}", u"{Title name}" },
    { NamingCaseStyle::Lower, u"{title_name}", u"{titlename}", u"{title}" },
    { NamingCaseStyle::Upper, u"{TITLE_NAME}", u"{TITLENAME}", u"{TITLE NAME}" },
    { NamingCaseStyle::Snake, u"{title_name}", u"{title_name}", u"{title_name}" },
    { NamingCaseStyle::Constant, u"{TITLE_NAME}", u"{TITLE_NAME}", u"{TITLE_NAME}" },
    { NamingCaseStyle::Camel, u"{titleName}", u"{titleName}", u"{titleName}" },
    { NamingCaseStyle::Pascal, u"{TitleName}", u"{TitleName}", u"{TitleName}" },
    { NamingCaseStyle::Kebab, u"{title}", u"{title}", u"{title}" },
    { NamingCaseStyle::Dot, u"{title}", u"{title}", u"{title}" },
};

bool isSeparatorCharacter(QChar c)
{
    return c == u'_' || c == u'-' || c == u'.';
}

// A gap that only separates: nothing but "_", "-", "." and whitespace.
bool isPureSeparator(QStringView gap)
{
    for (QChar c : gap) {
        if (!isSeparatorCharacter(c) && !c.isSpace())
            return false;
    }
    return true;
}

std::optional<NamingPatternSeparator> separatorOf(QChar c)
{
    return namingPatternSeparatorFromRaw(QStringView(&c, 1));
}

// Cuts one "_", "-" or "." or all whitespace off the front of `text`, and says
// which separator that was; `None` when the text starts with anything else.
NamingPatternSeparator cutLeadingSeparator(QStringView &text)
{
    if (text.isEmpty())
        return NamingPatternSeparator::None;
    if (isSeparatorCharacter(text.front())) {
        const NamingPatternSeparator separator = *separatorOf(text.front());
        text = text.sliced(1);
        return separator;
    }
    qsizetype count = 0;
    while (count < text.size() && text.at(count).isSpace())
        ++count;
    if (count == 0)
        return NamingPatternSeparator::None;
    text = text.sliced(count);
    return NamingPatternSeparator::Space;
}

NamingPatternSeparator cutTrailingSeparator(QStringView &text)
{
    if (text.isEmpty())
        return NamingPatternSeparator::None;
    if (isSeparatorCharacter(text.back())) {
        const NamingPatternSeparator separator = *separatorOf(text.back());
        text.chop(1);
        return separator;
    }
    qsizetype count = 0;
    while (count < text.size() && text.at(text.size() - 1 - count).isSpace())
        ++count;
    if (count == 0)
        return NamingPatternSeparator::None;
    text.chop(count);
    return NamingPatternSeparator::Space;
}

QString sanitizedLiteral(QStringView text)
{
    return sanitizeName(text, true);
}

void addGapBeforeFirstToken(NamingPatternItems &result, QStringView gap)
{
    if (isPureSeparator(gap))
        return;
    const NamingPatternSeparator trailing = cutTrailingSeparator(gap);
    const QString literal = sanitizedLiteral(gap);
    if (literal.isEmpty())
        return;
    result.items.append(literalTokenItem(literal));
    result.separators.append(trailing);
}

void addGapBetweenTokens(NamingPatternItems &result, QStringView gap)
{
    if (isPureSeparator(gap)) {
        result.separators.append(inferSeparator(gap));
        return;
    }
    QStringView middle = gap;
    const NamingPatternSeparator leading = cutLeadingSeparator(middle);
    const NamingPatternSeparator trailing = cutTrailingSeparator(middle);
    const QString literal = sanitizedLiteral(middle);
    if (literal.isEmpty()) {
        result.separators.append(inferSeparator(gap));
        return;
    }
    result.separators.append(leading);
    result.items.append(literalTokenItem(literal));
    result.separators.append(trailing);
}

void addTextAfterLastToken(NamingPatternItems &result, QStringView tail)
{
    if (isPureSeparator(tail))
        return;
    const NamingPatternSeparator leading = cutLeadingSeparator(tail);
    const QString literal = sanitizedLiteral(tail);
    if (literal.isEmpty())
        return;
    result.separators.append(leading);
    result.items.append(literalTokenItem(literal));
}

} // namespace

NamingPatternItems itemsFromText(const QString &text)
{
    const QList<PatternToken> tokens = scanPatternTokens(text);
    NamingPatternItems result;
    if (tokens.isEmpty()) {
        const QString literal = sanitizedLiteral(text);
        if (!literal.isEmpty())
            result.items.append(literalTokenItem(literal));
        return result;
    }

    const QStringView view(text);
    qsizetype gapStart = 0;
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        const PatternToken &token = tokens.at(i);
        const QStringView gap = view.sliced(gapStart, token.position - gapStart);
        if (i == 0)
            addGapBeforeFirstToken(result, gap);
        else
            addGapBetweenTokens(result, gap);
        result.items.append(variableTokenItem(token.text));
        gapStart = token.end();
    }
    addTextAfterLastToken(result, view.sliced(gapStart));
    return result;
}

NamingPatternItems itemsFromBlocks(const QList<NamingPatternBlock> &blocks)
{
    NamingPatternItems result;
    for (const NamingPatternBlock &block : blocks) {
        NamingPatternTokenItem item;
        if (block.kind == NamingPatternBlock::Kind::Variable) {
            item = variableTokenItem(block.value);
        } else {
            const QString literal = sanitizedLiteral(block.value);
            if (literal.isEmpty())
                continue;
            item = literalTokenItem(literal);
        }
        if (!result.items.isEmpty())
            result.separators.append(block.separatorBefore.value_or(NamingPatternSeparator::None));
        result.items.append(std::move(item));
    }
    return result;
}

QList<NamingPatternBlock> blocksFromItems(const NamingPatternItems &items,
                                          NamingCaseStyle caseStyle,
                                          NamingPatternSeparator wordSeparator)
{
    QList<NamingPatternBlock> blocks;
    blocks.reserve(items.items.size());
    for (qsizetype i = 0; i < items.items.size(); ++i) {
        const NamingPatternTokenItem &item = items.items.at(i);
        NamingPatternBlock block;
        if (const auto *variable = item.variable()) {
            block.kind = NamingPatternBlock::Kind::Variable;
            block.value = variable->token;
            if (variable->token == u"{title}") {
                block.value = titleToken(caseStyle, wordSeparator);
            } else if (variable->token == u"{original}" && variable->originalNameFormatting) {
                block.value = originalNameToken(*variable->originalNameFormatting).value_or(variable->token);
            }
        } else {
            block.kind = NamingPatternBlock::Kind::Literal;
            block.value = item.literal()->text;
        }
        if (i > 0)
            block.separatorBefore = items.separators.value(i - 1, NamingPatternSeparator::None);
        blocks.append(std::move(block));
    }
    return blocks;
}

QString titleToken(NamingCaseStyle caseStyle, NamingPatternSeparator wordSeparator)
{
    for (const TitleTokenRow &row : TitleTokenRows) {
        if (row.caseStyle != caseStyle)
            continue;
        switch (wordSeparator) {
        case NamingPatternSeparator::Underscore:
            return QString::fromUtf16(row.underscore);
        case NamingPatternSeparator::None:
            return QString::fromUtf16(row.none);
        default:
            return QString::fromUtf16(row.other);
        }
    }
    return QStringLiteral("{title}");
}

} // namespace Nomly
