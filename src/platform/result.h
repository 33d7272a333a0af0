#pragma once

#include <QString>
#include <utility>
#include <variant>

namespace Nomly {

// Why an operation failed: the text a user or a log reads, and the code of the
// layer that failed (errno, an SQLite result code), 0 when there is none.
struct Failure
{
    QString message;
    int code = 0;

    bool operator==(const Failure &) const = default;
};

// A value or the failure that stands in its place. Operations of the core
// return this rather than throw, so that a workflow can carry the failure of
// one item as a value and go on with the next. A layer with its own error
// type (one that has `text()`) names it as `E`.
template<typename T = std::monostate, typename E = Failure> class Result
{
public:
    Result() requires std::is_same_v<T, std::monostate> : m_state(std::monostate {}) {}

    Result(T value)
        : m_state(std::move(value))
    {}

    Result(E failure)
        : m_state(std::move(failure))
    {}

    bool ok() const { return m_state.index() == 0; }

    explicit operator bool() const { return ok(); }

    const T &value() const & { return std::get<0>(m_state); }

    T &value() & { return std::get<0>(m_state); }

    // By value, so that `for (auto &x : load().value())` keeps the list alive.
    T value() && { return std::get<0>(std::move(m_state)); }

    const E &failure() const { return std::get<1>(m_state); }

    // Empty on success.
    QString error() const
    {
        if (ok())
            return {};
        if constexpr (std::is_same_v<E, Failure>)
            return failure().message;
        else
            return failure().text();
    }

private:
    std::variant<T, E> m_state;
};

} // namespace Nomly
