#pragma once

#include <QUuid>
#include <QWidget>
#include <functional>

#include <qcoro/qcorotask.h>

#include "gui/alertbox.h"
#include "settings/preset.h"

class QListWidget;
class QPushButton;

namespace Nomly {

class SettingsViewModel;
class TemplateEditor;

// The templates: the list on the left, the one chosen in the editor on the
// right, and the buttons that create, delete and bring back the demo
// templates.
class TemplatesTab final : public QWidget
{
    Q_OBJECT

public:
    static const QString DeleteButton;

    explicit TemplatesTab(SettingsViewModel &model, QWidget *parent = nullptr);

    void setAlertPresenter(AlertPresenter presenter) { m_presentAlert = std::move(presenter); }

    TemplateEditor *editor() const { return m_editor; }

    QListWidget *list() const { return m_list; }

    // Shows a template in the editor and selects it in the list.
    void select(const QUuid &id);

    QUuid selectedId() const;

    QCoro::Task<> createTemplate();
    QCoro::Task<> saveSelected();
    // Asks first; the folders using it go on with the global settings.
    QCoro::Task<> deleteSelected();
    QCoro::Task<> restoreDemoTemplates();

private:
    QCoro::Task<> save(Preset edited);
    void rebuildList();
    void showSelected();

    SettingsViewModel &m_model;
    AlertPresenter m_presentAlert;
    QListWidget *m_list = nullptr;
    TemplateEditor *m_editor = nullptr;
    QPushButton *m_delete = nullptr;
};

} // namespace Nomly
