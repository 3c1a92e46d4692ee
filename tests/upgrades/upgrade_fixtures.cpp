#include "upgrade_fixtures.h"

#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/schema/app_schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/upgrades/app_frozen_schema.h"
#include "uisupport/yxquestionbox.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

sqlite3* UpgTest_Open(const std::string& path) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << "cannot open " << path;
        sqlite3_close(db);
        return nullptr;
    }
    return db;
}

void UpgTest_Close(sqlite3* db) { sqlite3_close(db); }

int UpgTest_Exec(sqlite3* db, const std::string& sql) {
    char* message = nullptr;
    const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message);
    sqlite3_free(message);
    return rc;
}

std::int64_t UpgTest_Int(sqlite3* db, const std::string& sql) {
    sqlite3_stmt* stmt = nullptr;
    std::int64_t value = -999;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK && sqlite3_step(stmt) == SQLITE_ROW)
        value = sqlite3_column_int64(stmt, 0);
    sqlite3_finalize(stmt);
    return value;
}

std::string UpgTest_Text(sqlite3* db, const std::string& sql) {
    sqlite3_stmt* stmt = nullptr;
    std::string value = "<none>";
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK && sqlite3_step(stmt) == SQLITE_ROW) {
        const unsigned char* t = sqlite3_column_text(stmt, 0);
        value = t ? reinterpret_cast<const char*>(t) : "<null>";
    }
    sqlite3_finalize(stmt);
    return value;
}

std::int64_t UpgTest_IntOf(const std::string& path, const std::string& sql) {
    sqlite3* db = UpgTest_Open(path);
    const std::int64_t v = UpgTest_Int(db, sql);
    UpgTest_Close(db);
    return v;
}

std::string UpgTest_TextOf(const std::string& path, const std::string& sql) {
    sqlite3* db = UpgTest_Open(path);
    const std::string v = UpgTest_Text(db, sql);
    UpgTest_Close(db);
    return v;
}

std::string UpgTest_Dump(const std::string& path) {
    sqlite3* db = UpgTest_Open(path);
    std::string out;
    std::vector<std::string> tables;
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db, "SELECT type, name, ifnull(sql,'') FROM sqlite_master ORDER BY type, name;", -1, &stmt,
                       nullptr);
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        const std::string type = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
        const std::string name = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1));
        out += type + " " + name + ": " + reinterpret_cast<const char*>(sqlite3_column_text(stmt, 2)) + "\n";
        if (type == "table" && name.rfind("sqlite_", 0) != 0) tables.push_back(name);
    }
    sqlite3_finalize(stmt);
    for (const std::string& table : tables) {
        sqlite3_prepare_v2(db, ("SELECT * FROM \"" + table + "\" ORDER BY rowid;").c_str(), -1, &stmt, nullptr);
        while (sqlite3_step(stmt) == SQLITE_ROW) {
            out += table + ":";
            for (int i = 0; i < sqlite3_column_count(stmt); ++i) {
                const unsigned char* t = sqlite3_column_text(stmt, i);
                out += std::string(" ") + (t ? reinterpret_cast<const char*>(t) : "NULL");
            }
            out += "\n";
        }
        sqlite3_finalize(stmt);
    }
    UpgTest_Close(db);
    return out;
}

std::vector<std::string> UpgTest_Columns(sqlite3* db, const std::string& table) {
    std::vector<std::string> names;
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db, ("SELECT name FROM pragma_table_info('" + table + "') ORDER BY cid;").c_str(), -1, &stmt,
                       nullptr);
    while (sqlite3_step(stmt) == SQLITE_ROW) names.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
    sqlite3_finalize(stmt);
    return names;
}

namespace {
void CreateTables(sqlite3* db, const SYxSqliteTableDef* const* defs, int count) {
    std::wstring script = L"BEGIN;";
    for (int i = 0; i < count; ++i) script += YxSqlite_CreateTableWithIndexesSqlCommand(*defs[i]).str();
    script += L"COMMIT;";
    ASSERT_EQ(0, YxSqlite_Execute(db, script.c_str()));
}
}  // namespace

void UpgTest_CreateJobsFile(const std::string& path, int mainVersion, int silentVersion) {
    sqlite3* db = UpgTest_Open(path);
    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
    CreateTables(db, defs, count);
    EXPECT_EQ(0, UpgTest_Exec(db, "INSERT INTO vesion(wszName, iVersion) VALUES('main', " +
                                      std::to_string(mainVersion) + ");"));
    // Before the silent step the holder tables had no alignment matrix.
    if (silentVersion < 1) {
        EXPECT_EQ(0, UpgTest_Exec(db, "ALTER TABLE plateinfo DROP COLUMN pAlignmentMatrix;"
                                      "ALTER TABLE slideinfo DROP COLUMN pAlignmentMatrix;"));
    }
    if (silentVersion >= 0) {
        EXPECT_EQ(0, UpgTest_Exec(db, "INSERT INTO vesion(wszName, iVersion) VALUES('silent', " +
                                          std::to_string(silentVersion) + ");"));
    }
    UpgTest_Close(db);
}

void UpgTest_CreateAppFile(const std::string& path, int version) {
    sqlite3* db = UpgTest_Open(path);
    int count = 0;
    const SYxSqliteTableDef* const* defs = version == 7 ? YxProjectDb_Schema_GetAppTables(&count)
                                                        : YxProjectDb_AppFrozen_GetTables(version, &count);
    ASSERT_NE(nullptr, defs);
    CreateTables(db, defs, count);
    const std::string table = version >= 6 ? "version" : "vesion";
    EXPECT_EQ(0, UpgTest_Exec(db, "INSERT INTO " + table + "(wszName, iVersion) VALUES('main', " +
                                      std::to_string(version) + ");"));
    UpgTest_Close(db);
}

// ---- dialog

void CUpgTestDialog::SetRange(int minimum, int maximum) {
    m_min = minimum;
    m_max = maximum;
}

void CUpgTestDialog::SetPos(int position) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_positions.push_back(position);
}

void CUpgTestDialog::ProcessMessages() {
    m_process.fetch_add(1);
    if (cancelWhen && !m_cancelled && cancelWhen->load()) {
        m_cancelled = true;
        m_cancelResult = RequestCancel();
    }
}

void CUpgTestDialog::SetText(const wchar_t* text) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_texts.emplace_back(text ? text : L"");
}

std::vector<std::wstring> CUpgTestDialog::Texts() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_texts;
}

std::vector<int> CUpgTestDialog::Positions() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_positions;
}

// ---- question box

namespace {
std::mutex g_qMutex;
int g_qAnswer = YX_IDNO;
int g_qCount = 0;
std::wstring g_qText, g_qTitle;
unsigned g_qStyle = 0;
void* g_qOwner = nullptr;

int Answer(void* owner, const wchar_t* text, const wchar_t* title, unsigned style) {
    std::lock_guard<std::mutex> lock(g_qMutex);
    ++g_qCount;
    g_qText = text ? text : L"";
    g_qTitle = title ? title : L"";
    g_qStyle = style;
    g_qOwner = owner;
    return g_qAnswer;
}
}  // namespace

void SUpgTestQuestions::Install(int answer) {
    std::lock_guard<std::mutex> lock(g_qMutex);
    g_qAnswer = answer;
    g_qCount = 0;
    g_qText.clear();
    g_qTitle.clear();
    g_qStyle = 0;
    g_qOwner = nullptr;
    YxUi_SetQuestionBox(&Answer);
}

void SUpgTestQuestions::Uninstall() { YxUi_SetQuestionBox(nullptr); }
int SUpgTestQuestions::Count() {
    std::lock_guard<std::mutex> lock(g_qMutex);
    return g_qCount;
}
std::wstring SUpgTestQuestions::LastText() {
    std::lock_guard<std::mutex> lock(g_qMutex);
    return g_qText;
}
std::wstring SUpgTestQuestions::LastTitle() {
    std::lock_guard<std::mutex> lock(g_qMutex);
    return g_qTitle;
}
unsigned SUpgTestQuestions::LastStyle() {
    std::lock_guard<std::mutex> lock(g_qMutex);
    return g_qStyle;
}
void* SUpgTestQuestions::LastOwner() {
    std::lock_guard<std::mutex> lock(g_qMutex);
    return g_qOwner;
}
