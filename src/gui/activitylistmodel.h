#pragma once

#include <QAbstractListModel>

#include "history/processedfile.h"

namespace Nomly {

class ActivityViewModel;

// The renames of the activity view model as a list model, newest first: the
// new name with an icon of its file type, and a second line telling the old
// name, the folder and when. Follows the view model: a new page or an undo
// resets it.
class ActivityListModel final : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role
    {
        // "was <old name> · <folder> · <when>"
        DetailRole = Qt::UserRole + 1,
    };

    explicit ActivityListModel(ActivityViewModel &activity, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

    const ProcessedFile &record(int row) const;

private:
    ActivityViewModel &m_activity;
};

} // namespace Nomly
