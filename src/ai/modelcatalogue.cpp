#include "ai/modelcatalogue.h"

#include <QCollator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <QLocale>
#include <algorithm>
#include <array>

#include "naming/naturalorder.h"

namespace Nomly::ModelCatalogue {

namespace {

// Kinds of model that don't answer a picture and a prompt in text: speech,
// pictures, search, agents and the like.
constexpr std::array UnsupportedWords {
    u"antigravity", u"audio-preview", u"banana", u"computer-use", u"custom-tools", u"deep-research", u"dall-e",
    u"embed",       u"embedding",     u"image",  u"imagen",       u"lyria",        u"moderation",    u"native-audio",
    u"realtime",    u"robotics",      u"search", u"transcribe",   u"tts",          u"veo",           u"whisper",
};

constexpr std::array GeminiExact { u"gemini-3.5-flash", u"gemini-3-flash-preview" };
constexpr std::array GeminiFamilies {
    u"gemini-3.1-pro-preview", u"gemini-3.1-flash-lite", u"gemini-2.5-pro",        u"gemini-2.5-flash",
    u"gemini-2.5-flash-lite",  u"gemini-2.0-flash",      u"gemini-2.0-flash-lite",
};
constexpr std::array OpenAIFamilies { u"gpt-4.1", u"gpt-4o" };

constexpr std::array RetiredWords { u"deprecated", u"retired", u"shutdown", u"shut down", u"sunset", u"legacy" };

constexpr qsizetype MaxModelIdLength = 160;

// The model itself or a dated variant of it ("gpt-4o-2024-08-06"), but
// not another model that merely starts alike ("gpt-4.10").
template<size_t N> bool inFamily(const QString &id, const std::array<const char16_t *, N> &families)
{
    return std::any_of(families.begin(), families.end(), [&id](QStringView family) {
        return id == family || (id.startsWith(family) && id.mid(family.size()).startsWith(u'-'));
    });
}

bool saysNoShutdown(const QString &text)
{
    return text.contains(u"no shutdown") || text.contains(u"no shut down");
}

QString lowered(const QJsonObject &record, QLatin1StringView key)
{
    return record.value(key).toString().trimmed().toLower();
}

// One spelling or the other, as vendors differ.
QString eitherSpelling(const QJsonObject &record, QLatin1StringView camel, QLatin1StringView snake)
{
    const QString text = lowered(record, camel);
    return text.isEmpty() ? lowered(record, snake) : text;
}

bool announcesDate(const QString &text)
{
    return !text.isEmpty() && text != u"none" && text != u"null" && !saysNoShutdown(text)
        && !text.contains(u"not announced");
}

bool validId(const QString &id)
{
    if (id.isEmpty() || id.size() > MaxModelIdLength)
        return false;
    return std::all_of(id.begin(), id.end(), [](QChar c) {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9')
            || QStringView(u"._:/-").contains(c);
    });
}

std::optional<ModelOption> option(AIProvider provider, const QJsonObject &record)
{
    const bool gemini = provider == AIProvider::Gemini;
    if (gemini && record.contains(QLatin1StringView("supportedGenerationMethods"))
        && !record.value(QLatin1StringView("supportedGenerationMethods"))
                .toArray()
                .contains(QJsonValue(QStringLiteral("generateContent"))))
        return std::nullopt;
    QString id = record.value(QLatin1StringView("name")).toString().trimmed();
    if (id.isEmpty())
        id = record.value(QLatin1StringView("id")).toString().trimmed();
    if (gemini && id.startsWith(u"models/"))
        id.remove(0, 7);
    if (!validId(id) || isRetired(record) || !isSupported(provider, id))
        return std::nullopt;
    QString name = record.value(QLatin1StringView("displayName")).toString().trimmed();
    if (name.isEmpty())
        name = record.value(QLatin1StringView("display_name")).toString().trimmed();
    return ModelOption { id, name.isEmpty() ? id : name };
}

} // namespace

bool isSupported(AIProvider provider, const QString &modelId)
{
    const QString id = modelId.toLower();
    if (std::any_of(
            UnsupportedWords.begin(), UnsupportedWords.end(), [&id](QStringView word) { return id.contains(word); }))
        return false;
    switch (provider) {
    case AIProvider::Gemini:
        return std::find(GeminiExact.begin(), GeminiExact.end(), QStringView(id)) != GeminiExact.end()
            || inFamily(id, GeminiFamilies);
    case AIProvider::OpenAI:
        return id.startsWith(u"gpt-5") || inFamily(id, OpenAIFamilies);
    case AIProvider::Claude:
        return id.startsWith(u"claude-");
    case AIProvider::Groq:
        return id == u"qwen/qwen3.6-27b";
    case AIProvider::OpenAICompatible:
        // The user's own server lists the models they loaded; which of them
        // can follow the prompt is theirs to know.
        return true;
    }
    return false;
}

bool isRetired(const QJsonObject &record)
{
    const auto flag = [&record](const char *key, bool value) {
        const QJsonValue field = record.value(QLatin1StringView(key));
        return field.isBool() && field.toBool() == value;
    };
    if (flag("deprecated", true) || flag("is_deprecated", true) || flag("active", false))
        return true;

    const std::array<QString, 3> dates {
        eitherSpelling(record, QLatin1StringView("deprecationDate"), QLatin1StringView("deprecation_date")),
        eitherSpelling(record, QLatin1StringView("shutdownDate"), QLatin1StringView("shutdown_date")),
        eitherSpelling(record, QLatin1StringView("retirementDate"), QLatin1StringView("retirement_date")),
    };
    if (std::any_of(dates.begin(), dates.end(), announcesDate))
        return true;

    const std::array<QString, 6> texts {
        eitherSpelling(record, QLatin1StringView("displayName"), QLatin1StringView("display_name")),
        lowered(record, QLatin1StringView("description")),
        lowered(record, QLatin1StringView("status")),
        lowered(record, QLatin1StringView("state")),
        lowered(record, QLatin1StringView("lifecycle")),
        eitherSpelling(record, QLatin1StringView("lifecycleStage"), QLatin1StringView("lifecycle_stage")),
    };
    return std::any_of(texts.begin(), texts.end(), [](const QString &text) {
        return !text.isEmpty() && !saysNoShutdown(text)
            && std::any_of(
                RetiredWords.begin(), RetiredWords.end(), [&text](QStringView word) { return text.contains(word); });
    });
}

std::optional<QList<ModelOption>> modelOptions(AIProvider provider, const QByteArray &reply)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(reply, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QLatin1StringView listKey(provider == AIProvider::Gemini ? "models" : "data");
    const QJsonValue list = document.object().value(listKey);
    if (!list.isUndefined() && !list.isNull() && !list.isArray())
        return std::nullopt;

    QList<ModelOption> options;
    for (const QJsonValue &record : list.toArray()) {
        if (std::optional<ModelOption> each = option(provider, record.toObject()))
            options.append(*each);
    }
    const QCollator collator = naturalOrderCollator();
    std::sort(options.begin(), options.end(), [&collator](const ModelOption &a, const ModelOption &b) {
        return collator.compare(a.id, b.id) < 0;
    });
    return options;
}

} // namespace Nomly::ModelCatalogue
