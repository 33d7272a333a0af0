#include "content/legacyworkbookscan.h"

#include <algorithm>

#include "content/contenttext.h"

namespace Nomly {

namespace {

constexpr qsizetype ShortestRun = 4;
constexpr qsizetype HeadStrings = 12;
constexpr qsizetype SheetNamesShown = 6;
constexpr qsizetype KeyLinesShown = 16;

const QStringList DroppedWhenEqual { QStringLiteral("workbook"),  QStringLiteral("book"), QStringLiteral("calc"),
                                     QStringLiteral("general"),   QStringLiteral("png"),  QStringLiteral("ihdr"),
                                     QStringLiteral("idatx"),     QStringLiteral("iend"), QStringLiteral("biff8"),
                                     QStringLiteral("root entry") };
const QStringList DroppedWhenContained { QStringLiteral("arial"),           QStringLiteral("calibri"),
                                         QStringLiteral("calc "),           QStringLiteral("courier"),
                                         QStringLiteral("times new roman"), QStringLiteral("verdana"),
                                         QStringLiteral("tahoma"),          QStringLiteral("trebuchet"),
                                         QStringLiteral("graphics") };
const QStringList PromptKeywords { QStringLiteral("question"),
                                   QStringLiteral("answer"),
                                   QStringLiteral("multiple choice"),
                                   QStringLiteral("multiple answer"),
                                   QStringLiteral("true/false"),
                                   QStringLiteral("true false"),
                                   QStringLiteral("essay"),
                                   QStringLiteral("ordering"),
                                   QStringLiteral("matching"),
                                   QStringLiteral("fill in the blank"),
                                   QStringLiteral("short response"),
                                   QStringLiteral("numeric response"),
                                   QStringLiteral("quiz"),
                                   QStringLiteral("exam"),
                                   QStringLiteral("test") };
const QStringList QuizSignals { QStringLiteral("?"),          QStringLiteral("question"),
                                QStringLiteral("answer"),     QStringLiteral("multiple choice"),
                                QStringLiteral("true/false"), QStringLiteral("matching"),
                                QStringLiteral("ordering") };

bool isPrintable(char byte)
{
    return byte == '\t' || byte == '\n' || byte == '\r' || (byte >= 32 && byte <= 126);
}

// Runs of UTF-16 text: a printable byte with a zero byte after it.
QStringList wideRuns(const QByteArray &bytes)
{
    QStringList runs;
    qsizetype i = 0;
    while (i + 1 < bytes.size()) {
        QString run;
        qsizetype j = i;
        while (j + 1 < bytes.size() && isPrintable(bytes.at(j)) && bytes.at(j + 1) == 0) {
            run.append(QLatin1Char(bytes.at(j)));
            j += 2;
        }
        if (run.isEmpty()) {
            ++i;
            continue;
        }
        if (run.size() >= ShortestRun)
            runs.append(run);
        i = j;
    }
    return runs;
}

QStringList narrowRuns(const QByteArray &bytes)
{
    QStringList runs;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= bytes.size(); ++i) {
        if (i < bytes.size() && isPrintable(bytes.at(i)))
            continue;
        if (i - start >= ShortestRun)
            runs.append(QString::fromLatin1(bytes.mid(start, i - start)));
        start = i + 1;
    }
    return runs;
}

QStringList wordsOf(const QString &text)
{
    return text.split(QChar(u' '), Qt::SkipEmptyParts);
}

bool hasWhitespace(const QString &text)
{
    return std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c.isSpace(); });
}

bool hasDigit(const QString &text)
{
    return std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c.isDigit(); });
}

bool hasPunctuation(const QString &text)
{
    return std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c.isPunct(); });
}

bool hasSlashOrUnderscore(const QString &text)
{
    return text.contains(u'/') || text.contains(u'_') || text.contains(u'\\');
}

bool hasSingleCharacterWord(const QStringList &words)
{
    return std::any_of(words.cbegin(), words.cend(), [](const QString &word) { return word.size() == 1; });
}

bool containsAny(const QString &text, const QStringList &needles)
{
    return std::any_of(
        needles.cbegin(), needles.cend(), [&text](const QString &needle) { return text.contains(needle); });
}

bool isNoise(const QString &text)
{
    const auto punctuation = std::count_if(text.cbegin(), text.cend(), [](QChar c) { return c.isPunct(); });
    if (punctuation > 0.2 * static_cast<double>(text.size()))
        return true;
    if (!hasWhitespace(text) && (hasSlashOrUnderscore(text) || hasDigit(text) || hasPunctuation(text)))
        return true;
    const QStringList words = wordsOf(text);
    return words.size() >= 2 && hasSingleCharacterWord(words);
}

bool isReadable(const QString &text)
{
    static const QString Allowed = QStringLiteral(".,:;!?()/%&'\"+-");
    const auto plain = std::count_if(
        text.cbegin(), text.cend(), [](QChar c) { return c.isLetterOrNumber() || c == u' ' || Allowed.contains(c); });
    if (plain < 0.9 * static_cast<double>(text.size()))
        return false;
    if (std::count_if(text.cbegin(), text.cend(), [](QChar c) { return c.isLetter(); }) < 2)
        return false;
    if (hasWhitespace(text) || hasPunctuation(text))
        return true;
    if (!containsAny(text.toLower(),
                     { QStringLiteral("a"),
                       QStringLiteral("e"),
                       QStringLiteral("i"),
                       QStringLiteral("o"),
                       QStringLiteral("u"),
                       QStringLiteral("y") }))
        return false;
    const bool capitalised = text.at(0).isUpper() && text.mid(1) == text.mid(1).toLower();
    return text == text.toLower() || text == text.toUpper() || capitalised;
}

std::optional<QString> filtered(const QString &raw)
{
    QString text = normalizedText(raw);
    while (!text.isEmpty() && (text.front().isSpace() || text.front().category() == QChar::Other_Control))
        text.remove(0, 1);
    while (!text.isEmpty() && (text.back().isSpace() || text.back().category() == QChar::Other_Control))
        text.chop(1);
    if (text.size() < ShortestRun
        || !std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c.isLetterOrNumber(); }))
        return std::nullopt;
    const QString lower = text.toLower();
    if (DroppedWhenEqual.contains(lower) || containsAny(lower, DroppedWhenContained))
        return std::nullopt;
    if (lower.contains(QStringLiteral("microsoft excel")) || lower.startsWith(QStringLiteral("http://"))
        || lower.startsWith(QStringLiteral("https://")) || text.startsWith(u'&'))
        return std::nullopt;
    if (isNoise(text) || !isReadable(text))
        return std::nullopt;
    return text;
}

bool isSheetName(const QString &text)
{
    if (text.size() > 24 || text.contains(u'?') || hasSlashOrUnderscore(text))
        return false;
    const QStringList words = wordsOf(text);
    if (words.isEmpty() || words.size() > 4 || hasSingleCharacterWord(words))
        return false;
    const QString lower = text.toLower();
    if (PromptKeywords.contains(lower) || lower == u"correct" || lower == u"incorrect" || lower == u"true"
        || lower == u"false")
        return false;
    return words.size() < 3 || !text.endsWith(u'.');
}

int sheetScore(const QString &text)
{
    int score = 0;
    const bool dot = text.contains(u'.');
    const bool digit = hasDigit(text);
    if (dot)
        score += digit ? 10 : 30;
    else if (!digit)
        score += 20;
    const qsizetype words = wordsOf(text).size();
    if (words >= 1 && words <= 3)
        score += 20;
    const bool lower = std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c.isLower(); });
    const bool upper = std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c.isUpper(); });
    if (lower && upper)
        score += 20;
    const QString folded = text.toLower();
    if (folded == u"readme" || folded == u"example test" || folded == u"format abbr.")
        score += 30;
    if (text == text.toUpper())
        score -= 30;
    return score;
}

int promptScore(const QString &text)
{
    int score = 0;
    if (text.contains(u'?'))
        score += 100;
    if (text.size() >= 24)
        score += 40;
    if (wordsOf(text).size() > 2)
        score += 20;
    const QString lower = text.toLower();
    if (containsAny(lower, PromptKeywords))
        score += 40;
    if (lower == u"correct" || lower == u"incorrect")
        score -= 20;
    return score;
}

QStringList sortedBy(QStringList strings, int (*score)(const QString &))
{
    std::stable_sort(strings.begin(), strings.end(), [score](const QString &left, const QString &right) {
        return score(left) > score(right);
    });
    return strings;
}

// The strings the scan keeps: UTF-16 runs, then 8-bit ones, in file order.
QStringList legacyWorkbookStrings(const QByteArray &bytes)
{
    QStringList strings;
    for (const QStringList &runs : { wideRuns(bytes), narrowRuns(bytes) }) {
        for (const QString &run : runs) {
            if (const auto kept = filtered(run))
                strings.append(*kept);
        }
    }
    return withoutFoldedDuplicates(strings);
}

} // namespace

std::optional<QString> legacyWorkbookText(const QByteArray &bytes)
{
    const QStringList strings = legacyWorkbookStrings(bytes);
    if (strings.isEmpty())
        return std::nullopt;

    const auto stop = std::find_if(strings.cbegin(), strings.cend(), [](const QString &text) {
        return text.contains(u'?') || promptScore(text) > 99;
    });
    const QStringList head = strings.mid(0, std::min<qsizetype>(stop - strings.cbegin(), HeadStrings));
    QStringList sheetNames;
    for (const QString &text : head) {
        if (isSheetName(text))
            sheetNames.append(text);
    }
    sheetNames = sortedBy(sheetNames, sheetScore);
    QStringList keyLines;
    for (const QString &text : strings) {
        if (!isSheetName(text))
            keyLines.append(text);
    }
    keyLines = sortedBy(keyLines, promptScore);
    const auto quizStrings = std::count_if(
        strings.cbegin(), strings.cend(), [](const QString &text) { return containsAny(text.toLower(), QuizSignals); });

    QStringList lines { QStringLiteral("Legacy XLS spreadsheet content") };
    if (!sheetNames.isEmpty())
        lines.append(QStringLiteral("Workbook tabs: ") + sheetNames.mid(0, SheetNamesShown).join(QStringLiteral(", ")));
    if (quizStrings >= 2)
        lines.append(QStringLiteral("Likely content: quiz or exam spreadsheet with prompts, answer options, and "
                                    "format guidance"));
    if (!keyLines.isEmpty()) {
        lines.append(QStringLiteral("Key extracted text:"));
        lines.append(keyLines.mid(0, KeyLinesShown));
    }
    const QString text = normalizedText(lines.join(u'\n'));
    return isReadableText(text) ? std::optional(text) : std::nullopt;
}

} // namespace Nomly
