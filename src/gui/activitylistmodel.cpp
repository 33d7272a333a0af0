#include "gui/activitylistmodel.h"

#include <QDateTime>
#include <QFileInfo>
#include <QIcon>
#include <QLocale>
#include <QMimeDatabase>

#include "history/activityviewmodel.h"

namespace Nomly {

namespace {

QString whenText(const QString &processedAt)
{
    const QDateTime when = QDateTime::fromString(processedAt, Qt::ISODate);
    if (!when.isValid())
        return processedAt;
    return QLocale().toString(when.toLocalTime(), QLocale::ShortFormat);
}

// By the name alone: the list never reads the files it shows.
QIcon fileTypeIcon(const QString &name)
{
    static const QMimeDatabase mimeTypes;
    const QMimeType type = mimeTypes.mimeTypeForFile(name, QMimeDatabase::MatchExtension);
    return QIcon::fromTheme(
        type.iconName(), QIcon::fromTheme(type.genericIconName(), QIcon::fromTheme(QStringLiteral("text-x-generic"))));
}

} // namespace

ActivityListModel::ActivityListModel(ActivityViewModel &activity, QObject *parent)
    : QAbstractListModel(parent)
    , m_activity(activity)
{
    connect(&m_activity, &ActivityViewModel::activityFilesChanged, this, [this] {
        beginResetModel();
        endResetModel();
    });
}

int ActivityListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_activity.activityFiles().size());
}

const ProcessedFile &ActivityListModel::record(int row) const
{
    return m_activity.activityFiles().at(row);
}

QVariant ActivityListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const ProcessedFile &file = record(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return file.newName;
    case Qt::DecorationRole:
        return fileTypeIcon(file.newName);
    case Qt::ToolTipRole:
        return file.newPath;
    case DetailRole:
        return tr("was %1 · %2 · %3")
            .arg(file.originalName, QFileInfo(file.newPath).path(), whenText(file.processedAt));
    default:
        return {};
    }
}

} // namespace Nomly
