#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// The text of an EPUB book: the package document that META-INF/container.xml
// names, then the documents of its spine, in reading order, each as HTML
// text, until 12,000 characters are gathered. Each entry is read up to
// 512,000 bytes. Chapters joined by a blank line, normalised. None when the
// archive, its container or its package cannot be read.
std::optional<QString> epubText(const QString &path);

} // namespace Nomly
