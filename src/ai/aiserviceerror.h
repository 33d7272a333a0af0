#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// A failure of the analysis layer, with the text the user reads. The default
// is an API error without a message.
class AIServiceError
{
public:
    enum class Kind
    {
        ApiError,
        ApiErrorWithReason,
        InvalidResponse,
        InvalidUrl,
        ValidImageNotFound,
        // The request never got an HTTP answer: refused, dropped, timed out.
        Transport,
    };

    AIServiceError() = default;

    static AIServiceError apiError(QString message);
    // `reason` is a machine word the caller classifies the failure by.
    static AIServiceError apiErrorWithReason(QString message, QString reason);
    static AIServiceError invalidResponse();
    static AIServiceError invalidUrl();
    static AIServiceError validImageNotFound();
    // `networkError` is the QNetworkReply::NetworkError of the failed call;
    // `message` its description.
    static AIServiceError transport(int networkError, QString message);

    Kind kind() const { return m_kind; }

    // Present only for ApiErrorWithReason.
    std::optional<QString> reason() const;
    // Present only for Transport.
    std::optional<int> networkError() const;

    QString text() const;

    bool operator==(const AIServiceError &) const = default;

private:
    AIServiceError(Kind kind, QString message, QString reason);

    Kind m_kind = Kind::ApiError;
    QString m_message;
    QString m_reason;
    int m_networkError = 0;
};

} // namespace Nomly
