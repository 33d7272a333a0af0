#pragma once

#include <QWidget>

class QChart;
class QDateTimeAxis;
class QLineSeries;
class QComboBox;
class QLabel;
class QStackedWidget;
class QValueAxis;

namespace Nomly {

class StatisticsViewModel;
struct StatsSnapshot;

// What Nomly has done: the totals, the streak, a chart of renames per day
// over a chosen period, the file types and the top extensions. Reloads when
// shown and whenever the renames change.
class StatisticsTab final : public QWidget
{
    Q_OBJECT

public:
    explicit StatisticsTab(StatisticsViewModel &statistics, QWidget *parent = nullptr);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void present(const StatsSnapshot &snapshot);

    StatisticsViewModel &m_statistics;
    QStackedWidget *m_pages = nullptr;
    QLabel *m_filesRenamed = nullptr;
    QLabel *m_monthDelta = nullptr;
    QLabel *m_fromMonitor = nullptr;
    QLabel *m_monitorShare = nullptr;
    QLabel *m_timeSaved = nullptr;
    QLabel *m_streak = nullptr;
    QLabel *m_longest = nullptr;
    QComboBox *m_period = nullptr;
    QLabel *m_activitySummary = nullptr;
    QChart *m_chart = nullptr;
    QLineSeries *m_days = nullptr;
    QDateTimeAxis *m_dayAxis = nullptr;
    QValueAxis *m_countAxis = nullptr;
    QLabel *m_fileTypes = nullptr;
    QLabel *m_topExtensions = nullptr;
};

} // namespace Nomly
