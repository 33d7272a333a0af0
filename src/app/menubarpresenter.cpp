#include "app/menubarpresenter.h"

namespace Nomly {

MenuBarPresenter::MenuBarPresenter(std::function<MenuBarFacts()> facts,
                                   std::chrono::milliseconds successDuration,
                                   QObject *parent)
    : QObject(parent)
    , m_facts(std::move(facts))
{
    m_successReset.setSingleShot(true);
    m_successReset.setInterval(successDuration);
    connect(&m_successReset, &QTimer::timeout, this, &MenuBarPresenter::refresh);
    m_state = m_facts().presentation(false);
}

void MenuBarPresenter::refresh()
{
    const MenuBarPresentationState next = m_facts().presentation(m_successReset.isActive());
    if (next == m_state)
        return;
    m_state = next;
    emit stateChanged(m_state);
}

void MenuBarPresenter::showSuccess()
{
    m_successReset.start();
    refresh();
}

} // namespace Nomly
