#pragma once

#include <QString>

namespace Nomly {

// One row of a variable chip's format menu: the token the chip switches to and
// the example the row shows ("{created_date_iso}", "YYYY-MM-DD").
struct NamingPatternTokenFormatOption
{
    QString token;
    QString titleKey;

    bool operator==(const NamingPatternTokenFormatOption &) const = default;
};

} // namespace Nomly
