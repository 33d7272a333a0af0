#pragma once

#include <QString>

#include <qcoro/qcorotask.h>

#include "history/undoalertstate.h"

class QWidget;

namespace Nomly {

// Shows an activity alert as a window-modal message box over `parent`, with
// its title, message and buttons, and answers the text of the button chosen;
// empty when the box was dismissed. An alert without buttons gets a plain
// "OK", and one with a single action also gets "Cancel", so that each can be
// closed without acting.
QCoro::Task<QString> showAlert(QWidget *parent, UndoAlertState state);

} // namespace Nomly
