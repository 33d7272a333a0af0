#include "platform/diagnostics.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QMutexLocker>

#include "platform/logcategories.h"

namespace Nomly {

namespace {

struct KindName
{
    DiagnosticsEntry::Kind kind;
    const char *name;
};

constexpr KindName KindNames[] = {
    { DiagnosticsEntry::Kind::Failure, "failure" },
    { DiagnosticsEntry::Kind::Warning, "warning" },
    { DiagnosticsEntry::Kind::Event, "event" },
    { DiagnosticsEntry::Kind::Breadcrumb, "breadcrumb" },
};

} // namespace

QString diagnosticsKindName(DiagnosticsEntry::Kind kind)
{
    for (const KindName &entry : KindNames) {
        if (entry.kind == kind)
            return QLatin1String(entry.name);
    }
    Q_UNREACHABLE();
}

namespace {

std::optional<DiagnosticsEntry::Kind> kindNamed(const QString &name)
{
    for (const KindName &entry : KindNames) {
        if (name == QLatin1String(entry.name))
            return entry.kind;
    }
    return std::nullopt;
}

QJsonObject toJson(const DiagnosticsParameters &parameters)
{
    QJsonObject object;
    for (auto it = parameters.begin(); it != parameters.end(); ++it)
        object.insert(it.key(), it.value());
    return object;
}

QByteArray toLine(const DiagnosticsEntry &entry)
{
    QJsonObject object {
        { QStringLiteral("time"), entry.time.toUTC().toString(Qt::ISODateWithMs) },
        { QStringLiteral("kind"), diagnosticsKindName(entry.kind) },
        { QStringLiteral("name"), entry.name },
    };
    if (!entry.category.isEmpty())
        object.insert(QStringLiteral("category"), entry.category);
    if (!entry.parameters.isEmpty())
        object.insert(QStringLiteral("parameters"), toJson(entry.parameters));
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

std::optional<DiagnosticsEntry> fromLine(const QByteArray &line)
{
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    const std::optional<DiagnosticsEntry::Kind> kind = kindNamed(object.value(QStringLiteral("kind")).toString());
    if (!kind)
        return std::nullopt;
    DiagnosticsEntry entry;
    entry.kind = *kind;
    entry.time = QDateTime::fromString(object.value(QStringLiteral("time")).toString(), Qt::ISODateWithMs);
    entry.name = object.value(QStringLiteral("name")).toString();
    entry.category = object.value(QStringLiteral("category")).toString();
    const QJsonObject parameters = object.value(QStringLiteral("parameters")).toObject();
    for (auto it = parameters.begin(); it != parameters.end(); ++it)
        entry.parameters.insert(it.key(), it.value().toString());
    return entry;
}

QString rotatedPath(const QString &path)
{
    return path + QStringLiteral(".1");
}

} // namespace

Diagnostics::Diagnostics(QString directory)
    : m_directory(std::move(directory))
{}

QString Diagnostics::filePath() const
{
    return m_directory.isEmpty() ? QString() : QDir(m_directory).filePath(QLatin1String(FileName));
}

void Diagnostics::setCommonParameters(std::function<DiagnosticsParameters()> provider)
{
    const QMutexLocker lock(&m_mutex);
    m_commonParameters = std::move(provider);
}

DiagnosticsParameters Diagnostics::processingParameters(const QString &area,
                                                        const QString &reason,
                                                        const DiagnosticsParameters &parameters) const
{
    DiagnosticsParameters extended = parameters;
    extended.insert(QStringLiteral("area"), QStringLiteral("processing"));
    extended.insert(QStringLiteral("failure_kind"), area);
    extended.insert(QStringLiteral("failure_reason"), reason);
    return extended;
}

void Diagnostics::reportFailure(const QString &area, const QString &reason, const DiagnosticsParameters &parameters)
{
    const QString kind = DiagnosticsVocabulary::word(area);
    const QString word = DiagnosticsVocabulary::word(reason);
    const DiagnosticsParameters extended = processingParameters(kind, word, parameters);
    const QString name = QStringLiteral("processing_failure:%1:%2").arg(kind, word);
    // The face has told the user already; the log keeps it for the journal.
    qCInfo(lcProcessing).noquote() << "Processing failure:" << name;
    record({ QDateTime::currentDateTimeUtc(), DiagnosticsEntry::Kind::Failure, name, {}, extended });
}

void Diagnostics::reportWarning(const QString &area, const QString &reason, const DiagnosticsParameters &parameters)
{
    const QString kind = DiagnosticsVocabulary::word(area);
    const QString word = DiagnosticsVocabulary::word(reason);
    const QString name = QStringLiteral("processing_warning:%1:%2").arg(kind, word);
    qCInfo(lcProcessing).noquote() << "Processing warning, to be tried again:" << name;
    record({ QDateTime::currentDateTimeUtc(),
             DiagnosticsEntry::Kind::Warning,
             name,
             QStringLiteral("processing.warning"),
             processingParameters(kind, word, parameters) });
}

void Diagnostics::track(const QString &event, const DiagnosticsParameters &parameters)
{
    if (!DiagnosticsVocabulary::isEvent(event)) {
        qCWarning(lcGeneral) << "Diagnostics: an event outside the vocabulary was not recorded";
        return;
    }
    DiagnosticsParameters merged;
    {
        const QMutexLocker lock(&m_mutex);
        if (m_commonParameters)
            merged = m_commonParameters();
    }
    merged.insert(parameters);
    qCDebug(lcGeneral).noquote() << "Event" << event;
    record(
        { QDateTime::currentDateTimeUtc(), DiagnosticsEntry::Kind::Event, event, QStringLiteral("telemetry"), merged });
}

void Diagnostics::addBreadcrumb(const QString &message, const QString &category, const DiagnosticsParameters &data)
{
    qCDebug(lcGeneral).noquote() << "Breadcrumb" << category << message;
    record({ QDateTime::currentDateTimeUtc(),
             DiagnosticsEntry::Kind::Breadcrumb,
             DiagnosticsVocabulary::word(message),
             category,
             data });
}

void Diagnostics::record(DiagnosticsEntry entry)
{
    int withheld = 0;
    entry.parameters = DiagnosticsVocabulary::sanitized(entry.parameters, &withheld);
    if (withheld > 0)
        qCWarning(lcGeneral).noquote() << "Diagnostics: withheld" << withheld << "value(s) of" << entry.name;
    if (!entry.category.isEmpty() && !DiagnosticsVocabulary::isCategory(entry.category))
        entry.category = QStringLiteral("unknown");
    const QString path = filePath();
    if (path.isEmpty())
        return;
    const QByteArray line = toLine(entry);
    const QMutexLocker lock(&m_mutex);
    if (!QDir().mkpath(m_directory))
        return;
    // Another process of the profile (the desktop, `nomly watch`) may
    // rotate at the same moment; one at a time, or one would delete what
    // the other just kept.
    QLockFile fileLock(path + QStringLiteral(".lock"));
    if (!fileLock.tryLock(FileLockTimeoutMs)) {
        qCWarning(lcGeneral) << "Diagnostics: the record file is locked by another process; this record is dropped";
        return;
    }
    // One earlier file is kept, so that a report holds the last failures
    // even just after a rotation.
    if (QFileInfo(path).size() + line.size() > MaxFileBytes) {
        QFile::remove(rotatedPath(path));
        QFile::rename(path, rotatedPath(path));
    }
    QFile file(path);
    // Appending whole lines keeps the records of two processes apart.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append) || file.write(line) != line.size())
        qCWarning(lcGeneral).noquote() << "Diagnostics: the record file could not be written:" << file.errorString();
}

QList<DiagnosticsEntry> Diagnostics::readEntries(const QString &directory)
{
    const QString path = QDir(directory).filePath(QLatin1String(FileName));
    QList<DiagnosticsEntry> entries;
    for (const QString &file : { rotatedPath(path), path }) {
        QFile input(file);
        if (!input.open(QIODevice::ReadOnly))
            continue;
        while (!input.atEnd()) {
            if (std::optional<DiagnosticsEntry> entry = fromLine(input.readLine()))
                entries.append(std::move(*entry));
        }
    }
    return entries;
}

} // namespace Nomly
