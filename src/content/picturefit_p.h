#pragma once

#include <QSize>
#include <algorithm>
#include <cmath>

namespace Nomly {

// The size that fits inside `bound` with the proportions of `size`, rounded
// to whole pixels and at least one; never larger than `size`. An empty
// bound leaves the size as it is.
inline QSize fittedSize(const QSize &size, const QSize &bound)
{
    if (bound.isEmpty() || size.isEmpty())
        return size;
    const double scale
        = std::min({ double(bound.width()) / size.width(), double(bound.height()) / size.height(), 1.0 });
    return QSize(std::max(1, int(std::lround(size.width() * scale))),
                 std::max(1, int(std::lround(size.height() * scale))));
}

} // namespace Nomly
