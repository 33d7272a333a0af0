#include <QFile>
#include <QGuiApplication>
#include <cstdio>

#include "cli/clicommand.h"
#include "cli/commandlineapp.h"

#if defined(__SANITIZE_ADDRESS__)
// Sanitizer builds: fontconfig keeps its configuration until exit on purpose
// (poppler asks it for fonts a PDF does not embed), and OpenSSL keeps the
// state of each pool thread that hashed a file until that thread ends, which
// may be after the leak check; neither is ours to free.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libfontconfig.so\nleak:libcrypto.so\n";
}

extern "C" const char *__lsan_default_options()
{
    return "print_suppressions=0";
}
#endif

namespace {

// A name whose bytes are not valid in the system's encoding reads back as
// another name (each bad byte becomes U+FFFD), and acting on that one would
// touch a different file. Such an argument stops the command before anything
// is done.
bool argumentsSurviveDecoding(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i) {
        const QByteArray raw(argv[i]);
        if (QFile::encodeName(QFile::decodeName(raw)) == raw)
            continue;
        std::fprintf(stderr,
                     "nomly: '%s' is not valid UTF-8; a file with this name cannot be handled without risk of "
                     "touching another one, so nothing was done. Rename it by hand first.\n",
                     QFile::decodeName(raw).toUtf8().constData());
        return false;
    }
    return true;
}

// Servers, containers and test runs have no XDG_RUNTIME_DIR; the platform
// plugin asks for it at start only to look for files the command line never
// uses, and its warning would end up in every command's output.
QtMessageHandler startHandler = nullptr;

void quietStartMessages(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (message.startsWith(QLatin1StringView("QStandardPaths: XDG_RUNTIME_DIR not set")))
        return;
    if (startHandler)
        startHandler(type, context, message);
}

} // namespace

int main(int argc, char *argv[])
{
    if (!argumentsSurviveDecoding(argc, argv))
        return int(Nomly::ExitStatus::UsageError);
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QFile::decodeName(argv[i]));

    // Pictures with text (an SVG's <text>, a PDF page) need the font
    // database, which only a GUI application provides. The command line
    // never shows a window, so it draws off screen whatever the session. The
    // application sees the program name alone: it would take options of the
    // commands ("--style") for its own.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int applicationArgc = 1;
    startHandler = qInstallMessageHandler(quietStartMessages);
    QGuiApplication app(applicationArgc, argv);
    qInstallMessageHandler(startHandler);
    return Nomly::CommandLineApp::run(arguments);
}
