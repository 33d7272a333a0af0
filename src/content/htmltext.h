#pragma once

#include <QString>

namespace Nomly {

// The text of an HTML document or fragment: scripts, styles and comments
// gone, line breaks and the ends of paragraphs, blocks, rows, cells, list
// items, headings and tables as line feeds, every other tag as a blank, and
// entities decoded. Not normalised.
QString htmlText(const QString &html);

// "&nbsp;", "&amp;", "&lt;", "&gt;", "&quot;" and "&apos;", in that order,
// then decimal and hexadecimal character references that name a Unicode
// scalar value; any other reference stays as written.
QString decodedHtmlEntities(QString text);

} // namespace Nomly
