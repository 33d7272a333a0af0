#include "gui/guiapplication.h"

#include <QApplication>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QSet>
#include <QSystemTrayIcon>
#include <QTabWidget>
#include <QTimer>
#include <chrono>
#include <utility>

#include <unistd.h>

#include <qcoro/qcorosignal.h>

#include "ai/remoteconfigservice.h"
#include "app/airoute.h"
#include "app/applaunch.h"
#include "app/appruntimecontroller.h"
#include "app/appworkflows.h"
#include "app/consentstate.h"
#include "app/consenttexts.h"
#include "app/diagnosticsparameters.h"
#include "app/hotkeyservice.h"
#include "app/menubarpresenter.h"
#include "app/monitorsession.h"
#include "app/networkservice.h"
#include "app/settingsviewmodel.h"
#include "app/uistatemirror.h"
#include "gui/airenametab.h"
#include "gui/alertbox.h"
#include "gui/consentwindow.h"
#include "gui/desktophotkeyservice.h"
#include "gui/menubarcontroller.h"
#include "gui/monitortab.h"
#include "gui/presentation.h"
#include "gui/settingswindow.h"
#include "gui/trayicons.h"
#include "gui/welcomewindow.h"
#include "platform/canonicalpath.h"
#include "platform/desktopnotifier.h"
#include "platform/diagnostics.h"
#include "platform/logcategories.h"
#include "platform/singleinstance.h"
#include "platform/terminationsignals.h"
#include "platform/userdefaults.h"

namespace Nomly {

namespace {

// Whether a failed start is told in a message box. Tests and headless runs
// draw nothing, and a box there would wait for a click that never comes; a
// start from a terminal has the message printed there already.
bool showsFailureBox()
{
    const QString platform = QGuiApplication::platformName();
    if (platform == QStringLiteral("offscreen") || platform == QStringLiteral("minimal"))
        return false;
    return !isatty(STDERR_FILENO);
}

// Long enough to read; the message stays in the journal after it.
constexpr auto FailureBoxTimeout = std::chrono::seconds(15);

} // namespace

GuiApplication::GuiApplication(AppServices services, QObject *parent)
    : QObject(parent)
    , m_services(services)
    , m_launcher(std::make_unique<AppLauncher>(std::move(services)))
{
    m_launcher->openFilesHandler = [this](const QStringList &paths) { receiveFiles(paths); };
    m_launcher->quickRenameHandler = [this](const QStringList &paths) { quickRename(paths); };
}

GuiApplication::~GuiApplication()
{
    // The interface binds to the launcher's state, so it goes first.
    m_hotkeys.reset();
    m_consent.reset();
    m_uiMirror.reset();
    m_menuBar.reset();
    m_menuBarPresenter.reset();
    m_runtime.reset();
    m_window.reset();
    m_welcome.reset();
}

QCoro::Task<bool> GuiApplication::start()
{
    QPointer<GuiApplication> self(this);
    auto starting = m_launcher->start();
    const bool started = co_await starting;
    if (!self)
        co_return false;
    if (!started) {
        if (showsFailureBox()) {
            auto *box = new QMessageBox(QMessageBox::Critical,
                                        QStringLiteral("Nomly"),
                                        AppLauncher::InitializationErrorPrefix + m_launcher->failureDescription(),
                                        QMessageBox::Ok);
            // Nobody may be at the screen; the program must not linger.
            QTimer::singleShot(FailureBoxTimeout, box, &QMessageBox::reject);
            box->open();
            auto closed = qCoro(box, &QMessageBox::finished);
            co_await closed;
            // Not deleted on close, which would drop the queued wake-up.
            box->deleteLater();
        }
        co_return false;
    }
    m_services.diagnosticsProvider().track(QStringLiteral("app_launched"));
    connect(&m_launcher->viewModel()->consent(),
            &ConsentState::consentReviewRequested,
            this,
            &GuiApplication::askForConsent);
    buildTray();
    connectQuickRename();
    connectBatchRename();
    connectMonitor();
    // At login the panel's tray may not be up yet; the icon appears once it
    // is, and a second start of nomly-gui brings the window meanwhile.
    const bool quiet = m_startsInBackground && m_launcher->viewModel()->consent().isOnboardingComplete();
    if (!quiet)
        showPrimary();
    co_return true;
}

void GuiApplication::showPrimary()
{
    SettingsViewModel *model = m_launcher->viewModel();
    if (!model)
        return;
    if (!model->consent().isOnboardingComplete()) {
        if (!m_welcome) {
            KeyCustody *custody = m_services.keysProvider ? m_services.keysProvider() : nullptr;
            m_welcome = std::make_unique<WelcomeWindow>(*model, custody, [this](QString *error) -> KeySync * {
                AIRoute *route = aiRoute(error);
                return route ? &route->keySync() : nullptr;
            });
            connect(m_welcome.get(), &WelcomeWindow::consentAgreed, this, &GuiApplication::grantConsent);
            connect(m_welcome.get(), &WelcomeWindow::completed, this, &GuiApplication::completeOnboarding);
        }
        m_welcome->present();
        qCInfo(lcGeneral).noquote() << "Welcome window shown";
        m_services.diagnosticsProvider().track(QStringLiteral("welcome_shown"));
        return;
    }
    if (!m_window) {
        KeyCustody *custody = m_services.keysProvider ? m_services.keysProvider() : nullptr;
        m_window = std::make_unique<SettingsWindow>(
            *model,
            *m_launcher->workflows(),
            custody,
            [this](QString *error) -> KeySync * {
                AIRoute *route = aiRoute(error);
                return route ? &route->keySync() : nullptr;
            },
            m_hotkeys.get());
        connect(m_window.get(), &SettingsWindow::consentReviewRequested, this, &GuiApplication::presentConsent);
        connect(m_window->tabs(), &QTabWidget::currentChanged, this, [this] {
            Diagnostics &diagnostics = m_services.diagnosticsProvider();
            const SettingsTab tab = m_window->selectedTab();
            diagnostics.track(QStringLiteral("tab_selected"), { { QStringLiteral("tab"), diagnosticsWord(tab) } });
            if (tab == SettingsTab::AIRename)
                diagnostics.track(QStringLiteral("ai_rename_viewed"));
            else if (tab == SettingsTab::Statistics)
                diagnostics.track(QStringLiteral("statistics_viewed"));
            mirrorUIState();
        });
        m_window->aiRenameTab()->setRemoteConfigSource(
            [this] { return RemoteConfigService::cachedConfig(m_services.userDefaultsProvider()); });
        m_window->monitorTab()->setMonitoring(m_launcher->workflows()->monitoring(), [this] {
            if (!m_monitorSession || m_monitorSession->isActive())
                return QString();
            const auto holder = m_monitorSession->holder();
            return holder ? QStringLiteral("%1 (pid %2)").arg(holder->program).arg(holder->pid)
                          : QStringLiteral("another process");
        });
    }
    if (m_requestedTab)
        m_window->selectTab(*std::exchange(m_requestedTab, std::nullopt));
    m_window->present();
    qCInfo(lcGeneral).noquote() << "Settings window shown";
    m_services.diagnosticsProvider().track(QStringLiteral("settings_window_shown"));
}

void GuiApplication::completeOnboarding()
{
    SettingsViewModel *model = m_launcher->viewModel();
    AppWorkflows *workflows = m_launcher->workflows();
    if (!model)
        return;
    model->consent().completeOnboarding();
    m_services.diagnosticsProvider().track(QStringLiteral("onboarding_completed"));
    // The guide's last step leads to the tab of what it chose; files it
    // took go to AI Rename like any others.
    if (m_welcome) {
        if (!m_welcome->chosenFolder().isEmpty())
            m_requestedTab = SettingsTab::Monitor;
        if (const QStringList files = m_welcome->chosenFiles(); !files.isEmpty()) {
            m_requestedTab = SettingsTab::AIRename;
            m_receivedFiles += files;
        }
    }
    // Where there is a tray to point at.
    if (m_menuBar && QSystemTrayIcon::isSystemTrayAvailable())
        m_menuBar->showLocationHint(m_services.userDefaultsProvider());
    workflows->hotkey().registerHotkey();
    workflows->monitoring().reconfigureWatcher();
    // Hidden only once the settings window is up, so that a desktop without
    // a tray never sees its last window close in between.
    showPrimary();
    if (m_welcome)
        m_welcome->hide();
    if (!m_receivedFiles.isEmpty())
        routeReceivedFiles();
}

int GuiApplication::run(const QStringList &files)
{
    // A second launch, or a file-manager action while Nomly runs, hands its
    // files to the running process, which comes forward, and ends.
    m_instance = std::make_unique<SingleInstance>();
    if (!m_instance->claim())
        return m_instance->forward(files) ? 0 : 1;
    connect(m_instance.get(), &SingleInstance::quickRenameRequested, this, [this](const QStringList &received) {
        m_launcher->quickRename(received);
    });
    connect(m_instance.get(), &SingleInstance::filesReceived, this, [this](const QStringList &received) {
        if (received.isEmpty())
            showPrimary();
        else
            m_launcher->openFiles(received);
    });

    // A logout or `kill` ends the program through its own shutdown; a quick
    // rename in flight finishes first, so that no renamed file lacks its
    // record.
    auto *termination = new TerminationSignals;
    termination->setParent(this);
    if (termination->install()) {
        connect(termination, &TerminationSignals::terminationRequested, this, [this] {
            AppWorkflows *workflows = m_launcher->workflows();
            // Monitor takes nothing new; the file it is renaming gets its
            // record first.
            if (m_monitorSession)
                m_monitorSession->end();
            const auto busy = [workflows] {
                return workflows && (workflows->hotkey().isHotkeyProcessing() || workflows->monitoring().isBusy());
            };
            if (!busy()) {
                QCoreApplication::quit();
                return;
            }
            qCInfo(lcGeneral) << "Ending once the renames in progress have finished";
            const auto quitWhenDone = [busy] {
                if (!busy())
                    QCoreApplication::quit();
            };
            connect(&workflows->hotkey(), &HotkeyViewModel::isHotkeyProcessingChanged, this, quitWhenDone);
            connect(&workflows->monitoring(), &MonitoringViewModel::stateChanged, this, quitWhenDone);
        });
    }

    applyPresentation(m_services.userDefaultsProvider(), qApp);
    QApplication::setWindowIcon(themedIcon(QStringLiteral("nomly")));
    // The tray keeps the process alive with every window closed; without a
    // tray, closing the last window ends the program.
    QApplication::setQuitOnLastWindowClosed(!m_startsInBackground && !QSystemTrayIcon::isSystemTrayAvailable());
    if (!files.isEmpty())
        m_launcher->openFiles(files);
    QTimer::singleShot(0, this, [this] {
        auto starting = start();
        QCoro::connect(std::move(starting), this, [](bool started) {
            if (!started)
                QCoreApplication::exit(1);
        });
    });
    return QApplication::exec();
}

void GuiApplication::buildTray()
{
    if (m_menuBar)
        return;
    SettingsViewModel *model = m_launcher->viewModel();
    AppWorkflows *workflows = m_launcher->workflows();
    m_runtime = std::make_unique<AppRuntimeController>(*model, *workflows, m_services.networkProvider());
    m_menuBarPresenter = std::make_unique<MenuBarPresenter>([this] { return m_runtime->menuBarFacts(); });
    m_menuBar = std::make_unique<MenuBarController>();
    m_menuBar->apply(m_menuBarPresenter->state());
    connect(m_runtime.get(), &AppRuntimeController::changed, m_menuBarPresenter.get(), &MenuBarPresenter::refresh);
    m_uiMirror = std::make_unique<UIStateMirror>(m_services.diagnosticsProvider());
    connect(m_runtime.get(), &AppRuntimeController::changed, this, &GuiApplication::mirrorUIState);
    mirrorUIState();
    connect(m_runtime.get(),
            &AppRuntimeController::renameAllSucceeded,
            m_menuBarPresenter.get(),
            &MenuBarPresenter::showSuccess);
    connect(m_menuBarPresenter.get(), &MenuBarPresenter::stateChanged, m_menuBar.get(), &MenuBarController::apply);
    connect(m_menuBar.get(), &MenuBarController::openRequested, this, &GuiApplication::showPrimary);
    connect(m_menuBar.get(), &MenuBarController::onboardingRequested, this, &GuiApplication::showPrimary);
    connect(m_menuBar.get(), &MenuBarController::aboutRequested, this, [this] {
        m_requestedTab = SettingsTab::About;
        showPrimary();
    });
    connect(m_menuBar.get(), &MenuBarController::quitRequested, qApp, &QCoreApplication::quit);
    m_menuBar->show();
}

void GuiApplication::receiveFiles(const QStringList &paths)
{
    qCInfo(lcGeneral).noquote() << "Received" << paths.size() << "file(s):" << paths.join(QStringLiteral(", "));
    QSet<QString> held;
    for (const QString &path : std::as_const(m_receivedFiles))
        held.insert(canonicalPath(path));
    for (const QString &path : paths) {
        const QString resolved = canonicalPath(path);
        if (!held.contains(resolved)) {
            held.insert(resolved);
            m_receivedFiles.append(path);
        }
    }
    routeReceivedFiles();
}

void GuiApplication::routeReceivedFiles()
{
    SettingsViewModel *model = m_launcher->viewModel();
    AppWorkflows *workflows = m_launcher->workflows();
    if (!model)
        return;
    if (!model->consent().isOnboardingComplete()) {
        showPrimary();
        return;
    }
    if (!model->consent().aiDataConsentGranted()) {
        requestConsentReview(ConsentReviewSource::DockDrop);
        return;
    }
    m_requestedTab = SettingsTab::AIRename;
    showPrimary();
    if (m_receivedFiles.isEmpty())
        return;
    connectBatchRename();
    const QStringList files = std::exchange(m_receivedFiles, {});
    // Refused only while a rename runs; they go in once it has ended.
    if (!workflows->batchRename().addFiles(files, BatchRenameViewModel::DropSource::Window))
        m_receivedFiles = files;
}

void GuiApplication::quickRename(const QStringList &paths)
{
    SettingsViewModel *model = m_launcher->viewModel();
    AppWorkflows *workflows = m_launcher->workflows();
    if (!model)
        return;
    // Quick rename has nowhere to go before the welcome window is through;
    // the files are dropped, as a window would have nothing to show them in.
    if (!model->consent().isOnboardingComplete()) {
        showPrimary();
        return;
    }
    connectQuickRename();
    QCoro::connect(workflows->hotkey().processFinderServiceFiles(paths), this, [](const QuickRenameOutcome &) {});
}

AIRoute *GuiApplication::aiRoute(QString *error)
{
    if (!m_aiRoute) {
        // Hosted ready too: the route may change while the program runs.
        UserDefaults &defaults = m_services.userDefaultsProvider();
        KeyCustody *keys = m_services.keysProvider ? m_services.keysProvider() : nullptr;
        Result<std::unique_ptr<AIRoute>> opened = keys && m_services.deviceProvider
            ? AIRoute::open(defaults, m_services.deviceProvider(), *keys, true)
            : AIRoute::open(defaults, true);
        if (!opened) {
            *error = opened.error();
            return nullptr;
        }
        m_aiRoute = std::move(opened).value();
    }
    return m_aiRoute.get();
}

AIService *GuiApplication::aiService(QString *error)
{
    AIRoute *route = aiRoute(error);
    return route ? &route->service() : nullptr;
}

void GuiApplication::connectQuickRename()
{
    SettingsViewModel *model = m_launcher->viewModel();
    AppWorkflows *workflows = m_launcher->workflows();
    if (!model || m_quickRenameConnected)
        return;
    m_quickRenameConnected = true;
    // Offscreen runs (tests, headless sessions) have no desktop to ask.
    if (QGuiApplication::platformName() != u"offscreen")
        m_hotkeys = std::make_unique<DesktopHotkeyService>();
    workflows->setQuickRenameServices({
        [this](QString *error) { return aiService(error); },
        [this]() -> HotkeyService * { return m_hotkeys.get(); },
        [](const QString &title, const QString &body) { DesktopNotifier::post(title, body); },
        [this](ConsentReviewSource source) { requestConsentReview(source); },
    });
    if (model->consent().isOnboardingComplete())
        workflows->hotkey().registerHotkey();
}

void GuiApplication::connectBatchRename()
{
    AppWorkflows *workflows = m_launcher->workflows();
    if (!workflows || m_batchRenameConnected)
        return;
    m_batchRenameConnected = true;
    workflows->setBatchRenameServices({
        [this](QString *error) { return aiService(error); },
        // Someone watching the list sees the names land; the desktop tells
        // the others.
        [this](const QString &title, const QString &body) {
            if (!m_window || !m_window->isActiveWindow())
                DesktopNotifier::post(title, body);
        },
        [this](ConsentReviewSource source) { requestConsentReview(source); },
        [this](BatchRenameViewModel::DropSource, int) {
            QCoro::connect(showAlert(m_window.get(),
                                     tr("No supported files found"),
                                     tr("We couldn't find supported files in your selection. Try files or folders "
                                        "containing supported formats like PDF, JPG, PNG, DOCX, TXT, MP3."),
                                     {}),
                           this,
                           [](const QString &) {});
        },
    });
    // What came in and how its analysis went, as kinds and counts.
    connect(
        &workflows->batchRename(), &BatchRenameViewModel::itemsInserted, this, [this, workflows](int first, int last) {
            QStringList names;
            for (int row = first; row <= last && row < workflows->batchRename().items().size(); ++row)
                names.append(workflows->batchRename().items().at(row).fileName);
            m_services.diagnosticsProvider().track(QStringLiteral("ai_rename_files_added"), fileTypeBreakdown(names));
        });
    connect(&workflows->batchRename(), &BatchRenameViewModel::becameIdle, this, [this, workflows] {
        QStringList names;
        int analyzed = 0;
        int failed = 0;
        for (const BatchRenameItem &item : workflows->batchRename().items()) {
            names.append(item.fileName);
            analyzed += item.status == BatchRenameStatus::Analyzed ? 1 : 0;
            failed += item.status == BatchRenameStatus::Failed ? 1 : 0;
        }
        if (names.isEmpty())
            return;
        DiagnosticsParameters parameters = fileTypeBreakdown(names);
        parameters.insert(QStringLiteral("count"), QString::number(names.size()));
        parameters.insert(QStringLiteral("analyzed_count"), QString::number(analyzed));
        parameters.insert(QStringLiteral("failed_count"), QString::number(failed));
        m_services.diagnosticsProvider().track(QStringLiteral("ai_rename_analysis_completed"), parameters);
    });
    connect(&workflows->batchRename(), &BatchRenameViewModel::renameAllFinished, this, [this, workflows] {
        int renamed = 0;
        int failed = 0;
        for (const BatchRenameItem &item : workflows->batchRename().items()) {
            renamed += item.status == BatchRenameStatus::Completed ? 1 : 0;
            failed += item.status == BatchRenameStatus::Failed ? 1 : 0;
        }
        m_services.diagnosticsProvider().track(QStringLiteral("ai_rename_rename_completed"),
                                               { { QStringLiteral("success_count"), QString::number(renamed) },
                                                 { QStringLiteral("failed_count"), QString::number(failed) } });
    });
    // Files that waited for a rename to end go in after it.
    connect(&workflows->batchRename(), &BatchRenameViewModel::renameAllFinished, this, [this] {
        if (!m_receivedFiles.isEmpty())
            routeReceivedFiles();
    });
}

void GuiApplication::connectMonitor()
{
    SettingsViewModel *model = m_launcher->viewModel();
    AppWorkflows *workflows = m_launcher->workflows();
    if (!model || !workflows || m_monitorSession)
        return;
    NetworkService &network = m_services.networkProvider();
    workflows->setMonitorServices({
        [this](QString *error) { return aiService(error); },
        [](const QString &title, const QString &body) { DesktopNotifier::post(title, body); },
        [&network] { return !network.isConnected(); },
        [model] { return model->consent().isOnboardingComplete(); },
    });
    MonitoringViewModel &monitoring = workflows->monitoring();
    m_monitorSession = std::make_unique<MonitorSession>(
        monitoring, *model, *m_launcher->database(), m_services.dataDirectoryProvider());
    if (!m_monitorSession->begin()) {
        const auto holder = m_monitorSession->holder();
        qCInfo(lcFileWatcher).noquote() << "Monitor runs in another process:"
                                        << (holder ? QStringLiteral("%1 (pid %2)").arg(holder->program).arg(holder->pid)
                                                   : QStringLiteral("unknown"));
    }
    connect(model, &SettingsViewModel::settingsChanged, &monitoring, [this, &monitoring] {
        if (m_monitorSession && m_monitorSession->isActive())
            monitoring.reconfigureWatcher();
    });
    connect(&network, &NetworkService::isConnectedChanged, &monitoring, [this, &monitoring](bool connected) {
        if (m_monitorSession && m_monitorSession->isActive())
            monitoring.handleNetworkChange(connected);
    });
    connect(&monitoring, &MonitoringViewModel::stateChanged, this, &GuiApplication::showMonitorState);
    // Coming back to the program picks up a folder that has come back (a
    // drive plugged in again) at once.
    connect(
        qApp, &QGuiApplication::applicationStateChanged, &monitoring, [this, &monitoring](Qt::ApplicationState state) {
            if (state != Qt::ApplicationActive || !m_monitorSession || !m_monitorSession->isActive())
                return;
            monitoring.refreshFolderAvailability(true);
            monitoring.startWatching();
        });
    // A file Monitor gave up on keeps its name; the user hears why.
    connect(&monitoring, &MonitoringViewModel::fileFailed, this, [](const QString &path, const QString &message) {
        DesktopNotifier::post(tr("Monitor Could Not Rename a File"),
                              QStringLiteral("%1: %2").arg(QFileInfo(path).fileName(), message));
    });
    connect(m_menuBar.get(), &MenuBarController::pauseToggled, &monitoring, [this, &monitoring] {
        if (m_monitorSession && m_monitorSession->isActive())
            monitoring.togglePause();
    });
    showMonitorState();
}

void GuiApplication::mirrorUIState()
{
    AppWorkflows *workflows = m_launcher->workflows();
    if (!m_uiMirror || !m_runtime || !workflows)
        return;
    const MenuBarPresentationState tray = m_menuBarPresenter->state();
    m_uiMirror->observe({
        m_window ? diagnosticsWord(m_window->selectedTab()) : QStringLiteral("none"),
        m_runtime->isWorkRunning(),
        tray.isPaused,
        tray.isOffline,
        int(workflows->batchRename().items().size()),
        int(workflows->monitoring().monitorQueueItems().size()),
    });
}

void GuiApplication::showMonitorState()
{
    if (m_runtime && m_monitorSession)
        m_runtime->setMonitorRunsHere(m_monitorSession->isActive());
}

void GuiApplication::requestConsentReview(ConsentReviewSource source)
{
    SettingsViewModel *model = m_launcher->viewModel();
    if (!model)
        return;
    const QString word = diagnosticsWord(source);
    Diagnostics &diagnostics = m_services.diagnosticsProvider();
    switch (source) {
    case ConsentReviewSource::BatchRegenerate:
        diagnostics.track(QStringLiteral("ai_rename_regenerate_blocked_consent"));
        break;
    case ConsentReviewSource::Hotkey:
        diagnostics.track(QStringLiteral("hotkey_blocked_consent"));
        break;
    case ConsentReviewSource::FinderService:
        diagnostics.track(QStringLiteral("quick_rename_blocked_consent"));
        break;
    case ConsentReviewSource::BatchDrop:
    case ConsentReviewSource::DockDrop:
    case ConsentReviewSource::Picker:
        diagnostics.track(QStringLiteral("ai_rename_drop_blocked_consent"), { { QStringLiteral("source"), word } });
        break;
    }
    model->consent().requestConsentReview(source);
}

// The settings window comes forward on its first tab with the reason, and the
// user may go on to read what is sent and agree.
void GuiApplication::askForConsent()
{
    SettingsViewModel *model = m_launcher->viewModel();
    if (!model)
        return;
    m_requestedTab = SettingsTab::AIRename;
    showPrimary();
    // One question at a time, however many requests arrive meanwhile.
    if (m_consentAlertOpen)
        return;
    m_consentAlertOpen = true;
    const QString review = tr("Review Consent");
    QCoro::connect(showAlert(m_window.get(), ConsentTexts::missingTitle(), ConsentTexts::missingMessage(), { review }),
                   this,
                   [this, review](const QString &chosen) {
                       m_consentAlertOpen = false;
                       if (chosen != review)
                           return;
                       DiagnosticsParameters why;
                       if (SettingsViewModel *state = m_launcher->viewModel()) {
                           if (const auto source = state->consent().confirmConsentReview())
                               why.insert(QStringLiteral("source"), diagnosticsWord(*source));
                       }
                       m_services.diagnosticsProvider().track(QStringLiteral("consent_review_requested"), why);
                       presentConsent();
                   });
}

bool GuiApplication::grantConsent()
{
    SettingsViewModel *model = m_launcher->viewModel();
    AppWorkflows *workflows = m_launcher->workflows();
    if (!model)
        return false;
    if (const Result<> granted = model->consent().grantAIDataConsent(); !granted) {
        QCoro::connect(showAlert(nullptr, tr("Consent Not Stored"), granted.error(), {}), this, [](const QString &) {});
        return false;
    }
    m_services.diagnosticsProvider().track(QStringLiteral("consent_accepted"));
    workflows->hotkey().registerHotkey();
    workflows->monitoring().reconfigureWatcher();
    return true;
}

void GuiApplication::presentConsent()
{
    if (!m_consent) {
        m_consent = std::make_unique<ConsentWindow>();
        connect(m_consent.get(), &ConsentWindow::agreed, this, [this] {
            if (!grantConsent())
                return;
            showPrimary();
            if (!m_receivedFiles.isEmpty())
                routeReceivedFiles();
        });
    }
    m_consent->present();
    m_services.diagnosticsProvider().track(QStringLiteral("consent_gate_shown"));
}

} // namespace Nomly
