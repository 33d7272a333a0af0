#include <sqlite3.h>

#include "history/sqlitestatement_p.h"

namespace Nomly {

Failure sqliteFailure(sqlite3 *connection, int code)
{
    const char *message = connection ? sqlite3_errmsg(connection) : sqlite3_errstr(code);
    return { QString::fromUtf8(message), code };
}

SqliteStatement::SqliteStatement(sqlite3 *connection, QByteArrayView sql)
    : m_connection(connection)
{
    const int code = sqlite3_prepare_v2(connection, sql.data(), int(sql.size()), &m_statement, nullptr);
    if (code != SQLITE_OK)
        m_failure = sqliteFailure(connection, code);
}

SqliteStatement::~SqliteStatement()
{
    sqlite3_finalize(m_statement);
}

SqliteStatement &SqliteStatement::bind(const QString &value)
{
    return bind(value.toUtf8());
}

SqliteStatement &SqliteStatement::bind(const QByteArray &utf8)
{
    if (m_failure)
        return *this;
    // constData() of an empty array is "", never null, so empty text stays
    // text and does not turn into NULL.
    return bindResult(
        sqlite3_bind_text(m_statement, m_nextParameter++, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT));
}

SqliteStatement &SqliteStatement::bind(const std::optional<QString> &value)
{
    if (value)
        return bind(*value);
    if (m_failure)
        return *this;
    return bindResult(sqlite3_bind_null(m_statement, m_nextParameter++));
}

SqliteStatement &SqliteStatement::bind(const std::optional<qint64> &value)
{
    if (value)
        return bind(*value);
    if (m_failure)
        return *this;
    return bindResult(sqlite3_bind_null(m_statement, m_nextParameter++));
}

SqliteStatement &SqliteStatement::bind(qint64 value)
{
    if (m_failure)
        return *this;
    return bindResult(sqlite3_bind_int64(m_statement, m_nextParameter++, value));
}

SqliteStatement &SqliteStatement::bindResult(int code)
{
    if (code != SQLITE_OK)
        m_failure = sqliteFailure(m_connection, code);
    return *this;
}

Result<bool> SqliteStatement::step()
{
    if (m_failure)
        return *m_failure;
    const int code = sqlite3_step(m_statement);
    if (code == SQLITE_ROW)
        return true;
    if (code == SQLITE_DONE)
        return false;
    m_failure = sqliteFailure(m_connection, code);
    return *m_failure;
}

Result<> SqliteStatement::execute()
{
    return forEachRow([] {});
}

int SqliteStatement::columnIndex(QByteArrayView name) const
{
    const int count = sqlite3_column_count(m_statement);
    for (int column = 0; column < count; ++column) {
        if (name == QByteArrayView(sqlite3_column_name(m_statement, column)))
            return column;
    }
    return -1;
}

bool SqliteStatement::isNull(int column) const
{
    return column < 0 || sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

QString SqliteStatement::text(int column) const
{
    return QString::fromUtf8(bytes(column));
}

QByteArray SqliteStatement::bytes(int column) const
{
    if (column < 0)
        return {};
    const auto *data = static_cast<const char *>(sqlite3_column_blob(m_statement, column));
    return QByteArray(data, sqlite3_column_bytes(m_statement, column));
}

qint64 SqliteStatement::integer(int column) const
{
    return column < 0 ? 0 : sqlite3_column_int64(m_statement, column);
}

Result<> executeSql(sqlite3 *connection, QByteArrayView sql)
{
    return SqliteStatement(connection, sql).execute();
}

} // namespace Nomly
