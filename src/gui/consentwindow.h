#pragma once

#include <QWidget>

class QTextBrowser;

namespace Nomly {

// What AI processing sends, and the agreement to it. Until the user agrees,
// no workflow sends anything; closing the window agrees to nothing.
class ConsentWindow final : public QWidget
{
    Q_OBJECT

public:
    explicit ConsentWindow(QWidget *parent = nullptr);

    void present();
    // The whole policy in a window of its own.
    void showPrivacyPolicy();

Q_SIGNALS:
    void agreed();

private:
    QTextBrowser *m_policy = nullptr;
};

} // namespace Nomly
