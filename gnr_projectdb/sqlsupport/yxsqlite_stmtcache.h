// A bounded cache of prepared statements for one SQLite connection.
//
// Statements are found by a key that the caller chooses (the typed commands
// use the table definition, the kind of statement and its columns; plain
// commands their SQL text), prepared once with SQLITE_PREPARE_PERSISTENT and
// lent out again on every later use. A lent statement is handed back through
// Release, which resets it and clears its bindings; a statement whose last
// step failed for a reason other than a busy or locked database or a
// constraint (for example because a schema change made it invalid) is
// finalized and leaves the cache.
//
// At most Capacity() statements are kept; past that the least recently used
// statement that is not lent out is finalized. A statement that is lent out
// is never lent twice: a second user of the same key gets a statement of its
// own (Take answers null), which the cache does not keep.
//
// Clear() finalizes every statement; it is called before the connection
// closes. No statement may be lent out then.
//
// Thread safety: none of its own. The cache belongs to one connection, and a
// connection is used by one thread at a time.
#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

class CYxSqliteStmtCache {
public:
    // Statements kept per connection before the least recently used goes.
    static constexpr std::size_t kDefaultCapacity = 64;

    explicit CYxSqliteStmtCache(sqlite3* db, std::size_t capacity = kDefaultCapacity);
    ~CYxSqliteStmtCache();
    CYxSqliteStmtCache(const CYxSqliteStmtCache&) = delete;
    CYxSqliteStmtCache& operator=(const CYxSqliteStmtCache&) = delete;

    sqlite3* Db() const { return m_db; }

    // The cached statement of the key, now lent out; null when the key has
    // none or its statement is lent out already.
    sqlite3_stmt* Take(std::string_view key);
    // Prepares one statement (persistent; text after the first statement
    // other than blanks, comments and semicolons fails with SQLITE_ERROR)
    // and lends it out. When the key has no statement yet the new one is
    // kept under it (*cached true); otherwise it is the caller's own and
    // must be finalized by the caller (*cached false). Returns 0 or the
    // SQLite error code; *stmt is null on failure.
    int Prepare(std::string_view key, const std::string& sqlUtf8, sqlite3_stmt** stmt, bool* cached);
    // Hands a lent statement back: resets it and clears its bindings. With
    // discard set the statement is finalized and leaves the cache.
    void Release(sqlite3_stmt* stmt, bool discard) noexcept;

    // Finalizes every statement.
    void Clear() noexcept;

    std::size_t Size() const { return m_entries.size(); }
    std::size_t Capacity() const { return m_capacity; }
    // Statements currently lent out.
    std::size_t LentCount() const;

private:
    struct Entry {
        std::string key;
        sqlite3_stmt* stmt;
        bool lent;
    };
    using List = std::list<Entry>;

    void Trim() noexcept;
    List::iterator Find(sqlite3_stmt* stmt);

    sqlite3* m_db;
    std::size_t m_capacity;
    List m_entries;  // most recently used first
    std::unordered_map<std::string_view, List::iterator> m_byKey;  // views into the entries' keys
};
