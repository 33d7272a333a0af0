#pragma once

#include <QObject>
#include <QStringList>
#include <memory>

#include <qcoro/qcorotask.h>

#include "app/appservices.h"

namespace Nomly {

class AppLauncher;
class SingleInstance;
class SettingsWindow;
class TrayIcon;

// The desktop face: brings the application up, then builds the window and the
// tray icon on it. Lives on the main thread, under a QApplication, for the
// whole run.
class GuiApplication final : public QObject
{
    Q_OBJECT

public:
    explicit GuiApplication(AppServices services, QObject *parent = nullptr);
    ~GuiApplication() override;

    AppLauncher &launcher() const { return *m_launcher; }

    // Null until setup has succeeded.
    SettingsWindow *settingsWindow() const { return m_window.get(); }

    // Null also where the desktop has no tray.
    TrayIcon *trayIcon() const { return m_tray.get(); }

    // Sets up and builds the interface. The window is shown at once when
    // there is no tray to reach it from. False when setup failed: the reason
    // has been shown unless the platform draws nothing, and the caller ends
    // the process with a non-zero status.
    QCoro::Task<bool> start();

    // Runs the application from main(): the files named on the command line,
    // the launch, then the event loop; answers the exit status.
    int run(const QStringList &files);

private:
    void buildInterface();

    std::unique_ptr<SingleInstance> m_instance;
    std::unique_ptr<AppLauncher> m_launcher;
    std::unique_ptr<SettingsWindow> m_window;
    std::unique_ptr<TrayIcon> m_tray;
};

} // namespace Nomly
