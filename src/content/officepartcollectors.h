#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <utility>

namespace Nomly {

// Streaming readers of the small XML parts that lead from a workbook or a
// presentation to its sheets and slides. Each reads a part once, stops as
// soon as it has what it keeps, and ends quietly at a parse error with what
// it found by then. Namespace processing is off: the parts are matched on
// local names and a missing declaration must not cost the part.

// The shared string table of a workbook: each item's runs joined, in table
// order, empty items kept so that a cell's index finds its item.
struct SharedStringCollector
{
    int maxItems = 2'000;
    QStringList items;

    void parse(const QByteArray &xml);
};

// The sheets of a workbook in tab order: name and relationship id.
struct WorkbookSheetCollector
{
    QList<std::pair<QString, QString>> sheets;

    void parse(const QByteArray &xml);
};

// A relationships part: id to target.
struct RelationshipCollector
{
    QHash<QString, QString> relationships;

    void parse(const QByteArray &xml);
};

// The slides of a presentation in show order, as relationship ids.
struct PPTXSlideOrderCollector
{
    QStringList relationshipIds;

    void parse(const QByteArray &xml);
};

// The first rows of a worksheet that hold a value, each its non-empty cell
// values, shared strings looked up.
struct WorksheetRowCollector
{
    QStringList sharedStrings;
    int maxRows = 6;
    QList<QStringList> rows;

    void parse(const QByteArray &xml);

private:
    std::optional<QString> cellValue(const QString &cellText, const QString &cellType) const;
};

// A part target resolved against the folder its relationships belong to
// ("xl", "ppt"): "worksheets/sheet1.xml" is "xl/worksheets/sheet1.xml",
// "/xl/x.xml" is "xl/x.xml", "../a.xml" climbs out of the base.
QString resolvedPartTarget(const QString &target, const QString &base);

} // namespace Nomly
