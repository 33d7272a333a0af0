#pragma once

#include <QWidget>
#include <functional>

#include <qcoro/qcorotask.h>

#include "gui/alertbox.h"

class QLabel;
class QListWidget;
class QProgressBar;
class QTreeWidget;
class QPushButton;

namespace Nomly {

class MonitoringViewModel;
class SettingsViewModel;

// The watched folders, each with the template its new files are named by.
class MonitorTab final : public QWidget
{
    Q_OBJECT

public:
    // Answers the folder the user picked, empty when cancelled. Replaced by
    // tests; by default the desktop's folder dialog.
    using FolderPicker = std::function<QString(QWidget *parent)>;

    static const QString GlobalSettingsChoice;

    explicit MonitorTab(SettingsViewModel &model, QWidget *parent = nullptr);

    void setFolderPicker(FolderPicker picker) { m_pickFolder = std::move(picker); }

    void setAlertPresenter(AlertPresenter presenter) { m_presentAlert = std::move(presenter); }

    QTreeWidget *folders() const { return m_folders; }

    // Shows what Monitor does: its state, the files in its pipeline and the
    // folders it cannot reach. `elsewhere` names the process that watches
    // when this one does not; empty when this one does.
    void setMonitoring(MonitoringViewModel &monitoring, std::function<QString()> elsewhere);

    QLabel *monitorState() const { return m_state; }

    QListWidget *monitorQueue() const { return m_queue; }

    QCoro::Task<> addFolder();
    QCoro::Task<> removeSelected();
    // An empty id leaves the folder to the global settings.
    QCoro::Task<> chooseTemplate(QString folder, QUuid presetId);

private:
    void rebuild();
    void showMonitoring();

    SettingsViewModel &m_model;
    FolderPicker m_pickFolder;
    AlertPresenter m_presentAlert;
    QTreeWidget *m_folders = nullptr;
    QPushButton *m_remove = nullptr;
    MonitoringViewModel *m_monitoring = nullptr;
    std::function<QString()> m_elsewhere;
    QLabel *m_state = nullptr;
    QProgressBar *m_busy = nullptr;
    QPushButton *m_resume = nullptr;
    QListWidget *m_queue = nullptr;
};

} // namespace Nomly
