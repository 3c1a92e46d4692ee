#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

#include "gnr_projectdb/sqlsupport/yxsqlite_guard.h"

#include "framework/yxdiag.h"
#include "framework/yxfilesystem.h"
#include "framework/yxutf8.h"

#include <sqlite3.h>

#include <chrono>
#include <thread>

namespace {

constexpr int kRetrySleepMs = 30;
constexpr int kBlockingLimitMs = 60000;

void Sleep30() { std::this_thread::sleep_for(std::chrono::milliseconds(kRetrySleepMs)); }

void SetError(CYxStringW* error, sqlite3* db, int rc) {
    if (!error) return;
    const char* msg = db ? sqlite3_errmsg(db) : sqlite3_errstr(rc);
    *error = CYxStringW::FromUtf8(msg ? msg : "");
}

bool IsBusyCode(int rc) { return (rc & 0xFF) == SQLITE_BUSY || (rc & 0xFF) == SQLITE_LOCKED; }

// Runs a UTF-8 script statement by statement. With blocking set, a busy
// statement is retried.
int RunStatements(sqlite3* db, const std::string& script, CYxStringW* error, bool report, bool blocking) {
    if (!db) {
        if (error) *error = L"no connection";
        return SQLITE_MISUSE;
    }
    const char* tail = script.c_str();
    while (tail && *tail) {
        sqlite3_stmt* stmt = nullptr;
        const char* next = nullptr;
        int rc = sqlite3_prepare_v2(db, tail, -1, &stmt, &next);
        int waited = 0;
        while (blocking && IsBusyCode(rc) && waited < kBlockingLimitMs) {
            Sleep30();
            waited += kRetrySleepMs;
            rc = sqlite3_prepare_v2(db, tail, -1, &stmt, &next);
        }
        if (rc != SQLITE_OK) {
            SetError(error, db, rc);
            if (report) YX_DIAG_WARN(L"SQLite error %d (%s) in script", rc, CYxStringW::FromUtf8(sqlite3_errmsg(db)));
            sqlite3_finalize(stmt);
            return rc;
        }
        if (!stmt) {  // white space or a comment
            tail = next;
            continue;
        }
        do {
            rc = sqlite3_step(stmt);
            if (blocking && IsBusyCode(rc) && waited < kBlockingLimitMs) {
                sqlite3_reset(stmt);
                Sleep30();
                waited += kRetrySleepMs;
                continue;
            }
        } while (rc == SQLITE_ROW || (blocking && IsBusyCode(rc) && waited < kBlockingLimitMs));
        if (rc != SQLITE_DONE) {
            SetError(error, db, rc);
            if (report)
                YX_DIAG_WARN(L"SQLite error %d (%s) in: %s", rc, CYxStringW::FromUtf8(sqlite3_errmsg(db)),
                             CYxStringW::FromUtf8(sqlite3_sql(stmt) ? sqlite3_sql(stmt) : ""));
            sqlite3_finalize(stmt);
            return rc & 0xFF;
        }
        sqlite3_finalize(stmt);
        tail = next;
    }
    if (error) error->Empty();
    return SQLITE_OK;
}

// A script that begins a transaction of its own and fails before its end
// must not leave the connection inside it: that transaction is rolled back.
// A transaction that was open before the script is the caller's to end.
int RunScript(sqlite3* db, const std::string& script, CYxStringW* error, bool report, bool blocking) {
    const bool wasAutocommit = db && sqlite3_get_autocommit(db);
    const int rc = RunStatements(db, script, error, report, blocking);
    if (rc != SQLITE_OK && wasAutocommit && !sqlite3_get_autocommit(db))
        sqlite3_exec(db, "ROLLBACK TRANSACTION;", nullptr, nullptr, nullptr);
    return rc;
}

template <class T, class Reader>
T ReadOne(sqlite3* db, const wchar_t* query, int* error, T empty, Reader read) {
    if (!db) {
        if (error) *error = SQLITE_MISUSE;
        return empty;
    }
    const std::string q = YxUtf8FromWide(std::wstring_view(query ? query : L""));
    sqlite3_stmt* stmt = nullptr;
    const char* tail = nullptr;
    int rc = sqlite3_prepare_v2(db, q.c_str(), -1, &stmt, &tail);
    if (rc == SQLITE_OK && yxsqlite_detail::CheckSingleStatementTail(db, tail) != SQLITE_OK) rc = SQLITE_ERROR;
    if (rc != SQLITE_OK || !stmt) {
        sqlite3_finalize(stmt);
        if (error) *error = rc != SQLITE_OK ? rc : SQLITE_MISUSE;
        return empty;
    }
    rc = sqlite3_step(stmt);
    T value = empty;
    if (rc == SQLITE_ROW) {
        value = read(stmt);
        rc = SQLITE_OK;
    } else if (rc == SQLITE_DONE) {
        rc = SQLITE_DONE;
    }
    sqlite3_finalize(stmt);
    if (error) *error = rc;
    return value;
}

}  // namespace

int YxSqlite_Open(const wchar_t* path, sqlite3** db, int flags, CYxStringW* error) {
    return YxSqlite_OpenEncrypted(path, db, flags, 0, nullptr, error);
}

int YxSqlite_OpenEncrypted(const wchar_t* path, sqlite3** db, int flags, int keyLength, const void* key,
                           CYxStringW* error) {
    if (!db) return SQLITE_MISUSE;
    *db = nullptr;
    if (!path || !*path) {
        if (error) *error = L"empty file name";
        return SQLITE_CANTOPEN;
    }
    if (keyLength > 0 && key) {
        if (error) *error = L"encrypted databases are not supported";
        return SQLITE_MISUSE;
    }
    const std::string file = YxFs_NativeUtf8(path);
    sqlite3* handle = nullptr;
    const int rc = sqlite3_open_v2(file.c_str(), &handle, flags, nullptr);
    if (rc != SQLITE_OK) {
        SetError(error, handle, rc);
        sqlite3_close(handle);
        return rc;
    }
    sqlite3_extended_result_codes(handle, 0);
    *db = handle;
    return SQLITE_OK;
}

int YxSqlite_OpenEncryptedBlocking(const wchar_t* path, sqlite3** db, int flags, int keyLength, const void* key,
                                   CYxStringW* error) {
    int rc = YxSqlite_OpenEncrypted(path, db, flags, keyLength, key, error);
    if (rc != SQLITE_OK) return rc;
    // Reading the schema needs a shared lock; wait while it cannot be had.
    for (int waited = 0;; waited += kRetrySleepMs) {
        rc = sqlite3_exec(*db, "SELECT count(*) FROM sqlite_master;", nullptr, nullptr, nullptr);
        if (!IsBusyCode(rc) || waited >= kBlockingLimitMs) break;
        Sleep30();
    }
    if (rc != SQLITE_OK) {
        SetError(error, *db, rc);
        sqlite3_close(*db);
        *db = nullptr;
    }
    return rc;
}

int YxSqlite_Close(sqlite3* db) { return db ? sqlite3_close(db) : SQLITE_OK; }

int YxSqlite_Execute(sqlite3* db, const wchar_t* script, CYxStringW* error, bool report) {
    return RunScript(db, YxUtf8FromWide(std::wstring_view(script ? script : L"")), error, report, false);
}

int YxSqlite_ExecuteSingle(sqlite3* db, const wchar_t* statement, CYxStringW* error, bool report) {
    if (!db) {
        if (error) *error = L"no connection";
        return SQLITE_MISUSE;
    }
    const std::string text = YxUtf8FromWide(std::wstring_view(statement ? statement : L""));
    sqlite3_stmt* stmt = nullptr;
    const char* tail = nullptr;
    int rc = sqlite3_prepare_v2(db, text.c_str(), -1, &stmt, &tail);
    bool several = false;
    if (rc == SQLITE_OK && yxsqlite_detail::CheckSingleStatementTail(db, tail) != SQLITE_OK) {
        rc = SQLITE_ERROR;
        several = true;
    }
    if (rc == SQLITE_OK && stmt) {
        while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        }
        if (rc == SQLITE_DONE) rc = SQLITE_OK;
    }
    if (rc != SQLITE_OK) {
        if (several && error) *error = L"more than one statement";
        else SetError(error, db, rc);
        if (report && !several)
            YX_DIAG_WARN(L"SQLite error %d (%s) in: %s", rc, CYxStringW::FromUtf8(sqlite3_errmsg(db)), statement);
    } else if (error) {
        error->Empty();
    }
    sqlite3_finalize(stmt);
    return rc & 0xFF;
}

int YxSqlite_ExecuteBlocking(sqlite3* db, const wchar_t* script, CYxStringW* error) {
    return RunScript(db, YxUtf8FromWide(std::wstring_view(script ? script : L"")), error, true, true);
}

std::int64_t YxSqlite_ReadOneInt64(sqlite3* db, const wchar_t* query, int* error) {
    return ReadOne<std::int64_t>(db, query, error, 0, [](sqlite3_stmt* s) {
        return static_cast<std::int64_t>(sqlite3_column_int64(s, 0));
    });
}

double YxSqlite_ReadOneDouble(sqlite3* db, const wchar_t* query, int* error) {
    return ReadOne<double>(db, query, error, 0.0, [](sqlite3_stmt* s) { return sqlite3_column_double(s, 0); });
}

CYxStringW YxSqlite_ReadOneStringW(sqlite3* db, const wchar_t* query, int* error) {
    return ReadOne<CYxStringW>(db, query, error, CYxStringW(), [](sqlite3_stmt* s) {
        const auto* t = reinterpret_cast<const char*>(sqlite3_column_text(s, 0));
        return t ? CYxStringW::FromUtf8(std::string_view(t, static_cast<std::size_t>(sqlite3_column_bytes(s, 0))))
                 : CYxStringW();
    });
}

bool YxSqlite_HasTable(sqlite3* db, const wchar_t* table, int* error) {
    int rc = SQLITE_MISUSE;
    bool found = false;
    sqlite3_stmt* stmt = nullptr;
    if (db && table) {
        rc = sqlite3_prepare_v2(db, "SELECT 1 FROM main.sqlite_master WHERE type='table' AND name=?1;", -1, &stmt,
                                nullptr);
        if (rc == SQLITE_OK) {
            const std::string name = YxUtf8FromWide(std::wstring_view(table));
            sqlite3_bind_text(stmt, 1, name.data(), static_cast<int>(name.size()), SQLITE_TRANSIENT);
            const int step = sqlite3_step(stmt);
            found = step == SQLITE_ROW;
            rc = step == SQLITE_ROW || step == SQLITE_DONE ? SQLITE_OK : step;
        }
        sqlite3_finalize(stmt);
    }
    if (error) *error = rc;
    return found;
}

int YxSqlite_StartTransaction(sqlite3* db) {
    if (!db) return SQLITE_MISUSE;
    return sqlite3_exec(db, "BEGIN TRANSACTION;", nullptr, nullptr, nullptr);
}

int YxSqlite_TryTwoDatabasesTransaction(bool* began1, bool* began2, sqlite3* db1, sqlite3* db2) {
    bool b1 = false, b2 = false;
    int rc = SQLITE_OK;
    if (!db1 || !db2) {
        rc = SQLITE_MISUSE;
    } else {
        if (sqlite3_get_autocommit(db1)) {
            rc = YxSqlite_StartTransaction(db1);
            b1 = rc == SQLITE_OK;
        }
        if (rc == SQLITE_OK && sqlite3_get_autocommit(db2)) {
            rc = YxSqlite_StartTransaction(db2);
            b2 = rc == SQLITE_OK;
        }
        if (rc != SQLITE_OK && b1) {
            sqlite3_exec(db1, "ROLLBACK TRANSACTION;", nullptr, nullptr, nullptr);
            b1 = false;
        }
    }
    if (began1) *began1 = b1;
    if (began2) *began2 = b2;
    return rc;
}

int YxSqlite_Backup(sqlite3* source, sqlite3* target) {
    return YxSqlite_BackupRunning(source, target, -1, 0, nullptr, nullptr);
}

int YxSqlite_BackupRunning(sqlite3* source, sqlite3* target, int pagesPerStep, int sleepMs,
                           PFYxSqliteBackupProgress progress, void* context) {
    if (!source || !target || source == target) return SQLITE_MISUSE;
    sqlite3_backup* backup = sqlite3_backup_init(target, "main", source, "main");
    if (!backup) return sqlite3_errcode(target);
    int rc;
    for (;;) {
        rc = sqlite3_backup_step(backup, pagesPerStep <= 0 ? -1 : pagesPerStep);
        const int total = sqlite3_backup_pagecount(backup);
        const int done = total - sqlite3_backup_remaining(backup);
        if (progress && (rc == SQLITE_OK || rc == SQLITE_DONE) && progress(context, done, total) != 0) {
            rc = SQLITE_ABORT;
            break;
        }
        if (rc == SQLITE_OK || IsBusyCode(rc)) {
            if (sleepMs > 0 || IsBusyCode(rc))
                std::this_thread::sleep_for(std::chrono::milliseconds(sleepMs > 0 ? sleepMs : kRetrySleepMs));
            continue;
        }
        break;
    }
    const int finish = sqlite3_backup_finish(backup);
    if (rc == SQLITE_DONE) return finish;
    return rc;
}

CYxStringW YxSqlite_Filename(sqlite3* db) {
    if (!db) return CYxStringW();
    const char* name = sqlite3_db_filename(db, "main");
    return name ? CYxStringW::FromUtf8(name) : CYxStringW();
}

CYxStringW YxSqlite_GetShowableErrorMessage(sqlite3* db) {
    if (!db) return CYxStringW(L"No database connection");
    return CYxStringW::Format(L"SQLite error %d: %s", sqlite3_errcode(db), CYxStringW::FromUtf8(sqlite3_errmsg(db)));
}
