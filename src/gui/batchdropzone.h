#pragma once

#include <QFrame>

class QLabel;
class QPushButton;

namespace Nomly {

// What AI Rename says about adding files: how to, up to how many, or, while
// files are dragged over the tab, what letting go does; and the button that
// opens the file picker. Fills the tab while the batch is empty and becomes a
// strip above the list once it holds files. The tab itself takes the drops,
// so that a drop anywhere on it counts.
class BatchDropZone final : public QFrame
{
    Q_OBJECT

public:
    explicit BatchDropZone(QWidget *parent = nullptr);

    void setBatchEmpty(bool empty);
    void setDragActive(bool active);
    // The most files a batch takes.
    void setLimit(int limit);

    QString hint() const;
    QString pickText() const;

Q_SIGNALS:
    void pickRequested();

private:
    void refresh();
    void relayout();

    QLabel *m_hint = nullptr;
    QLabel *m_kinds = nullptr;
    QPushButton *m_pick = nullptr;
    bool m_empty = true;
    bool m_dragging = false;
    int m_limit = 0;
};

} // namespace Nomly
