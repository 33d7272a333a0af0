#pragma once

#include <QWidget>

#include "history/processedfile.h"

class QPushButton;

namespace Nomly {

// One record of the activity list: the names before and after, where and
// when, and the actions on it.
class ActivityRow final : public QWidget
{
    Q_OBJECT

public:
    explicit ActivityRow(const ProcessedFile &record, QWidget *parent = nullptr);

    const ProcessedFile &record() const { return m_record; }

    // Off while an undo of everything runs.
    void setActionsEnabled(bool enabled);

Q_SIGNALS:
    void undoRequested();
    void showInFolderRequested();
    void removeRequested();

private:
    ProcessedFile m_record;
    QPushButton *m_undo = nullptr;
    QPushButton *m_showInFolder = nullptr;
    QPushButton *m_remove = nullptr;
};

} // namespace Nomly
