#pragma once

#include <QList>
#include <QWidget>

#include "app/settingstab.h"
#include "gui/aisetuptab.h"

class QTabWidget;

namespace Nomly {

class AboutTab;
class AIRenameTab;
class GeneralTab;
class AppWorkflows;
class ActivityTab;
class AISetupTab;
class StatisticsTab;
class HotkeyService;
class KeyCustody;
class MonitorTab;
class SettingsViewModel;
class TemplatesTab;

// The main window, its tabs following the view model's selected tab. Closing
// it hides it; with a tray the process stays there until the user quits.
class SettingsWindow final : public QWidget
{
    Q_OBJECT

public:
    static constexpr int MinimumWidth = 780;
    static constexpr int MinimumHeight = 640;

    // `custody` may be null where the desktop has no secret store.
    // `hotkeys` is null where no global shortcut can be had.
    SettingsWindow(SettingsViewModel &model,
                   AppWorkflows &workflows,
                   KeyCustody *custody,
                   AISetupTab::KeySyncSource keySync = {},
                   HotkeyService *hotkeys = nullptr,
                   QWidget *parent = nullptr);

    AIRenameTab *aiRenameTab() const { return m_aiRenameTab; }

    MonitorTab *monitorTab() const { return m_monitorTab; }

    ActivityTab *activityTab() const { return m_activityTab; }

    StatisticsTab *statisticsTab() const { return m_statisticsTab; }

    TemplatesTab *templatesTab() const { return m_templatesTab; }

    GeneralTab *generalTab() const { return m_generalTab; }

    AISetupTab *aiSetupTab() const { return m_aiSetupTab; }

    AboutTab *aboutTab() const { return m_aboutTab; }

    QTabWidget *tabs() const { return m_tabs; }

    // The tabs shown, in order; a tab whose work does not exist yet is left
    // out.
    QList<SettingsTab> shownTabs() const;

    // Shows the window, restored and in front.
    void present();

    // The window's own tab, screen state that no other face has. A tab
    // that is not shown (its work arrives later) leaves the first one.
    void selectTab(SettingsTab tab);
    SettingsTab selectedTab() const;

Q_SIGNALS:
    // The user wants to read what AI processing sends, and perhaps agree.
    void consentReviewRequested();

protected:
    void changeEvent(QEvent *event) override;

private:
    void addTab(QWidget *page, SettingsTab tab, const QString &title);

    SettingsViewModel &m_model;
    QTabWidget *m_tabs = nullptr;
    QList<SettingsTab> m_tabOrder;
    AIRenameTab *m_aiRenameTab = nullptr;
    MonitorTab *m_monitorTab = nullptr;
    ActivityTab *m_activityTab = nullptr;
    StatisticsTab *m_statisticsTab = nullptr;
    TemplatesTab *m_templatesTab = nullptr;
    GeneralTab *m_generalTab = nullptr;
    AISetupTab *m_aiSetupTab = nullptr;
    AboutTab *m_aboutTab = nullptr;
};

} // namespace Nomly
