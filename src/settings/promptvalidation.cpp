#include "settings/promptvalidation.h"

#include <QList>
#include <QStringView>
#include <QTextBoundaryFinder>

namespace Nomly {

namespace {

// What a user counts as one character: a grapheme cluster, so that an accented
// letter or an emoji made of several code points counts once.
qsizetype characterCount(const QString &text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

bool hasUnsupportedControl(const QString &text)
{
    for (const uint codePoint : QStringView(text).toUcs4()) {
        if (codePoint == u'\t' || codePoint == u'\n')
            continue;
        const QChar::Category category = QChar::category(codePoint);
        if (category == QChar::Other_Control || category == QChar::Other_Format)
            return true;
    }
    return false;
}

enum class PromptProblem
{
    TooLong,
    UnsupportedCharacters,
};

// The texts a user reads under the prompt editor, built in one place.
QString message(PromptProblem problem, qsizetype maxChars)
{
    switch (problem) {
    case PromptProblem::TooLong:
        return QStringLiteral("Keep this under %1 characters").arg(maxChars);
    case PromptProblem::UnsupportedCharacters:
        return QStringLiteral("Remove unsupported control characters");
    }
    return {};
}

} // namespace

PromptValidation validatePrompt(const QString &raw, qsizetype maxChars)
{
    QString text = raw;
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n');
    text = text.trimmed();
    if (text.isEmpty())
        return {};
    if (characterCount(text) > maxChars)
        return { std::nullopt, message(PromptProblem::TooLong, maxChars) };
    if (hasUnsupportedControl(text))
        return { std::nullopt, message(PromptProblem::UnsupportedCharacters, maxChars) };
    return { text, std::nullopt };
}

} // namespace Nomly
