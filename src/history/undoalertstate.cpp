#include "history/undoalertstate.h"

namespace Nomly {

QString UndoAlertState::title() const
{
    switch (kind) {
    case Kind::FileNotFound:
    case Kind::FileDeleted:
        return QStringLiteral("File Not Found");
    case Kind::OriginalPathOccupied:
        return QStringLiteral("Cannot Undo");
    case Kind::Error:
        return QStringLiteral("Error");
    case Kind::UndoAllConfirmation:
        return QStringLiteral("Undo All Renames?");
    case Kind::ClearAllConfirmation:
        return QStringLiteral("Clear Activity?");
    }
    return {};
}

QString UndoAlertState::message() const
{
    switch (kind) {
    case Kind::FileNotFound:
        return QStringLiteral("The file \"%1\" no longer exists. The record has been removed.").arg(record.newName);
    case Kind::OriginalPathOccupied:
        return QStringLiteral("A file already exists at the original location \"%1\".").arg(record.originalName);
    case Kind::Error:
        return errorMessage;
    case Kind::FileDeleted:
        return QStringLiteral("The file \"%1\" has been deleted or moved.").arg(record.newName);
    case Kind::UndoAllConfirmation:
        return QStringLiteral("This will restore all %1 files to their original names. This action cannot be undone.")
            .arg(totalCount);
    case Kind::ClearAllConfirmation:
        return QStringLiteral(
                   "This will permanently remove all %1 activity records. File names on disk will not be changed.")
            .arg(totalCount);
    }
    return {};
}

QStringList UndoAlertState::buttons() const
{
    switch (kind) {
    case Kind::OriginalPathOccupied:
    case Kind::FileDeleted:
        return { QStringLiteral("Remove Record") };
    case Kind::UndoAllConfirmation:
        return { QStringLiteral("Undo All"), QStringLiteral("Cancel") };
    case Kind::ClearAllConfirmation:
        return { QStringLiteral("Clear"), QStringLiteral("Cancel") };
    case Kind::FileNotFound:
    case Kind::Error:
        return {};
    }
    return {};
}

std::optional<UndoAlertState> UndoAlertState::forOutcome(const UndoOutcome &outcome, const ProcessedFile &record)
{
    switch (outcome.kind) {
    case UndoOutcome::Kind::Undone:
        return std::nullopt;
    case UndoOutcome::Kind::FileMissing:
        return UndoAlertState { Kind::FileNotFound, record, {}, 0 };
    case UndoOutcome::Kind::OriginalOccupied:
        return UndoAlertState { Kind::OriginalPathOccupied, record, {}, 0 };
    case UndoOutcome::Kind::Failed:
        return UndoAlertState { Kind::Error, record, outcome.message, 0 };
    }
    return std::nullopt;
}

} // namespace Nomly
