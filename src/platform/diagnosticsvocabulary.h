#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace Nomly {

// Keys and values of a diagnostics record.
using DiagnosticsParameters = QMap<QString, QString>;

// What a diagnostics record may hold. Product events come from a closed list;
// every value is a count, a yes or no, a version number, or a short lower-case
// word (or a comma-joined list of them): never a path, a file name, text a
// user wrote or a secret. The rule is checked when a record is written, so a
// caller that passes anything else has it withheld rather than recorded.
class DiagnosticsVocabulary final
{
public:
    DiagnosticsVocabulary() = delete;

    static const QStringList &events();
    static bool isEvent(const QString &name);

    // snake_case, at most 40 characters.
    static bool isKey(const QString &key);
    static bool isValue(const QString &value);
    // Dotted words: "ui.navigation".
    static bool isCategory(const QString &category);

    // The parameters with each value that breaks the rule replaced by
    // "withheld", and each key that breaks it dropped; `withheld` counts both.
    static DiagnosticsParameters sanitized(const DiagnosticsParameters &parameters, int *withheld = nullptr);

    // "true" or "false".
    static QString flag(bool value);

    // A word for an area or a reason: itself when it is one, "unknown" when not.
    static QString word(const QString &candidate);
};

} // namespace Nomly
