#include "app/monitorstatus.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace Nomly {

namespace {

QJsonArray array(const QStringList &list)
{
    return QJsonArray::fromStringList(list);
}

QStringList strings(const QJsonValue &value)
{
    QStringList out;
    for (const QJsonValue &item : value.toArray())
        out.append(item.toString());
    return out;
}

} // namespace

QByteArray MonitorStatus::toJson() const
{
    const QJsonObject object {
        { QStringLiteral("pid"), pid },
        { QStringLiteral("program"), program },
        { QStringLiteral("paused"), paused },
        { QStringLiteral("watching"), watching },
        { QStringLiteral("folders"), array(folders) },
        { QStringLiteral("unavailableFolders"), array(unavailableFolders) },
        { QStringLiteral("waiting"), array(waiting) },
        { QStringLiteral("processing"), array(processing) },
        { QStringLiteral("processedInSession"), processedInSession },
    };
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

std::optional<MonitorStatus> MonitorStatus::fromJson(const QByteArray &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    MonitorStatus status;
    status.pid = object.value(QStringLiteral("pid")).toInteger();
    status.program = object.value(QStringLiteral("program")).toString();
    status.paused = object.value(QStringLiteral("paused")).toBool();
    status.watching = object.value(QStringLiteral("watching")).toBool();
    status.folders = strings(object.value(QStringLiteral("folders")));
    status.unavailableFolders = strings(object.value(QStringLiteral("unavailableFolders")));
    status.waiting = strings(object.value(QStringLiteral("waiting")));
    status.processing = strings(object.value(QStringLiteral("processing")));
    status.processedInSession = object.value(QStringLiteral("processedInSession")).toInt();
    return status;
}

} // namespace Nomly
