#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// What a second look at one file asks the AI: the names the user turned
// down, kept in a normal form so that "Q3 Budget" and "q3_budget" are the
// same idea, and a prompt that tells the model to find another.
namespace RegenerateRequest {

// A name in the form names are stored and compared in: words joined by "_",
// only letters, numbers, "-", "_" and ".", lower case; empty when nothing is
// left.
QString normalizedName(const QString &name);
// Each name normalised, the empty ones and repeats dropped, order kept.
QStringList normalizedNames(const QStringList &names);
// Whether a suggestion is one of the rejected ideas again.
bool isDuplicate(const QString &suggestion, const QStringList &rejected);
// The rejected names as the AI reads them: words apart, no "_" or "-".
QStringList rejectedTitles(const QStringList &rejected);
// The user's own rename prompt, with the request for a different name added
// when both fit within `maxChars`; the own prompt alone when they do not.
std::optional<QString> renamePrompt(const std::optional<QString> &base, const QStringList &rejected, int maxChars);

} // namespace RegenerateRequest

} // namespace Nomly
