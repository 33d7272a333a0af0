#pragma once

#include <QWidget>

namespace Nomly {

// What AI processing sends, and the agreement to it. Until the user agrees,
// no workflow sends anything; closing the window agrees to nothing.
class ConsentWindow final : public QWidget
{
    Q_OBJECT

public:
    explicit ConsentWindow(QWidget *parent = nullptr);

    void present();

Q_SIGNALS:
    void agreed();
};

} // namespace Nomly
