#include "gui/menubarcontroller.h"

#include <QApplication>
#include <QEvent>
#include <QMenu>
#include <QSystemTrayIcon>

#include "platform/desktopnotifier.h"
#include "platform/userdefaults.h"

namespace Nomly {

MenuBarController::MenuBarController(QObject *parent)
    : QObject(parent)
    // A menu has no parent object; it is deleted with the controller.
    , m_menu(new QMenu)
    , m_icon(new QSystemTrayIcon(this))
{
    m_menu->installEventFilter(this);
    // A new desktop theme may turn the panel dark or light.
    qApp->installEventFilter(this);
    m_spinner.setInterval(SpinnerStep);
    connect(&m_spinner, &QTimer::timeout, this, [this] {
        m_frame = (m_frame + 1) % TrayIconSpinnerFrames;
        updateIcon();
    });
    m_locationHint.setSingleShot(true);
    m_locationHint.setInterval(LocationHintDelay);
    m_icon->setContextMenu(m_menu);
    connect(m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason != QSystemTrayIcon::Trigger && reason != QSystemTrayIcon::DoubleClick)
            return;
        if (m_state.displayMode == MenuBarDisplayMode::SetupRequired)
            emit onboardingRequested();
        else
            emit openRequested();
    });
    rebuildMenu();
    updateIcon();
}

MenuBarController::~MenuBarController()
{
    // The icon goes first, so that it never holds a deleted menu.
    delete m_icon;
    delete m_menu;
}

QString MenuBarController::toolTip() const
{
    switch (iconState()) {
    case TrayIconState::Processing:
        return tr("Nomly is renaming files");
    case TrayIconState::Success:
        return tr("Nomly renamed all files");
    case TrayIconState::Offline:
        return tr("Nomly (no Internet connection)");
    case TrayIconState::Paused:
        return tr("Nomly (Monitor paused)");
    case TrayIconState::Standard:
        break;
    }
    return QStringLiteral("Nomly");
}

void MenuBarController::apply(const MenuBarPresentationState &state)
{
    if (state == m_state)
        return;
    const bool rebuild = state.displayMode != m_state.displayMode;
    m_state = state;
    if (rebuild)
        rebuildMenu();
    else
        updateItems();
    if (m_state.iconMode == MenuBarIconMode::Processing) {
        if (!m_spinner.isActive())
            m_spinner.start();
    } else {
        m_spinner.stop();
        m_frame = 0;
    }
    updateIcon();
}

void MenuBarController::show()
{
    // Also where no tray is there yet (a panel still starting at login): the
    // icon appears once one is.
    m_icon->show();
}

void MenuBarController::showLocationHint(UserDefaults &defaults)
{
    if (defaults.boolValue(QLatin1String(LocationHintKey)) || m_locationHint.isActive())
        return;
    m_locationHint.disconnect(this);
    connect(&m_locationHint, &QTimer::timeout, this, [this, &defaults] {
        // Told once, even when the notification goes unseen.
        if (defaults.boolValue(QLatin1String(LocationHintKey)))
            return;
        (void)defaults.setValue(QLatin1String(LocationHintKey), true);
        DesktopNotifier::post(tr("Nomly is here"), tr("You can find Nomly here in the system tray."));
    });
    m_locationHint.start();
}

bool MenuBarController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_menu && event->type() == QEvent::LanguageChange)
        rebuildMenu();
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange)
        updateIcon();
    return QObject::eventFilter(watched, event);
}

void MenuBarController::rebuildMenu()
{
    m_menu->clear();
    m_offline = m_offlineSeparator = m_pause = nullptr;
    if (m_state.displayMode == MenuBarDisplayMode::SetupRequired) {
        m_menu->addAction(QIcon::fromTheme(QStringLiteral("go-next")),
                          m_state.setupActionTitle.isEmpty() ? tr("Finish Setup...") : m_state.setupActionTitle,
                          this,
                          &MenuBarController::onboardingRequested);
    } else {
        m_offline
            = m_menu->addAction(QIcon::fromTheme(QStringLiteral("network-offline")), tr("No Internet Connection"));
        m_offline->setEnabled(false);
        m_offlineSeparator = m_menu->addSeparator();
        m_menu->addAction(
            themedIcon(QStringLiteral("nomly")), tr("Open Nomly"), this, &MenuBarController::openRequested);
        m_pause = m_menu->addAction(QString(), this, &MenuBarController::pauseToggled);
        m_pause->setToolTip(tr("Toggle Pause"));
        m_menu->addSeparator();
        m_menu->addAction(QIcon::fromTheme(QStringLiteral("help-about")),
                          tr("About Nomly"),
                          this,
                          &MenuBarController::aboutRequested);
    }
    m_menu->addSeparator();
    QAction *quit = m_menu->addAction(
        QIcon::fromTheme(QStringLiteral("application-exit")), tr("Quit"), this, &MenuBarController::quitRequested);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    updateItems();
}

void MenuBarController::updateItems()
{
    if (m_offline) {
        m_offline->setVisible(m_state.isOffline);
        m_offlineSeparator->setVisible(m_state.isOffline);
    }
    if (m_pause) {
        m_pause->setText(m_state.isPaused ? tr("Resume Monitor") : tr("Pause Monitor"));
        m_pause->setIcon(QIcon::fromTheme(m_state.isPaused ? QStringLiteral("media-playback-start")
                                                           : QStringLiteral("media-playback-pause")));
        m_pause->setEnabled(m_state.canPause);
    }
}

void MenuBarController::updateIcon()
{
    m_icon->setIcon(trayIcon(iconState(), isDarkPanel(), m_frame));
    m_icon->setToolTip(toolTip());
}

} // namespace Nomly
