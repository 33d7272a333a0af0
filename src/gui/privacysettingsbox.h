#pragma once

#include <QGroupBox>

class QLabel;
class QPushButton;

namespace Nomly {

class ConsentState;

// Data & Privacy: whether the user has agreed to AI data processing, the way
// to read what is sent and agree, and the way to withdraw.
class PrivacySettingsBox final : public QGroupBox
{
    Q_OBJECT

public:
    explicit PrivacySettingsBox(ConsentState &consent, QWidget *parent = nullptr);

Q_SIGNALS:
    // The user wants to read what is sent, and perhaps agree.
    void reviewRequested();

private:
    void refresh();
    void withdraw();

    ConsentState &m_consent;
    QLabel *m_state = nullptr;
    QPushButton *m_action = nullptr;
};

} // namespace Nomly
