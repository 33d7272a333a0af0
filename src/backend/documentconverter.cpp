#include "backend/documentconverter.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>
#include <array>
#include <csignal>
#include <utility>

#include <sys/types.h>
#include <unistd.h>

#include <qcoro/qcoroprocess.h>

#include "backend/backendlog.h"

namespace Nomly {

namespace {

using namespace std::chrono_literals;

constexpr auto StartTimeout = 10s;
constexpr int KillWaitMs = 3'000;

// The extension of each format converted, with the LibreOffice import filter
// that reads it.
constexpr std::array<std::pair<QStringView, QStringView>, 3> ImportFilters { {
    { u"pages", u"Apple Pages" },
    { u"numbers", u"Apple Numbers" },
    { u"key", u"Apple Keynote" },
} };

QString importFilter(const QString &extension)
{
    for (const auto &[known, filter] : ImportFilters) {
        if (known == extension)
            return filter.toString();
    }
    return {};
}

QString executable(const QString &program)
{
    if (program.contains(u'/')) {
        const QFileInfo file(program);
        return file.isFile() && file.isExecutable() ? file.absoluteFilePath() : QString();
    }
    return QStandardPaths::findExecutable(program);
}

// soffice is a script that starts the office in processes of its own; the
// whole group goes, so that nothing is left running when the script is.
void killGroup(QProcess &process, qint64 group)
{
    if (group > 0)
        ::kill(-pid_t(group), SIGKILL);
    if (process.state() != QProcess::NotRunning)
        process.waitForFinished(KillWaitMs);
}

} // namespace

DocumentConverter::DocumentConverter(QString program, std::chrono::milliseconds timeout)
    : m_program(std::move(program))
    , m_timeout(timeout)
{}

DocumentConverter::~DocumentConverter()
{
    // Killed here, while this object is whole: each run's wait resumes inside
    // the kill and finishes its call.
    const QList<QProcess *> running = m_processes.findChildren<QProcess *>();
    for (QProcess *process : running) {
        if (process->state() != QProcess::NotRunning)
            killGroup(*process, process->property("group").toLongLong());
    }
}

bool DocumentConverter::converts(const QString &extension)
{
    return !importFilter(extension).isEmpty();
}

QCoro::Task<DocumentConverter::Outcome> DocumentConverter::convert(QByteArray document, QString extension)
{
    const QString program = executable(m_program);
    if (program.isEmpty())
        co_return Outcome { Status::Unavailable, {} };
    const QString filter = importFilter(extension);
    if (filter.isEmpty())
        co_return Outcome { Status::Failed, {} };
    if (m_running >= MaxRunning)
        co_return Outcome { Status::Busy, {} };

    QTemporaryDir work(QDir(QDir::tempPath()).filePath(QStringLiteral("nomly-convert-XXXXXX")));
    const QDir folder(work.path());
    const QString input = folder.filePath(QStringLiteral("document.") + extension);
    QFile file(input);
    if (!work.isValid() || !folder.mkpath(QStringLiteral("home")) || !file.open(QIODevice::WriteOnly)
        || file.write(document) != document.size() || !file.flush()) {
        qCWarning(lcBackend).noquote() << "Conversion not started: the document could not be written";
        co_return Outcome { Status::Failed, {} };
    }
    file.close();

    ++m_running;
    QElapsedTimer started;
    started.start();
    auto *process = new QProcess(&m_processes);
    process->setProgram(program);
    process->setArguments({
        QStringLiteral("-env:UserInstallation=")
            + QUrl::fromLocalFile(folder.filePath(QStringLiteral("profile"))).toString(),
        QStringLiteral("--headless"),
        QStringLiteral("--norestore"),
        QStringLiteral("--nologo"),
        QStringLiteral("--nolockcheck"),
        QStringLiteral("--infilter=") + filter,
        QStringLiteral("--convert-to"),
        QStringLiteral("pdf"),
        QStringLiteral("--outdir"),
        folder.filePath(QStringLiteral("out")),
        input,
    });
    process->setWorkingDirectory(folder.path());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // Caches and settings the office writes beside its profile stay in the
    // run's folder too.
    environment.insert(QStringLiteral("HOME"), folder.filePath(QStringLiteral("home")));
    process->setProcessEnvironment(environment);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setChildProcessModifier([] { ::setpgid(0, 0); });
    process->start();

    auto starting = qCoro(process).waitForStarted(StartTimeout);
    bool finished = false;
    if (co_await starting) {
        process->setProperty("group", process->processId());
        auto finishing = qCoro(process).waitForFinished(m_timeout);
        finished = co_await finishing;
    }
    const bool timedOut = !finished && process->state() != QProcess::NotRunning;
    killGroup(*process, process->property("group").toLongLong());
    const int exitCode = process->exitCode();
    process->deleteLater();
    --m_running;

    if (timedOut) {
        qCWarning(lcBackend).noquote() << QStringLiteral("Conversion of a .%1 document timed out after %2 ms")
                                              .arg(extension)
                                              .arg(started.elapsed());
        co_return Outcome { Status::TimedOut, {} };
    }
    QFile pdf(folder.filePath(QStringLiteral("out/document.pdf")));
    QByteArray bytes;
    if (pdf.open(QIODevice::ReadOnly))
        bytes = pdf.readAll();
    if (!bytes.startsWith("%PDF")) {
        qCWarning(lcBackend).noquote()
            << QStringLiteral("Conversion of a .%1 document gave no PDF; exit code %2").arg(extension).arg(exitCode);
        co_return Outcome { Status::Failed, {} };
    }
    qCInfo(lcBackend).noquote() << QStringLiteral("Converted a .%1 document of %2 bytes to a PDF of %3 bytes in %4 ms")
                                       .arg(extension)
                                       .arg(document.size())
                                       .arg(bytes.size())
                                       .arg(started.elapsed());
    co_return Outcome { Status::Converted, bytes };
}

} // namespace Nomly
