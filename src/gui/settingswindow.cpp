#include "gui/settingswindow.h"

#include <QCloseEvent>
#include <QTabWidget>
#include <QVBoxLayout>

#include "gui/abouttab.h"
#include "gui/activitytab.h"

namespace Nomly {

SettingsWindow::SettingsWindow(ActivityViewModel &activity, QWidget *parent)
    : QWidget(parent)
{
    setWindowTitle(QStringLiteral("Nomly"));
    setMinimumSize(MinimumWidth, MinimumHeight);

    m_activityTab = new ActivityTab(activity, this);
    m_aboutTab = new AboutTab(this);
    m_tabs = new QTabWidget(this);
    m_tabs->addTab(m_activityTab, QStringLiteral("Activity"));
    m_tabs->addTab(m_aboutTab, QStringLiteral("About"));

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);
}

void SettingsWindow::showActivity()
{
    m_tabs->setCurrentWidget(m_activityTab);
}

void SettingsWindow::showAbout()
{
    m_tabs->setCurrentWidget(m_aboutTab);
}

void SettingsWindow::present()
{
    setWindowState((windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    show();
    raise();
    activateWindow();
}

void SettingsWindow::closeEvent(QCloseEvent *event)
{
    event->ignore();
    hide();
}

} // namespace Nomly
