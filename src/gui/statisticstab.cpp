#include "gui/statisticstab.h"

#include <QAreaSeries>
#include <QChart>
#include <QChartView>
#include <QComboBox>
#include <QDateTimeAxis>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineSeries>
#include <QLocale>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <QValueAxis>
#include <algorithm>
#include <array>

#include "history/statisticsviewmodel.h"
#include "history/statstexts.h"

namespace Nomly {

namespace {

struct PeriodChoice
{
    const char *title;
    int days; // 0: every day
};

constexpr std::array Periods {
    PeriodChoice { "7 days", 7 },
    PeriodChoice { "30 days", 30 },
    PeriodChoice { "90 days", 90 },
    PeriodChoice { "All time", 0 },
};

QLabel *valueLabel(const QString &name, QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setObjectName(name);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 1.6);
    font.setBold(true);
    label->setFont(font);
    return label;
}

QGroupBox *card(const QString &title, QLabel *value, QLabel *detail, QWidget *parent)
{
    auto *box = new QGroupBox(title, parent);
    auto *column = new QVBoxLayout(box);
    column->addWidget(value);
    column->addWidget(detail);
    detail->setWordWrap(true);
    return box;
}

} // namespace

StatisticsTab::StatisticsTab(StatisticsViewModel &statistics, QWidget *parent)
    : QWidget(parent)
    , m_statistics(statistics)
{
    m_filesRenamed = valueLabel(QStringLiteral("filesRenamed"), this);
    m_monthDelta = new QLabel(this);
    m_monthDelta->setObjectName(QStringLiteral("monthDelta"));
    m_fromMonitor = valueLabel(QStringLiteral("fromMonitor"), this);
    m_monitorShare = new QLabel(this);
    m_monitorShare->setObjectName(QStringLiteral("monitorShare"));
    m_timeSaved = valueLabel(QStringLiteral("timeSaved"), this);
    auto *timeNote = new QLabel(tr("About 10 seconds a file"), this);
    m_streak = valueLabel(QStringLiteral("activeStreak"), this);
    m_longest = new QLabel(this);
    m_longest->setObjectName(QStringLiteral("longestStreak"));

    auto *cards = new QGridLayout;
    cards->addWidget(card(tr("Files renamed"), m_filesRenamed, m_monthDelta, this), 0, 0);
    cards->addWidget(card(tr("From Monitor"), m_fromMonitor, m_monitorShare, this), 0, 1);
    cards->addWidget(card(tr("Time saved"), m_timeSaved, timeNote, this), 0, 2);
    cards->addWidget(card(tr("Active streak"), m_streak, m_longest, this), 0, 3);

    m_period = new QComboBox(this);
    m_period->setObjectName(QStringLiteral("period"));
    for (const PeriodChoice &choice : Periods)
        m_period->addItem(tr(choice.title), choice.days);
    m_activitySummary = new QLabel(this);
    m_activitySummary->setObjectName(QStringLiteral("activitySummary"));

    // A line over the days reads at any period, from a week to years, where
    // a bar and a label per day would crowd.
    m_days = new QLineSeries(this);
    m_days->setName(tr("Files"));
    auto *area = new QAreaSeries(m_days);
    QColor fill = palette().color(QPalette::Highlight);
    area->setPen(QPen(fill, 2));
    fill.setAlphaF(0.35);
    area->setBrush(fill);
    m_chart = new QChart;
    m_chart->addSeries(area);
    m_chart->legend()->hide();
    m_chart->setMargins(QMargins(4, 4, 4, 4));
    m_dayAxis = new QDateTimeAxis;
    m_dayAxis->setFormat(QLocale().dateFormat(QLocale::ShortFormat));
    m_countAxis = new QValueAxis;
    m_countAxis->setLabelFormat(QStringLiteral("%d"));
    m_chart->addAxis(m_dayAxis, Qt::AlignBottom);
    m_chart->addAxis(m_countAxis, Qt::AlignLeft);
    area->attachAxis(m_dayAxis);
    area->attachAxis(m_countAxis);
    auto *chartView = new QChartView(m_chart, this);
    chartView->setObjectName(QStringLiteral("activityChart"));
    chartView->setRenderHint(QPainter::Antialiasing);
    chartView->setMinimumHeight(220);

    auto *activity = new QGroupBox(tr("Activity"), this);
    auto *activityColumn = new QVBoxLayout(activity);
    auto *periodRow = new QHBoxLayout;
    periodRow->addWidget(m_activitySummary, 1);
    periodRow->addWidget(new QLabel(tr("Period"), this));
    periodRow->addWidget(m_period);
    activityColumn->addLayout(periodRow);
    activityColumn->addWidget(chartView, 1);

    m_fileTypes = new QLabel(this);
    m_fileTypes->setObjectName(QStringLiteral("fileTypes"));
    m_fileTypes->setWordWrap(true);
    m_topExtensions = new QLabel(this);
    m_topExtensions->setObjectName(QStringLiteral("topExtensions"));
    m_topExtensions->setWordWrap(true);
    auto *types = new QGridLayout;
    types->addWidget(card(tr("File types"), m_fileTypes, new QLabel(this), this), 0, 0);
    types->addWidget(card(tr("Top extensions"), m_topExtensions, new QLabel(this), this), 0, 1);

    auto *numbers = new QWidget(this);
    auto *numbersColumn = new QVBoxLayout(numbers);
    numbersColumn->setContentsMargins(0, 0, 0, 0);
    numbersColumn->addLayout(cards);
    numbersColumn->addWidget(activity, 1);
    numbersColumn->addLayout(types);

    auto *empty = new QLabel(tr("<b>No statistics yet</b><br>Numbers will appear here as Nomly renames files. Try AI "
                                "Rename or set up a watched folder in Monitor to get started."),
                             this);
    empty->setObjectName(QStringLiteral("statisticsEmpty"));
    empty->setAlignment(Qt::AlignCenter);
    empty->setWordWrap(true);

    m_pages = new QStackedWidget(this);
    m_pages->addWidget(empty);
    m_pages->addWidget(numbers);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_pages);

    const std::optional<int> window = m_statistics.dailyWindowDays();
    m_period->setCurrentIndex(std::max(0, m_period->findData(window.value_or(0))));
    connect(m_period, &QComboBox::activated, this, [this] {
        const int days = m_period->currentData().toInt();
        m_statistics.setDailyWindow(days == 0 ? std::nullopt : std::optional(days));
    });
    connect(&m_statistics, &StatisticsViewModel::snapshotChanged, this, [this] { present(m_statistics.snapshot()); });
    present(m_statistics.snapshot());
}

void StatisticsTab::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    auto loading = m_statistics.reload();
    Q_UNUSED(loading);
}

void StatisticsTab::present(const StatsSnapshot &snapshot)
{
    const QLocale locale;
    m_pages->setCurrentIndex(snapshot.totalRenamed > 0 ? 1 : 0);
    m_filesRenamed->setText(locale.toString(snapshot.totalRenamed));
    m_monthDelta->setText(StatsTexts::monthDelta(snapshot.monthDelta, locale));
    m_fromMonitor->setText(locale.toString(snapshot.monitorCount));
    m_monitorShare->setText(
        tr("%1% of all renames").arg(StatsTexts::monitorSharePercent(snapshot.monitorCount, snapshot.totalRenamed)));
    m_timeSaved->setText(StatsTexts::duration(snapshot.totalRenamed * StatsTexts::SecondsSavedPerRename, locale));
    m_streak->setText(snapshot.currentStreakDays == 0 ? tr("No streak yet")
                                                      : StatsTexts::days(snapshot.currentStreakDays));
    m_longest->setText(tr("Longest: %1").arg(snapshot.longestStreakDays));

    QList<QPointF> points;
    qint64 sum = 0;
    const DailyCount *peak = nullptr;
    for (const DailyCount &day : snapshot.dailyCounts) {
        points.append(QPointF(qreal(day.date.startOfDay().toMSecsSinceEpoch()), qreal(day.count)));
        sum += day.count;
        if (!peak || day.count > peak->count)
            peak = &day;
    }
    m_days->replace(points);
    if (!snapshot.dailyCounts.isEmpty()) {
        const QDate first = snapshot.dailyCounts.first().date;
        const QDate last = snapshot.dailyCounts.last().date;
        m_dayAxis->setRange(first.startOfDay(), std::max(last, first.addDays(1)).startOfDay());
        m_dayAxis->setTickCount(int(std::clamp<qint64>(first.daysTo(last) + 1, 2, 7)));
    }
    // Whole numbers on the count axis: a step of 1, 2, 5, 10... and a top
    // that is a multiple of it.
    const qint64 highest = std::max<qint64>(1, peak ? peak->count : 1);
    qint64 step = 1;
    for (int i = 0; (highest + step - 1) / step > 5; ++i)
        step = i % 3 == 1 ? step * 5 / 2 : step * 2;
    const qint64 top = (highest + step - 1) / step * step;
    m_countAxis->setRange(0, qreal(top));
    m_countAxis->setTickCount(int(top / step) + 1);
    m_activitySummary->setText(
        peak ? tr("Average: %1 files/day · Peak: %2 on %3")
                   .arg(locale.toString(double(sum) / double(snapshot.dailyCounts.size()), 'f', 1))
                   .arg(peak->count)
                   .arg(locale.toString(peak->date, QLocale::ShortFormat))
             : QString());

    QStringList groups;
    for (const GroupSlice &slice : snapshot.byGroup)
        groups.append(tr("%1: %2").arg(rawValue(slice.group)).arg(slice.count));
    m_fileTypes->setText(groups.join(QLatin1Char('\n')));
    QStringList extensions;
    for (const ExtensionSlice &slice : snapshot.byExtension.first(std::min<qsizetype>(8, snapshot.byExtension.size())))
        extensions.append(tr("%1: %2").arg(slice.ext).arg(slice.count));
    m_topExtensions->setText(extensions.join(QLatin1Char('\n')));
}

} // namespace Nomly
