#include <QApplication>
#include <cstdio>
#include <cstring>

#include "app/appservices.h"
#include "gui/guiapplication.h"

namespace {

constexpr const char *HelpText = "Usage: nomly-gui [--background] [FILE...]\n"
                                 "\n"
                                 "Starts Nomly's desktop application: a tray icon, the settings window with\n"
                                 "its AI Rename, Monitor, Activity, Statistics, Templates, General, AI Setup\n"
                                 "and About tabs, and, on a new profile, the first-run guide.\n"
                                 "\n"
                                 "One instance runs per session. Started again, nomly-gui hands the FILEs\n"
                                 "to the running instance, which comes to the front, and exits at once.\n"
                                 "\n"
                                 "Options:\n"
                                 "  --background   Start in the tray without opening a window, as the\n"
                                 "                 start-at-login entry does (the General tab turns it\n"
                                 "                 on). A new profile still opens the welcome window.\n"
                                 "  -h, --help     Show this text.\n"
                                 "  -v, --version  Show the version.\n";

} // namespace

int main(int argc, char *argv[])
{
    // Answered before the application connects to a display, so that they
    // work on a console too.
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::fputs(HelpText, stdout);
            return 0;
        }
        if (std::strcmp(argv[i], "--version") == 0 || std::strcmp(argv[i], "-v") == 0) {
            std::puts("nomly-gui " NOMLY_VERSION);
            return 0;
        }
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("nomly-gui"));
    QApplication::setApplicationVersion(QStringLiteral(NOMLY_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("nomly"));
    Nomly::GuiApplication gui(Nomly::defaultAppServices());
    QStringList files = QApplication::arguments().mid(1);
    gui.setStartsInBackground(files.removeAll(QStringLiteral("--background")) > 0);
    return gui.run(files);
}
