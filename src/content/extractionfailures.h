#pragma once

#include <QString>

// The reasons extraction gives for a file it could not read, as the user
// reads them; every reader that fails the same way says the same.
namespace Nomly::ExtractionFailures {

inline const QString FileNotFound = QStringLiteral("File not found");
inline const QString NotRegularFile = QStringLiteral("Not a regular file");
inline const QString FailedToRead = QStringLiteral("Failed to read file");
inline const QString NoReadableText = QStringLiteral("No readable text found");
inline const QString FailedToReadPdf = QStringLiteral("Failed to read PDF");
inline const QString PdfLocked = QStringLiteral("PDF is password protected");

} // namespace Nomly::ExtractionFailures
