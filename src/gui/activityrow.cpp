#include "gui/activityrow.h"

#include <QDateTime>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

namespace Nomly {

namespace {

QString whenText(const QString &processedAt)
{
    const QDateTime when = QDateTime::fromString(processedAt, Qt::ISODate);
    if (!when.isValid())
        return processedAt;
    return QLocale().toString(when.toLocalTime(), QLocale::ShortFormat);
}

} // namespace

ActivityRow::ActivityRow(const ProcessedFile &record, QWidget *parent)
    : QWidget(parent)
    , m_record(record)
{
    auto *newName = new QLabel(record.newName, this);
    QFont bold = newName->font();
    bold.setBold(true);
    newName->setFont(bold);
    newName->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto *originalName = new QLabel(QStringLiteral("was ") + record.originalName, this);
    originalName->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *details
        = new QLabel(QFileInfo(record.newPath).path() + QStringLiteral(" · ") + whenText(record.processedAt), this);
    details->setEnabled(false);

    auto *texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(newName);
    texts->addWidget(originalName);
    texts->addWidget(details);

    m_undo = new QPushButton(QStringLiteral("Undo"), this);
    m_showInFolder = new QPushButton(QStringLiteral("Show in folder"), this);
    m_remove = new QPushButton(QStringLiteral("Remove"), this);
    m_undo->setObjectName(QStringLiteral("undo"));
    m_showInFolder->setObjectName(QStringLiteral("showInFolder"));
    m_remove->setObjectName(QStringLiteral("remove"));
    connect(m_undo, &QPushButton::clicked, this, &ActivityRow::undoRequested);
    connect(m_showInFolder, &QPushButton::clicked, this, &ActivityRow::showInFolderRequested);
    connect(m_remove, &QPushButton::clicked, this, &ActivityRow::removeRequested);

    auto *layout = new QHBoxLayout(this);
    layout->addLayout(texts, 1);
    layout->addWidget(m_undo);
    layout->addWidget(m_showInFolder);
    layout->addWidget(m_remove);
}

void ActivityRow::setActionsEnabled(bool enabled)
{
    m_undo->setEnabled(enabled);
    m_remove->setEnabled(enabled);
}

} // namespace Nomly
