#pragma once

#include <QString>
#include <QStringList>
#include <functional>

#include <qcoro/qcorotask.h>

#include "history/undoalertstate.h"

class QWidget;

namespace Nomly {

// Shows an alert as a window-modal message box over `parent`, with
// its title, message and buttons, and answers the text of the button chosen;
// empty when the box was dismissed. An alert without buttons gets a plain
// "OK", and one with a single action also gets "Cancel", so that each can be
// closed without acting.
QCoro::Task<QString> showAlert(QWidget *parent, QString title, QString message, QStringList buttons);
QCoro::Task<QString> showAlert(QWidget *parent, UndoAlertState state);

// How a tab asks the user: a title, a message and the action buttons; answers
// the text of the button chosen, empty when dismissed. Tests put their own in
// place of the message box.
using AlertPresenter
    = std::function<QCoro::Task<QString>(const QString &title, const QString &message, const QStringList &buttons)>;

// Message boxes over `parent`.
AlertPresenter messageBoxPresenter(QWidget *parent);

} // namespace Nomly
