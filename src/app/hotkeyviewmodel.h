#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <functional>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/imageanalysis.h"
#include "content/fileextractionservice.h"
#include "history/processedfile.h"
#include "settings/settings.h"
#include "workflows/fileprocessingresult.h"

namespace Nomly {

class AIService;
class HotkeyService;

// How a quick rename ended, as its notification tells it.
struct QuickRenameOutcome
{
    int renamed = 0;
    int failed = 0;
    QString title; // empty when nothing was posted (consent missing)
    QString body;
};

// Quick rename: the files the user selected in the file manager, renamed
// with no window at all, from the global hotkey or a file-manager action.
// Each file goes through the same processing as Monitor; one notification
// tells the result. A trigger during a run starts a second run: runs do not
// queue.
class HotkeyViewModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isHotkeyProcessing READ isHotkeyProcessing NOTIFY isHotkeyProcessingChanged)

public:
    enum class Trigger
    {
        Hotkey,
        FinderService,
    };

    struct Dependencies
    {
        std::function<Settings()> settingsProvider;
        std::function<bool()> hasAIDataConsent;
        std::function<QCoro::Task<FileProcessingResult>(QString path,
                                                        ImageAnalysis analysis,
                                                        std::optional<QString> contentHash,
                                                        ProcessedFileSource source,
                                                        QString aiProvider)>
            processAnalyzedFile;
        // Called once a quick rename has files to rename, before the first,
        // so that its renames form one run of their own. A quick rename that
        // begins while another is under way starts the next run, and the
        // files the first renames after that join it.
        std::function<void()> startRun;
        std::function<void(Trigger)> requestConsentReview;
        std::function<HotkeyService *()> hotkeyService;
        // The analysis service, built when first needed; null when it cannot
        // be had, with the reason in `error`.
        std::function<AIService *(QString *error)> aiService;
        // The extraction flags and the extensions quick rename takes.
        std::function<ExtractionOptions()> extractionOptions;
        std::function<QStringList()> supportedExtensions;
        std::function<void(const QString &title, const QString &body)> notify;
    };

    using QObject::QObject;

    // Until given, every operation is a quiet no-op.
    void setDependencies(Dependencies dependencies) { m_dependencies = std::move(dependencies); }

    bool isHotkeyProcessing() const { return m_processingRuns > 0; }

    // Registers the shortcut of the settings, or removes it, and connects it
    // to the hotkey flow. Called at launch, after consent is given and after
    // the hotkey settings change.
    void registerHotkey();

    // The entry of the file-manager actions.
    QCoro::Task<QuickRenameOutcome> processFinderServiceFiles(QStringList paths);

    // What a press of the hotkey runs: the file manager's selection, renamed.
    QCoro::Task<QuickRenameOutcome> runHotkeyFlow();

Q_SIGNALS:
    void isHotkeyProcessingChanged();

private:
    QCoro::Task<QuickRenameOutcome> processFiles(QStringList paths, Trigger trigger);
    QuickRenameOutcome post(const QString &title, const QString &body);
    void setProcessing(bool processing);

    std::optional<Dependencies> m_dependencies;
    QMetaObject::Connection m_hotkeyConnection;
    int m_processingRuns = 0;
};

} // namespace Nomly
