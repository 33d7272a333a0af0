#pragma once

#include <QPointer>
#include <QUuid>
#include <QWidget>
#include <functional>

#include <qcoro/qcorotask.h>

#include "ai/remoteconfig.h"
#include "gui/alertbox.h"

class QAction;
class QComboBox;
class QFileDialog;
class QLabel;
class QProgressBar;
class QPushButton;
class QTableView;
class QTimer;

namespace Nomly {

class BatchDropZone;
class BatchRenameTableModel;
class BatchRenameViewModel;
class TemplateLibrary;

// AI Rename: files and folders dropped on the tab or picked become a batch;
// the list shows each file, the name proposed for it (edited in place) and
// where it stands, while the count and the progress bar follow the analysis;
// "Rename All" renames what has a name. The template the batch names by is
// chosen here too.
class AIRenameTab final : public QWidget
{
    Q_OBJECT

public:
    AIRenameTab(BatchRenameViewModel &batch, TemplateLibrary &templates, QWidget *parent = nullptr);

    // Where the batch's bound and the file types come from; the built-in
    // values until set.
    void setRemoteConfigSource(std::function<RemoteConfig()> source);

    // Replaced by tests; by default a message box over the tab.
    void setAlertPresenter(AlertPresenter presenter) { m_presentAlert = std::move(presenter); }

    BatchRenameTableModel &tableModel() const { return *m_model; }

    QTableView *table() const { return m_table; }

    BatchDropZone *dropZone() const { return m_dropZone; }

    // The file picker; while one is open, a second request only raises it.
    void pickFiles();
    // The actions on the rows, as the keyboard and the context menu give
    // them: edit the current row's name, take the selected rows out of the
    // batch, show the current row's file in its folder.
    void editCurrentName();
    void removeSelected();
    void revealCurrent();
    void regenerateCurrent();

protected:
    void showEvent(QShowEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void buildActions();
    void updateState();
    void updateCount();
    void updateActions();
    void updateLimit();
    void reloadTemplates();
    void showContextMenu(const QPoint &position);
    QCoro::Task<> presentLimitAlert();
    QCoro::Task<> reveal(QString path);
    int currentRow() const;

    BatchRenameViewModel &m_batch;
    TemplateLibrary &m_templates;
    std::function<RemoteConfig()> m_remoteConfig;
    AlertPresenter m_presentAlert;
    BatchRenameTableModel *m_model = nullptr;
    BatchDropZone *m_dropZone = nullptr;
    QTableView *m_table = nullptr;
    QComboBox *m_template = nullptr;
    QProgressBar *m_progress = nullptr;
    QLabel *m_count = nullptr;
    QPushButton *m_clear = nullptr;
    QPushButton *m_renameAll = nullptr;
    QAction *m_renameAction = nullptr;
    QAction *m_regenerateAction = nullptr;
    QAction *m_removeAction = nullptr;
    QAction *m_revealAction = nullptr;
    QTimer *m_elapsedTicker = nullptr;
    QPointer<QFileDialog> m_picker;
    bool m_limitAlertOpen = false;
};

} // namespace Nomly
