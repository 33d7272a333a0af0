#include "app/uistatemirror.h"

#include "platform/diagnostics.h"

namespace Nomly {

namespace {

DiagnosticsParameters describe(const DiagnosticsUIState &state)
{
    return {
        { QStringLiteral("selected_tab"), state.selectedTab },
        { QStringLiteral("is_processing"), DiagnosticsVocabulary::flag(state.isProcessing) },
        { QStringLiteral("is_paused"), DiagnosticsVocabulary::flag(state.isPaused) },
        { QStringLiteral("is_offline"), DiagnosticsVocabulary::flag(state.isOffline) },
        { QStringLiteral("batch_item_count"), QString::number(state.batchItemCount) },
        { QStringLiteral("monitor_queue_count"), QString::number(state.monitorQueueCount) },
    };
}

} // namespace

UIStateMirror::UIStateMirror(Diagnostics &diagnostics)
    : m_diagnostics(diagnostics)
{}

void UIStateMirror::observe(const DiagnosticsUIState &state)
{
    if (m_last == state)
        return;
    if (!m_last) {
        m_diagnostics.addBreadcrumb(QStringLiteral("initialized"), QStringLiteral("ui.state"), describe(state));
    } else {
        if (m_last->selectedTab != state.selectedTab)
            m_diagnostics.addBreadcrumb(QStringLiteral("selected_tab_changed"),
                                        QStringLiteral("ui.navigation"),
                                        { { QStringLiteral("from_tab"), m_last->selectedTab },
                                          { QStringLiteral("to_tab"), state.selectedTab } });
        if (m_last->isProcessing != state.isProcessing)
            m_diagnostics.addBreadcrumb(state.isProcessing ? QStringLiteral("active_work_started")
                                                           : QStringLiteral("active_work_ended"),
                                        QStringLiteral("ui.state"),
                                        describe(state));
    }
    m_last = state;
}

} // namespace Nomly
