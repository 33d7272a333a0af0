#pragma once

#include <optional>
#include <utility>

#include <qcoro/qcorotask.h>

namespace Nomly {

// QCoro::waitFor for values without an empty state, such as Result<T, E>.
template<typename T> T waitedResult(QCoro::Task<T> task)
{
    std::optional<T> out;
    const auto run
        = [](QCoro::Task<T> pending, std::optional<T> &into) -> QCoro::Task<> { into.emplace(co_await pending); };
    QCoro::waitFor(run(std::move(task), out));
    return std::move(*out);
}

} // namespace Nomly
