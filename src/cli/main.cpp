#include <QCoreApplication>

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

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    return Nomly::CommandLineApp::run(QCoreApplication::arguments());
}
