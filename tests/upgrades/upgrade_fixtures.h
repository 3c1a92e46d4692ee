// Fixtures of the upgrade tests: old-version files made from the table
// definitions, plain SQLite access that does not go through the code under
// test, and recording stand-ins for the progress dialog and question box.
#pragma once

#include "framework/yxstring.h"
#include "uisupport/yxprogressdialog.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

struct sqlite3;

// Plain SQLite access (read-write, create).
sqlite3* UpgTest_Open(const std::string& path);
void UpgTest_Close(sqlite3* db);
// Executes a script; returns the SQLite status.
int UpgTest_Exec(sqlite3* db, const std::string& sql);
// First column of the first row as integer / text; -999 / "<none>" when there is no row.
std::int64_t UpgTest_Int(sqlite3* db, const std::string& sql);
std::string UpgTest_Text(sqlite3* db, const std::string& sql);
std::int64_t UpgTest_IntOf(const std::string& path, const std::string& sql);
std::string UpgTest_TextOf(const std::string& path, const std::string& sql);
// The schema and every row of every table, as text.
std::string UpgTest_Dump(const std::string& path);
// Column names of a table, in order.
std::vector<std::string> UpgTest_Columns(sqlite3* db, const std::string& table);

// A jobs database with the current tables and the version rows; silent < 0
// leaves out the "silent" row; below 1 the holder tables lack the columns
// that the silent step adds.
void UpgTest_CreateJobsFile(const std::string& path, int mainVersion, int silentVersion = 1);
// An application database with the tables of that version (1 to 6 from the
// frozen definitions, 7 the current schema) and its "main" row.
void UpgTest_CreateAppFile(const std::string& path, int version);

// A progress dialog that records what it is told. With cancelWhen set, the
// first ProcessMessages that finds it true asks to cancel (once).
class CUpgTestDialog : public CYxProgressDialog {
public:
    void SetRange(int minimum, int maximum) override;
    void SetPos(int position) override;
    void ProcessMessages() override;
    void SetText(const wchar_t* text) override;
    void* GetWindow() override { return this; }

    std::vector<std::wstring> Texts() const;
    std::vector<int> Positions() const;
    int RangeMin() const { return m_min; }
    int RangeMax() const { return m_max; }
    int ProcessCount() const { return m_process.load(); }
    int CancelResult() const { return m_cancelResult; }

    const std::atomic<bool>* cancelWhen = nullptr;

private:
    mutable std::mutex m_mutex;
    std::vector<std::wstring> m_texts;
    std::vector<int> m_positions;
    int m_min = -1, m_max = -1;
    std::atomic<int> m_process{0};
    bool m_cancelled = false;
    int m_cancelResult = 0;
};

// A question box answering with a fixed button and recording the questions.
struct SUpgTestQuestions {
    static void Install(int answer);
    static void Uninstall();
    static int Count();
    static std::wstring LastText();
    static std::wstring LastTitle();
    static unsigned LastStyle();
    static void* LastOwner();
};
