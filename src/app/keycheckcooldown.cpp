#include "app/keycheckcooldown.h"

#include <QCoreApplication>
#include <array>

namespace Nomly {

bool KeyCheckCooldown::saysRateLimited(const QString &description)
{
    static constexpr std::array Words { u"too many requests", u"429", u"wait before trying again" };
    const QString lowered = description.toLower();
    return std::any_of(Words.begin(), Words.end(), [&lowered](QStringView word) { return lowered.contains(word); });
}

qint64 KeyCheckCooldown::remainingSeconds(Clock::time_point now) const
{
    if (!m_until || now >= *m_until)
        return 0;
    const auto left = std::chrono::ceil<std::chrono::seconds>(*m_until - now);
    return left.count();
}

std::optional<QString> KeyCheckCooldown::refusal(Clock::time_point now) const
{
    const qint64 left = remainingSeconds(now);
    if (left == 0)
        return std::nullopt;
    return QCoreApplication::translate("KeyCheckCooldown",
                                       "Too many Cloud AI key checks too quickly. Please wait %1s before trying again.")
        .arg(left);
}

} // namespace Nomly
