#include "gui/abouttab.h"

#include <QLabel>
#include <QVBoxLayout>

namespace Nomly {

AboutTab::AboutTab(QWidget *parent)
    : QWidget(parent)
{
    auto *name = new QLabel(QStringLiteral("Nomly"), this);
    QFont nameFont = name->font();
    nameFont.setBold(true);
    nameFont.setPointSizeF(nameFont.pointSizeF() * 2);
    name->setFont(nameFont);
    name->setAlignment(Qt::AlignCenter);

    auto *version = new QLabel(QStringLiteral("Version ") + QStringLiteral(NOMLY_VERSION), this);
    version->setAlignment(Qt::AlignCenter);
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto *layout = new QVBoxLayout(this);
    layout->addStretch();
    layout->addWidget(name);
    layout->addWidget(version);
    layout->addStretch();
}

} // namespace Nomly
