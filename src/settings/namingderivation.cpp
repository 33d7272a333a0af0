#include "settings/namingderivation.h"

#include "naming/namingpattern.h"

namespace Nomly {

namespace {

template<typename Value> struct LegacyToken
{
    const char16_t *token;
    Value value;
};

// Each table is tested in order and the first token found wins.
constexpr LegacyToken<NamingCaseStyle> CaseStyleTokens[] = {
    { u"{title}", NamingCaseStyle::Lower },         { u"{title name}", NamingCaseStyle::Lower },
    { u"{title_name}", NamingCaseStyle::Lower },    { u"{titlename}", NamingCaseStyle::Lower },
    { u"{titleName}", NamingCaseStyle::Camel },     { u"{TitleName}", NamingCaseStyle::Pascal },
    { u"{TITLE}", NamingCaseStyle::Upper },         { u"{TITLE NAME}", NamingCaseStyle::Upper },
    { u"{TITLE_NAME}", NamingCaseStyle::Upper },    { u"{TITLENAME}", NamingCaseStyle::Upper },
    { u"{Title name}", NamingCaseStyle::Sentence }, { u"{Title_name}", NamingCaseStyle::Sentence },
    { u"{Title}", NamingCaseStyle::Title },         { u"{Title Name}", NamingCaseStyle::Title },
    { u"{Title_Name}", NamingCaseStyle::Title },
};

constexpr LegacyToken<NamingPatternSeparator> WordSeparatorTokens[] = {
    { u"{Title_Name}", NamingPatternSeparator::Underscore }, { u"{Title_name}", NamingPatternSeparator::Underscore },
    { u"{title_name}", NamingPatternSeparator::Underscore }, { u"{TITLE_NAME}", NamingPatternSeparator::Underscore },
    { u"{TitleName}", NamingPatternSeparator::None },        { u"{titleName}", NamingPatternSeparator::None },
    { u"{titlename}", NamingPatternSeparator::None },        { u"{TITLENAME}", NamingPatternSeparator::None },
    { u"{Title Name}", NamingPatternSeparator::Space },      { u"{Title name}", NamingPatternSeparator::Space },
    { u"{title Name}", NamingPatternSeparator::Space },      { u"{title name}", NamingPatternSeparator::Space },
    { u"{TITLE NAME}", NamingPatternSeparator::Space },      { u"{title}", NamingPatternSeparator::Space },
};

// Tokens are matched case-sensitively: the spelling is what carries the style.
template<typename Value, std::size_t N>
std::optional<Value> firstTokenHit(const QString &pattern, const LegacyToken<Value> (&table)[N])
{
    for (const LegacyToken<Value> &entry : table) {
        if (pattern.contains(QStringView(entry.token)))
            return entry.value;
    }
    return std::nullopt;
}

} // namespace

std::optional<NamingCaseStyle> caseStyleFromLegacyTokens(const QString &pattern)
{
    return firstTokenHit(pattern, CaseStyleTokens);
}

std::optional<NamingPatternSeparator> wordSeparatorFromLegacyTokens(const QString &pattern)
{
    return firstTokenHit(pattern, WordSeparatorTokens);
}

std::optional<NamingPatternSeparator> blockSeparatorOfPattern(const QString &pattern)
{
    const ParsedPattern parsed = parsePattern(pattern);
    if (parsed.tokens.size() < 2)
        return std::nullopt;
    return parsed.separator;
}

} // namespace Nomly
