#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace Nomly {

// The plain text of an RTF document: groups that hold no body text (font,
// colour and style tables, pictures, document information, ignorable
// destinations) are skipped, paragraph and line marks become line feeds,
// hex escapes are read as Windows-1252 and \u escapes as Unicode. Normalised;
// none unless readable.
std::optional<QString> rtfText(const QByteArray &rtf);

// The same for a file, read up to the text-file bound.
std::optional<QString> rtfFileText(const QString &path);

} // namespace Nomly
