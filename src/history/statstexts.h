#pragma once

#include <QLocale>
#include <QString>

namespace Nomly {

// The statistics' numbers as the screen and the terminal say them, in the
// units and number forms of a locale.
namespace StatsTexts {

// Each rename is taken to save this much of naming by hand.
inline constexpr qint64 SecondsSavedPerRename = 10;

// "50 sec", "1 min", "3.3 hr", "100 hr", "5 days": seconds below a
// minute, minutes (one decimal below ten) below an hour, hours (one decimal
// below ten) below a hundred, then whole days.
QString duration(qint64 seconds, const QLocale &locale = {});
// "↑ +3 this month", "↓ -1.2K this month"; empty at 0.
QString monthDelta(qint64 delta, const QLocale &locale = {});
// "1 day", "12 days".
QString days(qint64 count);
// The Monitor's share of all renames, rounded; 0 without renames.
int monitorSharePercent(qint64 monitorCount, qint64 totalRenamed);

} // namespace StatsTexts

} // namespace Nomly
