#include "gui/consentview.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "app/consenttexts.h"
#include "gui/presentation.h"

namespace Nomly {

ConsentView::ConsentView(QWidget *parent)
    : QWidget(parent)
{
    auto *title = new QLabel(ConsentTexts::title(), this);
    title->setFont(headingFont(title->font(), 1.4));
    auto *subtitle = new QLabel(ConsentTexts::subtitle(), this);

    auto *sections = new QWidget;
    auto *sectionsLayout = new QVBoxLayout(sections);
    for (const QString &text : ConsentTexts::sections()) {
        auto *section = new QLabel(text, sections);
        section->setWordWrap(true);
        sectionsLayout->addWidget(section);
    }
    sectionsLayout->addStretch(1);
    auto *scroll = new QScrollArea(this);
    scroll->setWidget(sections);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);

    auto *policyLink
        = new QLabel(QStringLiteral("<a href=\"#policy\">%1</a>").arg(ConsentTexts::privacyPolicyLink()), this);
    policyLink->setObjectName(QStringLiteral("privacyPolicyLink"));
    policyLink->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    connect(policyLink, &QLabel::linkActivated, this, &ConsentView::showPrivacyPolicy);

    auto *agree = new QPushButton(ConsentTexts::agreeAction(), this);
    agree->setObjectName(QStringLiteral("agree"));
    agree->setDefault(true);
    connect(agree, &QPushButton::clicked, this, &ConsentView::agreed);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(title);
    layout->addWidget(subtitle);
    layout->addWidget(scroll, 1);
    m_actions = new QHBoxLayout;
    m_actions->addWidget(policyLink);
    m_actions->addStretch(1);
    m_actions->addWidget(agree);
    layout->addLayout(m_actions);
}

void ConsentView::showPrivacyPolicy()
{
    if (!m_policy) {
        m_policy = new QTextBrowser(this);
        m_policy->setWindowFlag(Qt::Window);
        m_policy->setObjectName(QStringLiteral("privacyPolicy"));
        m_policy->setWindowTitle(ConsentTexts::privacyPolicyLink());
        m_policy->setMarkdown(ConsentTexts::privacyPolicy());
        m_policy->resize(640, 560);
    }
    m_policy->show();
    m_policy->raise();
}

} // namespace Nomly
