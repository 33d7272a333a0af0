#include <QCoreApplication>

#include "cli/commandlineapp.h"

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    return Nomly::CommandLineApp::run(QCoreApplication::arguments());
}
