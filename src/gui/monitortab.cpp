#include "gui/monitortab.h"

#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/folderclassification.h"
#include "app/settingsviewmodel.h"
#include "gui/alertbox.h"
#include "gui/launch.h"
#include "workflows/monitoringviewmodel.h"

namespace Nomly {

const QString MonitorTab::GlobalSettingsChoice = QStringLiteral("Global settings");

namespace {

enum Column
{
    FolderColumn,
    TemplateColumn,
};

} // namespace

MonitorTab::MonitorTab(SettingsViewModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_pickFolder([](QWidget *owner) {
        return QFileDialog::getExistingDirectory(owner, QStringLiteral("Choose a Folder to Watch"), QDir::homePath());
    })
    , m_presentAlert(messageBoxPresenter(this))
{
    auto *intro
        = new QLabel(QStringLiteral("New files in these folders are named by the template chosen for each."), this);
    intro->setWordWrap(true);
    m_folders = new QTreeWidget(this);
    m_folders->setObjectName(QStringLiteral("watchedFolders"));
    m_folders->setHeaderLabels({ QStringLiteral("Folder"), QStringLiteral("Template") });
    m_folders->setRootIsDecorated(false);
    m_folders->header()->setSectionResizeMode(FolderColumn, QHeaderView::Stretch);
    m_folders->header()->setSectionResizeMode(TemplateColumn, QHeaderView::ResizeToContents);

    auto *add = new QPushButton(QStringLiteral("Add Folder…"), this);
    add->setObjectName(QStringLiteral("addFolder"));
    m_remove = new QPushButton(QStringLiteral("Remove"), this);
    m_remove->setObjectName(QStringLiteral("removeFolder"));
    connect(add, &QPushButton::clicked, this, [this] { launch(addFolder()); });
    connect(m_remove, &QPushButton::clicked, this, [this] { launch(removeSelected()); });
    connect(m_folders, &QTreeWidget::currentItemChanged, this, [this] {
        m_remove->setEnabled(m_folders->currentItem() != nullptr);
    });

    connect(&m_model, &SettingsViewModel::settingsChanged, this, &MonitorTab::rebuild);
    connect(&m_model.templates(), &TemplateLibrary::presetsChanged, this, &MonitorTab::rebuild);
    connect(&m_model.folders(), &WatchedFolders::folderConfigsChanged, this, &MonitorTab::rebuild);

    m_state = new QLabel(this);
    m_state->setObjectName(QStringLiteral("monitorState"));
    m_state->setWordWrap(true);
    // Turns while files that just arrived are being renamed; files found by
    // the look back at a start do not count as fresh activity.
    m_busy = new QProgressBar(this);
    m_busy->setObjectName(QStringLiteral("monitorBusy"));
    m_busy->setRange(0, 0);
    m_busy->setMaximumWidth(80);
    m_busy->setTextVisible(false);
    m_busy->hide();
    m_resume = new QPushButton(QStringLiteral("Resume Monitor"), this);
    m_resume->setObjectName(QStringLiteral("resumeMonitor"));
    m_resume->hide();
    connect(m_resume, &QPushButton::clicked, this, [this] {
        if (m_monitoring && m_monitoring->isPaused())
            m_monitoring->togglePause();
    });
    m_queue = new QListWidget(this);
    m_queue->setObjectName(QStringLiteral("monitorQueue"));
    m_queue->setMaximumHeight(120);
    m_queue->hide();

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(m_remove);
    buttons->addStretch(1);
    auto *state = new QHBoxLayout;
    state->addWidget(m_state, 1);
    state->addWidget(m_busy);
    state->addWidget(m_resume);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(intro);
    layout->addLayout(state);
    layout->addWidget(m_folders);
    layout->addLayout(buttons);
    layout->addWidget(m_queue);
    rebuild();
}

void MonitorTab::rebuild()
{
    const QString current = m_folders->currentItem() ? m_folders->currentItem()->toolTip(FolderColumn) : QString();
    m_folders->clear();
    for (const QString &folder : m_model.settings().watchedFolders) {
        auto *item = new QTreeWidgetItem(m_folders, { folder });
        item->setToolTip(FolderColumn, folder);
        auto *choice = new QComboBox(m_folders);
        choice->addItem(GlobalSettingsChoice, QUuid());
        for (const Preset &preset : m_model.templates().presets())
            choice->addItem(preset.name, preset.id);
        const auto presetId = m_model.folders().folderConfigs().value(folder).presetId;
        choice->setCurrentIndex(std::max(0, presetId ? choice->findData(*presetId) : 0));
        connect(choice, &QComboBox::activated, this, [this, folder, choice] {
            launch(chooseTemplate(folder, choice->currentData().toUuid()));
        });
        m_folders->setItemWidget(item, TemplateColumn, choice);
        if (folder == current)
            m_folders->setCurrentItem(item);
    }
    m_remove->setEnabled(m_folders->currentItem() != nullptr);
}

void MonitorTab::setMonitoring(MonitoringViewModel &monitoring, std::function<QString()> elsewhere)
{
    m_monitoring = &monitoring;
    m_elsewhere = std::move(elsewhere);
    connect(m_monitoring, &MonitoringViewModel::stateChanged, this, &MonitorTab::showMonitoring);
    showMonitoring();
}

void MonitorTab::showMonitoring()
{
    if (!m_monitoring)
        return;
    const QString elsewhere = m_elsewhere ? m_elsewhere() : QString();
    const bool paused = m_monitoring->isPaused();
    QString state;
    if (!elsewhere.isEmpty())
        state = QStringLiteral("Monitor runs in %1.").arg(elsewhere);
    else if (m_model.settings().watchedFolders.isEmpty())
        state = QStringLiteral("Add a folder to start watching.");
    else if (paused)
        state = QStringLiteral("Monitor is paused. New files are not renamed until you resume.");
    else if (m_monitoring->isWatching() && m_monitoring->hasNonCatchUpWork())
        state = QStringLiteral("Renaming new files…");
    else if (m_monitoring->isWatching())
        state = QStringLiteral("Watching for new files.");
    else
        state = QStringLiteral("Monitor is not watching.");
    m_state->setText(state);
    m_busy->setVisible(elsewhere.isEmpty() && m_monitoring->isWatching() && m_monitoring->hasNonCatchUpWork());
    m_resume->setVisible(elsewhere.isEmpty() && paused);

    m_queue->clear();
    for (const MonitorQueueItem &item : m_monitoring->monitorQueueItems()) {
        const QString status
            = item.status == MonitorQueueStatus::Processing ? QStringLiteral("renaming") : QStringLiteral("waiting");
        auto *row = new QListWidgetItem(QStringLiteral("%1 — %2").arg(item.fileName, status), m_queue);
        row->setToolTip(item.path);
    }
    m_queue->setVisible(m_queue->count() > 0);

    const QSet<QString> unavailable = m_monitoring->unavailableWatchedFolders();
    for (int i = 0; i < m_folders->topLevelItemCount(); ++i) {
        QTreeWidgetItem *item = m_folders->topLevelItem(i);
        const QString folder = item->toolTip(FolderColumn);
        item->setText(FolderColumn,
                      unavailable.contains(folder) ? QStringLiteral("%1 (unavailable)").arg(folder) : folder);
    }
}

QCoro::Task<> MonitorTab::addFolder()
{
    const QString folder = m_pickFolder(this);
    if (folder.isEmpty())
        co_return;
    QPointer<MonitorTab> self(this);
    auto adding = m_model.folders().addFolder(folder);
    const WatchedFolders::FolderAddition added = co_await adding;
    if (!self || added != WatchedFolders::FolderAddition::Forbidden)
        co_return;
    auto telling = m_presentAlert(forbiddenFolderAlertTitle(), forbiddenFolderAlertMessage(), {});
    co_await telling;
}

QCoro::Task<> MonitorTab::removeSelected()
{
    const QTreeWidgetItem *item = m_folders->currentItem();
    if (!item)
        co_return;
    auto removing = m_model.folders().removeWatchedFolder(item->toolTip(FolderColumn));
    co_await removing;
}

QCoro::Task<> MonitorTab::chooseTemplate(QString folder, QUuid presetId)
{
    WatchedFolderConfig config = m_model.folders().folderConfigs().value(folder);
    config.path = folder;
    config.presetId = presetId.isNull() ? std::nullopt : std::make_optional(presetId);
    auto saving = m_model.folders().saveFolderConfig(config);
    co_await saving;
}

} // namespace Nomly
