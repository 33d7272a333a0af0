#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace Nomly {

// The text of a file in the first encoding that decodes it whole: UTF-8,
// UTF-16 (by its byte-order mark, else by the side its zero bytes are on),
// ISO Latin 1, then Windows-1252. Reads at most the first MaxTextFileBytes bytes; a sequence
// cut at that bound is left out rather than spoiling the decode. None when
// the file cannot be read.
std::optional<QString> readTextFile(const QString &path);

// The same ladder over bytes already read; `complete` false says they end
// where the read stopped, not where the file does.
std::optional<QString> decodeText(const QByteArray &bytes, bool complete = true);

// Read text file for a kind with a reader of its own (a mail, a mailbox):
// each decoding of the ladder in turn goes through `reader`, and the first
// result with enough text to count wins. Without one, the text as
// readTextFile gives it.
std::optional<QString> readTextFileThrough(const QString &path, std::optional<QString> (*reader)(const QString &));

} // namespace Nomly
