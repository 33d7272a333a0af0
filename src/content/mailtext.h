#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// What a saved mail message says, for the AI: its subject, with encoded
// words decoded, and the text of its readable parts. The plain text parts
// when there are any, else the HTML parts as text; each part decoded by its
// transfer encoding and charset, and counted only with enough text of its
// own; attachments and other types left out. Multipart bodies are walked to
// their leaves. Normalised; none when no part has enough text.
std::optional<QString> mailText(const QString &message);

// The same for the first messages of an mbox mailbox, each beginning at a
// line that starts with "From ", joined by a blank line; none when none of
// them has enough text.
std::optional<QString> mailboxText(const QString &mailbox);

} // namespace Nomly
