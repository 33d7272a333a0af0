#include "workflows/providerrefusal.h"

#include <QStringList>
#include <QStringView>

namespace Nomly {

namespace {

struct RefusalWords
{
    QStringList needles; // lower case
    const char *reason;
};

// Looked up in this order. Besides the providers' usual words, the texts our
// own routes give for the same refusals.
const RefusalWords Refusals[] = {
    { { QStringLiteral("quota is exhausted"),
        QStringLiteral("insufficient_quota"),
        QStringLiteral("exceeded your current quota"),
        QStringLiteral("credit balance is too low"),
        QStringLiteral("spend limit is reached") },
      "provider_quota_exhausted" },
    { { QStringLiteral("api key was rejected"),
        QStringLiteral("incorrect api key"),
        QStringLiteral("invalid api key"),
        QStringLiteral("authentication"),
        QStringLiteral("unauthorized"),
        QStringLiteral("permission denied"),
        QStringLiteral("byok_sync_required"),
        QStringLiteral("missing saved"),
        QStringLiteral("doesn't have the required permissions"),
        QStringLiteral("endpoint rejected the request") },
      "provider_auth_failed" },
    { { QStringLiteral("model is not available"),
        QStringLiteral("model not found"),
        QStringLiteral("unsupported model"),
        QStringLiteral("does not have access"),
        QStringLiteral("is not installed") },
      "provider_model_unavailable" },
};

// "Invalid OpenAI API key": the provider's name stands between the words.
bool namesAnInvalidKey(QStringView text)
{
    const qsizetype invalid = text.indexOf(u"invalid ");
    return invalid >= 0 && text.indexOf(u" api key", invalid) > invalid;
}

} // namespace

std::optional<QString> providerRefusalReason(const QString &failureText)
{
    const QString text = failureText.trimmed().toLower();
    for (const RefusalWords &refusal : Refusals) {
        for (const QString &needle : refusal.needles) {
            if (text.contains(needle))
                return QString::fromLatin1(refusal.reason);
        }
    }
    if (namesAnInvalidKey(text))
        return QStringLiteral("provider_auth_failed");
    return std::nullopt;
}

} // namespace Nomly
