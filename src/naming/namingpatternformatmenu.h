#pragma once

#include <QList>
#include <QString>
#include <optional>

#include "naming/namingpatterntokenformatoption.h"

namespace Nomly {

// The formats a variable chip can switch between, under one group title.
struct NamingPatternFormatMenu
{
    QString title;
    QList<NamingPatternTokenFormatOption> options;

    bool operator==(const NamingPatternFormatMenu &) const = default;
};

// The menu of the family a token belongs to, found by its base name: every
// date field shares the date formats, "{invoice_date_long}" included. Tokens
// without formats (titles, unknown names) have none.
std::optional<NamingPatternFormatMenu> formatMenuForToken(const QString &token);

} // namespace Nomly
