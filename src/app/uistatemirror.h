#pragma once

#include <QString>
#include <optional>

namespace Nomly {

class Diagnostics;

// What the interface is doing, in words and counts: the part of the
// application's state that tells a story in a bug report.
struct DiagnosticsUIState
{
    QString selectedTab;
    bool isProcessing = false;
    bool isPaused = false;
    bool isOffline = false;
    int batchItemCount = 0;
    int monitorQueueCount = 0;

    bool operator==(const DiagnosticsUIState &) const = default;
};

// Leaves breadcrumbs for the changes of the interface's state that explain
// what came after: the first state, a change of tab, and work that starts or
// ends. Equal states leave nothing.
class UIStateMirror final
{
public:
    explicit UIStateMirror(Diagnostics &diagnostics);

    void observe(const DiagnosticsUIState &state);

private:
    Diagnostics &m_diagnostics;
    std::optional<DiagnosticsUIState> m_last;
};

} // namespace Nomly
