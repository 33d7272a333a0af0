#pragma once

#include <QString>

namespace Nomly {

// What became of one undo.
struct UndoOutcome
{
    enum class Kind
    {
        Undone,
        FileMissing, // nothing at the new path; the record was retired
        OriginalOccupied, // something else has the old name; nothing changed
        Failed,
    };

    Kind kind = Kind::Undone;
    QString message; // why, for Failed

    // Undo all counts a missing file as done: the record is gone either way.
    bool countsAsSuccess() const { return kind == Kind::Undone || kind == Kind::FileMissing; }

    bool operator==(const UndoOutcome &) const = default;
};

} // namespace Nomly
