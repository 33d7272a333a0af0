#pragma once

#include <QSet>
#include <QWidget>
#include <functional>

#include <qcoro/qcorotask.h>

#include "history/processedfile.h"
#include "history/undoalertstate.h"

class QAction;
class QLabel;
class QListView;
class QMenu;
class QPushButton;
class QStackedWidget;

namespace Nomly {

class ActivityListModel;
class ActivityViewModel;

// The activity list: what was renamed, newest first, each with the icon of
// its file type. Any number of renames can be selected and undone, shown in
// their folder or removed from the list, from the context menu or the keys
// (Ctrl+Z, Return, Delete); or all undone or cleared together. Loads when
// first shown and pages on as the list is scrolled to its end.
class ActivityTab final : public QWidget
{
    Q_OBJECT

public:
    // Shows an alert and answers the text of the button chosen, empty when
    // dismissed. Replaced by tests; by default a message box.
    using AlertPresenter = std::function<QCoro::Task<QString>(const UndoAlertState &state)>;

    explicit ActivityTab(ActivityViewModel &activity, QWidget *parent = nullptr);

    void setAlertPresenter(AlertPresenter presenter) { m_presentAlert = std::move(presenter); }

    // The renames shown, in list order.
    QList<ProcessedFile> records() const;

    QListView *list() const { return m_list; }

    // The actions on the selected renames, as the context menu offers them.
    QAction *undoAction() const { return m_undo; }

    QAction *showInFolderAction() const { return m_showInFolder; }

    QAction *removeAction() const { return m_remove; }

    // Selects the renames at these rows, as a user's clicks do.
    void selectRows(const QList<int> &rows);

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
    void updateState();
    void loadMoreIfAtEnd();
    QList<ProcessedFile> selectedRecords() const;
    QCoro::Task<> undoSelected();
    QCoro::Task<> removeSelected();
    // One action on the selection at a time; Undo All waits for it too.
    void setActingOnSelection(bool acting);

    ActivityViewModel &m_activity;
    AlertPresenter m_presentAlert;
    bool m_loadStarted = false;
    QStackedWidget *m_pages = nullptr;
    QListView *m_list = nullptr;
    ActivityListModel *m_model = nullptr;
    QMenu *m_menu = nullptr;
    QAction *m_undo = nullptr;
    QAction *m_showInFolder = nullptr;
    QAction *m_remove = nullptr;
    bool m_actingOnSelection = false;
    // The ids selected when the list was rebuilt.
    QSet<qint64> m_keptSelection;
    QLabel *m_emptyTitle = nullptr;
    QLabel *m_emptyMessage = nullptr;
    QLabel *m_loading = nullptr;
    QLabel *m_progress = nullptr;
    QPushButton *m_undoAll = nullptr;
    QPushButton *m_clear = nullptr;
};

} // namespace Nomly
