#include "backend/providerfailure.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace Nomly {

namespace {

// The codes, types and statuses the providers put in their error bodies:
// OpenAI and Groq `error.code` and `error.type`, Anthropic `error.type`,
// Google `error.status` and the `reason` of its details.
QStringList codeWordsOf(const QJsonObject &body)
{
    QStringList words;
    const auto add = [&words](const QJsonValue &value) {
        if (value.isString() && !value.toString().isEmpty())
            words.append(value.toString().toLower());
    };
    const QJsonObject error = body.value(QLatin1StringView("error")).toObject();
    add(error.value(QLatin1StringView("code")));
    add(error.value(QLatin1StringView("type")));
    add(error.value(QLatin1StringView("status")));
    for (const QJsonValue &detail : error.value(QLatin1StringView("details")).toArray())
        add(detail.toObject().value(QLatin1StringView("reason")));
    add(body.value(QLatin1StringView("code")));
    add(body.value(QLatin1StringView("error")));
    return words;
}

QString messageOf(const QJsonObject &body)
{
    const QJsonValue error = body.value(QLatin1StringView("error"));
    if (error.isObject())
        return error.toObject().value(QLatin1StringView("message")).toString().toLower();
    return body.value(QLatin1StringView("message")).toString().toLower();
}

bool containsAny(const QString &text, std::initializer_list<QLatin1StringView> needles)
{
    for (QLatin1StringView needle : needles) {
        if (text.contains(needle))
            return true;
    }
    return false;
}

// A spent balance or a spend limit, which waiting does not cure. Rate limits
// of Google also speak of "quota" (per minute), so only billing words count.
bool isQuotaExhausted(const QStringList &words, const QString &message)
{
    static const QStringList QuotaCodes {
        QStringLiteral("insufficient_quota"),           QStringLiteral("billing_error"),
        QStringLiteral("credit_balance_exhausted"),     QStringLiteral("organization_spend_limit_exceeded"),
        QStringLiteral("project_spend_limit_exceeded"), QStringLiteral("organization_usage_limit_exceeded"),
        QStringLiteral("blocked_api_access"),           QStringLiteral("spend_limit_reached"),
    };
    for (const QString &word : words) {
        if (QuotaCodes.contains(word))
            return true;
    }
    // OpenAI's rate limit messages link to the billing page.
    if (words.contains(QStringLiteral("rate_limit_exceeded")))
        return false;
    return containsAny(message,
                       { QLatin1StringView("billing"),
                         QLatin1StringView("credit balance"),
                         QLatin1StringView("spend limit"),
                         QLatin1StringView("current quota"),
                         QLatin1StringView("quota is exhausted") });
}

bool isInvalidKey(const QStringList &words)
{
    return words.contains(QStringLiteral("api_key_invalid")) || words.contains(QStringLiteral("invalid_api_key"))
        || words.contains(QStringLiteral("authentication_error"));
}

QString quotaText(BackendProvider provider)
{
    switch (provider) {
    case BackendProvider::OpenAI:
        return QStringLiteral("OpenAI quota is exhausted. Add billing or credits in OpenAI, then retry.");
    case BackendProvider::Gemini:
        return QStringLiteral("Gemini quota is exhausted. Check Google AI quota or billing, then retry.");
    case BackendProvider::Claude:
        return QStringLiteral(
            "Claude credit balance is too low. Add credits in Anthropic Plans & Billing, then retry.");
    case BackendProvider::Groq:
        return QStringLiteral("Groq spend limit is reached. Increase the spend limit in Groq Billing, then retry.");
    case BackendProvider::Ollama:
    case BackendProvider::OpenAICompatible:
        break;
    }
    return {};
}

// The text for a status, with %1 where the provider's name goes.
QString statusTemplate(int status)
{
    switch (status) {
    case 401:
        return QStringLiteral("Invalid %1 API key. Please double-check and try again.");
    case 403:
        return QStringLiteral("Your %1 API key doesn't have the required permissions.");
    case 404:
        return QStringLiteral(
            "%1 model is not available for this API key. Check the selected BYOK model or provider access.");
    case 413:
        return QStringLiteral("%1 rejected this file because the request is too large. Try a smaller file.");
    case 429:
        return QStringLiteral("%1 is rate limiting — try again in a moment");
    case 504:
        return QStringLiteral("%1 request timed out. Please retry.");
    default:
        break;
    }
    // 529 is Anthropic's "overloaded".
    if (status >= 500)
        return QStringLiteral("%1 is temporarily unavailable. Wait a moment, then retry.");
    if (status >= 400)
        return QStringLiteral("%1 analysis failed. Check your provider account and retry.");
    return QStringLiteral("%1 analysis failed. Please try again.");
}

} // namespace

QString providerFailureText(BackendProvider provider, const ProviderFailure &failure)
{
    const QString name = providerDisplayName(provider);
    switch (failure.kind) {
    case ProviderFailure::Kind::TimedOut:
        return QStringLiteral("%1 request timed out. Please retry.").arg(name);
    case ProviderFailure::Kind::Dropped:
        return QStringLiteral("%1 analysis failed. Please try again.").arg(name);
    case ProviderFailure::Kind::Status:
        break;
    }
    const QJsonObject body = QJsonDocument::fromJson(failure.body).object();
    const QStringList words = codeWordsOf(body);
    const QString message = messageOf(body);
    const int status = failure.status;
    if (status >= 400 && status < 500 && status != 401 && isQuotaExhausted(words, message)) {
        if (const QString text = quotaText(provider); !text.isEmpty())
            return text;
    }
    // Google answers a wrong key with 400 and the reason API_KEY_INVALID.
    if (status == 400 && isInvalidKey(words))
        return statusTemplate(401).arg(name);
    return statusTemplate(status).arg(name);
}

bool refusesKey(const ProviderFailure &failure)
{
    if (failure.kind != ProviderFailure::Kind::Status)
        return false;
    if (failure.status == 401 || failure.status == 403)
        return true;
    return failure.status == 400 && isInvalidKey(codeWordsOf(QJsonDocument::fromJson(failure.body).object()));
}

QString providerFailureSummary(BackendProvider provider, const ProviderFailure &failure)
{
    QStringList items { QStringLiteral("provider=") + providerName(provider) };
    switch (failure.kind) {
    case ProviderFailure::Kind::TimedOut:
        items.append(QStringLiteral("timed_out"));
        break;
    case ProviderFailure::Kind::Dropped:
        items.append(QStringLiteral("dropped"));
        break;
    case ProviderFailure::Kind::Status:
        items.append(QStringLiteral("status=") + QString::number(failure.status));
        items.append(QStringLiteral("body_bytes=") + QString::number(failure.body.size()));
        break;
    }
    // Code words only: machine words of the provider, no user content.
    for (const QString &word : codeWordsOf(QJsonDocument::fromJson(failure.body).object())) {
        if (word.size() <= 64 && !word.contains(QLatin1Char(' ')))
            items.append(QStringLiteral("code=") + word);
    }
    return items.join(QLatin1Char(' '));
}

} // namespace Nomly
