#pragma once

#include <QObject>
#include <QStringList>
#include <memory>
#include <optional>

#include <qcoro/qcorotask.h>

#include "app/appservices.h"
#include "app/settingstab.h"
#include "workflows/consentreviewsource.h"

namespace Nomly {

class AIRoute;
class AIService;
class AppLauncher;
class AppRuntimeController;
class ConsentWindow;
class HotkeyService;
class MenuBarController;
class MenuBarPresenter;
class UIStateMirror;
class MonitorSession;
class SingleInstance;
class SettingsWindow;
class WelcomeWindow;

// The desktop face: brings the application up, then shows the welcome window
// on a profile that has not been through it, or else the settings window, and
// puts the icon in the tray. Lives on the main thread, under a QApplication,
// for the whole run.
class GuiApplication final : public QObject
{
    Q_OBJECT

public:
    explicit GuiApplication(AppServices services, QObject *parent = nullptr);
    ~GuiApplication() override;

    AppLauncher &launcher() const { return *m_launcher; }

    // Each is made on first use, after setup has succeeded; null before.
    SettingsWindow *settingsWindow() const { return m_window.get(); }

    WelcomeWindow *welcomeWindow() const { return m_welcome.get(); }

    ConsentWindow *consentWindow() const { return m_consent.get(); }

    // The tray's menu and icon, made after setup also where the desktop has
    // no tray to show them; null before.
    MenuBarController *menuBar() const { return m_menuBar.get(); }

    MenuBarPresenter *menuBarPresenter() const { return m_menuBarPresenter.get(); }

    AppRuntimeController *runtime() const { return m_runtime.get(); }

    // The quick rename shortcut; null before setup and in offscreen runs.
    HotkeyService *hotkeys() const { return m_hotkeys.get(); }

    // Sets up, then shows the primary window. False when setup failed: the
    // reason has been shown unless the platform draws nothing, and the caller
    // ends the process with a non-zero status.
    QCoro::Task<bool> start();

    // The welcome window until onboarding is complete, the settings window
    // after; nothing before setup has succeeded.
    void showPrimary();

    // The user has been through the welcome window.
    void completeOnboarding();

    // Runs the application from main(): the files named on the command line,
    // the launch, then the event loop; answers the exit status.
    int run(const QStringList &files);

    // Started at login: once onboarding is behind the user, no window opens,
    // only the tray icon, and closing a window later never ends the program.
    void setStartsInBackground(bool background) { m_startsInBackground = background; }

private:
    void buildTray();
    // Files for AI Rename from outside the window: opened with the program,
    // by the desktop entry, a file-manager action or a second launch.
    void receiveFiles(const QStringList &paths);
    // Hands the files received so far to AI Rename once the profile has been
    // through the welcome window and agreed to AI processing; until then
    // leads the user there, and keeps them.
    void routeReceivedFiles();
    // Quick rename of files a file-manager action handed over.
    void quickRename(const QStringList &paths);
    // Gives quick rename its services once the central state exists.
    void connectQuickRename();
    // Gives AI Rename its services once the central state exists.
    void connectBatchRename();
    // Runs Monitor in this process when no other process does.
    void connectMonitor();
    void showMonitorState();
    // Leaves the breadcrumbs of what the interface does.
    void mirrorUIState();
    // The AI route of this process, opened when first needed.
    AIRoute *aiRoute(QString *error);
    // Its analysis service, for the workflows.
    AIService *aiService(QString *error);
    // A workflow stopped for want of the agreement; the central state keeps
    // why, and the question follows.
    void requestConsentReview(ConsentReviewSource source);
    void askForConsent();
    // Stores the agreement and starts what waited for it; false, with the
    // reason shown, when it could not be stored.
    bool grantConsent();
    // What is sent, and the agreement to it.
    void presentConsent();

    AppServices m_services;
    std::unique_ptr<SingleInstance> m_instance;
    std::unique_ptr<AppLauncher> m_launcher;
    std::unique_ptr<WelcomeWindow> m_welcome;
    std::unique_ptr<SettingsWindow> m_window;
    // The tab the next showing of the settings window opens on.
    std::optional<SettingsTab> m_requestedTab;
    std::unique_ptr<AppRuntimeController> m_runtime;
    std::unique_ptr<MenuBarPresenter> m_menuBarPresenter;
    std::unique_ptr<MenuBarController> m_menuBar;
    std::unique_ptr<UIStateMirror> m_uiMirror;
    // Built when quick rename first needs it: the backend it may run inside
    // this process is not started for a session that never renames.
    std::unique_ptr<AIRoute> m_aiRoute;
    std::unique_ptr<ConsentWindow> m_consent;
    std::unique_ptr<HotkeyService> m_hotkeys;
    bool m_quickRenameConnected = false;
    bool m_batchRenameConnected = false;
    std::unique_ptr<MonitorSession> m_monitorSession;
    // Received for AI Rename, waiting for the welcome window or the consent;
    // one entry per resolved path.
    QStringList m_receivedFiles;
    bool m_consentAlertOpen = false;
    bool m_startsInBackground = false;
};

} // namespace Nomly
