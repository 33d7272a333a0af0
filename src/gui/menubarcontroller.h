#pragma once

#include <QObject>
#include <QTimer>

#include "app/menubarpresentationstate.h"
#include "gui/trayicons.h"

class QAction;
class QMenu;
class QSystemTrayIcon;

namespace Nomly {

class UserDefaults;

// The tray icon and its menu, drawn from MenuBarPresentationState alone.
// The menu is rebuilt when the display mode or the interface language
// changes; other changes update the items in place. Made also where the
// desktop has no tray (the menu then exists but is never shown), so the same
// state holds everywhere. Main thread.
class MenuBarController final : public QObject
{
    Q_OBJECT

public:
    static constexpr auto LocationHintKey = "hasShownMenuBarLocationHint";
    static constexpr std::chrono::milliseconds LocationHintDelay { 700 };
    static constexpr std::chrono::milliseconds SpinnerStep { 120 };

    explicit MenuBarController(QObject *parent = nullptr);
    ~MenuBarController() override;

    QMenu *menu() const { return m_menu; }

    const MenuBarPresentationState &currentState() const { return m_state; }

    TrayIconState iconState() const { return trayIconState(m_state); }

    QString toolTip() const;

    void apply(const MenuBarPresentationState &state);

    // Puts the icon in the tray, where the desktop has one.
    void show();

    // Once per installation, a moment after onboarding: a notification that
    // says where the icon is, for a panel too full to see it.
    void showLocationHint(UserDefaults &defaults);

Q_SIGNALS:
    void openRequested();
    void onboardingRequested();
    void pauseToggled();
    void aboutRequested();
    void quitRequested();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void rebuildMenu();
    void updateItems();
    void updateIcon();

    MenuBarPresentationState m_state;
    QMenu *m_menu = nullptr;
    QSystemTrayIcon *m_icon = nullptr;
    QAction *m_offline = nullptr;
    QAction *m_offlineSeparator = nullptr;
    QAction *m_pause = nullptr;
    QTimer m_spinner;
    int m_frame = 0;
    QTimer m_locationHint;
};

} // namespace Nomly
