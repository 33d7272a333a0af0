#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <optional>

#include "platform/result.h"

struct sqlite3;
struct sqlite3_stmt;

namespace Nomly {

// The failure of the last call on `connection`: SQLite's own message and its
// result code.
Failure sqliteFailure(sqlite3 *connection, int code);

// One prepared statement with its `?` values bound in order. A failed prepare
// or bind is kept and reported by the first `step`, so that callers check one
// result per statement.
class SqliteStatement final
{
public:
    SqliteStatement(sqlite3 *connection, QByteArrayView sql);
    ~SqliteStatement();
    SqliteStatement(const SqliteStatement &) = delete;
    SqliteStatement &operator=(const SqliteStatement &) = delete;

    SqliteStatement &bind(const QString &value);
    SqliteStatement &bind(const QByteArray &utf8);
    SqliteStatement &bind(const std::optional<QString> &value); // none binds NULL
    SqliteStatement &bind(qint64 value);
    SqliteStatement &bind(const std::optional<qint64> &value); // none binds NULL

    // True when a row is ready to read, false once the statement is done.
    Result<bool> step();
    // Steps to the end and ignores any rows.
    Result<> execute();

    // Calls `visit()` once per row, with the row ready to read.
    template<typename Visit> Result<> forEachRow(Visit visit)
    {
        for (;;) {
            const Result<bool> row = step();
            if (!row)
                return row.failure();
            if (!row.value())
                return {};
            visit();
        }
    }

    // The column of that name in the result, -1 when there is none.
    int columnIndex(QByteArrayView name) const;
    bool isNull(int column) const;
    QString text(int column) const;
    QByteArray bytes(int column) const;
    qint64 integer(int column) const;

private:
    SqliteStatement &bindResult(int code);

    sqlite3 *m_connection;
    sqlite3_stmt *m_statement = nullptr;
    std::optional<Failure> m_failure;
    int m_nextParameter = 1;
};

// Runs one statement without values, such as BEGIN or a CREATE.
Result<> executeSql(sqlite3 *connection, QByteArrayView sql);

// Runs `work` between `begin` and COMMIT; a failure of `work` or of the
// commit rolls everything back, so that no part of it stays.
template<typename Work> auto inTransaction(sqlite3 *connection, QByteArrayView begin, Work work) -> decltype(work())
{
    if (Result<> begun = executeSql(connection, begin); !begun)
        return begun.failure();
    auto result = work();
    if (!result) {
        executeSql(connection, "ROLLBACK");
        return result;
    }
    if (Result<> committed = executeSql(connection, "COMMIT"); !committed) {
        executeSql(connection, "ROLLBACK");
        return committed.failure();
    }
    return result;
}

template<typename Work> auto inWriteTransaction(sqlite3 *connection, Work work) -> decltype(work())
{
    // IMMEDIATE takes the write lock up front, so that a second process waits
    // on the busy timeout at BEGIN instead of failing half-way.
    return inTransaction(connection, "BEGIN IMMEDIATE", std::move(work));
}

template<typename Work> auto inReadTransaction(sqlite3 *connection, Work work) -> decltype(work())
{
    return inTransaction(connection, "BEGIN", std::move(work));
}

} // namespace Nomly
