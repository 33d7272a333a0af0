#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "history/processedfile.h"
#include "history/undooutcome.h"

namespace Nomly {

// What the activity screen tells the user after an action, with the buttons
// it offers. No buttons means a plain confirmation.
struct UndoAlertState
{
    enum class Kind
    {
        FileNotFound,
        OriginalPathOccupied,
        Error,
        FileDeleted,
        UndoAllConfirmation,
        ClearAllConfirmation,
    };

    Kind kind = Kind::Error;
    ProcessedFile record; // for the alerts about one record
    QString errorMessage; // for Error
    qint64 totalCount = 0; // for the two confirmations

    QString title() const;
    QString message() const;
    QStringList buttons() const;

    // The alert an undo ends in; none when it worked.
    static std::optional<UndoAlertState> forOutcome(const UndoOutcome &outcome, const ProcessedFile &record);
};

} // namespace Nomly
