#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// What the process that watches tells other processes of the same profile:
// who it is, whether Monitor is paused or running, and which files wait.
struct MonitorStatus
{
    qint64 pid = 0;
    QString program;
    bool paused = false;
    bool watching = false;
    QStringList folders; // being watched
    QStringList unavailableFolders;
    QStringList waiting; // paths queued, in order
    QStringList processing; // paths in the group under way
    int processedInSession = 0;

    QByteArray toJson() const;
    // None for bytes that are not such a record.
    static std::optional<MonitorStatus> fromJson(const QByteArray &json);

    bool operator==(const MonitorStatus &) const = default;
};

} // namespace Nomly
