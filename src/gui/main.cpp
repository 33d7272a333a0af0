#include <QApplication>

#include "app/appservices.h"
#include "gui/guiapplication.h"

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    Nomly::GuiApplication gui(Nomly::defaultAppServices());
    return gui.run(QApplication::arguments().mid(1));
}
