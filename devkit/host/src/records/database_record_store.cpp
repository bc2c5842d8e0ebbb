#include <mutex>
#include <stdexcept>

#include <sqlite3.h>

#include "records/record_store.h"

namespace tavo::devkit
{

namespace
{

struct DatabaseDeleter
{
    void operator()(sqlite3* database) const { sqlite3_close(database); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

using Database = std::unique_ptr<sqlite3, DatabaseDeleter>;
using Statement = std::unique_ptr<sqlite3_stmt, DatabaseDeleter>;

// A database keeps these texts, so that they never change.
const char* kindName(RecordKind kind)
{
    switch (kind)
    {
        case RecordKind::system:
            return "system";
        case RecordKind::server:
            return "server";
        case RecordKind::device:
            return "device";
        case RecordKind::user:
            return "user";
        case RecordKind::settings:
            return "settings";
        case RecordKind::address:
            return "address";
    }
    return "";
}

class DatabaseRecordStore : public RecordStore
{
public:
    explicit DatabaseRecordStore(const std::filesystem::path& file)
    {
        sqlite3* database = nullptr;
        const std::u8string name = file.u8string();
        const int code = sqlite3_open(reinterpret_cast<const char*>(name.c_str()), &database);
        m_database.reset(database);
        check(code, SQLITE_OK);
        execute("PRAGMA busy_timeout = 5000");
        execute("PRAGMA journal_mode = WAL");
        execute(
            "CREATE TABLE IF NOT EXISTS record (position INTEGER PRIMARY KEY, kind TEXT NOT NULL,"
            " id TEXT NOT NULL, body TEXT NOT NULL, UNIQUE (kind, id))");
        m_find = prepare("SELECT body FROM record WHERE kind = ? AND id = ?");
        m_put = prepare("INSERT INTO record (kind, id, body) VALUES (?, ?, ?)"
                        " ON CONFLICT (kind, id) DO UPDATE SET body = excluded.body");
        m_remove = prepare("DELETE FROM record WHERE kind = ? AND id = ?");
        m_ids = prepare("SELECT id FROM record WHERE kind = ? ORDER BY position");
    }

    std::optional<std::string> find(RecordKind kind, const std::string& id) const override
    {
        const std::lock_guard lock(m_mutex);
        const Use use(m_find.get());
        bind(m_find.get(), 1, kindName(kind));
        bind(m_find.get(), 2, id);
        if (!nextRow(m_find.get()))
            return std::nullopt;
        return column(m_find.get());
    }

    void put(RecordKind kind, const std::string& id, const std::string& text) override
    {
        const std::lock_guard lock(m_mutex);
        const Use use(m_put.get());
        bind(m_put.get(), 1, kindName(kind));
        bind(m_put.get(), 2, id);
        bind(m_put.get(), 3, text);
        nextRow(m_put.get());
    }

    void remove(RecordKind kind, const std::string& id) override
    {
        const std::lock_guard lock(m_mutex);
        const Use use(m_remove.get());
        bind(m_remove.get(), 1, kindName(kind));
        bind(m_remove.get(), 2, id);
        nextRow(m_remove.get());
    }

    std::vector<std::string> ids(RecordKind kind) const override
    {
        const std::lock_guard lock(m_mutex);
        const Use use(m_ids.get());
        bind(m_ids.get(), 1, kindName(kind));
        std::vector<std::string> result;
        while (nextRow(m_ids.get()))
            result.push_back(column(m_ids.get()));
        return result;
    }

private:
    // A statement is left as it was prepared, with no row pending and nothing bound.
    class Use
    {
    public:
        explicit Use(sqlite3_stmt* statement) :
            m_statement(statement)
        {}
        ~Use()
        {
            sqlite3_reset(m_statement);
            sqlite3_clear_bindings(m_statement);
        }
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

    private:
        sqlite3_stmt* const m_statement;
    };

    void check(int code, int expected) const
    {
        if (code != expected)
            throw std::runtime_error(std::string("database: ") + sqlite3_errmsg(m_database.get()));
    }

    void execute(const char* sql) const
    {
        check(sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr), SQLITE_OK);
    }

    Statement prepare(const char* sql) const
    {
        sqlite3_stmt* statement = nullptr;
        check(sqlite3_prepare_v2(m_database.get(), sql, -1, &statement, nullptr), SQLITE_OK);
        return Statement(statement);
    }

    void bind(sqlite3_stmt* statement, int position, const std::string& text) const
    {
        check(
            sqlite3_bind_text(statement, position, text.data(), int(text.size()), SQLITE_TRANSIENT),
            SQLITE_OK);
    }

    bool nextRow(sqlite3_stmt* statement) const
    {
        const int code = sqlite3_step(statement);
        if (code == SQLITE_ROW)
            return true;
        check(code, SQLITE_DONE);
        return false;
    }

    static std::string column(sqlite3_stmt* statement)
    {
        const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        return {text, size_t(sqlite3_column_bytes(statement, 0))};
    }

private:
    mutable std::mutex m_mutex; // a statement has one user at a time
    Database m_database; // before the statements: they end first
    Statement m_find;
    Statement m_put;
    Statement m_remove;
    Statement m_ids;
};

} // namespace

std::unique_ptr<RecordStore> openDatabaseRecordStore(const std::filesystem::path& file)
{
    return std::make_unique<DatabaseRecordStore>(file);
}

} // namespace tavo::devkit
