#pragma once

#include <QWidget>

namespace Nomly {

// The first window on a new profile: what Nomly does, and the way on to the
// settings. A small fixed-size window; closing it hides it, and the tray
// can bring it back until the user has gone on.
class WelcomeWindow final : public QWidget
{
    Q_OBJECT

public:
    // The size at the usual font; a larger one grows the window.
    static constexpr int Width = 520;
    static constexpr int Height = 360;

    explicit WelcomeWindow(QWidget *parent = nullptr);

    void present();

Q_SIGNALS:
    // The user has read the introduction and goes on.
    void completed();
};

} // namespace Nomly
