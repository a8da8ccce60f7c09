#include "model/SqliteDatabase.h"

#include "model/RepeatedTexts.h"

#include <QUrl>
#include <sqlite3.h>

SqliteStatement::SqliteStatement(SqliteStatement &&other) noexcept
    : m_db(other.m_db), m_stmt(std::exchange(other.m_stmt, nullptr)),
      m_texts(std::move(other.m_texts))
{
}

SqliteStatement &SqliteStatement::operator=(SqliteStatement &&other) noexcept
{
    if (this != &other) {
        if (m_stmt)
            sqlite3_finalize(m_stmt);
        m_db = other.m_db;
        m_stmt = std::exchange(other.m_stmt, nullptr);
        m_texts = std::move(other.m_texts);
    }
    return *this;
}

SqliteStatement::~SqliteStatement()
{
    if (m_stmt)
        sqlite3_finalize(m_stmt);
}

void SqliteStatement::bind(int index, const QString &value)
{
    if (index < 1 || index > sqlite3_bind_parameter_count(m_stmt))
        return;
    if (size_t(index) > m_texts.size())
        m_texts.resize(size_t(index));
    QByteArray &utf8 = m_texts[size_t(index - 1)];
    // Most bound texts are ASCII (names, identifiers, colours): narrowed in place.
    const qsizetype size = value.size();
    const auto *in = reinterpret_cast<const char16_t *>(value.utf16());
    utf8.resize(size);
    char *out = utf8.data();
    qsizetype i = 0;
    for (; i < size && in[i] < 0x80; ++i)
        out[i] = char(in[i]);
    if (i < size)
        utf8 = value.toUtf8();
    sqlite3_bind_text(m_stmt, index, utf8.isEmpty() ? "" : utf8.constData(), int(utf8.size()),
                      SQLITE_STATIC);
}

void SqliteStatement::bind(int index, qint64 value)
{
    sqlite3_bind_int64(m_stmt, index, value);
}

void SqliteStatement::bind(int index, double value)
{
    sqlite3_bind_double(m_stmt, index, value);
}

void SqliteStatement::bind(int index, const QByteArray &blob)
{
    // An empty blob stays a blob (not NULL): absent and empty are different values.
    sqlite3_bind_blob(m_stmt, index, blob.isEmpty() ? "" : blob.constData(), int(blob.size()),
                      SQLITE_TRANSIENT);
}

void SqliteStatement::bindNull(int index)
{
    sqlite3_bind_null(m_stmt, index);
}

SqliteStatement::Step SqliteStatement::step()
{
    if (!m_stmt)
        return Step::error;
    switch (sqlite3_step(m_stmt)) {
    case SQLITE_ROW:
        return Step::row;
    case SQLITE_DONE:
        return Step::done;
    default:
        return Step::error;
    }
}

void SqliteStatement::reset()
{
    sqlite3_reset(m_stmt);
    sqlite3_clear_bindings(m_stmt);
}

int SqliteStatement::columnCount() const
{
    return sqlite3_column_count(m_stmt);
}

QString SqliteStatement::columnName(int column) const
{
    return QString::fromUtf8(sqlite3_column_name(m_stmt, column));
}

int SqliteStatement::columnType(int column) const
{
    return sqlite3_column_type(m_stmt, column);
}

bool SqliteStatement::isNull(int column) const
{
    return sqlite3_column_type(m_stmt, column) == SQLITE_NULL;
}

qint64 SqliteStatement::int64(int column) const
{
    return sqlite3_column_int64(m_stmt, column);
}

double SqliteStatement::real(int column) const
{
    return sqlite3_column_double(m_stmt, column);
}

QString SqliteStatement::text(int column) const
{
    const auto *p = reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, column));
    const int n = sqlite3_column_bytes(m_stmt, column);
    return p ? QString::fromUtf8(p, n) : QString();
}

QString SqliteStatement::text(int column, RepeatedTexts &repeated) const
{
    const auto *p = reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, column));
    const int n = sqlite3_column_bytes(m_stmt, column);
    return p ? repeated.text(QByteArrayView(p, n)) : QString();
}

QByteArray SqliteStatement::blob(int column) const
{
    const void *p = sqlite3_column_blob(m_stmt, column);
    const int n = sqlite3_column_bytes(m_stmt, column);
    return p ? QByteArray(static_cast<const char *>(p), n) : QByteArray();
}

SqliteDatabase::~SqliteDatabase()
{
    close();
}

bool SqliteDatabase::open(const QString &path, Mode mode)
{
    close();
    int flags = SQLITE_OPEN_NOMUTEX;
    QByteArray name = path.toUtf8();
    switch (mode) {
    case Mode::readOnly:
        flags |= SQLITE_OPEN_READONLY;
        break;
    case Mode::immutable:
        flags |= SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
        name = QUrl::fromLocalFile(path).toEncoded() + "?immutable=1";
        break;
    case Mode::memory:
        flags |= SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_MEMORY;
        name = ":memory:";
        break;
    case Mode::readWrite:
        flags |= SQLITE_OPEN_READWRITE;
        break;
    case Mode::readWriteCreate:
        flags |= SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
        break;
    }
    const int rc = sqlite3_open_v2(name.constData(), &m_db, flags, nullptr);
    if (rc != SQLITE_OK) {
        m_lastErrorCode = rc;
        m_lastError =
            m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : QString::fromUtf8(sqlite3_errstr(rc));
        close();
        return false;
    }
    sqlite3_extended_result_codes(m_db, 1);
    // A reader closing last must never checkpoint or delete the log of a writer whose locks it
    // cannot see.
    if (mode == Mode::readOnly || mode == Mode::immutable)
        sqlite3_db_config(m_db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    return true;
}

void SqliteDatabase::adopt(SqliteDatabase &other)
{
    close();
    m_db = std::exchange(other.m_db, nullptr);
}

bool SqliteDatabase::backupTo(SqliteDatabase &destination)
{
    sqlite3_backup *backup = sqlite3_backup_init(destination.m_db, "main", m_db, "main");
    if (!backup) {
        destination.captureError();
        m_lastError = destination.m_lastError;
        m_lastErrorCode = destination.m_lastErrorCode;
        return false;
    }
    int rc = sqlite3_backup_step(backup, -1);
    // Busy only while a writer holds its lock for a moment.
    for (int attempt = 0; (rc == SQLITE_BUSY || rc == SQLITE_LOCKED) && attempt < 50; ++attempt) {
        sqlite3_sleep(20);
        rc = sqlite3_backup_step(backup, -1);
    }
    const int finished = sqlite3_backup_finish(backup);
    if (rc != SQLITE_DONE || finished != SQLITE_OK) {
        m_lastErrorCode = rc != SQLITE_DONE ? rc : finished;
        m_lastError = QString::fromUtf8(sqlite3_errmsg(destination.m_db));
        if (m_lastError.isEmpty() || m_lastError == QLatin1String("not an error"))
            m_lastError = QString::fromUtf8(sqlite3_errstr(m_lastErrorCode));
        return false;
    }
    return true;
}

void SqliteDatabase::close()
{
    if (m_db) {
        sqlite3_close_v2(m_db);
        m_db = nullptr;
    }
}

void SqliteDatabase::captureError()
{
    m_lastErrorCode = m_db ? sqlite3_errcode(m_db) : SQLITE_MISUSE;
    m_lastError = m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : QStringLiteral("not open");
}

bool SqliteDatabase::exec(const QString &sql)
{
    if (!m_db) {
        captureError();
        return false;
    }
    char *err = nullptr;
    const int rc = sqlite3_exec(m_db, sql.toUtf8().constData(), nullptr, nullptr, &err);
    if (rc != SQLITE_OK) {
        m_lastErrorCode = rc;
        m_lastError = err ? QString::fromUtf8(err) : QString::fromUtf8(sqlite3_errstr(rc));
        sqlite3_free(err);
        return false;
    }
    return true;
}

SqliteStatement SqliteDatabase::prepare(const QString &sql)
{
    sqlite3_stmt *stmt = nullptr;
    if (!m_db ||
        sqlite3_prepare_v2(m_db, sql.toUtf8().constData(), -1, &stmt, nullptr) != SQLITE_OK) {
        captureError();
        return {};
    }
    return SqliteStatement(m_db, stmt);
}

std::optional<QVariant> SqliteDatabase::scalar(const QString &sql)
{
    SqliteStatement st = prepare(sql);
    if (!st.isValid())
        return std::nullopt;
    const auto s = st.step();
    if (s == SqliteStatement::Step::error) {
        captureError();
        return std::nullopt;
    }
    if (s == SqliteStatement::Step::done)
        return QVariant();
    switch (st.columnType(0)) {
    case SQLITE_INTEGER:
        return QVariant(st.int64(0));
    case SQLITE_FLOAT:
        return QVariant(st.real(0));
    case SQLITE_NULL:
        return QVariant();
    case SQLITE_BLOB:
        return QVariant(st.blob(0));
    default:
        return QVariant(st.text(0));
    }
}

SqliteTransaction::SqliteTransaction(SqliteDatabase &db) : m_db(db)
{
    m_active = m_db.exec(QStringLiteral("BEGIN IMMEDIATE"));
}

SqliteTransaction::~SqliteTransaction()
{
    if (m_active)
        m_db.exec(QStringLiteral("ROLLBACK"));
}

bool SqliteTransaction::commit()
{
    if (!m_active)
        return false;
    if (!m_db.exec(QStringLiteral("COMMIT")))
        return false;
    m_active = false;
    return true;
}
