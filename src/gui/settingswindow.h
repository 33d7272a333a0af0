#pragma once

#include <QWidget>

class QTabWidget;

namespace Nomly {

class AboutTab;
class ActivityTab;
class ActivityViewModel;

// The main window. Closing it only hides it: the process stays in the tray
// until the user quits.
class SettingsWindow final : public QWidget
{
    Q_OBJECT

public:
    static constexpr int MinimumWidth = 780;
    static constexpr int MinimumHeight = 640;

    explicit SettingsWindow(ActivityViewModel &activity, QWidget *parent = nullptr);

    ActivityTab *activityTab() const { return m_activityTab; }

    AboutTab *aboutTab() const { return m_aboutTab; }

    void showActivity();
    void showAbout();
    // Shows the window, restored and in front.
    void present();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    QTabWidget *m_tabs = nullptr;
    ActivityTab *m_activityTab = nullptr;
    AboutTab *m_aboutTab = nullptr;
};

} // namespace Nomly
