#pragma once

#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>

#include "app/menubarpresentationstate.h"

namespace Nomly {

// Turns the application's state into the tray's state: takes a snapshot at
// each refresh and passes it on only when something that shows has changed,
// and holds the success mark for a moment after a rename of all files
// succeeded (a new success starts the moment again). Main thread.
class MenuBarPresenter final : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds SuccessDuration { 2000 };

    explicit MenuBarPresenter(std::function<MenuBarFacts()> facts,
                              std::chrono::milliseconds successDuration = SuccessDuration,
                              QObject *parent = nullptr);

    const MenuBarPresentationState &state() const { return m_state; }

    // Takes a new snapshot.
    void refresh();
    // A rename of all files succeeded.
    void showSuccess();

Q_SIGNALS:
    void stateChanged(const Nomly::MenuBarPresentationState &state);

private:
    std::function<MenuBarFacts()> m_facts;
    QTimer m_successReset;
    MenuBarPresentationState m_state;
};

} // namespace Nomly
