#include "gui/airenametab.h"

#include <QAction>
#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>
#include <algorithm>

#include "app/templatelibrary.h"
#include "gui/batchdropzone.h"
#include "gui/batchrenametablemodel.h"
#include "gui/launch.h"
#include "gui/presentation.h"
#include "platform/filemanager.h"
#include "workflows/batchrenameviewmodel.h"

namespace Nomly {

namespace {

// The local files and folders a drag carries, in its order; anything else
// (a web address, a file on a remote share the desktop did not mount) is
// left out.
QStringList localPaths(const QMimeData *data)
{
    QStringList paths;
    if (!data || !data->hasUrls())
        return paths;
    for (const QUrl &url : data->urls()) {
        if (url.isLocalFile())
            paths.append(url.toLocalFile());
    }
    return paths;
}

QString elapsedText(qint64 seconds)
{
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

AIRenameTab::AIRenameTab(BatchRenameViewModel &batch, TemplateLibrary &templates, QWidget *parent)
    : QWidget(parent)
    , m_batch(batch)
    , m_templates(templates)
    , m_remoteConfig([] { return RemoteConfig(); })
    , m_presentAlert(messageBoxPresenter(this))
{
    setAcceptDrops(true);

    auto *title = new QLabel(QStringLiteral("AI Rename"), this);
    title->setFont(headingFont(title->font(), 1.3));
    m_template = new QComboBox(this);
    m_template->setObjectName(QStringLiteral("batchTemplate"));
    m_template->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    auto *templateLabel = new QLabel(QStringLiteral("&Template:"), this);
    templateLabel->setBuddy(m_template);
    auto *header = new QHBoxLayout;
    header->addWidget(title, 1);
    header->addWidget(templateLabel);
    header->addWidget(m_template);

    m_dropZone = new BatchDropZone(this);
    connect(m_dropZone, &BatchDropZone::pickRequested, this, &AIRenameTab::pickFiles);

    m_model = new BatchRenameTableModel(batch, this);
    m_table = new QTableView(this);
    m_table->setObjectName(QStringLiteral("batchItems"));
    m_table->setModel(m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    // Every way in (double click, F2, Enter, the menu) edits the name, from
    // whichever column the row was entered by.
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setIconSize(BatchRenameTableModel::ThumbnailSize);
    m_table->setWordWrap(false);
    m_table->setShowGrid(false);
    m_table->setAlternatingRowColors(true);
    m_table->setContextMenuPolicy(Qt::CustomContextMenu);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(BatchRenameTableModel::ThumbnailSize.height() + 8);
    m_table->horizontalHeader()->setSectionResizeMode(BatchRenameTableModel::OriginalColumn, QHeaderView::Stretch);
    m_table->horizontalHeader()->setSectionResizeMode(BatchRenameTableModel::NewNameColumn, QHeaderView::Stretch);
    m_table->horizontalHeader()->setSectionResizeMode(BatchRenameTableModel::StateColumn, QHeaderView::Interactive);
    m_table->horizontalHeader()->resizeSection(BatchRenameTableModel::StateColumn, 180);
    connect(m_table, &QTableView::doubleClicked, this, &AIRenameTab::editCurrentName);
    connect(m_table, &QTableView::customContextMenuRequested, this, &AIRenameTab::showContextMenu);
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, &AIRenameTab::updateActions);
    connect(m_table->selectionModel(), &QItemSelectionModel::currentChanged, this, &AIRenameTab::updateActions);
    buildActions();

    m_progress = new QProgressBar(this);
    m_progress->setObjectName(QStringLiteral("analysisProgress"));
    m_progress->setTextVisible(false);
    m_count = new QLabel(this);
    m_count->setObjectName(QStringLiteral("batchCount"));
    m_clear = new QPushButton(QStringLiteral("Clear"), this);
    m_clear->setObjectName(QStringLiteral("clearBatch"));
    m_renameAll = new QPushButton(this);
    m_renameAll->setObjectName(QStringLiteral("renameAll"));
    m_renameAll->setDefault(true);
    connect(m_clear, &QPushButton::clicked, &m_batch, &BatchRenameViewModel::clearBatch);
    connect(m_renameAll, &QPushButton::clicked, this, [this] { launch(m_batch.renameAll()); });
    auto *footer = new QHBoxLayout;
    footer->addWidget(m_count);
    footer->addWidget(m_progress, 1);
    footer->addStretch();
    footer->addWidget(m_clear);
    footer->addWidget(m_renameAll);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(header);
    layout->addWidget(m_dropZone);
    layout->addWidget(m_table, 1);
    layout->addLayout(footer);

    m_elapsedTicker = new QTimer(this);
    m_elapsedTicker->setInterval(1000);
    connect(m_elapsedTicker, &QTimer::timeout, this, &AIRenameTab::updateCount);

    connect(&m_batch, &BatchRenameViewModel::stateChanged, this, &AIRenameTab::updateState);
    connect(&m_batch, &BatchRenameViewModel::itemChanged, this, &AIRenameTab::updateState);
    connect(&m_batch, &BatchRenameViewModel::itemRemoved, this, &AIRenameTab::updateState);
    connect(&m_templates, &TemplateLibrary::presetsChanged, this, &AIRenameTab::reloadTemplates);
    connect(&m_templates, &TemplateLibrary::batchPresetIdChanged, this, &AIRenameTab::reloadTemplates);
    connect(m_template, &QComboBox::activated, this, [this](int index) {
        m_templates.setBatchPresetId(m_template->itemData(index).toUuid());
    });

    reloadTemplates();
    updateLimit();
    updateState();
}

void AIRenameTab::buildActions()
{
    // Shortcuts of the list itself: while a name is being edited, Enter
    // belongs to the editor.
    const auto add = [this](const QString &text, const QList<QKeySequence> &keys, void (AIRenameTab::*slot)()) {
        auto *action = new QAction(text, m_table);
        action->setShortcuts(keys);
        action->setShortcutContext(Qt::WidgetShortcut);
        connect(action, &QAction::triggered, this, slot);
        m_table->addAction(action);
        return action;
    };
    m_renameAction = add(QStringLiteral("Rename…"),
                         { QKeySequence(Qt::Key_F2), QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter) },
                         &AIRenameTab::editCurrentName);
    m_removeAction = add(QStringLiteral("Remove"), { QKeySequence::Delete }, &AIRenameTab::removeSelected);
    m_revealAction = add(QStringLiteral("Open Containing Folder"), {}, &AIRenameTab::revealCurrent);
    // Another name for an analysed file, or another try for one whose
    // failure a new call may cure.
    m_regenerateAction
        = add(QStringLiteral("Regenerate"), { QKeySequence(Qt::CTRL | Qt::Key_R) }, &AIRenameTab::regenerateCurrent);
}

void AIRenameTab::regenerateCurrent()
{
    const int row = currentRow();
    if (row < 0 || m_batch.isConfirmingRenames())
        return;
    const BatchRenameItem &item = m_batch.items().at(row);
    if (item.status == BatchRenameStatus::Failed)
        m_batch.retry(item.id);
    else if (item.status == BatchRenameStatus::Analyzed)
        launch(m_batch.regenerate(item.id));
}

void AIRenameTab::setRemoteConfigSource(std::function<RemoteConfig()> source)
{
    m_remoteConfig = std::move(source);
    updateLimit();
}

void AIRenameTab::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // The backend may have changed the bound since.
    updateLimit();
}

void AIRenameTab::updateLimit()
{
    m_dropZone->setLimit(std::max(0, m_remoteConfig().batchAnalysisLimit));
}

void AIRenameTab::updateState()
{
    const bool empty = m_batch.items().isEmpty();
    const bool confirming = m_batch.isConfirmingRenames();
    const bool analyzing = m_batch.isBatchAnalyzing();
    m_dropZone->setBatchEmpty(empty);
    m_table->setVisible(!empty);
    m_count->setVisible(!empty);
    m_progress->setVisible(analyzing);
    m_progress->setRange(0, std::max(1, m_batch.totalCount()));
    m_progress->setValue(m_batch.processedCount());
    if (analyzing && !m_elapsedTicker->isActive())
        m_elapsedTicker->start();
    else if (!analyzing)
        m_elapsedTicker->stop();
    updateCount();

    const bool anyAnalyzed = std::any_of(m_batch.items().cbegin(), m_batch.items().cend(), [](const auto &item) {
        return item.status == BatchRenameStatus::Analyzed;
    });
    m_renameAll->setText(confirming ? QStringLiteral("Renaming…") : QStringLiteral("Rename All"));
    m_renameAll->setEnabled(anyAnalyzed && !confirming);
    m_clear->setEnabled(!empty && !confirming);
    updateActions();

    if (m_batch.showBatchLimitAlert() && !m_limitAlertOpen)
        launch(presentLimitAlert());
}

void AIRenameTab::updateCount()
{
    // "12 of 15 analyzed, 2 skipped, 1 failed", with the reasons beneath
    // on hover.
    QString text = m_batch.statusText();
    m_count->setToolTip(m_batch.issueDetails());
    if (const std::optional<qint64> elapsed = m_batch.elapsedSeconds(QDateTime::currentDateTimeUtc()))
        text += QStringLiteral(" · ") + elapsedText(*elapsed);
    m_count->setText(text);
}

void AIRenameTab::updateActions()
{
    const int row = currentRow();
    const bool confirming = m_batch.isConfirmingRenames();
    const bool hasRow = row >= 0;
    m_renameAction->setEnabled(
        hasRow && m_model->flags(m_model->index(row, BatchRenameTableModel::NewNameColumn)) & Qt::ItemIsEditable);
    m_removeAction->setEnabled(hasRow && !confirming);
    m_revealAction->setEnabled(hasRow);
    const BatchRenameItem *item = hasRow ? &m_batch.items().at(row) : nullptr;
    const bool failed = item && item->status == BatchRenameStatus::Failed;
    m_regenerateAction->setText(failed ? QStringLiteral("Retry") : QStringLiteral("Regenerate"));
    m_regenerateAction->setEnabled(
        item && !confirming
        && (item->status == BatchRenameStatus::Analyzed || (failed && m_batch.canRetryFailure(item->id))));
}

void AIRenameTab::reloadTemplates()
{
    const QSignalBlocker blocker(m_template);
    m_template->clear();
    m_template->addItem(QStringLiteral("No template"), QUuid());
    for (const Preset &preset : m_templates.presets())
        m_template->addItem(preset.name, preset.id);
    const int chosen = m_template->findData(m_templates.batchPresetId());
    m_template->setCurrentIndex(std::max(0, chosen));
}

int AIRenameTab::currentRow() const
{
    const QModelIndex current = m_table->currentIndex();
    if (!current.isValid() || !m_table->selectionModel()->isRowSelected(current.row(), QModelIndex()))
        return -1;
    return current.row();
}

void AIRenameTab::editCurrentName()
{
    const int row = currentRow();
    if (row < 0)
        return;
    const QModelIndex name = m_model->index(row, BatchRenameTableModel::NewNameColumn);
    if (!(m_model->flags(name) & Qt::ItemIsEditable))
        return;
    m_table->setCurrentIndex(name);
    m_table->edit(name);
}

void AIRenameTab::removeSelected()
{
    if (m_batch.isConfirmingRenames())
        return;
    // Ids first: each removal moves the rows after it.
    QList<QUuid> ids;
    for (const QModelIndex &index : m_table->selectionModel()->selectedRows())
        ids.append(m_model->idAt(index.row()));
    for (const QUuid &id : std::as_const(ids))
        m_batch.removeItem(id);
}

void AIRenameTab::revealCurrent()
{
    const int row = currentRow();
    if (row < 0)
        return;
    const BatchRenameItem &item = m_batch.items().at(row);
    launch(reveal(item.finalPath.value_or(item.originalPath)));
}

QCoro::Task<> AIRenameTab::reveal(QString path)
{
    // The file manager selects the file; without one the folder opens.
    auto showing = showItemInFileManager(path);
    if (!co_await showing)
        QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

void AIRenameTab::showContextMenu(const QPoint &position)
{
    const QModelIndex index = m_table->indexAt(position);
    if (!index.isValid())
        return;
    if (!m_table->selectionModel()->isRowSelected(index.row(), QModelIndex()))
        m_table->selectRow(index.row());
    m_table->setCurrentIndex(index);
    updateActions();
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(m_renameAction);
    menu->addAction(m_regenerateAction);
    menu->addAction(m_removeAction);
    menu->addSeparator();
    menu->addAction(m_revealAction);
    menu->popup(m_table->viewport()->mapToGlobal(position));
}

void AIRenameTab::pickFiles()
{
    if (m_picker) {
        m_picker->raise();
        m_picker->activateWindow();
        return;
    }
    QStringList patterns;
    for (const QString &extension : m_remoteConfig().supportedExtensions())
        patterns.append(QStringLiteral("*.") + extension);
    auto *picker = new QFileDialog(this, QStringLiteral("Select Files"), QDir::homePath());
    picker->setObjectName(QStringLiteral("filePicker"));
    picker->setAttribute(Qt::WA_DeleteOnClose);
    picker->setFileMode(QFileDialog::ExistingFiles);
    picker->setLabelText(QFileDialog::Accept, QStringLiteral("Select"));
    picker->setNameFilters(
        { QStringLiteral("Supported files (%1)").arg(patterns.join(u' ')), QStringLiteral("All files (*)") });
    connect(picker, &QFileDialog::filesSelected, this, [this](const QStringList &files) {
        m_batch.addFiles(files, BatchRenameViewModel::DropSource::Picker);
    });
    m_picker = picker;
    picker->open();
}

QCoro::Task<> AIRenameTab::presentLimitAlert()
{
    m_limitAlertOpen = true;
    QPointer<AIRenameTab> self(this);
    auto answering = m_presentAlert(QStringLiteral("Batch Limit Reached"), m_batch.batchLimitAlertMessage(), {});
    co_await answering;
    if (!self)
        co_return;
    m_limitAlertOpen = false;
    m_batch.dismissBatchLimitAlert();
}

void AIRenameTab::dragEnterEvent(QDragEnterEvent *event)
{
    if (localPaths(event->mimeData()).isEmpty() || !m_batch.canAcceptNewFiles()) {
        event->ignore();
        return;
    }
    updateLimit();
    m_dropZone->setDragActive(true);
    event->acceptProposedAction();
}

void AIRenameTab::dragMoveEvent(QDragMoveEvent *event)
{
    event->acceptProposedAction();
}

void AIRenameTab::dragLeaveEvent(QDragLeaveEvent *event)
{
    m_dropZone->setDragActive(false);
    event->accept();
}

void AIRenameTab::dropEvent(QDropEvent *event)
{
    m_dropZone->setDragActive(false);
    const QStringList paths = localPaths(event->mimeData());
    if (paths.isEmpty()) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    m_batch.addFiles(paths, BatchRenameViewModel::DropSource::Dropzone);
}

} // namespace Nomly
