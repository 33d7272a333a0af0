#pragma once

#include <QDateTime>
#include <QList>
#include <QMutex>
#include <QString>
#include <functional>

#include "platform/diagnosticsvocabulary.h"

namespace Nomly {

// One line of the diagnostics file.
struct DiagnosticsEntry
{
    enum class Kind
    {
        Failure,
        Warning,
        Event,
        Breadcrumb,
    };

    QDateTime time;
    Kind kind = Kind::Event;
    // "processing_failure:<area>:<reason>", the event's name, or the
    // breadcrumb's message.
    QString name;
    // The breadcrumb's category; empty for the others.
    QString category;
    DiagnosticsParameters parameters;

    bool operator==(const DiagnosticsEntry &) const = default;
};

// "failure", "warning", "event" or "breadcrumb", as the file stores it.
QString diagnosticsKindName(DiagnosticsEntry::Kind kind);

// Where the program tells on itself: failures of processing by area and
// reason word, warnings that were retried, product events and breadcrumbs.
// Each goes to the log's categories and to a small rotating file in the data
// folder, which `nomly diagnose` reads back for a bug report. Nothing is sent
// anywhere. Every record passes DiagnosticsVocabulary on its way in, so a
// file name, a path or a key never reaches the file. Any thread may call it;
// several processes may share the file.
class Diagnostics final
{
public:
    static constexpr qint64 MaxFileBytes = 256 * 1024;
    static constexpr auto FileName = "diagnostics.log";
    // A record waits no longer for another process's write.
    static constexpr int FileLockTimeoutMs = 2000;

    // An empty directory records to the log only.
    explicit Diagnostics(QString directory);
    Diagnostics(const Diagnostics &) = delete;
    Diagnostics &operator=(const Diagnostics &) = delete;

    QString filePath() const;

    // Parameters every event carries (version, route, flags); a caller's own
    // parameter wins over one of these with the same key.
    void setCommonParameters(std::function<DiagnosticsParameters()> provider);

    // A processing failure that ended an item's work.
    void reportFailure(const QString &area, const QString &reason, const DiagnosticsParameters &parameters = {});
    // A failure that will be tried again: a breadcrumb only, so that retries
    // do not count as failures.
    void reportWarning(const QString &area, const QString &reason, const DiagnosticsParameters &parameters = {});
    // A product event of the closed list; any other name is refused.
    void track(const QString &event, const DiagnosticsParameters &parameters = {});
    void addBreadcrumb(const QString &message, const QString &category, const DiagnosticsParameters &data = {});

    // The records of a data folder, oldest first, the rotated file's before
    // the current one's. Lines that cannot be read are passed over.
    static QList<DiagnosticsEntry> readEntries(const QString &directory);

private:
    void record(DiagnosticsEntry entry);
    DiagnosticsParameters processingParameters(const QString &area,
                                               const QString &reason,
                                               const DiagnosticsParameters &parameters) const;

    const QString m_directory;
    QMutex m_mutex;
    std::function<DiagnosticsParameters()> m_commonParameters;
};

} // namespace Nomly
