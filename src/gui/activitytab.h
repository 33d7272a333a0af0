#pragma once

#include <QWidget>
#include <functional>

#include <qcoro/qcorotask.h>

#include "history/processedfile.h"
#include "history/undoalertstate.h"

class QLabel;
class QListWidget;
class QPushButton;
class QStackedWidget;

namespace Nomly {

class ActivityRow;
class ActivityViewModel;

// The activity list: what was renamed, newest first, with undo one at a time
// or all together. Loads when first shown and pages on as the list is
// scrolled to its end.
class ActivityTab final : public QWidget
{
    Q_OBJECT

public:
    // Shows an alert and answers the text of the button chosen, empty when
    // dismissed. Replaced by tests; by default a message box.
    using AlertPresenter = std::function<QCoro::Task<QString>(const UndoAlertState &state)>;

    explicit ActivityTab(ActivityViewModel &activity, QWidget *parent = nullptr);

    void setAlertPresenter(AlertPresenter presenter) { m_presentAlert = std::move(presenter); }

    // The rows shown, in list order.
    QList<ActivityRow *> rows() const;

    // The actions of the tab, as the buttons do them; each ends when the
    // user has answered and the work is done.
    QCoro::Task<> undoRecord(ProcessedFile record);
    QCoro::Task<> removeRecord(ProcessedFile record);
    QCoro::Task<> undoAll();
    QCoro::Task<> clearAll();
    // Opens the folder holding the file; a file no longer there is offered
    // for removal instead.
    QCoro::Task<> showInFolder(ProcessedFile record);

    // Loads the list on first use; later, reads it again only when another
    // process (the command line, the monitor) changed the log since.
    void refresh();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void rebuildRows();
    void updateState();
    void loadMoreIfAtEnd();

    ActivityViewModel &m_activity;
    AlertPresenter m_presentAlert;
    bool m_loadStarted = false;
    QStackedWidget *m_pages = nullptr;
    QListWidget *m_list = nullptr;
    QLabel *m_emptyTitle = nullptr;
    QLabel *m_emptyMessage = nullptr;
    QLabel *m_loading = nullptr;
    QLabel *m_progress = nullptr;
    QPushButton *m_undoAll = nullptr;
    QPushButton *m_clear = nullptr;
};

} // namespace Nomly
