#pragma once

#include <QAbstractTableModel>
#include <QHash>
#include <QIcon>
#include <QList>
#include <QUuid>

#include "gui/thumbnailloader.h"

namespace Nomly {

class BatchRenameViewModel;
struct BatchRenameItem;

// The AI Rename batch as a table, one row per item, in the batch's order:
// the file as it was, the name it gets (edited in place), and where it
// stands. Follows the batch change by change; each row is read from the
// batch when drawn, and only the paths whose previews it may have to drop
// are kept here.
class BatchRenameTableModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        OriginalColumn,
        NewNameColumn,
        StateColumn,
        ColumnCount,
    };

    // The size of a row's preview, in device-independent pixels.
    static constexpr QSize ThumbnailSize { 48, 32 };
    static constexpr QSize StatusIconSize { 16, 16 };

    explicit BatchRenameTableModel(BatchRenameViewModel &batch, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    // The new name: the user's own, which an empty text gives back to the
    // suggestion. Typing the file's own extension adds nothing: it is kept
    // anyway.
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;

    // Null past the end.
    QUuid idAt(int row) const;

    ThumbnailLoader &thumbnails() { return m_thumbnails; }

private:
    // The paths a row's previews are kept under.
    struct RowPaths
    {
        QString original;
        QString final;
    };

    static RowPaths pathsOf(const BatchRenameItem &item);
    const BatchRenameItem *itemAt(int row) const;
    QVariant originalData(const BatchRenameItem &item, int role) const;
    QVariant newNameData(const BatchRenameItem &item, int role) const;
    QVariant stateData(const BatchRenameItem &item, int role) const;
    QIcon typeIcon(const QString &path) const;

    void insertItems(int first, int last);
    void changeItem(int row);
    void removeItem(int row);
    void resetItems();
    void showThumbnail(const QString &path);

    BatchRenameViewModel &m_batch;
    // Drawing asks for previews, which start reads: the cache changes from
    // const reads.
    mutable ThumbnailLoader m_thumbnails;
    mutable QHash<QString, QIcon> m_typeIcons;
    QList<RowPaths> m_rows;
};

} // namespace Nomly
