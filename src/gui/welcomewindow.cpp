#include "gui/welcomewindow.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "gui/presentation.h"

namespace Nomly {

WelcomeWindow::WelcomeWindow(QWidget *parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("welcomeWindow"));
    setWindowTitle(tr("Welcome to Nomly"));

    auto *title = new QLabel(tr("Welcome to Nomly"), this);
    QFont titleFont = title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.8);
    titleFont.setBold(true);
    title->setFont(titleFont);
    title->setAlignment(Qt::AlignCenter);

    auto *intro = new QLabel(tr("Nomly reads what your files hold and gives them names that say so.\n\n"
                                "Drop files to rename them after a review, watch folders so that new files "
                                "are named as they arrive, or rename the file manager's selection with a "
                                "shortcut. Every change is recorded and can be undone."),
                             this);
    intro->setWordWrap(true);
    intro->setAlignment(Qt::AlignCenter);

    auto *start = new QPushButton(tr("Get Started"), this);
    start->setObjectName(QStringLiteral("getStarted"));
    start->setDefault(true);
    connect(start, &QPushButton::clicked, this, &WelcomeWindow::completed);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(40, 32, 40, 32);
    layout->addStretch(1);
    layout->addWidget(title);
    layout->addSpacing(16);
    layout->addWidget(intro);
    layout->addStretch(1);
    layout->addWidget(start, 0, Qt::AlignHCenter);
    // Larger fonts or longer translations grow it rather than clip it.
    setFixedSize(sizeHint().expandedTo(QSize(Width, Height)));
}

void WelcomeWindow::present()
{
    placeOnFirstShow(*this);
    show();
    raise();
    activateWindow();
}

} // namespace Nomly
