#include "gui/privacysettingsbox.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "app/consentstate.h"
#include "gui/alertbox.h"

namespace Nomly {

PrivacySettingsBox::PrivacySettingsBox(ConsentState &consent, QWidget *parent)
    : QGroupBox(tr("Data && Privacy"), parent)
    , m_consent(consent)
{
    m_state = new QLabel(this);
    m_state->setObjectName(QStringLiteral("consentState"));
    m_state->setWordWrap(true);
    m_action = new QPushButton(this);
    m_action->setObjectName(QStringLiteral("consentAction"));
    auto *row = new QHBoxLayout(this);
    row->addWidget(m_state, 1);
    row->addWidget(m_action);

    connect(m_action, &QPushButton::clicked, this, [this] {
        if (m_consent.aiDataConsentGranted())
            withdraw();
        else
            emit reviewRequested();
    });
    connect(&m_consent, &ConsentState::aiDataConsentGrantedChanged, this, &PrivacySettingsBox::refresh);
    refresh();
}

void PrivacySettingsBox::refresh()
{
    const bool agreed = m_consent.aiDataConsentGranted();
    m_state->setText(agreed ? tr("You have agreed to AI data processing.")
                            : tr("AI processing is disabled until you review and accept data processing."));
    m_action->setText(agreed ? tr("Withdraw Consent...") : tr("Review Consent..."));
}

void PrivacySettingsBox::withdraw()
{
    const QString confirm = tr("Withdraw");
    QCoro::connect(showAlert(this,
                             tr("Withdraw AI Data Consent?"),
                             tr("Nomly will stop AI analysis and monitoring until you agree again."),
                             { confirm }),
                   this,
                   [this, confirm](const QString &chosen) {
                       if (chosen != confirm)
                           return;
                       if (const Result<> withdrawn = m_consent.withdrawAIDataConsent(); !withdrawn)
                           QCoro::connect(showAlert(this, tr("Consent Not Withdrawn"), withdrawn.error(), {}),
                                          this,
                                          [](const QString &) {});
                   });
}

} // namespace Nomly
