#include "gui/activitytab.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QStackedWidget>
#include <QUrl>
#include <QVBoxLayout>

#include "gui/activityrow.h"
#include "gui/alertbox.h"
#include "gui/launch.h"
#include "history/activityviewmodel.h"
#include "platform/filemanager.h"

namespace Nomly {

namespace {

const QString RemoveRecordButton = QStringLiteral("Remove Record");
const QString UndoAllButton = QStringLiteral("Undo All");
const QString ClearButton = QStringLiteral("Clear");

enum Page
{
    LoadingPage,
    EmptyPage,
    ListPage,
};

} // namespace

ActivityTab::ActivityTab(ActivityViewModel &activity, QWidget *parent)
    : QWidget(parent)
    , m_activity(activity)
    , m_presentAlert([this](const UndoAlertState &state) { return showAlert(this, state); })
{
    auto *title = new QLabel(QStringLiteral("Recent Activity"), this);
    QFont titleFont = title->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.3);
    title->setFont(titleFont);

    m_undoAll = new QPushButton(UndoAllButton, this);
    m_clear = new QPushButton(ClearButton, this);
    m_undoAll->setObjectName(QStringLiteral("undoAll"));
    m_clear->setObjectName(QStringLiteral("clear"));
    connect(m_undoAll, &QPushButton::clicked, this, [this] { launch(undoAll()); });
    connect(m_clear, &QPushButton::clicked, this, [this] { launch(clearAll()); });

    auto *header = new QHBoxLayout;
    header->addWidget(title, 1);
    header->addWidget(m_undoAll);
    header->addWidget(m_clear);

    m_progress = new QLabel(this);
    m_progress->setObjectName(QStringLiteral("progress"));
    m_progress->hide();

    m_loading = new QLabel(QStringLiteral("Loading activity..."), this);
    m_loading->setAlignment(Qt::AlignCenter);

    auto *empty = new QWidget(this);
    m_emptyTitle = new QLabel(QStringLiteral("No activity yet"), empty);
    m_emptyMessage = new QLabel(QStringLiteral("Renamed files from Monitor and AI Rename will appear here."), empty);
    QFont emptyFont = m_emptyTitle->font();
    emptyFont.setBold(true);
    m_emptyTitle->setFont(emptyFont);
    m_emptyTitle->setAlignment(Qt::AlignCenter);
    m_emptyMessage->setAlignment(Qt::AlignCenter);
    m_emptyMessage->setWordWrap(true);
    auto *emptyLayout = new QVBoxLayout(empty);
    emptyLayout->addStretch();
    emptyLayout->addWidget(m_emptyTitle);
    emptyLayout->addWidget(m_emptyMessage);
    emptyLayout->addStretch();

    m_list = new QListWidget(this);
    m_list->setSelectionMode(QAbstractItemView::NoSelection);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    connect(m_list->verticalScrollBar(), &QScrollBar::valueChanged, this, &ActivityTab::loadMoreIfAtEnd);

    m_pages = new QStackedWidget(this);
    m_pages->insertWidget(LoadingPage, m_loading);
    m_pages->insertWidget(EmptyPage, empty);
    m_pages->insertWidget(ListPage, m_list);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(header);
    layout->addWidget(m_progress);
    layout->addWidget(m_pages, 1);

    connect(&m_activity, &ActivityViewModel::activityFilesChanged, this, &ActivityTab::rebuildRows);
    connect(&m_activity, &ActivityViewModel::isLoadingActivityChanged, this, &ActivityTab::updateState);
    connect(&m_activity, &ActivityViewModel::isUndoingAllChanged, this, &ActivityTab::updateState);
    connect(&m_activity, &ActivityViewModel::undoAllProgressChanged, this, &ActivityTab::updateState);
    connect(&m_activity, &ActivityViewModel::activityTotalCountChanged, this, &ActivityTab::updateState);

    rebuildRows();
}

QList<ActivityRow *> ActivityTab::rows() const
{
    QList<ActivityRow *> rows;
    for (int i = 0; i < m_list->count(); ++i)
        rows.append(qobject_cast<ActivityRow *>(m_list->itemWidget(m_list->item(i))));
    return rows;
}

void ActivityTab::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    refresh();
}

void ActivityTab::refresh()
{
    if (!m_loadStarted) {
        m_loadStarted = true;
        launch(m_activity.loadActivity());
        return;
    }
    launch(m_activity.reloadIfChanged());
}

void ActivityTab::rebuildRows()
{
    // The list is rebuilt whole, which stays cheap at the window's bound;
    // the scroll position is kept so that paging on does not jump.
    const int scrolled = m_list->verticalScrollBar()->value();
    m_list->clear();
    for (const ProcessedFile &record : m_activity.activityFiles()) {
        auto *item = new QListWidgetItem(m_list);
        auto *row = new ActivityRow(record, m_list);
        item->setSizeHint(row->sizeHint());
        m_list->setItemWidget(item, row);
        connect(row, &ActivityRow::undoRequested, this, [this, record] { launch(undoRecord(record)); });
        connect(row, &ActivityRow::showInFolderRequested, this, [this, record] { launch(showInFolder(record)); });
        connect(row, &ActivityRow::removeRequested, this, [this, record] { launch(removeRecord(record)); });
    }
    m_list->verticalScrollBar()->setValue(scrolled);
    updateState();
}

void ActivityTab::updateState()
{
    const bool hasFiles = !m_activity.activityFiles().isEmpty();
    if (hasFiles)
        m_pages->setCurrentIndex(ListPage);
    else if (m_activity.isLoadingActivity() || !m_loadStarted)
        m_pages->setCurrentIndex(LoadingPage);
    else
        m_pages->setCurrentIndex(EmptyPage);

    const bool undoingAll = m_activity.isUndoingAll();
    m_progress->setVisible(undoingAll);
    m_progress->setText(undoingAll ? m_activity.undoAllProgressText() : QString());
    m_undoAll->setEnabled(hasFiles && !undoingAll);
    m_clear->setEnabled(hasFiles && !undoingAll);
    for (ActivityRow *row : rows())
        row->setActionsEnabled(!undoingAll);
}

void ActivityTab::loadMoreIfAtEnd()
{
    const QScrollBar *bar = m_list->verticalScrollBar();
    if (bar->maximum() == 0 || bar->value() < bar->maximum())
        return;
    if (m_activity.isLoadingActivity() || m_activity.isLoadingMoreActivity())
        return;
    launch(m_activity.loadMoreActivity());
}

QCoro::Task<> ActivityTab::undoRecord(ProcessedFile record)
{
    QPointer<ActivityTab> self(this);
    auto undoing = m_activity.undo(record);
    const UndoOutcome outcome = co_await undoing;
    if (!self)
        co_return;
    const std::optional<UndoAlertState> alert = UndoAlertState::forOutcome(outcome, record);
    if (!alert)
        co_return;
    auto answering = m_presentAlert(*alert);
    const QString answer = co_await answering;
    if (!self || answer != RemoveRecordButton)
        co_return;
    auto removing = m_activity.removeRecord(record);
    co_await removing;
}

QCoro::Task<> ActivityTab::removeRecord(ProcessedFile record)
{
    auto removing = m_activity.removeRecord(std::move(record));
    co_await removing;
}

QCoro::Task<> ActivityTab::undoAll()
{
    QPointer<ActivityTab> self(this);
    UndoAlertState confirmation;
    confirmation.kind = UndoAlertState::Kind::UndoAllConfirmation;
    confirmation.totalCount = m_activity.activityTotalCount();
    auto answering = m_presentAlert(confirmation);
    const QString answer = co_await answering;
    if (!self || answer != UndoAllButton)
        co_return;
    auto undoing = m_activity.undoAll();
    co_await undoing;
}

QCoro::Task<> ActivityTab::clearAll()
{
    QPointer<ActivityTab> self(this);
    UndoAlertState confirmation;
    confirmation.kind = UndoAlertState::Kind::ClearAllConfirmation;
    confirmation.totalCount = m_activity.activityTotalCount();
    auto answering = m_presentAlert(confirmation);
    const QString answer = co_await answering;
    if (!self || answer != ClearButton)
        co_return;
    auto clearing = m_activity.clearAll();
    co_await clearing;
}

QCoro::Task<> ActivityTab::showInFolder(ProcessedFile record)
{
    QPointer<ActivityTab> self(this);
    const QFileInfo file(record.newPath);
    if (file.exists()) {
        // The file manager selects the file; without one the folder opens.
        auto showing = showItemInFileManager(file.absoluteFilePath());
        if (!co_await showing)
            QDesktopServices::openUrl(QUrl::fromLocalFile(file.absolutePath()));
        co_return;
    }
    UndoAlertState alert;
    alert.kind = UndoAlertState::Kind::FileDeleted;
    alert.record = record;
    auto answering = m_presentAlert(alert);
    const QString answer = co_await answering;
    if (!self || answer != RemoveRecordButton)
        co_return;
    auto removing = m_activity.removeRecord(std::move(record));
    co_await removing;
}

} // namespace Nomly
