#include "gui/settingswindow.h"

#include <QEvent>
#include <QMessageBox>
#include <QTabWidget>
#include <QVBoxLayout>

#include "app/appworkflows.h"
#include "app/settingsviewmodel.h"
#include "gui/abouttab.h"
#include "gui/activitytab.h"
#include "gui/airenametab.h"
#include "gui/aisetuptab.h"
#include "gui/alertbox.h"
#include "gui/generaltab.h"
#include "gui/hotkeysettingsbox.h"
#include "gui/monitortab.h"
#include "gui/presentation.h"
#include "gui/privacysettingsbox.h"
#include "gui/statisticstab.h"
#include "gui/templatestab.h"

namespace Nomly {

SettingsWindow::SettingsWindow(SettingsViewModel &model,
                               AppWorkflows &workflows,
                               KeyCustody *custody,
                               AISetupTab::KeySyncSource keySync,
                               HotkeyService *hotkeys,
                               QWidget *parent)
    : QWidget(parent)
    , m_model(model)
{
    setWindowTitle(QStringLiteral("Nomly"));
    setMinimumSize(MinimumWidth, MinimumHeight);

    m_tabs = new QTabWidget(this);
    m_aiRenameTab = new AIRenameTab(workflows.batchRename(), model.templates(), this);
    m_monitorTab = new MonitorTab(model, this);
    m_activityTab = new ActivityTab(workflows.activity(), this);
    m_statisticsTab = new StatisticsTab(workflows.statistics(), this);
    m_templatesTab = new TemplatesTab(model, this);
    m_generalTab = new GeneralTab(model, this);
    connect(m_generalTab, &GeneralTab::saveFailed, this, [this](const QString &message) {
        QCoro::connect(showAlert(this, tr("Setting Not Saved"), message, {}), this, [](const QString &) {});
    });
    m_aiSetupTab = new AISetupTab(model, custody, std::move(keySync), this);
    m_aiSetupTab->addSection(new HotkeySettingsBox(model, workflows.hotkey(), hotkeys, m_aiSetupTab));
    auto *privacy = new PrivacySettingsBox(model.consent(), m_aiSetupTab);
    connect(privacy, &PrivacySettingsBox::reviewRequested, this, &SettingsWindow::consentReviewRequested);
    m_aiSetupTab->addSection(privacy);
    m_aboutTab = new AboutTab(this);
    addTab(m_aiRenameTab, SettingsTab::AIRename, tr("AI Rename"));
    addTab(m_monitorTab, SettingsTab::Monitor, tr("Monitor"));
    addTab(m_activityTab, SettingsTab::Activity, tr("Activity"));
    addTab(m_statisticsTab, SettingsTab::Statistics, tr("Statistics"));
    addTab(m_templatesTab, SettingsTab::Templates, tr("Templates"));
    addTab(m_generalTab, SettingsTab::General, tr("General"));
    addTab(m_aiSetupTab, SettingsTab::AISetup, tr("AI Setup"));
    addTab(m_aboutTab, SettingsTab::About, tr("About"));

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);

    connect(&model.templates(), &TemplateLibrary::noticeRequested, this, [this](const QString &text) {
        auto *box = new QMessageBox(QMessageBox::Information, QStringLiteral("Nomly"), text, QMessageBox::Ok, this);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->open();
    });
}

QList<SettingsTab> SettingsWindow::shownTabs() const
{
    return m_tabOrder;
}

void SettingsWindow::addTab(QWidget *page, SettingsTab tab, const QString &title)
{
    m_tabs->addTab(page, title);
    m_tabOrder.append(tab);
}

void SettingsWindow::selectTab(SettingsTab tab)
{
    const auto index = m_tabOrder.indexOf(tab);
    m_tabs->setCurrentIndex(index < 0 ? 0 : static_cast<int>(index));
}

SettingsTab SettingsWindow::selectedTab() const
{
    const int index = m_tabs->currentIndex();
    return index >= 0 && index < m_tabOrder.size() ? m_tabOrder.at(index) : m_tabOrder.value(0);
}

void SettingsWindow::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    // Coming back to the window shows what was renamed meanwhile elsewhere.
    if (event->type() == QEvent::ActivationChange && isActiveWindow() && m_activityTab->isVisible())
        m_activityTab->refresh();
}

void SettingsWindow::present()
{
    placeOnFirstShow(*this);
    setWindowState((windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    show();
    raise();
    activateWindow();
}

} // namespace Nomly
