#pragma once

#include <QString>
#include <chrono>
#include <optional>

namespace Nomly {

// Holds the key checks of the settings back for a while after a provider
// said it is asked too often, so that pressing "Test" again cannot make the
// limit last longer. Times are the caller's, so that a clock change can't
// end or stretch the wait.
class KeyCheckCooldown final
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::seconds Duration { 30 };

    // Whether a failure's description is a provider's rate limit.
    static bool saysRateLimited(const QString &description);

    void start(Clock::time_point now) { m_until = now + Duration; }

    // Whole seconds left, rounded up; 0 once the wait is over.
    qint64 remainingSeconds(Clock::time_point now) const;

    bool isActive(Clock::time_point now) const { return remainingSeconds(now) > 0; }

    // What a refused check says, with the seconds left; none when a check
    // may run.
    std::optional<QString> refusal(Clock::time_point now) const;

private:
    std::optional<Clock::time_point> m_until;
};

} // namespace Nomly
