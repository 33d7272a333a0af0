#include "gui/alertbox.h"

#include <QAbstractButton>
#include <QGridLayout>
#include <QHash>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSpacerItem>

#include <qcoro/qcorosignal.h>

namespace Nomly {

namespace {

const QString CancelText = QStringLiteral("Cancel");
const QString OkText = QStringLiteral("OK");

QMessageBox::ButtonRole roleFor(const QString &text)
{
    if (text == CancelText)
        return QMessageBox::RejectRole;
    if (text == QStringLiteral("Undo All"))
        return QMessageBox::AcceptRole;
    return QMessageBox::DestructiveRole;
}

} // namespace

QCoro::Task<QString> showAlert(QWidget *parent, UndoAlertState state)
{
    auto showing = showAlert(parent, state.title(), state.message(), state.buttons());
    co_return co_await showing;
}

QCoro::Task<QString> showAlert(QWidget *parent, QString title, QString message, QStringList buttons)
{
    // Deleted only once the answer is read: deleting on close would drop the
    // queued wake-up of this coroutine together with the box.
    QPointer<QMessageBox> box = new QMessageBox(parent);
    box->setWindowTitle(title);
    box->setText(title);
    box->setInformativeText(message);
    box->setIcon(buttons.isEmpty() ? QMessageBox::Information : QMessageBox::Warning);

    // The texts are kept apart from the buttons, which a platform theme may
    // decorate with accelerators.
    QHash<QAbstractButton *, QString> texts;
    if (buttons.isEmpty())
        texts.insert(box->addButton(OkText, QMessageBox::AcceptRole), QString());
    if (buttons.size() == 1)
        buttons.append(CancelText);
    for (const QString &text : std::as_const(buttons)) {
        QPushButton *button = box->addButton(text, roleFor(text));
        texts.insert(button, text == CancelText ? QString() : text);
        // Enter must never undo, remove or withdraw by accident.
        if (text == CancelText) {
            box->setEscapeButton(button);
            box->setDefaultButton(button);
        }
    }
    // Wide enough for its title, which the window's title bar would cut.
    if (auto *grid = qobject_cast<QGridLayout *>(box->layout())) {
        const int width = box->fontMetrics().horizontalAdvance(title) * 3 / 2 + 120;
        grid->addItem(new QSpacerItem(width, 0, QSizePolicy::Minimum, QSizePolicy::Expanding),
                      grid->rowCount(),
                      0,
                      1,
                      grid->columnCount());
    }

    box->open();
    auto finished = qCoro(box.data(), &QMessageBox::finished);
    co_await finished;
    if (!box)
        co_return QString();
    const QString answer = texts.value(box->clickedButton());
    box->deleteLater();
    co_return answer;
}

AlertPresenter messageBoxPresenter(QWidget *parent)
{
    return [parent](const QString &title, const QString &message, const QStringList &buttons) {
        return showAlert(parent, title, message, buttons);
    };
}

} // namespace Nomly
