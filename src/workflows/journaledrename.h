#pragma once

#include <QList>
#include <QString>
#include <optional>

#include "ai/imageanalysis.h"
#include "history/processedfile.h"
#include "platform/result.h"

namespace Nomly {

class Database;
class UndoIgnoreService;

// One file of a group to move to a destination chosen already. The record
// carries what the history shows (title, tags, provider, source, hash, run);
// the paths, names, identity and snapshot are filled here.
struct JournaledMove
{
    QString path;
    QString destination;
    ProcessedFile record;
    ImageAnalysis analysis;
    bool addTags = false;
    bool addComment = false; // the description as comment, and the title
};

// How one move ended: the stored record, or why there is none. A file that
// was moved but whose record could not be stored, nor the move taken back,
// has `movedWithoutRecord` set.
struct JournaledMoveOutcome
{
    std::optional<ProcessedFile> record;
    std::optional<Failure> failure;
    bool movedWithoutRecord = false;
};

// Writes the tags, the description as comment and the title as metadata,
// each on its own: a file system without attributes refuses them all, and
// none may stop a rename.
void writeAnalysisMetadata(const QString &path, const ImageAnalysis &analysis, bool addTags, bool addComment);

// Moves a group of files with the journal: the pending records of the whole
// group in one transaction, then the moves, then the confirmations in one,
// then the metadata. A file whose record cannot be written is not moved; a
// destination another program took meanwhile fails the file (EEXIST) and
// never replaces anything; a group whose confirmation fails moves its files
// back. Blocking; run it off the main thread. Outcomes follow the moves'
// order.
QList<JournaledMoveOutcome> moveJournaled(Database &database,
                                          UndoIgnoreService &undoIgnore,
                                          const QList<JournaledMove> &moves);

} // namespace Nomly
