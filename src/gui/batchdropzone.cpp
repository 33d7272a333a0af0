#include "gui/batchdropzone.h"

#include <QBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace Nomly {

BatchDropZone::BatchDropZone(QWidget *parent)
    : QFrame(parent)
{
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);

    m_hint = new QLabel(this);
    m_hint->setObjectName(QStringLiteral("dropHint"));
    m_hint->setWordWrap(true);
    m_kinds = new QLabel(QStringLiteral("Photos · Documents · Videos · Audio · Design files"), this);
    m_kinds->setAlignment(Qt::AlignCenter);
    m_kinds->setEnabled(false);
    m_pick = new QPushButton(this);
    m_pick->setObjectName(QStringLiteral("pickFiles"));
    connect(m_pick, &QPushButton::clicked, this, &BatchDropZone::pickRequested);
    relayout();
    refresh();
}

void BatchDropZone::setBatchEmpty(bool empty)
{
    if (m_empty == empty)
        return;
    m_empty = empty;
    relayout();
    refresh();
}

void BatchDropZone::setDragActive(bool active)
{
    if (m_dragging == active)
        return;
    m_dragging = active;
    refresh();
}

void BatchDropZone::setLimit(int limit)
{
    if (m_limit == limit)
        return;
    m_limit = limit;
    refresh();
}

QString BatchDropZone::hint() const
{
    return m_hint->text();
}

QString BatchDropZone::pickText() const
{
    return m_pick->text();
}

void BatchDropZone::refresh()
{
    if (m_dragging) {
        m_hint->setText(m_empty ? QStringLiteral("Release to analyze") : QStringLiteral("Release to add files"));
    } else {
        QString text = QStringLiteral("Drag & drop supported files or folders here,\nor open them with Nomly from "
                                      "your file manager. Max %1 files.")
                           .arg(m_limit);
        // One line in the strip above the list.
        if (!m_empty)
            text.replace(u'\n', u' ');
        m_hint->setText(text);
    }
    m_pick->setText(m_empty ? QStringLiteral("Select Files…") : QStringLiteral("Add Files…"));
    setBackgroundRole(m_dragging ? QPalette::AlternateBase : QPalette::Window);
    setFrameShadow(m_dragging ? QFrame::Sunken : QFrame::Plain);
}

void BatchDropZone::relayout()
{
    m_kinds->setVisible(m_empty);
    m_hint->setAlignment(m_empty ? Qt::AlignCenter : Qt::AlignLeft | Qt::AlignVCenter);
    // Centred in the whole tab while empty; a line with its button beside it
    // above the list.
    delete layout();
    if (m_empty) {
        auto *column = new QVBoxLayout(this);
        column->addStretch();
        column->addWidget(m_hint);
        column->addWidget(m_kinds);
        column->addSpacing(12);
        column->addWidget(m_pick, 0, Qt::AlignHCenter);
        column->addStretch();
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    } else {
        auto *row = new QHBoxLayout(this);
        row->addWidget(m_hint, 1);
        row->addWidget(m_pick);
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    }
}

} // namespace Nomly
