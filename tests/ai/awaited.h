#pragma once

#include <optional>
#include <utility>

#include <qcoro/qcorotask.h>

namespace Nomly::Test {

// QCoro::waitFor for results that have no default value, such as Result<T>.
template<typename T> T awaited(QCoro::Task<T> task)
{
    std::optional<T> out;
    auto run = [](QCoro::Task<T> pending, std::optional<T> &into) -> QCoro::Task<> { into.emplace(co_await pending); };
    QCoro::waitFor(run(std::move(task), out));
    return std::move(*out);
}

} // namespace Nomly::Test
