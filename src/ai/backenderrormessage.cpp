#include "ai/backenderrormessage.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace Nomly {

bool looksLikeMachineCode(const QString &text)
{
    if (text.isEmpty()) {
        return false;
    }
    bool hasSeparator = false;
    bool hasUpper = false;
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        const bool lower = u >= u'a' && u <= u'z';
        const bool upper = u >= u'A' && u <= u'Z';
        const bool digit = u >= u'0' && u <= u'9';
        const bool separator = u == u'_' || u == u'-';
        if (!lower && !upper && !digit && !separator) {
            return false;
        }
        hasSeparator = hasSeparator || separator;
        hasUpper = hasUpper || upper;
    }
    return hasSeparator || !hasUpper;
}

QString backendErrorMessage(int status, const QByteArray &body)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (document.isObject()) {
        const QJsonObject json = document.object();
        const QJsonValue messageValue = json.value(QLatin1StringView("message"));
        const QString message = messageValue.isString() ? messageValue.toString().trimmed() : QString();
        const QJsonValue error = json.value(QLatin1StringView("error"));
        if (error.isObject()) {
            const QJsonValue nested = error.toObject().value(QLatin1StringView("message"));
            if (nested.isString() && !nested.toString().trimmed().isEmpty()) {
                return nested.toString();
            }
        }
        if (error.isString() && !error.toString().trimmed().isEmpty()) {
            return !message.isEmpty() && looksLikeMachineCode(error.toString()) ? message : error.toString();
        }
        if (!message.isEmpty()) {
            if (message == u"An unexpected error occurred") {
                return QStringLiteral("Backend is not responding. If you're on Local mode, make sure the Supabase "
                                      "edge runtime is running. Otherwise check your network connection.");
            }
            return message;
        }
    }
    const QString text = QString::fromUtf8(body);
    if (!text.trimmed().isEmpty()) {
        return text;
    }
    return QStringLiteral("Backend returned HTTP %1 with no body.").arg(status);
}

} // namespace Nomly
