#include "gui/batchrenametablemodel.h"

#include <QApplication>
#include <QFileInfo>
#include <QFont>
#include <QMimeDatabase>
#include <QStyle>

#include "naming/filerenamer.h"
#include "workflows/batchrenameviewmodel.h"

namespace Nomly {

namespace {

QIcon themedIcon(const QString &name, QStyle::StandardPixmap fallback)
{
    const QIcon themed = QIcon::fromTheme(name);
    return themed.isNull() ? QApplication::style()->standardIcon(fallback) : themed;
}

QIcon statusIcon(BatchRenameStatus status)
{
    switch (status) {
    case BatchRenameStatus::Pending:
        return QIcon::fromTheme(QStringLiteral("appointment-soon"));
    case BatchRenameStatus::Processing:
    case BatchRenameStatus::Renaming:
        return themedIcon(QStringLiteral("view-refresh"), QStyle::SP_BrowserReload);
    case BatchRenameStatus::Analyzed:
        return QIcon();
    case BatchRenameStatus::Completed:
        return themedIcon(QStringLiteral("emblem-ok-symbolic"), QStyle::SP_DialogApplyButton);
    case BatchRenameStatus::Failed:
        return themedIcon(QStringLiteral("dialog-warning"), QStyle::SP_MessageBoxWarning);
    }
    return QIcon();
}

// The words of a row's state; a failure says why, a renamed file its name.
QString stateText(const BatchRenameItem &item)
{
    switch (item.status) {
    case BatchRenameStatus::Pending:
        return QStringLiteral("Waiting");
    case BatchRenameStatus::Processing:
        return QStringLiteral("Analyzing…");
    case BatchRenameStatus::Analyzed:
        return QStringLiteral("Ready to rename");
    case BatchRenameStatus::Renaming:
        return QStringLiteral("Renaming…");
    case BatchRenameStatus::Completed:
        return item.newName.value_or(QString());
    case BatchRenameStatus::Failed:
        return item.error.value_or(QStringLiteral("Failed"));
    }
    return QString();
}

QString withExtension(const QString &base, const QString &extension)
{
    return extension.isEmpty() ? base : base + u'.' + extension;
}

} // namespace

BatchRenameTableModel::BatchRenameTableModel(BatchRenameViewModel &batch, QObject *parent)
    : QAbstractTableModel(parent)
    , m_batch(batch)
    , m_thumbnails(ThumbnailSize)
{
    for (const BatchRenameItem &item : batch.items())
        m_rows.append(pathsOf(item));
    connect(&batch, &BatchRenameViewModel::itemsInserted, this, &BatchRenameTableModel::insertItems);
    connect(&batch, &BatchRenameViewModel::itemChanged, this, &BatchRenameTableModel::changeItem);
    connect(&batch, &BatchRenameViewModel::itemRemoved, this, &BatchRenameTableModel::removeItem);
    connect(&batch, &BatchRenameViewModel::batchCleared, this, &BatchRenameTableModel::resetItems);
    connect(&m_thumbnails, &ThumbnailLoader::thumbnailReady, this, &BatchRenameTableModel::showThumbnail);
}

int BatchRenameTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int BatchRenameTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

BatchRenameTableModel::RowPaths BatchRenameTableModel::pathsOf(const BatchRenameItem &item)
{
    return RowPaths { item.originalPath, item.finalPath.value_or(QString()) };
}

const BatchRenameItem *BatchRenameTableModel::itemAt(int row) const
{
    // The batch changes first and tells after, so a view may ask for a row
    // it has not yet heard is gone.
    if (row < 0 || row >= m_rows.size() || row >= m_batch.items().size())
        return nullptr;
    return &m_batch.items().at(row);
}

QUuid BatchRenameTableModel::idAt(int row) const
{
    const BatchRenameItem *item = itemAt(row);
    return item ? item->id : QUuid();
}

QVariant BatchRenameTableModel::data(const QModelIndex &index, int role) const
{
    const BatchRenameItem *item = index.isValid() ? itemAt(index.row()) : nullptr;
    if (!item)
        return QVariant();
    switch (index.column()) {
    case OriginalColumn:
        return originalData(*item, role);
    case NewNameColumn:
        return newNameData(*item, role);
    case StateColumn:
        return stateData(*item, role);
    default:
        return QVariant();
    }
}

QVariant BatchRenameTableModel::originalData(const BatchRenameItem &item, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return item.fileName;
    case Qt::ToolTipRole:
        return item.originalPath;
    case Qt::DecorationRole: {
        // A renamed file is read where it now is.
        const QString path = item.finalPath.value_or(item.originalPath);
        const QImage thumbnail = m_thumbnails.thumbnail(path);
        if (!thumbnail.isNull())
            return thumbnail;
        return typeIcon(path);
    }
    default:
        return QVariant();
    }
}

QVariant BatchRenameTableModel::newNameData(const BatchRenameItem &item, int role) const
{
    const std::optional<QString> name = item.nameToUse();
    switch (role) {
    case Qt::DisplayRole:
        return name ? withExtension(*name, FileRenamer::extensionOf(item.originalPath)) : QString();
    case Qt::EditRole:
        return name.value_or(QString());
    case Qt::FontRole: {
        if (!item.editedName)
            return QVariant();
        QFont font;
        font.setBold(true);
        return font;
    }
    case Qt::ToolTipRole:
        if (item.editedName && item.suggestedName)
            return QStringLiteral("Suggested: %1").arg(*item.suggestedName);
        return QVariant();
    default:
        return QVariant();
    }
}

QVariant BatchRenameTableModel::stateData(const BatchRenameItem &item, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return stateText(item);
    case Qt::ToolTipRole:
        return item.status == BatchRenameStatus::Failed || item.status == BatchRenameStatus::Completed
            ? QVariant(stateText(item))
            : QVariant();
    case Qt::DecorationRole: {
        // A mark beside the words, smaller than the file's preview.
        const QIcon icon = statusIcon(item.status);
        return icon.isNull() ? QVariant() : QVariant(icon.pixmap(StatusIconSize, qGuiApp->devicePixelRatio()));
    }
    default:
        return QVariant();
    }
}

QIcon BatchRenameTableModel::typeIcon(const QString &path) const
{
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchExtension);
    const auto known = m_typeIcons.constFind(type.name());
    if (known != m_typeIcons.cend())
        return *known;
    QIcon icon = QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName()));
    if (icon.isNull())
        icon = QApplication::style()->standardIcon(QStyle::SP_FileIcon);
    m_typeIcons.insert(type.name(), icon);
    return icon;
}

QVariant BatchRenameTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    switch (section) {
    case OriginalColumn:
        return QStringLiteral("Original");
    case NewNameColumn:
        return QStringLiteral("New Name");
    case StateColumn:
        return QStringLiteral("Status");
    default:
        return QVariant();
    }
}

Qt::ItemFlags BatchRenameTableModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    const BatchRenameItem *item = index.isValid() ? itemAt(index.row()) : nullptr;
    // A name can be changed from the moment it is shown until the rename
    // starts.
    if (item && index.column() == NewNameColumn && item->status == BatchRenameStatus::Analyzed
        && !m_batch.isConfirmingRenames())
        flags |= Qt::ItemIsEditable;
    return flags;
}

bool BatchRenameTableModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole || !flags(index).testFlag(Qt::ItemIsEditable))
        return false;
    const BatchRenameItem &item = *itemAt(index.row());
    QString name = value.toString().trimmed();
    const QString extension = FileRenamer::extensionOf(item.originalPath);
    const QString typed = u'.' + extension;
    if (!extension.isEmpty() && name.size() > typed.size() && name.endsWith(typed, Qt::CaseInsensitive))
        name.chop(typed.size());
    m_batch.updateEditedName(item.id, name);
    return true;
}

void BatchRenameTableModel::insertItems(int first, int last)
{
    beginInsertRows(QModelIndex(), first, last);
    for (int row = first; row <= last; ++row)
        m_rows.insert(row, pathsOf(m_batch.items().at(row)));
    endInsertRows();
}

void BatchRenameTableModel::changeItem(int row)
{
    if (row < 0 || row >= m_rows.size())
        return;
    m_rows[row] = pathsOf(m_batch.items().at(row));
    emit dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

void BatchRenameTableModel::removeItem(int row)
{
    if (row < 0 || row >= m_rows.size())
        return;
    beginRemoveRows(QModelIndex(), row, row);
    const RowPaths paths = m_rows.takeAt(row);
    endRemoveRows();
    m_thumbnails.forget(paths.original);
    if (!paths.final.isEmpty())
        m_thumbnails.forget(paths.final);
}

void BatchRenameTableModel::resetItems()
{
    beginResetModel();
    m_rows.clear();
    m_thumbnails.clear();
    endResetModel();
}

void BatchRenameTableModel::showThumbnail(const QString &path)
{
    for (int row = 0; row < m_rows.size(); ++row) {
        const RowPaths &paths = m_rows.at(row);
        if (paths.original == path || paths.final == path)
            emit dataChanged(index(row, OriginalColumn), index(row, OriginalColumn), { Qt::DecorationRole });
    }
}

} // namespace Nomly
