#pragma once

#include <QString>

namespace Nomly {

// What the last try of a key with its provider found, as the status row of
// the settings shows it.
struct AIConnectionStatus
{
    enum class Kind
    {
        NotTested,
        Testing,
        Ready,
        Warning,
        Failed,
    };

    Kind kind = Kind::NotTested;
    // Why, for a warning or a failure.
    QString message;
    // The provider said it is asked too often.
    bool rateLimited = false;

    QString text() const
    {
        switch (kind) {
        case Kind::NotTested:
            return QStringLiteral("Not tested");
        case Kind::Testing:
            return QStringLiteral("Testing...");
        case Kind::Ready:
            return QStringLiteral("Connection OK");
        case Kind::Warning:
            return message;
        case Kind::Failed:
            return message.isEmpty() ? QStringLiteral("Connection failed") : message;
        }
        return {};
    }

    // The word analytics records for the state.
    QString telemetryWord() const
    {
        static constexpr const char16_t *Words[] = { u"not_tested", u"testing", u"ready", u"warning", u"failed" };
        return QString::fromUtf16(Words[static_cast<int>(kind)]);
    }

    bool operator==(const AIConnectionStatus &) const = default;
};

} // namespace Nomly
