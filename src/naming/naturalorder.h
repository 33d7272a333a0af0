#pragma once

#include <QCollator>

namespace Nomly {

// The system's collation with runs of digits compared by value, so that
// "gpt-5.2" comes before "gpt-5.10". The C locale compares code units and
// would not; English stands in for it.
QCollator naturalOrderCollator();

} // namespace Nomly
