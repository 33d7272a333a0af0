#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// What the detector reads: a file's text, what else the caller knows of it
// (title, description, tags), its name, and the fields already found.
struct LocalFieldInput
{
    QString mainText;
    QStringList furtherStrings;
    QString fileName;
    QHash<QString, QString> existingFields;
};

// Fills naming fields the AI left out, from the text alone: it decides which
// kinds of document the text is (invoice, travel booking, order and shipping,
// medical, legal, meeting), then reads labelled values and known patterns per
// kind, the programming language of a code file and the language the
// file's own text (never the further strings) is written in. A value already
// present is never overwritten. Plain rules over text; nothing is sent
// anywhere.
class LocalFieldDetector final
{
public:
    LocalFieldDetector() = delete;

    // Only the keys the detector adds; `existingFields` are not repeated.
    static QHash<QString, QString> detect(const LocalFieldInput &input);

    // Blanks of any width to one, trimmed of blanks, colons and hyphens;
    // none when nothing is left.
    static std::optional<QString> cleanValue(const QString &text);
    // A date in any of the forms people write, as "yyyy-MM-dd"; day first
    // where both readings are possible.
    static std::optional<QString> normalizedDate(const QString &text);
};

} // namespace Nomly
