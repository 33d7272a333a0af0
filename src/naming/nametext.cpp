#include "naming/nametext.h"

#include <memory>

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace Nomly {

namespace {

constexpr QStringView ForbiddenCharacters = u"/\\:*?\"<>|";

bool isMark(char32_t c)
{
    const auto category = QChar::category(c);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_SpacingCombining
        || category == QChar::Mark_Enclosing;
}

// Joiners and variation selectors belong to the character before them: a
// Persian word keeps its zero-width non-joiner, an Indic conjunct its joiner.
bool isClusterExtender(char32_t c)
{
    return c == 0x200C || c == 0x200D || (c >= 0xFE00 && c <= 0xFE0F);
}

bool isWordCharacter(char32_t c)
{
    return QChar::isLetterOrNumber(c) || isMark(c) || isClusterExtender(c);
}

bool isWhitespace(char32_t c)
{
    return QChar::isSpace(c);
}

void appendCodePoint(QString &out, char32_t c)
{
    if (QChar::requiresSurrogates(c)) {
        out.append(QChar(QChar::highSurrogate(c)));
        out.append(QChar(QChar::lowSurrogate(c)));
    } else {
        out.append(QChar(static_cast<char16_t>(c)));
    }
}

template<typename Fn> void forEachCodePoint(QStringView text, Fn &&fn)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t c = text.at(i).unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            c = QChar::surrogateToUcs4(text.at(i), text.at(i + 1));
            ++i;
        }
        fn(c);
    }
}

QString collapsed(QString text, QStringView pair, QChar single)
{
    while (text.contains(pair))
        text.replace(pair.toString(), QString(single));
    return text;
}

QString trimmedOf(const QString &text, QStringView characters)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && characters.contains(text.at(begin)))
        ++begin;
    while (end > begin && characters.contains(text.at(end - 1)))
        --end;
    return text.sliced(begin, end - begin);
}

int letterCount(QStringView word, bool *allUpper)
{
    int letters = 0;
    *allUpper = true;
    forEachCodePoint(word, [&](char32_t c) {
        if (QChar::isLetter(c)) {
            ++letters;
            if (!QChar::isUpper(c))
                *allUpper = false;
        }
    });
    return letters;
}

bool hasLowercaseLetter(QStringView text)
{
    bool found = false;
    forEachCodePoint(text, [&](char32_t c) { found = found || QChar::isLower(c); });
    return found;
}

bool isAcronym(QStringView word)
{
    bool allUpper = false;
    return letterCount(word, &allUpper) >= 2 && allUpper;
}

bool isNameSeparator(QChar c)
{
    return c == u' ' || c == u'_' || c == u'-' || c == u'.';
}

std::unique_ptr<icu::BreakIterator> breakIterator(bool words, const icu::UnicodeString &text)
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> iterator(
        words ? icu::BreakIterator::createWordInstance(icu::Locale::getRoot(), status)
              : icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status))
        return nullptr;
    iterator->setText(text);
    return iterator;
}

} // namespace

QString sanitizeName(QStringView text, bool keepSpaces)
{
    // Steps 1 and 2: whitespace runs become one joiner, ends trimmed.
    const QChar joiner = keepSpaces ? u' ' : u'_';
    QString joined;
    joined.reserve(text.size());
    bool pendingJoin = false;
    forEachCodePoint(text.trimmed(), [&](char32_t c) {
        if (isWhitespace(c)) {
            pendingJoin = true;
            return;
        }
        if (pendingJoin) {
            joined.append(joiner);
            pendingJoin = false;
        }
        appendCodePoint(joined, c);
    });

    // Steps 3 and 4: only letters, numbers, "-", "_", "." (and spaces) stay.
    QString kept;
    kept.reserve(joined.size());
    bool previousWasWord = false;
    forEachCodePoint(joined, [&](char32_t c) {
        bool keep = false;
        if (c < 0x80 && ForbiddenCharacters.contains(QChar(static_cast<char16_t>(c))))
            keep = false;
        else if (isMark(c) || isClusterExtender(c))
            keep = previousWasWord; // accents and joiners of a kept letter, not stray ones
        else if (QChar::isLetterOrNumber(c))
            keep = true;
        else
            keep = c == u'-' || c == u'_' || c == u'.' || (keepSpaces && c == u' ');
        if (keep)
            appendCodePoint(kept, c);
        previousWasWord = keep && isWordCharacter(c);
    });

    if (keepSpaces)
        kept = collapsed(std::move(kept), u"  ", u' ');
    kept = collapsed(std::move(kept), u"__", u'_');
    return trimmedOf(kept, u" _.");
}

std::optional<NamingPatternSeparator> wordSeparatorImpliedBy(NamingCaseStyle style)
{
    switch (style) {
    case NamingCaseStyle::Snake:
    case NamingCaseStyle::Constant:
        return NamingPatternSeparator::Underscore;
    case NamingCaseStyle::Kebab:
        return NamingPatternSeparator::Hyphen;
    case NamingCaseStyle::Dot:
        return NamingPatternSeparator::Dot;
    case NamingCaseStyle::Title:
    case NamingCaseStyle::Sentence:
    case NamingCaseStyle::Lower:
    case NamingCaseStyle::Upper:
    case NamingCaseStyle::Camel:
    case NamingCaseStyle::Pascal:
        break;
    }
    return std::nullopt;
}

QStringList splitWords(QStringView text)
{
    QStringList words;
    QString current;
    forEachCodePoint(text, [&](char32_t c) {
        if (isWordCharacter(c)) {
            appendCodePoint(current, c);
        } else if (!current.isEmpty()) {
            words.append(current);
            current.clear();
        }
    });
    if (!current.isEmpty())
        words.append(current);
    return words;
}

QString capitalizeWord(QStringView word)
{
    if (word.isEmpty())
        return {};
    char32_t first = word.at(0).unicode();
    qsizetype firstLength = 1;
    if (QChar::isHighSurrogate(first) && word.size() > 1 && word.at(1).isLowSurrogate()) {
        first = QChar::surrogateToUcs4(word.at(0), word.at(1));
        firstLength = 2;
    }
    QString result;
    appendCodePoint(result, static_cast<char32_t>(u_totitle(static_cast<UChar32>(first))));
    result += word.sliced(firstLength).toString().toLower();
    return result;
}

QString withFirstUpper(QStringView text)
{
    if (text.isEmpty())
        return {};
    return text.first(1).toString().toUpper() + text.sliced(1);
}

QString withFirstLower(QStringView text)
{
    if (text.isEmpty())
        return {};
    return text.first(1).toString().toLower() + text.sliced(1);
}

QString renderCase(QStringView text, std::optional<NamingPatternSeparator> separator, NamingCaseStyle style)
{
    QString spaced = text.toString();
    for (QChar &c : spaced) {
        if (c == u'_' || c == u'-' || c == u'.')
            c = u' ';
    }
    QStringList words = splitWords(spaced);
    if (words.isEmpty())
        return {};

    const bool keepAcronyms = style == NamingCaseStyle::Title && hasLowercaseLetter(text);
    for (qsizetype i = 0; i < words.size(); ++i) {
        QString &word = words[i];
        switch (style) {
        case NamingCaseStyle::Title:
            if (!(keepAcronyms && isAcronym(word)))
                word = capitalizeWord(word);
            break;
        case NamingCaseStyle::Sentence:
            word = i == 0 ? capitalizeWord(word) : word.toLower();
            break;
        case NamingCaseStyle::Upper:
        case NamingCaseStyle::Constant:
            word = word.toUpper();
            break;
        case NamingCaseStyle::Lower:
        case NamingCaseStyle::Snake:
        case NamingCaseStyle::Kebab:
        case NamingCaseStyle::Dot:
            word = word.toLower();
            break;
        case NamingCaseStyle::Camel:
            word = i == 0 ? word.toLower() : capitalizeWord(word);
            break;
        case NamingCaseStyle::Pascal:
            word = capitalizeWord(word);
            break;
        }
    }

    if (style == NamingCaseStyle::Camel || style == NamingCaseStyle::Pascal)
        return words.join(QString());
    return words.join(
        rawValue(separator.value_or(wordSeparatorImpliedBy(style).value_or(NamingPatternSeparator::Space))));
}

QString normalizeTitle(QStringView text)
{
    const bool allCapitals = !hasLowercaseLetter(text);
    const QString source = allCapitals ? text.toString().toLower() : text.toString();

    QString result;
    result.reserve(source.size());
    QString word;
    auto flushWord = [&] {
        if (word.isEmpty())
            return;
        result += (!allCapitals && isAcronym(word)) ? word : capitalizeWord(word);
        word.clear();
    };
    forEachCodePoint(source, [&](char32_t c) {
        if (QChar::isLetterOrNumber(c) || (isMark(c) && !word.isEmpty())) {
            appendCodePoint(word, c);
        } else {
            flushWord();
            appendCodePoint(result, c);
        }
    });
    flushWord();
    return result;
}

QString fitNameToBytes(QStringView name, qsizetype maxBytes)
{
    if (name.toUtf8().size() <= maxBytes)
        return name.toString();

    const icu::UnicodeString text(false, reinterpret_cast<const UChar *>(name.utf16()), int32_t(name.size()));
    // Whole user-perceived characters; code points when ICU has no rules.
    const auto characters = breakIterator(false, text);
    qsizetype cut = 0;
    qsizetype bytes = 0;
    while (cut < name.size()) {
        const qsizetype end = characters ? qsizetype(characters->following(int32_t(cut)))
                                         : cut + (name.at(cut).isHighSurrogate() && cut + 1 < name.size() ? 2 : 1);
        if (end == icu::BreakIterator::DONE || end <= cut)
            break;
        bytes += name.sliced(cut, end - cut).toUtf8().size();
        if (bytes > maxBytes)
            break;
        cut = end;
    }

    if (const auto words = breakIterator(true, text); words && !words->isBoundary(int32_t(cut))) {
        const qsizetype boundary = words->preceding(int32_t(cut));
        if (boundary != icu::BreakIterator::DONE && boundary > 0 && boundary >= cut - cut / 5)
            cut = boundary;
    }
    while (cut > 0 && isNameSeparator(name.at(cut - 1)))
        --cut;
    return name.first(cut).toString();
}

} // namespace Nomly
