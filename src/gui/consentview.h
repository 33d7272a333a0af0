#pragma once

#include <QWidget>

class QHBoxLayout;
class QTextBrowser;

namespace Nomly {

// What AI processing sends, with the link to the whole policy and the
// agreement: the consent screen wherever it appears (a window of its own,
// a step of the first-run guide). Agreeing is only ever this button.
class ConsentView final : public QWidget
{
    Q_OBJECT

public:
    explicit ConsentView(QWidget *parent = nullptr);

    // The row of the agreement button, for a caller's own buttons beside it.
    QHBoxLayout *actions() const { return m_actions; }

    // The whole policy in a window of its own.
    void showPrivacyPolicy();

Q_SIGNALS:
    void agreed();

private:
    QHBoxLayout *m_actions = nullptr;
    QTextBrowser *m_policy = nullptr;
};

} // namespace Nomly
