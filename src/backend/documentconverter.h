#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <chrono>

#include <qcoro/qcorotask.h>

namespace Nomly {

// Turns an iWork document into a PDF with LibreOffice's soffice, whose import
// filters read Pages, Numbers and Keynote files. Each run has a
// temporary folder of its own, holding the document, the PDF and a fresh
// LibreOffice profile, so that runs share nothing and no user profile is
// touched; the folder goes when the run ends. A run that overstays its time
// is killed with every process it started.
class DocumentConverter final
{
public:
    enum class Status
    {
        Converted,
        // No soffice was found.
        Unavailable,
        // As many runs as allowed are under way.
        Busy,
        // soffice ran but gave no PDF.
        Failed,
        TimedOut,
    };

    struct Outcome
    {
        Status status = Status::Failed;
        QByteArray pdf; // begins with "%PDF" when converted
    };

    static constexpr int MaxRunning = 2;

    // `program` is a name looked up in PATH, or a path.
    DocumentConverter(QString program, std::chrono::milliseconds timeout);
    // Ends the runs still under way; their callers are answered first.
    ~DocumentConverter();
    DocumentConverter(const DocumentConverter &) = delete;
    DocumentConverter &operator=(const DocumentConverter &) = delete;

    // Whether a document of this extension (lower case) is converted: Pages,
    // Numbers and Keynote.
    static bool converts(const QString &extension);

    // Each format is read by its own import filter only, so that a document
    // that is not what its extension says gives no PDF.
    QCoro::Task<Outcome> convert(QByteArray document, QString extension);

private:
    QString m_program;
    std::chrono::milliseconds m_timeout;
    int m_running = 0;
    // Parent of the running processes.
    QObject m_processes;
};

} // namespace Nomly
