#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// The answer for one file, from the hosted backend or from a local model.
// Every key is optional on the wire.
struct AnalyzeResponse
{
    std::optional<QString> title;
    std::optional<QString> description;
    std::optional<QStringList> tags;
    std::optional<QString> error; // the failure of this one file
    std::optional<QString> type;
    std::optional<QString> vendor;
    std::optional<QString> amount;
    std::optional<QMap<QString, QString>> fields;

    bool operator==(const AnalyzeResponse &) const = default;
};

// Milliseconds the backend spent.
struct ServerTimings
{
    qint64 db = 0;
    qint64 ai = 0;
    qint64 total = 0;

    bool operator==(const ServerTimings &) const = default;
};

// The answer to one batch: one result per request, in request order.
struct BatchAnalyzeResponse
{
    QList<AnalyzeResponse> results;
    std::optional<ServerTimings> timings;
    std::optional<QString> effectiveProvider;

    bool operator==(const BatchAnalyzeResponse &) const = default;
};

} // namespace Nomly
