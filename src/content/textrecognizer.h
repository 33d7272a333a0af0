#pragma once

#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// One line that recognition read, with its confidence from 0 to 1.
struct RecognizedLine
{
    QString text;
    double confidence = 0;
};

// Text read from pictures on this machine with the English OCR model. One
// image is recognised at a time, whichever thread asks; the engine is set up
// on first use and kept. Every result is bounded by the OCR limits: lines
// below the confidence floor or repeated are dropped, at most 80 lines and
// 3,000 characters are kept, and fewer than 20 characters count as nothing.
class TextRecognizer final
{
public:
    TextRecognizer() = delete;

    // False when the engine or its English data is missing; recognition
    // then answers nothing.
    static bool isAvailable();

    static std::optional<QString> recognize(const QImage &image);
    // The first five images of a longer list; empty images are passed over;
    // the lines of all go through one reduction.
    static std::optional<QString> recognize(const QList<QImage> &images);

    // The lines recognition read from one image, before any reduction.
    static QList<RecognizedLine> recognizedLines(const QImage &image);

    // The reduction every result goes through, over lines already judged.
    static std::optional<QString> reduced(const QStringList &lines);
    // The lines of one image worth keeping: confident enough, with at least
    // two letters or digits.
    static QStringList confidentLines(const QList<RecognizedLine> &lines);
};

} // namespace Nomly
