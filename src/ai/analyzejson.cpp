#include "ai/analyzejson.h"

#include <QJsonDocument>
#include <QJsonValue>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace Nomly {

namespace {

namespace Key {
constexpr QLatin1StringView DeviceId("device_id");
constexpr QLatin1StringView DeviceSecret("device_secret");
constexpr QLatin1StringView AppVersion("app_version");
constexpr QLatin1StringView Platform("platform");
constexpr QLatin1StringView DistributionChannel("distribution_channel");
constexpr QLatin1StringView ContentKind("content_kind");
constexpr QLatin1StringView Document("document");
constexpr QLatin1StringView Image("image");
constexpr QLatin1StringView Images("images");
constexpr QLatin1StringView Audio("audio");
constexpr QLatin1StringView Text("text");
constexpr QLatin1StringView LocalMetadata("local_metadata");
constexpr QLatin1StringView Filename("filename");
constexpr QLatin1StringView OriginalExtension("original_extension");
constexpr QLatin1StringView MimeType("mime_type");
constexpr QLatin1StringView ImageMimeType("image_mime_type");
constexpr QLatin1StringView PreviewPageNumbers("preview_page_numbers");
constexpr QLatin1StringView PreviewTimestamps("preview_timestamps");
constexpr QLatin1StringView PageCount("page_count");
constexpr QLatin1StringView DurationSeconds("duration_seconds");
constexpr QLatin1StringView Regenerate("regenerate");
constexpr QLatin1StringView Language("language");
constexpr QLatin1StringView ByokEnabled("byok_enabled");
constexpr QLatin1StringView AiProvider("ai_provider");
constexpr QLatin1StringView ApiKey("api_key");
constexpr QLatin1StringView ByokModel("byok_model");
constexpr QLatin1StringView ProviderBaseUrl("provider_base_url");
constexpr QLatin1StringView RejectedTitles("rejected_titles");
constexpr QLatin1StringView RequestedFieldKeys("requested_field_keys");
constexpr QLatin1StringView IncludeDescription("include_description");
constexpr QLatin1StringView IncludeTags("include_tags");
constexpr QLatin1StringView RenamePromptOverride("rename_prompt_override");
constexpr QLatin1StringView TagPromptOverride("tag_prompt_override");

constexpr QLatin1StringView Title("title");
constexpr QLatin1StringView Description("description");
constexpr QLatin1StringView Tags("tags");
constexpr QLatin1StringView Error("error");
constexpr QLatin1StringView Type("type");
constexpr QLatin1StringView Vendor("vendor");
constexpr QLatin1StringView Amount("amount");
constexpr QLatin1StringView Fields("fields");

constexpr QLatin1StringView Results("results");
constexpr QLatin1StringView Timings("timings");
constexpr QLatin1StringView EffectiveProvider("effective_provider");
constexpr QLatin1StringView Db("db");
constexpr QLatin1StringView Ai("ai");
constexpr QLatin1StringView Total("total");
} // namespace Key

// A request's keys in wire order; the body keeps that order, which a QJsonObject
// (sorted by key) cannot.
using OrderedFields = QList<std::pair<QLatin1StringView, QJsonValue>>;

class FieldWriter
{
public:
    void add(QLatin1StringView key, const QJsonValue &value) { fields.append({ key, value }); }

    void add(QLatin1StringView key, const std::optional<QString> &value)
    {
        if (value)
            add(key, QJsonValue(*value));
    }

    void add(QLatin1StringView key, const std::optional<QByteArray> &value)
    {
        if (value)
            add(key, QJsonValue(QString::fromLatin1(value->toBase64())));
    }

    void add(QLatin1StringView key, const std::optional<QList<QByteArray>> &value)
    {
        if (!value)
            return;
        QJsonArray array;
        for (const QByteArray &bytes : *value)
            array.append(QString::fromLatin1(bytes.toBase64()));
        add(key, array);
    }

    void add(QLatin1StringView key, const std::optional<QStringList> &value)
    {
        if (value)
            add(key, QJsonArray::fromStringList(*value));
    }

    template<typename Number> void add(QLatin1StringView key, const std::optional<QList<Number>> &value)
    {
        if (!value)
            return;
        QJsonArray array;
        for (const Number number : *value)
            array.append(number);
        add(key, array);
    }

    template<typename Scalar> void add(QLatin1StringView key, const std::optional<Scalar> &value)
    {
        if (value)
            add(key, QJsonValue(*value));
    }

    // The two output flags only ever say "leave it out"; true is the default
    // and is not sent.
    void addOnlyFalse(QLatin1StringView key, const std::optional<bool> &value)
    {
        if (value == false)
            add(key, QJsonValue(false));
    }

    OrderedFields fields;
};

OrderedFields orderedFields(const AnalyzeRequest &request)
{
    FieldWriter out;
    out.add(Key::DeviceId, QJsonValue(request.deviceId));
    out.add(Key::DeviceSecret, QJsonValue(request.deviceSecret));
    out.add(Key::AppVersion, request.appVersion);
    out.add(Key::Platform, request.platform);
    out.add(Key::DistributionChannel, request.distributionChannel);
    out.add(Key::ContentKind, request.contentKind);
    out.add(Key::Document, request.document);
    out.add(Key::Image, request.image);
    out.add(Key::Images, request.images);
    out.add(Key::Audio, request.audio);
    out.add(Key::Text, request.text);
    out.add(Key::LocalMetadata, request.localMetadata);
    out.add(Key::Filename, request.filename);
    out.add(Key::OriginalExtension, request.originalExtension);
    out.add(Key::MimeType, QJsonValue(request.mimeType));
    out.add(Key::ImageMimeType, request.imageMimeType);
    out.add(Key::PreviewPageNumbers, request.previewPageNumbers);
    out.add(Key::PreviewTimestamps, request.previewTimestamps);
    out.add(Key::PageCount, request.pageCount);
    out.add(Key::DurationSeconds, request.durationSeconds);
    out.add(Key::Regenerate, request.regenerate);
    out.add(Key::Language, request.language);
    out.add(Key::ByokEnabled, request.byokEnabled);
    out.add(Key::AiProvider, request.aiProvider);
    out.add(Key::ApiKey, request.apiKey);
    out.add(Key::ByokModel, request.byokModel);
    out.add(Key::ProviderBaseUrl, request.providerBaseUrl);
    out.add(Key::RejectedTitles, request.rejectedTitles);
    out.add(Key::RequestedFieldKeys, request.requestedFieldKeys);
    out.addOnlyFalse(Key::IncludeDescription, request.includeDescription);
    out.addOnlyFalse(Key::IncludeTags, request.includeTags);
    out.add(Key::RenamePromptOverride, request.renamePromptOverride);
    out.add(Key::TagPromptOverride, request.tagPromptOverride);
    return out.fields;
}

QByteArray compactJson(const QJsonValue &value)
{
    // QJsonDocument only writes containers: write the value as a one-element
    // array and take the brackets off.
    const QByteArray wrapped = QJsonDocument(QJsonArray { value }).toJson(QJsonDocument::Compact);
    return wrapped.mid(1, wrapped.size() - 2);
}

QByteArray orderedObject(const OrderedFields &fields)
{
    QByteArray out = "{";
    for (const auto &[key, value] : fields) {
        if (out.size() > 1)
            out += ',';
        out += compactJson(QJsonValue(QString(key)));
        out += ':';
        out += compactJson(value);
    }
    out += '}';
    return out;
}

// Converters from one JSON value; nullopt when the value has the wrong type.
std::optional<QString> asString(const QJsonValue &value)
{
    return value.isString() ? std::optional<QString>(value.toString()) : std::nullopt;
}

std::optional<bool> asBool(const QJsonValue &value)
{
    return value.isBool() ? std::optional<bool>(value.toBool()) : std::nullopt;
}

std::optional<double> asDouble(const QJsonValue &value)
{
    return value.isDouble() ? std::optional<double>(value.toDouble()) : std::nullopt;
}

std::optional<int> asInt(const QJsonValue &value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (number != std::floor(number) || number < std::numeric_limits<int>::min()
        || number > std::numeric_limits<int>::max())
        return std::nullopt;
    return static_cast<int>(number);
}

// Milliseconds from a server clock may carry fractions; they are rounded.
std::optional<qint64> asMilliseconds(const QJsonValue &value)
{
    if (!value.isDouble() || !std::isfinite(value.toDouble()))
        return std::nullopt;
    return static_cast<qint64>(std::llround(value.toDouble()));
}

std::optional<QByteArray> asBase64(const QJsonValue &value)
{
    if (!value.isString())
        return std::nullopt;
    auto decoded = QByteArray::fromBase64Encoding(value.toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return std::move(*decoded);
}

template<auto Convert>
auto asList(const QJsonValue &value) -> std::optional<QList<typename decltype(Convert(QJsonValue()))::value_type>>
{
    using Element = typename decltype(Convert(QJsonValue()))::value_type;
    if (!value.isArray())
        return std::nullopt;
    QList<Element> list;
    for (const QJsonValue &element : value.toArray()) {
        std::optional<Element> converted = Convert(element);
        if (!converted)
            return std::nullopt;
        list.append(std::move(*converted));
    }
    return list;
}

std::optional<QStringList> asStringList(const QJsonValue &value)
{
    auto list = asList<asString>(value);
    return list ? std::optional<QStringList>(QStringList(std::move(*list))) : std::nullopt;
}

std::optional<QMap<QString, QString>> asStringMap(const QJsonValue &value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    QMap<QString, QString> map;
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!it.value().isString())
            return std::nullopt;
        map.insert(it.key(), it.value().toString());
    }
    return map;
}

// Reads the keys of one object and keeps the first key that failed. An absent
// key and an explicit null both leave the field as it is.
class FieldReader
{
public:
    explicit FieldReader(const QJsonObject &json)
        : m_json(json)
    {}

    template<typename T, typename Convert>
    void read(QLatin1StringView key, std::optional<T> &field, Convert convert, const char *expected)
    {
        const QJsonValue value = m_json.value(key);
        if (value.isUndefined() || value.isNull() || m_failure)
            return;
        std::optional<T> converted = convert(value);
        if (!converted) {
            m_failure = Failure { QStringLiteral("The key \"%1\" does not hold %2").arg(key, QLatin1String(expected)) };
            return;
        }
        field = std::move(converted);
    }

    template<typename T, typename Convert>
    void read(QLatin1StringView key, T &field, Convert convert, const char *expected)
    {
        std::optional<T> value;
        read(key, value, convert, expected);
        if (value)
            field = std::move(*value);
    }

    const std::optional<Failure> &failure() const { return m_failure; }

private:
    const QJsonObject &m_json;
    std::optional<Failure> m_failure;
};

constexpr const char *AString = "a string";
constexpr const char *ABool = "true or false";
constexpr const char *ANumber = "a number";
constexpr const char *AnInteger = "a whole number";
constexpr const char *Base64 = "valid base64";
constexpr const char *Base64List = "a list of valid base64 strings";
constexpr const char *AStringList = "a list of strings";
constexpr const char *AnIntegerList = "a list of whole numbers";
constexpr const char *ANumberList = "a list of numbers";
constexpr const char *AStringMap = "an object of strings";

Result<QJsonDocument> parsed(const QByteArray &body)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError)
        return Failure { QStringLiteral("The body is not JSON: ") + error.errorString() };
    return document;
}

} // namespace

QJsonObject toJson(const AnalyzeRequest &request)
{
    QJsonObject json;
    for (const auto &[key, value] : orderedFields(request))
        json.insert(key, value);
    return json;
}

QJsonObject toJson(const AnalyzeResponse &response)
{
    QJsonObject json;
    const auto insertString = [&json](QLatin1StringView key, const std::optional<QString> &value) {
        if (value)
            json.insert(key, *value);
    };
    insertString(Key::Title, response.title);
    insertString(Key::Description, response.description);
    if (response.tags)
        json.insert(Key::Tags, QJsonArray::fromStringList(*response.tags));
    insertString(Key::Error, response.error);
    insertString(Key::Type, response.type);
    insertString(Key::Vendor, response.vendor);
    insertString(Key::Amount, response.amount);
    if (response.fields) {
        QJsonObject fields;
        for (auto it = response.fields->cbegin(); it != response.fields->cend(); ++it)
            fields.insert(it.key(), it.value());
        json.insert(Key::Fields, fields);
    }
    return json;
}

QJsonObject toJson(const BatchAnalyzeResponse &response)
{
    QJsonArray results;
    for (const AnalyzeResponse &result : response.results)
        results.append(toJson(result));
    QJsonObject json { { Key::Results, results } };
    if (response.timings) {
        json.insert(Key::Timings,
                    QJsonObject {
                        { Key::Db, response.timings->db },
                        { Key::Ai, response.timings->ai },
                        { Key::Total, response.timings->total },
                    });
    }
    if (response.effectiveProvider)
        json.insert(Key::EffectiveProvider, *response.effectiveProvider);
    return json;
}

QByteArray analyzeRequestBody(const QList<AnalyzeRequest> &requests)
{
    QByteArray body = "[";
    for (const AnalyzeRequest &request : requests) {
        if (body.size() > 1)
            body += ',';
        body += orderedObject(orderedFields(request));
    }
    body += ']';
    return body;
}

Result<AnalyzeRequest> analyzeRequestFromJson(const QJsonObject &json)
{
    AnalyzeRequest request;
    FieldReader in(json);
    in.read(Key::DeviceId, request.deviceId, asString, AString);
    in.read(Key::DeviceSecret, request.deviceSecret, asString, AString);
    in.read(Key::AppVersion, request.appVersion, asString, AString);
    in.read(Key::Platform, request.platform, asString, AString);
    in.read(Key::DistributionChannel, request.distributionChannel, asString, AString);
    in.read(Key::ContentKind, request.contentKind, asString, AString);
    in.read(Key::Document, request.document, asBase64, Base64);
    in.read(Key::Image, request.image, asBase64, Base64);
    in.read(Key::Images, request.images, asList<asBase64>, Base64List);
    in.read(Key::Audio, request.audio, asBase64, Base64);
    in.read(Key::Text, request.text, asString, AString);
    in.read(Key::LocalMetadata, request.localMetadata, asString, AString);
    in.read(Key::Filename, request.filename, asString, AString);
    in.read(Key::OriginalExtension, request.originalExtension, asString, AString);
    in.read(Key::MimeType, request.mimeType, asString, AString);
    in.read(Key::ImageMimeType, request.imageMimeType, asString, AString);
    in.read(Key::PreviewPageNumbers, request.previewPageNumbers, asList<asInt>, AnIntegerList);
    in.read(Key::PreviewTimestamps, request.previewTimestamps, asList<asDouble>, ANumberList);
    in.read(Key::PageCount, request.pageCount, asInt, AnInteger);
    in.read(Key::DurationSeconds, request.durationSeconds, asDouble, ANumber);
    in.read(Key::Regenerate, request.regenerate, asBool, ABool);
    in.read(Key::Language, request.language, asString, AString);
    in.read(Key::ByokEnabled, request.byokEnabled, asBool, ABool);
    in.read(Key::AiProvider, request.aiProvider, asString, AString);
    in.read(Key::ApiKey, request.apiKey, asString, AString);
    in.read(Key::ByokModel, request.byokModel, asString, AString);
    in.read(Key::ProviderBaseUrl, request.providerBaseUrl, asString, AString);
    in.read(Key::RejectedTitles, request.rejectedTitles, asStringList, AStringList);
    in.read(Key::RequestedFieldKeys, request.requestedFieldKeys, asStringList, AStringList);
    in.read(Key::IncludeDescription, request.includeDescription, asBool, ABool);
    in.read(Key::IncludeTags, request.includeTags, asBool, ABool);
    in.read(Key::RenamePromptOverride, request.renamePromptOverride, asString, AString);
    in.read(Key::TagPromptOverride, request.tagPromptOverride, asString, AString);
    if (in.failure())
        return *in.failure();
    return request;
}

Result<QList<AnalyzeRequest>> analyzeRequestsFromBody(const QByteArray &body)
{
    const Result<QJsonDocument> document = parsed(body);
    if (!document)
        return document.failure();
    if (!document.value().isArray())
        return Failure { QStringLiteral("The body is not a JSON array") };
    QList<AnalyzeRequest> requests;
    const QJsonArray array = document.value().array();
    for (qsizetype i = 0; i < array.size(); ++i) {
        if (!array.at(i).isObject())
            return Failure { QStringLiteral("Request %1 is not a JSON object").arg(i) };
        Result<AnalyzeRequest> request = analyzeRequestFromJson(array.at(i).toObject());
        if (!request)
            return Failure { QStringLiteral("Request %1: %2").arg(i).arg(request.error()) };
        requests.append(std::move(request).value());
    }
    return requests;
}

Result<AnalyzeResponse> analyzeResponseFromJson(const QJsonObject &json)
{
    AnalyzeResponse response;
    FieldReader in(json);
    in.read(Key::Title, response.title, asString, AString);
    in.read(Key::Description, response.description, asString, AString);
    in.read(Key::Tags, response.tags, asStringList, AStringList);
    in.read(Key::Error, response.error, asString, AString);
    in.read(Key::Type, response.type, asString, AString);
    in.read(Key::Vendor, response.vendor, asString, AString);
    in.read(Key::Amount, response.amount, asString, AString);
    in.read(Key::Fields, response.fields, asStringMap, AStringMap);
    if (in.failure())
        return *in.failure();
    return response;
}

Result<BatchAnalyzeResponse> batchAnalyzeResponseFromBody(const QByteArray &body)
{
    const Result<QJsonDocument> document = parsed(body);
    if (!document)
        return document.failure();
    if (!document.value().isObject())
        return Failure { QStringLiteral("The body is not a JSON object") };
    const QJsonObject json = document.value().object();

    const QJsonValue results = json.value(Key::Results);
    if (!results.isArray())
        return Failure { QStringLiteral("The key \"results\" is missing or is not a list") };
    BatchAnalyzeResponse response;
    const QJsonArray array = results.toArray();
    for (qsizetype i = 0; i < array.size(); ++i) {
        if (!array.at(i).isObject())
            return Failure { QStringLiteral("Result %1 is not a JSON object").arg(i) };
        Result<AnalyzeResponse> result = analyzeResponseFromJson(array.at(i).toObject());
        if (!result)
            return Failure { QStringLiteral("Result %1: %2").arg(i).arg(result.error()) };
        response.results.append(std::move(result).value());
    }

    FieldReader in(json);
    const QJsonValue timings = json.value(Key::Timings);
    if (timings.isObject()) {
        const QJsonObject timingsJson = timings.toObject();
        FieldReader inTimings(timingsJson);
        ServerTimings read;
        inTimings.read(Key::Db, read.db, asMilliseconds, ANumber);
        inTimings.read(Key::Ai, read.ai, asMilliseconds, ANumber);
        inTimings.read(Key::Total, read.total, asMilliseconds, ANumber);
        if (inTimings.failure())
            return *inTimings.failure();
        response.timings = read;
    } else if (!timings.isUndefined() && !timings.isNull()) {
        return Failure { QStringLiteral("The key \"timings\" does not hold an object") };
    }
    in.read(Key::EffectiveProvider, response.effectiveProvider, asString, AString);
    if (in.failure())
        return *in.failure();
    return response;
}

} // namespace Nomly
