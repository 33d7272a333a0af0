#include "gui/guiapplication.h"

#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QSystemTrayIcon>
#include <QTimer>

#include <qcoro/qcorosignal.h>

#include "app/applaunch.h"
#include "app/settingsviewmodel.h"
#include "gui/settingswindow.h"
#include "gui/trayicon.h"
#include "platform/singleinstance.h"

namespace Nomly {

namespace {

// The platform used by tests and headless runs: a box there would wait for
// a click that never comes.
bool drawsNothing()
{
    return QGuiApplication::platformName() == QStringLiteral("offscreen")
        || QGuiApplication::platformName() == QStringLiteral("minimal");
}

} // namespace

GuiApplication::GuiApplication(AppServices services, QObject *parent)
    : QObject(parent)
    , m_launcher(std::make_unique<AppLauncher>(std::move(services)))
{
    // Files arriving with the program have no screen of their own yet; the
    // window is brought up so that the user sees the program answer.
    const auto present = [this](const QStringList &) {
        if (m_window)
            m_window->present();
    };
    m_launcher->openFilesHandler = present;
    m_launcher->quickRenameHandler = present;
}

GuiApplication::~GuiApplication()
{
    // The interface binds to the launcher's state, so it goes first.
    m_tray.reset();
    m_window.reset();
}

QCoro::Task<bool> GuiApplication::start()
{
    QPointer<GuiApplication> self(this);
    auto starting = m_launcher->start();
    const bool started = co_await starting;
    if (!self)
        co_return false;
    if (!started) {
        if (!drawsNothing()) {
            auto *box = new QMessageBox(QMessageBox::Critical,
                                        QStringLiteral("Nomly"),
                                        AppLauncher::InitializationErrorPrefix + m_launcher->failureDescription(),
                                        QMessageBox::Ok);
            box->open();
            auto closed = qCoro(box, &QMessageBox::finished);
            co_await closed;
            // Not deleted on close, which would drop the queued wake-up.
            box->deleteLater();
        }
        co_return false;
    }
    if (!m_window)
        buildInterface();
    co_return true;
}

int GuiApplication::run(const QStringList &files)
{
    // A second launch, or a file-manager action while Nomly runs, hands its
    // files to the running process, which comes forward, and ends.
    m_instance = std::make_unique<SingleInstance>();
    if (!m_instance->claim())
        return m_instance->forward(files) ? 0 : 1;
    connect(m_instance.get(), &SingleInstance::filesReceived, this, [this](const QStringList &received) {
        if (received.isEmpty() && m_window)
            m_window->present();
        else
            m_launcher->openFiles(received);
    });

    // The tray keeps the process alive with every window closed.
    QApplication::setQuitOnLastWindowClosed(false);
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

void GuiApplication::buildInterface()
{
    m_window = std::make_unique<SettingsWindow>(m_launcher->viewModel()->activity());
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        // Without a tray nothing else would reach the program, and closing
        // its only window ends it.
        QApplication::setQuitOnLastWindowClosed(true);
        m_window->present();
        return;
    }
    m_tray = std::make_unique<TrayIcon>();
    connect(m_tray.get(), &TrayIcon::openRequested, m_window.get(), &SettingsWindow::present);
    connect(m_tray.get(), &TrayIcon::quitRequested, qApp, &QCoreApplication::quit);
    m_tray->show();
}

} // namespace Nomly
