#include "gui/templatestab.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

#include "app/settingsviewmodel.h"
#include "gui/alertbox.h"
#include "gui/launch.h"
#include "gui/templateeditor.h"

namespace Nomly {

const QString TemplatesTab::DeleteButton = QStringLiteral("Delete");

namespace {

constexpr int IdRole = Qt::UserRole;

} // namespace

TemplatesTab::TemplatesTab(SettingsViewModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_presentAlert(messageBoxPresenter(this))
{
    m_list = new QListWidget(this);
    m_list->setObjectName(QStringLiteral("templates"));
    m_editor = new TemplateEditor(this);

    auto *create = new QPushButton(QStringLiteral("New Template"), this);
    create->setObjectName(QStringLiteral("newTemplate"));
    m_delete = new QPushButton(DeleteButton, this);
    m_delete->setObjectName(QStringLiteral("deleteTemplate"));
    auto *restore = new QPushButton(QStringLiteral("Restore Demo Templates"), this);
    restore->setObjectName(QStringLiteral("restoreTemplates"));

    connect(create, &QPushButton::clicked, this, [this] { launch(createTemplate()); });
    connect(m_delete, &QPushButton::clicked, this, [this] { launch(deleteSelected()); });
    connect(restore, &QPushButton::clicked, this, [this] { launch(restoreDemoTemplates()); });
    connect(m_editor, &TemplateEditor::saveRequested, this, [this] { launch(saveSelected()); });
    connect(m_list, &QListWidget::currentRowChanged, this, [this] {
        // Moving to another template keeps what was typed into this one.
        if (m_editor->hasChanges())
            launch(save(m_editor->editedPreset()));
        showSelected();
    });
    connect(&m_model.templates(), &TemplateLibrary::presetsChanged, this, &TemplatesTab::rebuildList);

    auto *listButtons = new QHBoxLayout;
    listButtons->addWidget(create);
    listButtons->addWidget(m_delete);
    auto *left = new QWidget(this);
    auto *leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    leftLayout->addWidget(m_list);
    leftLayout->addLayout(listButtons);
    leftLayout->addWidget(restore);

    auto *splitter = new QSplitter(this);
    splitter->addWidget(left);
    splitter->addWidget(m_editor);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({ 240, 520 });
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(splitter);

    rebuildList();
}

QUuid TemplatesTab::selectedId() const
{
    const QListWidgetItem *item = m_list->currentItem();
    return item ? item->data(IdRole).toUuid() : QUuid();
}

void TemplatesTab::select(const QUuid &id)
{
    for (int row = 0; row < m_list->count(); ++row) {
        if (m_list->item(row)->data(IdRole).toUuid() == id) {
            m_list->setCurrentRow(row);
            return;
        }
    }
}

void TemplatesTab::rebuildList()
{
    const QUuid selected = selectedId();
    QSignalBlocker blocker(m_list);
    m_list->clear();
    QList<Preset> presets = m_model.templates().presets();
    std::sort(presets.begin(), presets.end(), [](const Preset &a, const Preset &b) {
        return a.name.localeAwareCompare(b.name) < 0;
    });
    for (const Preset &preset : std::as_const(presets)) {
        auto *item = new QListWidgetItem(preset.name, m_list);
        item->setData(IdRole, preset.id);
        item->setToolTip(overrideSummary(preset.settings));
    }
    blocker.unblock();
    select(selected);
    if (!m_list->currentItem() && m_list->count() > 0)
        m_list->setCurrentRow(0);
    showSelected();
}

void TemplatesTab::showSelected()
{
    const QUuid id = selectedId();
    const auto preset = std::find_if(m_model.templates().presets().cbegin(),
                                     m_model.templates().presets().cend(),
                                     [&id](const Preset &candidate) { return candidate.id == id; });
    const bool found = preset != m_model.templates().presets().cend();
    m_editor->setEnabled(found);
    m_delete->setEnabled(found);
    // The same template is shown again only once its edits are stored, so
    // that they become the editor's new starting point.
    if (found && (m_editor->editedPreset().id != id || m_editor->editedPreset() == *preset))
        m_editor->setPreset(*preset, m_model.settings());
}

QCoro::Task<> TemplatesTab::createTemplate()
{
    QPointer<TemplatesTab> self(this);
    Preset preset;
    preset.id = QUuid::createUuid();
    preset.name = QStringLiteral("New Template");
    preset.createdAt = QDateTime::currentDateTimeUtc();
    auto creating = m_model.templates().createPreset(preset);
    if (co_await creating && self)
        select(preset.id);
}

QCoro::Task<> TemplatesTab::saveSelected()
{
    auto saving = save(m_editor->editedPreset());
    co_await saving;
}

QCoro::Task<> TemplatesTab::save(Preset edited)
{
    QPointer<TemplatesTab> self(this);
    if (edited.id.isNull() || edited.name.isEmpty())
        co_return;
    auto saving = m_model.templates().updatePreset(edited);
    if (!co_await saving && self) {
        auto telling = m_presentAlert(QStringLiteral("Could Not Save Template"),
                                      QStringLiteral("The template \"%1\" could not be saved.").arg(edited.name),
                                      {});
        co_await telling;
    }
}

QCoro::Task<> TemplatesTab::deleteSelected()
{
    QPointer<TemplatesTab> self(this);
    const QUuid id = selectedId();
    const Preset edited = m_editor->editedPreset();
    if (id.isNull())
        co_return;
    auto asking = m_presentAlert(QStringLiteral("Delete \"%1\"?").arg(edited.name),
                                 QStringLiteral("Folders that use this template go on with your global settings."),
                                 { DeleteButton });
    const QString answer = co_await asking;
    if (!self || answer != DeleteButton)
        co_return;
    auto deleting = m_model.templates().deletePreset(id);
    co_await deleting;
}

QCoro::Task<> TemplatesTab::restoreDemoTemplates()
{
    auto restoring = m_model.templates().restoreBundledPresets();
    co_await restoring;
}

} // namespace Nomly
