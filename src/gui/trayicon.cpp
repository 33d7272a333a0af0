#include "gui/trayicon.h"

#include <QApplication>
#include <QIcon>
#include <QMenu>
#include <QStyle>
#include <QSystemTrayIcon>

namespace Nomly {

TrayIcon::TrayIcon(QObject *parent)
    : QObject(parent)
    // A menu has no parent object; it is deleted with the icon.
    , m_menu(new QMenu)
    , m_icon(new QSystemTrayIcon(this))
{
    rebuildMenu();

    const QIcon themed = QIcon::fromTheme(QStringLiteral("nomly"));
    m_icon->setIcon(themed.isNull() ? QApplication::style()->standardIcon(QStyle::SP_FileDialogContentsView) : themed);
    m_icon->setToolTip(QStringLiteral("Nomly"));
    m_icon->setContextMenu(m_menu);
    connect(m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            emit openRequested();
    });
}

TrayIcon::~TrayIcon()
{
    // The icon goes first, so that it never holds a deleted menu.
    delete m_icon;
    delete m_menu;
}

void TrayIcon::show()
{
    m_icon->show();
}

void TrayIcon::setSetupRequired(bool required)
{
    if (required == m_setupRequired)
        return;
    m_setupRequired = required;
    rebuildMenu();
}

void TrayIcon::setMonitorState(bool available, bool paused)
{
    if (available == m_monitorAvailable && paused == m_monitorPaused)
        return;
    m_monitorAvailable = available;
    m_monitorPaused = paused;
    m_icon->setToolTip(paused ? tr("Nomly (Monitor paused)") : QStringLiteral("Nomly"));
    rebuildMenu();
}

void TrayIcon::rebuildMenu()
{
    m_menu->clear();
    if (m_setupRequired) {
        m_menu->addAction(tr("Finish Setup..."), this, &TrayIcon::openRequested);
    } else {
        m_menu->addAction(tr("Open Nomly"), this, &TrayIcon::openRequested);
        QAction *pause = m_menu->addAction(
            m_monitorPaused ? tr("Resume Monitor") : tr("Pause Monitor"), this, &TrayIcon::pauseToggled);
        pause->setEnabled(m_monitorAvailable);
        m_menu->addSeparator();
        m_menu->addAction(tr("About Nomly"), this, &TrayIcon::aboutRequested);
    }
    m_menu->addSeparator();
    m_menu->addAction(tr("Quit"), this, &TrayIcon::quitRequested)->setShortcut(QKeySequence::Quit);
}

} // namespace Nomly
