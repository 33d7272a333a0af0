#include "workflows/journaledrename.h"

#include <QDateTime>
#include <QFileInfo>
#include <cerrno>

#include "history/database.h"
#include "history/filehashservice.h"
#include "history/metadataservice.h"
#include "history/undoignoreservice.h"
#include "platform/canonicalpath.h"
#include "platform/fileidentity.h"
#include "platform/filemover.h"
#include "platform/logcategories.h"

namespace Nomly {

void writeAnalysisMetadata(const QString &path, const ImageAnalysis &analysis, bool addTags, bool addComment)
{
    if (addTags && !analysis.tags.isEmpty())
        (void)MetadataService::writeTags(path, analysis.tags);
    if (addComment) {
        if (!analysis.description.isEmpty())
            (void)MetadataService::writeComment(path, analysis.description);
        (void)MetadataService::writeAttribute(path, QStringLiteral("title"), analysis.title.value_or(QString()));
    }
}

namespace {

void withdraw(Database &database, const QList<qint64> &ids)
{
    if (ids.isEmpty())
        return;
    // Left pending, they are withdrawn at the next open, since their files
    // never moved.
    if (const Result<> withdrawn = database.withdrawPendingProcessedFiles(ids); !withdrawn)
        qCWarning(lcProcessing).noquote() << "Could not withdraw pending records:" << withdrawn.error();
}

} // namespace

QList<JournaledMoveOutcome> moveJournaled(Database &database,
                                          UndoIgnoreService &undoIgnore,
                                          const QList<JournaledMove> &moves)
{
    QList<JournaledMoveOutcome> outcomes(moves.size());
    QList<ProcessedFile> records;
    QList<qsizetype> recorded; // the position in `moves` of each record
    const QString now = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
    for (qsizetype i = 0; i < moves.size(); ++i) {
        const JournaledMove &move = moves.at(i);
        const QString name = QFileInfo(move.path).fileName();
        // What was analysed may have been replaced meanwhile by a folder, a
        // FIFO or a link; only a regular file itself is renamed.
        if (!isRegularFile(move.path)) {
            outcomes[i].failure
                = Failure { QFileInfo::exists(move.path)
                                ? QStringLiteral("\"%1\" is no longer a regular file; it was left as it is").arg(name)
                                : QStringLiteral("File not found"),
                            ENOENT };
            continue;
        }
        ProcessedFile record = move.record;
        record.originalPath = move.path;
        record.originalName = name;
        record.newPath = move.destination;
        record.newName = QFileInfo(move.destination).fileName();
        record.processedAt = now;
        record.isUndone = false;
        record.fileIdentity = FileIdentity::of(move.path);
        // Undo knows the file by its hash too; one the caller could not give
        // is read here, before the file moves.
        if (!record.contentHash)
            record.contentHash = FileHashService::hash(move.path);
        if (move.addTags || move.addComment) {
            if (auto taken = MetadataService::snapshot(move.path))
                record.metadataSnapshot = std::move(taken).value();
            else
                qCCritical(lcProcessing).noquote()
                    << "Failed to snapshot metadata for" << move.path + QStringLiteral(": ") + taken.error();
        }
        records.append(record);
        recorded.append(i);
    }
    if (records.isEmpty())
        return outcomes;

    // The records come first: files whose records cannot be written stay
    // where they are.
    const Result<QList<qint64>> ids = database.insertPendingProcessedFiles(records);
    if (!ids) {
        const Failure failure { QStringLiteral("not renamed: its record could not be written: ") + ids.error(),
                                ids.failure().code };
        for (const qsizetype i : std::as_const(recorded))
            outcomes[i].failure = failure;
        return outcomes;
    }

    QList<qint64> movedIds;
    QList<qsizetype> movedPositions; // into `records`
    QList<bool> didMove;
    QList<qint64> failedIds;
    for (qsizetype r = 0; r < records.size(); ++r) {
        ProcessedFile &record = records[r];
        record.id = ids.value().at(r);
        const JournaledMove &move = moves.at(recorded.at(r));
        undoIgnore.ignorePath(move.path, true);
        if (record.contentHash)
            undoIgnore.ignoreHash(*record.contentHash, true);
        // A name that comes out the same is no move, but the file still gets
        // its metadata and record.
        const bool changesName = canonicalPath(move.path) != canonicalPath(move.destination);
        if (changesName) {
            if (const Result<> moved = FileMover::move(move.path, move.destination); !moved) {
                outcomes[recorded.at(r)].failure = moved.failure();
                failedIds.append(*record.id);
                continue;
            }
        }
        movedIds.append(*record.id);
        movedPositions.append(r);
        didMove.append(changesName);
    }
    withdraw(database, failedIds);
    if (movedIds.isEmpty())
        return outcomes;

    if (const Result<> confirmed = database.confirmProcessedFiles(movedIds); !confirmed) {
        // Renames without their records are taken back, so that the files
        // and the history agree; one that cannot go back stays pending and
        // is confirmed at the next open.
        QList<qint64> movedBack;
        for (qsizetype m = 0; m < movedPositions.size(); ++m) {
            const ProcessedFile &record = records.at(movedPositions.at(m));
            JournaledMoveOutcome &outcome = outcomes[recorded.at(movedPositions.at(m))];
            if (!didMove.at(m) || FileMover::move(record.newPath, record.originalPath)) {
                movedBack.append(*record.id);
                outcome.failure
                    = Failure { QStringLiteral("not renamed: its record could not be stored: ") + confirmed.error(),
                                confirmed.failure().code };
            } else {
                outcome.movedWithoutRecord = true;
                outcome.failure = Failure { QStringLiteral("renamed to \"%1\", but its record could not be stored "
                                                           "yet (%2); it will be completed the next time Nomly "
                                                           "opens its history")
                                                .arg(record.newName, confirmed.error()),
                                            confirmed.failure().code };
            }
        }
        withdraw(database, movedBack);
        return outcomes;
    }

    for (const qsizetype r : std::as_const(movedPositions)) {
        const JournaledMove &move = moves.at(recorded.at(r));
        undoIgnore.ignorePath(move.destination, true);
        writeAnalysisMetadata(move.destination, move.analysis, move.addTags, move.addComment);
        outcomes[recorded.at(r)].record = records.at(r);
    }
    return outcomes;
}

} // namespace Nomly
