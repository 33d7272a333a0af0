#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>
#include <QString>
#include <QStringView>
#include <optional>

namespace Nomly {

// How a mail message encodes its headers and bodies: the header block as a
// map, encoded words, quoted-printable and the few charsets mail names. Pure
// text work, shared by the mail reader and the naming fields of a message.
namespace MailEncoding {

// Header name in lower case to trimmed value.
using HeaderMap = QHash<QString, QString>;

// The headers of a header block whose lines end in LF. A line that starts
// with a blank or a tab continues the line before it, joined by one blank. A
// line without a colon or with an empty name is skipped. Of two headers with
// the same name the last stands.
HeaderMap parsedHeaders(QStringView block);

// Encoded words ("=?utf-8?b?...?=", "=?iso-8859-1?q?...?=") replaced by their
// text; a word that does not decode stays as written, and the blanks between
// two words stay too.
QString decodedHeaderWords(const QString &text);

// "=" with two hexadecimal digits is that byte, "=" at the end of a line is a
// soft break and goes with its line end; every other byte, a lone "=" too,
// stands.
QByteArray quotedPrintableDecoded(QByteArrayView bytes);

// The bytes as text in the charset a mail names: UTF-8, ASCII, Latin-1,
// Windows-1252 or UTF-16 (big-endian unless a byte-order mark says
// otherwise); any other name, or none, reads as UTF-8. None when the bytes
// are not valid in it.
std::optional<QString> decodedInCharset(const QByteArray &bytes, QStringView charset);

} // namespace MailEncoding

} // namespace Nomly
