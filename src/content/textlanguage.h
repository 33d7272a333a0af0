#pragma once

#include <QString>
#include <QStringView>
#include <optional>

namespace Nomly {

// What the recogniser makes of a text: the language's ISO 639-1 code, its
// English name, and how clearly it stands out from the other languages the
// text could be in, from 0 to 1.
struct LanguageGuess
{
    QString code;
    QString name;
    double confidence = 0;

    bool operator==(const LanguageGuess &) const = default;
};

// The language a text is written in, by character n-gram statistics over the
// fingerprints installed with libexttextcat. Only widely used written
// languages are told apart; a text in any other reads as the closest of them
// or as none. The fingerprints are loaded on first use and kept; one text is
// classified at a time, whichever thread asks.
class TextLanguage final
{
public:
    TextLanguage() = delete;

    // False when the library's fingerprints are not installed; every text
    // then has no language.
    static bool isAvailable();

    // The dominant language of the whole text; none when the recogniser
    // cannot decide.
    static std::optional<LanguageGuess> dominant(QStringView text);

    // The English name of the language of a file's text, or none when the
    // text is under 40 characters or no language clearly dominates its first
    // 4,000 characters.
    static std::optional<QString> languageName(const QString &text);
};

} // namespace Nomly
