#include "ai/aiserviceerror.h"

namespace Nomly {

AIServiceError::AIServiceError(Kind kind, QString message, QString reason)
    : m_kind(kind)
    , m_message(std::move(message))
    , m_reason(std::move(reason))
{}

AIServiceError AIServiceError::apiError(QString message)
{
    return AIServiceError(Kind::ApiError, std::move(message), {});
}

AIServiceError AIServiceError::apiErrorWithReason(QString message, QString reason)
{
    return AIServiceError(Kind::ApiErrorWithReason, std::move(message), std::move(reason));
}

AIServiceError AIServiceError::invalidResponse()
{
    return AIServiceError(Kind::InvalidResponse, {}, {});
}

AIServiceError AIServiceError::invalidUrl()
{
    return AIServiceError(Kind::InvalidUrl, {}, {});
}

AIServiceError AIServiceError::validImageNotFound()
{
    return AIServiceError(Kind::ValidImageNotFound, {}, {});
}

AIServiceError AIServiceError::transport(int networkError, QString message)
{
    AIServiceError error(Kind::Transport, std::move(message), {});
    error.m_networkError = networkError;
    return error;
}

std::optional<int> AIServiceError::networkError() const
{
    if (m_kind != Kind::Transport)
        return std::nullopt;
    return m_networkError;
}

std::optional<QString> AIServiceError::reason() const
{
    if (m_kind != Kind::ApiErrorWithReason)
        return std::nullopt;
    return m_reason;
}

QString AIServiceError::text() const
{
    switch (m_kind) {
    case Kind::ApiError:
    case Kind::ApiErrorWithReason:
    case Kind::Transport:
        return m_message.isEmpty() ? QStringLiteral("AI service error") : m_message;
    case Kind::InvalidResponse:
        return QStringLiteral("Invalid server response");
    case Kind::InvalidUrl:
        return QStringLiteral("Invalid API URL");
    case Kind::ValidImageNotFound:
        return QStringLiteral("No valid files to analyze");
    }
    Q_UNREACHABLE();
}

} // namespace Nomly
