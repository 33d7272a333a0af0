#include "content/textrecognizer.h"

#include <QCoreApplication>
#include <QSet>
#include <algorithm>
#include <memory>
#include <mutex>

#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>

#include "content/contenttext.h"
#include "content/extractionlimits.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace Limits = ExtractionLimits;

namespace {

void releaseEngine();

// The engine is not thread-safe and costly to set up, so there is one,
// behind a lock, made on first use.
struct Engine
{
    std::mutex lock;
    std::unique_ptr<tesseract::TessBaseAPI> api;
    bool tried = false;

    tesseract::TessBaseAPI *ready()
    {
        if (!tried) {
            tried = true;
            auto made = std::make_unique<tesseract::TessBaseAPI>();
            if (made->Init(nullptr, "eng") == 0) {
                api = std::move(made);
                if (QCoreApplication::instance())
                    qAddPostRoutine(releaseEngine);
            } else
                qCWarning(lcProcessing) << "Image OCR failed: the English OCR data is not installed";
        }
        return api.get();
    }
};

Engine &engine()
{
    static Engine shared;
    return shared;
}

// The engine's data lives in caches of the library that are torn down before
// this file's statics, so the engine is ended while the application still
// exists.
void releaseEngine()
{
    Engine &shared = engine();
    const std::lock_guard guard(shared.lock);
    shared.api.reset();
}

} // namespace

bool TextRecognizer::isAvailable()
{
    Engine &shared = engine();
    const std::lock_guard guard(shared.lock);
    return shared.ready() != nullptr;
}

QList<RecognizedLine> TextRecognizer::recognizedLines(const QImage &image)
{
    QList<RecognizedLine> lines;
    if (image.isNull())
        return lines;
    // Text in a photograph stays legible at this size, and recognition time
    // and its false readings of texture both grow with the pixel count.
    constexpr int MaxEdge = 2500;
    QImage bounded = image;
    if (std::max(image.width(), image.height()) > MaxEdge)
        bounded = image.scaled(MaxEdge, MaxEdge, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    const QImage gray = bounded.convertToFormat(QImage::Format_Grayscale8);
    Engine &shared = engine();
    const std::lock_guard guard(shared.lock);
    tesseract::TessBaseAPI *api = shared.ready();
    if (!api)
        return lines;
    api->SetImage(gray.constBits(), gray.width(), gray.height(), 1, static_cast<int>(gray.bytesPerLine()));
    // Pictures carry no density the engine can trust; screen and scan text
    // reads best at this one.
    api->SetSourceResolution(300);
    if (api->Recognize(nullptr) != 0) {
        qCWarning(lcProcessing) << "Image OCR failed: recognition did not complete";
        api->Clear();
        return lines;
    }
    const std::unique_ptr<tesseract::ResultIterator> it(api->GetIterator());
    if (it) {
        do {
            const std::unique_ptr<char[]> text(it->GetUTF8Text(tesseract::RIL_TEXTLINE));
            if (!text)
                continue;
            lines.append({ QString::fromUtf8(text.get()).trimmed(), it->Confidence(tesseract::RIL_TEXTLINE) / 100.0 });
        } while (it->Next(tesseract::RIL_TEXTLINE));
    }
    api->Clear();
    return lines;
}

QStringList TextRecognizer::confidentLines(const QList<RecognizedLine> &lines)
{
    QStringList kept;
    for (const RecognizedLine &line : lines) {
        // The engine reads rules, borders and textures as strings of bars
        // and dashes, often with confidence; a line needs two letters or
        // digits to count as text.
        const auto alphanumerics
            = std::count_if(line.text.cbegin(), line.text.cend(), [](QChar c) { return c.isLetterOrNumber(); });
        if (line.confidence >= Limits::OcrMinConfidence && alphanumerics >= 2)
            kept.append(line.text);
    }
    return kept;
}

std::optional<QString> TextRecognizer::reduced(const QStringList &lines)
{
    QStringList kept;
    QSet<QString> seen;
    for (const QString &line : lines) {
        const QString trimmed = line.trimmed();
        if (trimmed.size() < 2 || seen.contains(trimmed.toLower()))
            continue;
        seen.insert(trimmed.toLower());
        kept.append(trimmed);
        if (kept.size() == Limits::OcrMaxLines)
            break;
    }
    const QString text = normalizedText(kept.join(u'\n'));
    if (!isReadableText(text))
        return std::nullopt;
    return cutText(text, Limits::OcrMaxCharacters);
}

std::optional<QString> TextRecognizer::recognize(const QImage &image)
{
    return reduced(confidentLines(recognizedLines(image)));
}

std::optional<QString> TextRecognizer::recognize(const QList<QImage> &images)
{
    const QList<QImage> batch
        = images.size() <= Limits::OcrImagesPerBatch ? images : images.first(Limits::OcrImagesPerBatch);
    QStringList lines;
    for (const QImage &image : batch) {
        if (image.isNull())
            continue;
        if (const auto text = recognize(image))
            lines.append(text->split(u'\n'));
    }
    return reduced(lines);
}

} // namespace Nomly
