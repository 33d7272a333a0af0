#pragma once

#include <QObject>

class QMenu;
class QSystemTrayIcon;

namespace Nomly {

// The program's place in the system tray, with its menu. Only made where the
// desktop has a tray.
class TrayIcon final : public QObject
{
    Q_OBJECT

public:
    explicit TrayIcon(QObject *parent = nullptr);
    ~TrayIcon() override;

    QMenu *menu() const { return m_menu; }

    void show();

    // Until onboarding ends the menu offers only to finish it, or to quit.
    void setSetupRequired(bool required);

    // Whether this process runs Monitor (the pause item works only then),
    // and whether Monitor is paused.
    void setMonitorState(bool available, bool paused);

Q_SIGNALS:
    // Open Nomly, or Finish Setup: the welcome window while onboarding runs.
    void openRequested();
    void aboutRequested();
    void pauseToggled();
    void quitRequested();

private:
    void rebuildMenu();

    bool m_setupRequired = true;
    bool m_monitorAvailable = false;
    bool m_monitorPaused = false;
    QMenu *m_menu = nullptr;
    QSystemTrayIcon *m_icon = nullptr;
};

} // namespace Nomly
