#pragma once

#include <QByteArray>
#include <QString>

namespace Nomly {

// The text a user reads for a backend reply other than 200: the reply's own
// message where it carries one a person can read, else the body, else a line
// naming the status. English; translating it is the caller's part.
QString backendErrorMessage(int status, const QByteArray &body);

// Whether a text reads as a machine code ("invalid_key", "quota") rather than
// a sentence.
bool looksLikeMachineCode(const QString &text);

} // namespace Nomly
