#pragma once

#include <QFileInfo>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <optional>

#include "ai/imageanalysis.h"

namespace Nomly {

// Where one file of an AI Rename batch stands, in the order it passes.
enum class BatchRenameStatus
{
    Pending,
    Processing,
    Analyzed,
    Renaming,
    Completed,
    Failed,
};

// One file of an AI Rename batch, from the moment it is handed in until it is
// renamed or given up.
struct BatchRenameItem
{
    QUuid id = QUuid::createUuid();
    QString originalPath; // absolute, as handed in
    QString fileName; // the last component of originalPath
    BatchRenameStatus status = BatchRenameStatus::Pending;
    // Proposed and edited names have no extension; the edit wins.
    std::optional<QString> suggestedName;
    QStringList rejectedSuggestedNames;
    std::optional<QString> editedName;
    std::optional<ImageAnalysis> analysis;
    std::optional<QString> contentHash;
    std::optional<QString> aiProvider; // the route that answered
    std::optional<QString> newName; // the file's name once renamed
    std::optional<QString> finalPath;
    std::optional<QString> error; // English, for the user

    static BatchRenameItem forFile(const QString &path)
    {
        BatchRenameItem item;
        item.originalPath = path;
        item.fileName = QFileInfo(path).fileName();
        return item;
    }

    // The name rename all uses.
    std::optional<QString> nameToUse() const { return editedName ? editedName : suggestedName; }

    bool operator==(const BatchRenameItem &) const = default;
};

} // namespace Nomly
