#include "gui/activitytab.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QStackedWidget>
#include <QStyledItemDelegate>
#include <QUrl>
#include <QVBoxLayout>

#include "gui/activitylistmodel.h"
#include "gui/alertbox.h"
#include "gui/launch.h"
#include "gui/presentation.h"
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

// Two lines beside the file type's icon: the new name in bold, then what it
// was, where and when, quieter.
class ActivityItemDelegate final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    static constexpr int IconSize = 32;
    static constexpr int Padding = 6;

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        QStyleOptionViewItem base = option;
        initStyleOption(&base, index);
        base.text.clear();
        base.icon = QIcon();
        QStyle *style = option.widget ? option.widget->style() : QApplication::style();
        style->drawControl(QStyle::CE_ItemViewItem, &base, painter, option.widget);

        const QRect area = option.rect.adjusted(Padding, Padding, -Padding, -Padding);
        const QIcon icon = index.data(Qt::DecorationRole).value<QIcon>();
        icon.paint(painter, QRect(area.left(), area.top() + (area.height() - IconSize) / 2, IconSize, IconSize));
        const QRect text = area.adjusted(IconSize + Padding * 2, 0, 0, 0);
        const bool selected = option.state & QStyle::State_Selected;
        const QPalette::ColorGroup group = option.state & QStyle::State_Enabled ? QPalette::Normal : QPalette::Disabled;
        QFont bold = option.font;
        bold.setBold(true);
        painter->save();
        painter->setFont(bold);
        painter->setPen(option.palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text));
        const QFontMetrics boldMetrics(bold);
        painter->drawText(text.left(),
                          text.top() + boldMetrics.ascent(),
                          boldMetrics.elidedText(index.data().toString(), Qt::ElideMiddle, text.width()));
        painter->setFont(option.font);
        if (!selected)
            painter->setPen(option.palette.color(group, QPalette::PlaceholderText));
        const QFontMetrics metrics(option.font);
        painter->drawText(
            text.left(),
            text.top() + boldMetrics.height() + 2 + metrics.ascent(),
            metrics.elidedText(index.data(ActivityListModel::DetailRole).toString(), Qt::ElideMiddle, text.width()));
        painter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const override
    {
        QFont bold = option.font;
        bold.setBold(true);
        const int lines = QFontMetrics(bold).height() + 2 + QFontMetrics(option.font).height();
        return { option.rect.width(), std::max(lines, int(IconSize)) + Padding * 2 };
    }
};

} // namespace

ActivityTab::ActivityTab(ActivityViewModel &activity, QWidget *parent)
    : QWidget(parent)
    , m_activity(activity)
    , m_presentAlert([this](const UndoAlertState &state) { return showAlert(this, state); })
{
    auto *title = new QLabel(QStringLiteral("Recent Activity"), this);
    title->setFont(headingFont(title->font(), 1.3));

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

    m_model = new ActivityListModel(m_activity, this);
    m_list = new QListView(this);
    m_list->setObjectName(QStringLiteral("activityList"));
    m_list->setModel(m_model);
    m_list->setItemDelegate(new ActivityItemDelegate(m_list));
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setUniformItemSizes(true);
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_list->verticalScrollBar(), &QScrollBar::valueChanged, this, &ActivityTab::loadMoreIfAtEnd);
    connect(m_list->verticalScrollBar(), &QScrollBar::rangeChanged, this, &ActivityTab::loadMoreIfAtEnd);

    // The actions act on the selection; their keys work while the list has
    // the focus.
    m_undo = new QAction(QIcon::fromTheme(QStringLiteral("edit-undo")), tr("Undo Rename"), m_list);
    m_undo->setObjectName(QStringLiteral("undo"));
    m_undo->setShortcut(QKeySequence::Undo);
    m_showInFolder = new QAction(QIcon::fromTheme(QStringLiteral("folder-open")), tr("Show in Folder"), m_list);
    m_showInFolder->setObjectName(QStringLiteral("showInFolder"));
    m_showInFolder->setShortcuts({ QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter) });
    m_remove = new QAction(QIcon::fromTheme(QStringLiteral("list-remove")), tr("Remove from List"), m_list);
    m_remove->setObjectName(QStringLiteral("remove"));
    m_remove->setShortcut(QKeySequence::Delete);
    m_remove->setToolTip(tr("Forget the record; the file keeps its new name"));
    for (QAction *action : { m_undo, m_showInFolder, m_remove }) {
        action->setShortcutContext(Qt::WidgetShortcut);
        m_list->addAction(action);
    }
    connect(m_undo, &QAction::triggered, this, [this] { launch(undoSelected()); });
    connect(m_showInFolder, &QAction::triggered, this, [this] {
        // One folder is shown, however many are selected.
        if (const QList<ProcessedFile> selected = selectedRecords(); !selected.isEmpty())
            launch(showInFolder(selected.first()));
    });
    connect(m_remove, &QAction::triggered, this, [this] { launch(removeSelected()); });
    m_menu = new QMenu(this);
    m_menu->addAction(m_undo);
    m_menu->addAction(m_showInFolder);
    m_menu->addSeparator();
    m_menu->addAction(m_remove);
    connect(m_list, &QListView::customContextMenuRequested, this, [this](const QPoint &at) {
        const QModelIndex index = m_list->indexAt(at);
        if (!index.isValid())
            return;
        if (!m_list->selectionModel()->isSelected(index))
            m_list->selectionModel()->select(index, QItemSelectionModel::ClearAndSelect);
        updateState();
        m_menu->popup(m_list->viewport()->mapToGlobal(at));
    });
    connect(m_list, &QListView::doubleClicked, this, [this](const QModelIndex &index) {
        launch(showInFolder(m_model->record(index.row())));
    });
    // A new page or a rename from Monitor rebuilds the list; what the user
    // selected stays selected. The ids are taken as the selection changes:
    // by the time the list is rebuilt its rows already hold the new records.
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        m_keptSelection.clear();
        for (const ProcessedFile &record : selectedRecords())
            m_keptSelection.insert(record.id.value_or(-1));
        updateState();
    });
    connect(m_model, &QAbstractItemModel::modelReset, this, [this] {
        QList<int> rows;
        for (int row = 0; row < m_model->rowCount(); ++row) {
            if (m_keptSelection.contains(m_model->record(row).id.value_or(-1)))
                rows.append(row);
        }
        selectRows(rows);
    });

    m_pages = new QStackedWidget(this);
    m_pages->insertWidget(LoadingPage, m_loading);
    m_pages->insertWidget(EmptyPage, empty);
    m_pages->insertWidget(ListPage, m_list);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(header);
    layout->addWidget(m_progress);
    layout->addWidget(m_pages, 1);

    connect(&m_activity, &ActivityViewModel::activityFilesChanged, this, &ActivityTab::updateState);
    connect(&m_activity, &ActivityViewModel::isLoadingActivityChanged, this, &ActivityTab::updateState);
    connect(&m_activity, &ActivityViewModel::isUndoingAllChanged, this, &ActivityTab::updateState);
    connect(&m_activity, &ActivityViewModel::undoAllProgressChanged, this, &ActivityTab::updateState);
    connect(&m_activity, &ActivityViewModel::activityTotalCountChanged, this, &ActivityTab::updateState);

    updateState();
}

QList<ProcessedFile> ActivityTab::records() const
{
    return m_activity.activityFiles();
}

void ActivityTab::selectRows(const QList<int> &rows)
{
    QItemSelection selection;
    for (const int row : rows)
        selection.select(m_model->index(row), m_model->index(row));
    m_list->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
}

QList<ProcessedFile> ActivityTab::selectedRecords() const
{
    QModelIndexList rows = m_list->selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end(), [](const QModelIndex &a, const QModelIndex &b) { return a.row() < b.row(); });
    QList<ProcessedFile> records;
    for (const QModelIndex &index : std::as_const(rows))
        records.append(m_model->record(index.row()));
    return records;
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
    const bool selected = m_list->selectionModel()->hasSelection();
    const bool free = !undoingAll && !m_actingOnSelection;
    m_undo->setEnabled(selected && free);
    m_remove->setEnabled(selected && free);
    m_undoAll->setEnabled(hasFiles && free);
    m_clear->setEnabled(hasFiles && free);
    m_showInFolder->setEnabled(selected);
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

// One after another, newest first, each with its own answer when it cannot
// be undone.
QCoro::Task<> ActivityTab::undoSelected()
{
    if (m_actingOnSelection)
        co_return;
    QPointer<ActivityTab> self(this);
    setActingOnSelection(true);
    for (const ProcessedFile &record : selectedRecords()) {
        auto undoing = undoRecord(record);
        co_await undoing;
        if (!self)
            co_return;
    }
    setActingOnSelection(false);
}

QCoro::Task<> ActivityTab::removeSelected()
{
    if (m_actingOnSelection)
        co_return;
    QPointer<ActivityTab> self(this);
    setActingOnSelection(true);
    for (const ProcessedFile &record : selectedRecords()) {
        auto removing = m_activity.removeRecord(record);
        co_await removing;
        if (!self)
            co_return;
    }
    setActingOnSelection(false);
}

void ActivityTab::setActingOnSelection(bool acting)
{
    m_actingOnSelection = acting;
    updateState();
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
