#include "ai/analysisprompt.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <array>
#include <cmath>

#include <unicode/uloc.h>

#include "ai/analyzejson.h"
#include "naming/fieldcatalogue.h"
#include "naming/namingpattern.h"
#include "settings/outputlanguage.h"

namespace Nomly {

namespace {

// Enough of the file's text for a small model's context of 2048 tokens.
constexpr qsizetype MaxPromptTextLength = 3000;

QString kindWord(const AnalyzeRequest &request)
{
    const QString kind = request.contentKind.value_or(QString());
    if (kind == u"text")
        return QStringLiteral("Text file");
    if (kind == u"document")
        return QStringLiteral("Document");
    if (kind == u"video")
        return QStringLiteral("Video file");
    if (kind == u"audio")
        return QStringLiteral("Audio file");
    return QStringLiteral("Visual file");
}

QString openingSentence(const AnalyzeRequest &request)
{
    QStringList wanted { QStringLiteral("a short filename title") };
    if (request.wantsDescription())
        wanted.append(QStringLiteral("a brief description"));
    if (request.wantsTags())
        wanted.append(QStringLiteral("Finder tags"));
    wanted.append(QStringLiteral("structured naming metadata"));
    return QStringLiteral("Create ") + wanted.join(QStringLiteral(", ")) + QStringLiteral(" for this ")
        + kindWord(request).toLower() + u'.';
}

QString clockText(double seconds)
{
    if (!std::isfinite(seconds))
        return QStringLiteral("unknown");
    const qint64 whole = std::llround(seconds);
    return QStringLiteral("%1:%2").arg(whole / 60, 2, 10, QLatin1Char('0')).arg(whole % 60, 2, 10, QLatin1Char('0'));
}

QString metadataBlock(const AnalyzeRequest &request)
{
    QStringList lines;
    if (request.filename)
        lines.append(QStringLiteral("Filename: ") + *request.filename);
    if (request.originalExtension)
        lines.append(QStringLiteral("Extension: ") + *request.originalExtension);
    lines.append(QStringLiteral("MIME type: ") + request.mimeType);
    if (request.imageMimeType)
        lines.append(QStringLiteral("Uploaded image MIME type: ") + *request.imageMimeType);
    if (request.pageCount)
        lines.append(QStringLiteral("Page count: ") + QString::number(*request.pageCount));
    if (request.previewPageNumbers) {
        QStringList pages;
        for (const int page : *request.previewPageNumbers)
            pages.append(QString::number(page));
        lines.append(QStringLiteral("Preview pages: ") + pages.join(QStringLiteral(", ")));
    }
    if (request.durationSeconds)
        lines.append(QStringLiteral("Duration: ") + clockText(*request.durationSeconds));
    if (request.previewTimestamps) {
        QStringList frames;
        for (const double seconds : *request.previewTimestamps)
            frames.append(clockText(seconds));
        lines.append(QStringLiteral("Sampled video frames: ") + frames.join(QStringLiteral(", ")));
    }
    if (request.localMetadata)
        lines.append(QStringLiteral("Local file metadata:\n") + *request.localMetadata);
    return lines.join(u'\n');
}

QString extractedText(const AnalyzeRequest &request)
{
    QString text = request.text.value_or(QString()).trimmed();
    if (text.size() > MaxPromptTextLength) {
        qsizetype cut = MaxPromptTextLength;
        // Never leave half of a surrogate pair behind.
        if (text.at(cut - 1).isHighSurrogate())
            --cut;
        text = text.left(cut) + QStringLiteral("\n[truncated]");
    }
    if (text.isEmpty())
        return {};
    return QStringLiteral("\n\nExtracted text:\n") + text;
}

// The snake_case key a requested token stands for: "{Vendor-Name}" and
// "vendor name" read alike, and an alias becomes the field's own name.
QString requestedKey(const QString &raw)
{
    qsizetype begin = 0;
    qsizetype end = raw.size();
    auto isTrimmed = [](QChar c) { return c == u'{' || c == u'}' || c.isSpace(); };
    while (begin < end && isTrimmed(raw.at(begin)))
        ++begin;
    while (end > begin && isTrimmed(raw.at(end - 1)))
        --end;
    QString key = raw.mid(begin, end - begin);
    for (QChar &c : key) {
        if (c == u' ' || c == u'-' || c == u'.')
            c = u'_';
    }
    key = key.toLower();
    const QString name = fieldCatalogue().nameForAlias(key);
    return name.isEmpty() ? key : name;
}

const NamingPatternField *requestedField(const QString &key)
{
    const FieldCatalogue &catalogue = fieldCatalogue();
    if (const std::optional<QString> base = variantBaseName(key)) {
        if (const NamingPatternField *field = catalogue.fieldForToken(u'{' + *base + u'}'))
            return field;
    }
    return catalogue.fieldForAlias(key);
}

struct RequestedFields
{
    QStringList keys;
    QStringList lines;
};

RequestedFields requestedFields(const AnalyzeRequest &request)
{
    RequestedFields requested;
    for (const QString &raw : request.requestedFieldKeys.value_or(QStringList())) {
        const QString key = requestedKey(raw);
        if (key.isEmpty())
            continue;
        requested.keys.append(key);
        if (const NamingPatternField *field = requestedField(key)) {
            requested.lines.append(normalizedFieldName(field->token) + QStringLiteral(": ") + field->label
                                   + QStringLiteral(" - ") + field->description);
        }
    }
    return requested;
}

QString jsonTemplate(const AnalyzeRequest &request, bool withFields)
{
    QStringList members { QStringLiteral(R"("title":"2-6 words")") };
    if (request.wantsDescription())
        members.append(QStringLiteral(R"("description":"brief summary")"));
    if (request.wantsTags())
        members.append(QStringLiteral(R"("tags":["tag1","tag2","tag3"])"));
    members.append(
        QStringLiteral(R"("type":"receipt|invoice|photo|screenshot|document|contract|design|code|video|audio|other")"));
    members.append(QStringLiteral(R"("vendor":"company name if receipt/invoice, else null")"));
    members.append(QStringLiteral(R"("amount":"amount with currency e.g. $42.99 if receipt/invoice, else null")"));
    if (withFields) {
        members.append(QStringLiteral(
            R"("fields":{"patient_name":"visible value when requested","invoice_date":"YYYY-MM-DD when visible"})"));
    }
    return u'{' + members.join(u',') + u'}';
}

QString outputLimitSentence(const AnalyzeRequest &request)
{
    if (request.wantsDescription() && request.wantsTags())
        return {};
    if (request.wantsDescription())
        return QStringLiteral(" Do not analyze or return tags.");
    if (request.wantsTags())
        return QStringLiteral(" Do not analyze or return a description.");
    return QStringLiteral(" Do not analyze or return description or tags.");
}

// Whether the call carries pictures: `images` when not empty, else `image`.
bool sendsImages(const AnalyzeRequest &request)
{
    if (request.images)
        return !request.images->isEmpty();
    return request.image.has_value();
}

QString kindGuidance(const AnalyzeRequest &request)
{
    if (request.contentKind == QStringLiteral("video")) {
        return QStringLiteral(
            " For videos, use exact performer, song, band, celebrity, venue, or event names only when visible/readable "
            "or supplied by metadata/transcript. Recognized audio track context can support exact song/audio-source "
            "metadata. If a Preferred music video title is present and the video is music-centric (music video, lyric "
            "video, concert/live performance, dance/performance clip, or fan edit), use that title exactly. Do not "
            "infer exact names from visual resemblance, genre/style, costume, hairstyle, stage setup, or a lookalike "
            "performer; use a generic accurate role such as live band performance or outdoor music clip when "
            "uncertain.");
    }
    if (request.contentKind == QStringLiteral("image") || sendsImages(request)) {
        return QStringLiteral(
            " For screenshots, identify apps/products from visible UI text, window titles, sidebar labels, URL/title "
            "bars, and distinctive UI chrome. If the image primarily shows a single app icon, logo, or brand mark, "
            "identify the app/product/brand when visible/readable or strongly recognizable, then include that name and "
            "the asset role in the title; avoid generic titles like App Icon, App Logo, or Smiling Face Icon when a "
            "known identity is recognizable. For software, people, places, books, movies, brands, and logos, use exact "
            "proper names only when visible/readable, supplied by metadata, or strongly recognizable; otherwise use a "
            "generic accurate role instead of guessing a specific name.");
    }
    return {};
}

// The English name of a language code ("de" -> "German"), or the code itself
// when ICU doesn't know it.
QString englishLanguageName(const QString &code)
{
    std::array<UChar, 128> name {};
    UErrorCode status = U_ZERO_ERROR;
    const QByteArray locale = code.toUtf8();
    const int32_t length = uloc_getDisplayLanguage(locale.constData(), "en_US", name.data(), name.size(), &status);
    if (U_FAILURE(status) || status == U_USING_DEFAULT_WARNING || length <= 0)
        return code;
    const QString text = QString::fromUtf16(reinterpret_cast<const char16_t *>(name.data()), length);
    return text.isEmpty() ? code : text;
}

QString languageSentence(const AnalyzeRequest &request)
{
    const QString language = request.language.value_or(QString()).trimmed();
    std::optional<QString> code;
    if (!language.isEmpty()) {
        const QLocale locale;
        code = resolvedOutputLanguage(language, locale.uiLanguages(), locale.name());
    }
    if (!code || code->isEmpty()) {
        return QStringLiteral(
            "\nWhen no explicit title language is requested, infer the predominant natural language from the file "
            "content, transcript, visible text, and filename metadata. Write the \"title\" field in that same language "
            "using natural wording. Do not translate non-English source content into English unless English is the "
            "predominant source language or the only reliable source wording is English. Keep exact proper nouns, "
            "brand names, identifiers, product names, and source text in their original language or script.");
    }
    const QString name = englishLanguageName(*code);
    return QStringLiteral("\nThe \"title\" field MUST be written in ") + name + QStringLiteral(". Use natural ") + name
        + QStringLiteral(" wording, not English, unless the subject is a proper noun or brand name.");
}

QString rejectedTitlesSentence(const AnalyzeRequest &request)
{
    if (!request.rejectedTitles || request.rejectedTitles->isEmpty())
        return {};
    return QStringLiteral("\nAvoid these previously rejected titles: ")
        + request.rejectedTitles->join(QStringLiteral(", ")) + u'.';
}

QString additionalInstructions(const AnalyzeRequest &request)
{
    QStringList parts;
    const QString rename = request.renamePromptOverride.value_or(QString()).trimmed();
    if (!rename.isEmpty())
        parts.append(rename);
    if (request.wantsTags()) {
        const QString tags = request.tagPromptOverride.value_or(QString()).trimmed();
        if (!tags.isEmpty())
            parts.append(tags);
    }
    if (parts.isEmpty())
        return {};
    return QStringLiteral("\n\nAdditional instructions:\n") + parts.join(u'\n');
}

std::optional<AnalyzeResponse> decodedAnswer(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    Result<AnalyzeResponse> response = analyzeResponseFromJson(document.object());
    if (!response)
        return std::nullopt;
    return std::move(response).value();
}

// The first object in `text` whose braces balance, braces inside strings not
// counted.
std::optional<QString> firstBalancedObject(const QString &text)
{
    const qsizetype start = text.indexOf(u'{');
    if (start < 0)
        return std::nullopt;
    int depth = 0;
    bool inString = false;
    for (qsizetype i = start; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (inString) {
            if (c == u'\\')
                ++i;
            else if (c == u'"')
                inString = false;
        } else if (c == u'"') {
            inString = true;
        } else if (c == u'{') {
            ++depth;
        } else if (c == u'}') {
            if (--depth == 0)
                return text.mid(start, i - start + 1);
        }
    }
    return std::nullopt;
}

} // namespace

QString analysisPrompt(const AnalyzeRequest &request)
{
    const RequestedFields requested = requestedFields(request);
    const bool withFields = !requested.lines.isEmpty();

    QString prompt = openingSentence(request);
    prompt += u'\n';
    prompt += metadataBlock(request);
    prompt += extractedText(request);
    if (withFields) {
        prompt += QStringLiteral("\nRequested naming fields to extract when visible/certain:\n");
        prompt += requested.lines.join(u'\n');
    }
    prompt += QStringLiteral("\n\nReturn exactly one compact JSON object with these fields:\n");
    prompt += jsonTemplate(request, withFields);
    if (withFields) {
        prompt += QStringLiteral(
            "\nIn fields, prioritize the requested naming fields above. Include only clearly visible/certain values "
            "and only these requested snake_case keys: ");
        prompt += requested.keys.join(QStringLiteral(", "));
        prompt += QStringLiteral(". Omit uncertain or inapplicable fields. Use ISO dates (YYYY-MM-DD) when possible.");
    }
    prompt += QStringLiteral("\nNo markdown. No extra keys. Use null when a top-level field doesn't apply.");
    prompt += outputLimitSentence(request);
    if (request.wantsTags())
        prompt += QStringLiteral(" Avoid color-name tags unless color identifies a product or asset.");
    prompt += kindGuidance(request);
    prompt += languageSentence(request);
    prompt += rejectedTitlesSentence(request);
    prompt += additionalInstructions(request);
    return prompt;
}

std::optional<AnalyzeResponse> parseModelAnswer(const QString &text)
{
    const QString trimmed = text.trimmed();
    std::optional<AnalyzeResponse> answer = decodedAnswer(trimmed.toUtf8());
    if (!answer) {
        if (const std::optional<QString> object = firstBalancedObject(trimmed))
            answer = decodedAnswer(object->toUtf8());
    }
    if (!answer || !answer->title || answer->title->trimmed().isEmpty())
        return std::nullopt;
    return answer;
}

} // namespace Nomly
