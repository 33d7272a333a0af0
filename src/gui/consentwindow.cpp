#include "gui/consentwindow.h"

#include <QVBoxLayout>

#include "gui/consentview.h"
#include "gui/presentation.h"

namespace Nomly {

ConsentWindow::ConsentWindow(QWidget *parent)
    : QWidget(parent, Qt::Window)
{
    setWindowTitle(QStringLiteral("Nomly"));
    setMinimumSize(560, 480);
    auto *view = new ConsentView(this);
    connect(view, &ConsentView::agreed, this, [this] {
        hide();
        emit agreed();
    });
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(view);
}

void ConsentWindow::present()
{
    placeOnFirstShow(*this);
    show();
    raise();
    activateWindow();
}

} // namespace Nomly
