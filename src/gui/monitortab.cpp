#include "gui/monitortab.h"

#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/folderclassification.h"
#include "app/settingsviewmodel.h"
#include "gui/alertbox.h"
#include "gui/launch.h"

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

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(m_remove);
    buttons->addStretch(1);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(intro);
    layout->addWidget(m_folders);
    layout->addLayout(buttons);
    rebuild();
}

void MonitorTab::rebuild()
{
    const QString current = m_folders->currentItem() ? m_folders->currentItem()->text(FolderColumn) : QString();
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
    auto removing = m_model.folders().removeWatchedFolder(item->text(FolderColumn));
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
