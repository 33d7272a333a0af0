#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// The result of analysing one file, of any kind despite the name.
struct ImageAnalysis
{
    std::optional<QString> title; // absent when the analysis failed
    QString description;
    QStringList tags;
    std::optional<QString> error; // present when the analysis failed
    std::optional<QString> type; // document class as the model named it
    std::optional<QString> vendor; // company on a receipt or invoice
    std::optional<QString> amount; // with its currency
    // Naming fields by snake_case key, from the model and the local detectors.
    QMap<QString, QString> detectedFields;

    // An empty title is as useless for a name as none.
    bool isFailed() const { return error.has_value() || !title || title->isEmpty(); }

    bool operator==(const ImageAnalysis &) const = default;
};

// Models sometimes answer with JSON escapes spelled out literally. Each
// backslash-u sequence with four hexadecimal digits becomes the character it
// names, a high and low surrogate pair the one character they form together.
// A surrogate without its partner and anything that doesn't parse stay as
// written.
QString unescapeUnicodeLiterals(const QString &text);

// The text fields a model wrote (title, description, tags, type, vendor and
// amount) with literal escapes undone and put into composed form, so that
// names compare and sort like what the user types.
ImageAnalysis normalized(ImageAnalysis analysis);

} // namespace Nomly
