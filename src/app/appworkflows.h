#pragma once

#include <QString>
#include <functional>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/imageanalysis.h"
#include "app/hotkeyviewmodel.h"
#include "history/activityviewmodel.h"
#include "history/processedfile.h"
#include "history/statisticsviewmodel.h"
#include "platform/diagnosticsvocabulary.h"
#include "workflows/batchrenameviewmodel.h"
#include "workflows/fileprocessingresult.h"
#include "workflows/monitoringviewmodel.h"
#include "workflows/processanalyzedfileusecase.h"

namespace Nomly {

class Database;
class Diagnostics;
class SettingsViewModel;
class UndoIgnoreService;
class UserDefaults;

// The workflows of one run of the program and the activity they record,
// owned by the central state (SettingsViewModel::createWorkflows), whose
// faces hand them their services. Each workflow reads the settings, the
// consent and the templates through the central state, and records through
// the one rename step, so all of them name and journal a file the same way.
// Lives on the main thread.
class AppWorkflows final
{
public:
    // Failures of each workflow, and the events it tells, go to `diagnostics`.
    AppWorkflows(SettingsViewModel &state,
                 Database &database,
                 UndoIgnoreService &undoIgnore,
                 UserDefaults &defaults,
                 Diagnostics &diagnostics);
    ~AppWorkflows();
    AppWorkflows(const AppWorkflows &) = delete;
    AppWorkflows &operator=(const AppWorkflows &) = delete;

    Diagnostics &diagnostics() { return m_diagnostics; }

    ActivityViewModel &activity() { return m_activity; }

    StatisticsViewModel &statistics() { return m_statistics; }

    HotkeyViewModel &hotkey() { return m_hotkey; }

    BatchRenameViewModel &batchRename() { return m_batchRename; }

    MonitoringViewModel &monitoring() { return m_monitoring; }

    // Renames a file the AI has analysed, with the settings its source calls
    // for: a watched file its folder's, a batch its template's, the rest the
    // global ones.
    QCoro::Task<FileProcessingResult> processAnalyzedFile(QString path,
                                                          ImageAnalysis analysis,
                                                          std::optional<QString> contentHash,
                                                          ProcessedFileSource source,
                                                          QString aiProvider);

    // What quick rename needs from the face that runs it: the analysis
    // service, the hotkey (null where the face has none), how a result is
    // told and what happens when consent is missing.
    struct QuickRenameServices
    {
        std::function<AIService *(QString *error)> aiService;
        std::function<HotkeyService *()> hotkeyService;
        std::function<void(const QString &title, const QString &body)> notify;
        std::function<void(ConsentReviewSource)> requestConsentReview;
    };

    void setQuickRenameServices(QuickRenameServices services);

    // What AI Rename needs from the face that shows it: the analysis
    // service, how the end of an analysis is told, and what happens when
    // consent is missing or a drop held nothing to name.
    struct BatchRenameServices
    {
        std::function<AIService *(QString *error)> aiService;
        std::function<void(const QString &title, const QString &body)> notify;
        std::function<void(ConsentReviewSource)> requestConsentReview;
        std::function<void(BatchRenameViewModel::DropSource, int skippedCount)> onNoSupportedFilesFound;
    };

    void setBatchRenameServices(BatchRenameServices services);

    // What Monitor needs from the face that runs it: the analysis service,
    // how the user is told, whether the network is down, and whether the
    // first-run guide is behind the user (a terminal has none).
    struct MonitorServices
    {
        std::function<AIService *(QString *error)> aiService;
        std::function<void(const QString &title, const QString &body)> notify;
        std::function<bool()> isOffline;
        std::function<bool()> isOnboardingComplete;
    };

    // Also hands AI Rename and Monitor each other's claims on files.
    void setMonitorServices(MonitorServices services);

private:
    ExtractionOptions extractionOptions() const;

    SettingsViewModel &m_state;
    UserDefaults &m_defaults;
    Diagnostics &m_diagnostics;
    ActivityViewModel m_activity;
    StatisticsViewModel m_statistics;
    ProcessAnalyzedFileUseCase m_processAnalyzedFile;
    HotkeyViewModel m_hotkey;
    BatchRenameViewModel m_batchRename;
    MonitoringViewModel m_monitoring;
    bool m_hasMonitor = false;
    // The diagnostics context last recorded.
    DiagnosticsParameters m_context;
};

} // namespace Nomly
