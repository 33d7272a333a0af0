#pragma once

#include <QtGlobal>

namespace Nomly::ExtractionLimits {

// Every text handed to the AI is cut to this many characters.
inline constexpr qsizetype MaxTextCharacters = 12'000;
// A text with fewer non-whitespace characters counts as no text.
inline constexpr qsizetype MinReadableCharacters = 20;

// Long PDFs: how many pages are read, which always, from when on.
inline constexpr int PdfPagesRead = 12;
inline constexpr int PdfLeadingPages = 4;
inline constexpr int PdfLongFromPages = 13;
// With at least this many pages of text, each page gets the fixed budget.
inline constexpr int PdfFixedBudgetFromPages = 25;
inline constexpr qsizetype PdfFixedPageBudget = 500;
inline constexpr int PdfPreviewPagesWithText = 3;
inline constexpr int PdfPreviewPagesWithoutText = 5;

inline constexpr qsizetype MaxSidecarCharacters = 6'000;
inline constexpr int DelimitedSampleLines = 6;

inline constexpr int OcrImagesPerBatch = 5;
inline constexpr int OcrMaxLines = 80;
inline constexpr qsizetype OcrMaxCharacters = 3'000;
inline constexpr double OcrMinConfidence = 0.35;

inline constexpr qsizetype MaxLocalMetadataCharacters = 1'600;

// A text file is read up to this many bytes: far more than the characters
// kept, so that only a file that is mostly blank space could lose text.
inline constexpr qint64 MaxTextFileBytes = 8 * 1024 * 1024;

} // namespace Nomly::ExtractionLimits
