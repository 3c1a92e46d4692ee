// The connection registry: handle numbers, lookups, progress handlers that
// interrupt real statements, and the version comparison of two databases.
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "support/test_support.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

sqlite3* OpenMemory() {
    sqlite3* db = nullptr;
    EXPECT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    return db;
}

YxProjectDbHandle Connect() { return CYxProjectDbConnectionManager::GetInstance().Add(OpenMemory()); }

// Runs the handle sequence of a fresh process and exits 0, or prints the
// first mismatch and exits 1.
[[noreturn]] void HandleSequenceInFreshRegistry() {
    auto check = [](const char* what, YxProjectDbHandle got, YxProjectDbHandle want) {
        if (got == want) return;
        std::fprintf(stderr, "%s: got %llu, expected %llu\n", what, static_cast<unsigned long long>(got),
                     static_cast<unsigned long long>(want));
        std::exit(1);
    };
    CYxProjectDbConnectionManager& reg = CYxProjectDbConnectionManager::GetInstance();
    check("live handles at start", reg.Count(), 0);
    const YxProjectDbHandle h1 = Connect(), h2 = Connect(), h3 = Connect();
    check("first", h1, 1);
    check("second", h2, 2);
    check("third", h3, 3);
    YxProjectDb_Db_Disconnect(h2);
    YxProjectDb_Db_Disconnect(h1);
    reg.Delete(0);  // ignored: 0 never enters the reuse list
    const YxProjectDbHandle h4 = Connect(), h5 = Connect(), h6 = Connect();
    check("reuse oldest release", h4, 2);
    check("reuse next release", h5, 1);
    check("then count on", h6, 4);
    check("live handles", reg.Count(), 4);
    // Closed before the exit, so that a leak checker has nothing to report.
    for (YxProjectDbHandle h : {h3, h4, h5, h6}) YxProjectDb_Db_Disconnect(h);
    check("live handles at the end", reg.Count(), 0);
    std::exit(0);
}

TEST(RegistryHandles, IssuedInOrderAndReusedOldestFirst) {
    // A re-executed child runs only this statement, so it starts with the
    // registry of a fresh process whatever ran before in this one.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(HandleSequenceInFreshRegistry(), ::testing::ExitedWithCode(0), "");
}

TEST(RegistryHandles, LookupsOfUnknownHandlesYieldNull) {
    CYxProjectDbConnectionManager& reg = CYxProjectDbConnectionManager::GetInstance();
    EXPECT_TRUE(CYxProjectDbConnectionManager::GetConnection(0).IsNull());
    EXPECT_TRUE(CYxProjectDbConnectionManager::GetConnection(987654321).IsNull());

    sqlite3* db = OpenMemory();
    const YxProjectDbHandle h = reg.Add(db);
    ASSERT_NE(h, 0u);
    EXPECT_EQ(CYxProjectDbConnectionManager::GetConnection(h).Get(), db);
    const std::size_t live = reg.Count();
    reg.Delete(0);
    reg.Delete(987654321);
    EXPECT_EQ(reg.Count(), live);
    EXPECT_EQ(reg.Get(h).Get(), db);

    YxProjectDb_Db_Disconnect(h);
    EXPECT_TRUE(reg.Get(h).IsNull());
    EXPECT_EQ(reg.Count(), live - 1);
    YxProjectDb_Db_Disconnect(h);  // released already: nothing happens
    YxProjectDb_Db_Disconnect(0);
    EXPECT_EQ(reg.Count(), live - 1);
    // The number comes back for the next connection.
    const YxProjectDbHandle again = Connect();
    EXPECT_EQ(again, h);
    YxProjectDb_Db_Disconnect(again);
}

TEST(RegistryHandles, ConcurrentConnectsGetDistinctHandles) {
    constexpr int kThreads = 4, kEach = 50;
    std::vector<std::vector<YxProjectDbHandle>> got(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&got, t] {
            for (int i = 0; i < kEach; ++i) {
                const YxProjectDbHandle h = Connect();
                got[static_cast<std::size_t>(t)].push_back(h);
                if (i % 3 == 2) {  // release some on the way, as other callers would
                    YxProjectDb_Db_Disconnect(h);
                    got[static_cast<std::size_t>(t)].pop_back();
                }
            }
        });
    for (auto& th : threads) th.join();
    std::set<YxProjectDbHandle> live;
    for (const auto& list : got)
        for (YxProjectDbHandle h : list) {
            EXPECT_NE(h, 0u);
            EXPECT_TRUE(live.insert(h).second) << "handle " << h << " issued twice";
            EXPECT_FALSE(CYxProjectDbConnectionManager::GetConnection(h).IsNull());
        }
    for (YxProjectDbHandle h : live) YxProjectDb_Db_Disconnect(h);
}

// ---------------------------------------------------------------- progress handlers

class Answer : public IYxProjectDbProgressHandler {
public:
    explicit Answer(int answer) : m_answer(answer) {}
    int OnProgress() override {
        ++calls;
        return m_answer;
    }
    std::atomic<int> calls{0};

private:
    int m_answer;
};

// Long enough for many progress callbacks: a recursive count to 1e8 when not
// interrupted, so it is only run where it is interrupted, or with a bound.
constexpr const char* kLongCount =
    "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x+1 FROM c WHERE x<100000000) SELECT count(*) FROM c;";
constexpr const char* kShortCount =
    "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x+1 FROM c WHERE x<200000) SELECT count(*) FROM c;";

class ProgressHandlers : public ::testing::Test {
protected:
    void SetUp() override { m_handle = Connect(); }
    void TearDown() override { YxProjectDb_Db_Disconnect(m_handle); }
    int Run(const char* sql) {
        return sqlite3_exec(CYxProjectDbConnectionManager::GetConnection(m_handle), sql, nullptr, nullptr, nullptr);
    }
    YxProjectDbHandle m_handle = 0;
};

TEST_F(ProgressHandlers, NonZeroAnswerInterruptsALongStatement) {
    CYxProjectDbConnectionManager& reg = CYxProjectDbConnectionManager::GetInstance();
    Answer stop(1);
    reg.AddProgressHandler(m_handle, &stop);
    EXPECT_EQ(Run(kLongCount), SQLITE_INTERRUPT);
    EXPECT_GE(stop.calls, 1);
    EXPECT_LT(stop.calls, 10);  // interrupted at the first answer, long before the end
    reg.RemoveProgressHandler(m_handle, &stop);
    EXPECT_EQ(Run(kShortCount), SQLITE_OK);  // without handlers nothing interrupts
}

TEST_F(ProgressHandlers, SameHandlerTwiceIsOneEntry) {
    CYxProjectDbConnectionManager& reg = CYxProjectDbConnectionManager::GetInstance();
    Answer stop(1);
    reg.AddProgressHandler(m_handle, &stop);
    reg.AddProgressHandler(m_handle, &stop);
    reg.AddProgressHandler(m_handle, nullptr);  // ignored
    EXPECT_EQ(Run(kShortCount), SQLITE_INTERRUPT);
    // One removal removes the only entry and with it SQLite's callback.
    reg.RemoveProgressHandler(m_handle, &stop);
    const int before = stop.calls;
    EXPECT_EQ(Run(kShortCount), SQLITE_OK);
    EXPECT_EQ(stop.calls, before);
    // Handlers on unknown handles are ignored.
    reg.AddProgressHandler(987654321, &stop);
    reg.RemoveProgressHandler(987654321, &stop);
    reg.AddProgressHandler(0, &stop);
    EXPECT_EQ(Run(kShortCount), SQLITE_OK);
    EXPECT_EQ(stop.calls, before);
}

TEST_F(ProgressHandlers, EveryHandlerIsAskedInOrder) {
    sqlite3* db = CYxProjectDbConnectionManager::GetConnection(m_handle);
    CYxProjectDbConnectionState state(db);
    Answer go(0), seven(7), nine(9);
    EXPECT_EQ(state.CallHandlerCallbacks(), 0);
    state.AddProgressHandler(&go);
    state.AddProgressHandler(&seven);
    state.AddProgressHandler(&nine);
    state.AddProgressHandler(&seven);
    EXPECT_EQ(state.HandlerCount(), 3u);
    EXPECT_EQ(state.CallHandlerCallbacks(), 7);  // the first non-zero answer
    EXPECT_EQ(nine.calls, 1);                    // asked even after seven said stop
    state.RemoveProgressHandler(&seven);
    EXPECT_EQ(state.CallHandlerCallbacks(), 9);
    state.RemoveProgressHandler(&nine);
    EXPECT_EQ(state.CallHandlerCallbacks(), 0);
    // The state's callback is installed on the connection while it has handlers.
    state.AddProgressHandler(&nine);
    EXPECT_EQ(sqlite3_exec(db, kShortCount, nullptr, nullptr, nullptr), SQLITE_INTERRUPT);
    state.RemoveProgressHandler(&nine);
    state.RemoveProgressHandler(&go);
    EXPECT_EQ(state.HandlerCount(), 0u);
    EXPECT_EQ(sqlite3_exec(db, kShortCount, nullptr, nullptr, nullptr), SQLITE_OK);
}

// ---------------------------------------------------------------- version comparison

class CompareVersions : public ::testing::Test {
protected:
    YxProjectDbHandle Db(int main, int plate, int dish) {
        sqlite3* db = OpenMemory();
        const std::string sql = "CREATE TABLE vesion (iKey INTEGER PRIMARY KEY, wszName TEXT, iVersion INTEGER);"
                                "INSERT INTO vesion (wszName, iVersion) VALUES ('main', " + std::to_string(main) +
                                "), ('plate', " + std::to_string(plate) + "), ('dish', " + std::to_string(dish) + ");";
        EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
        const YxProjectDbHandle h = CYxProjectDbConnectionManager::GetInstance().Add(db);
        m_handles.push_back(h);
        return h;
    }
    void TearDown() override {
        for (YxProjectDbHandle h : m_handles) YxProjectDb_Db_Disconnect(h);
    }
    std::vector<YxProjectDbHandle> m_handles;
};

TEST_F(CompareVersions, NamesAreComparedInOrder) {
    EXPECT_EQ(YxProjectDb_CompareVesions(Db(136, 5, 3), Db(136, 5, 3)), 0);
    EXPECT_EQ(YxProjectDb_CompareVesions(Db(120, 5, 3), Db(125, 5, 3)), -38);
    EXPECT_EQ(YxProjectDb_CompareVesions(Db(125, 5, 3), Db(120, 5, 3)), -19);
    EXPECT_EQ(YxProjectDb_CompareVesions(Db(136, 6, 3), Db(136, 5, 3)), -57);
    EXPECT_EQ(YxProjectDb_CompareVesions(Db(136, 5, 4), Db(136, 5, 3)), -57);
    EXPECT_EQ(YxProjectDb_CompareVesions(Db(136, 5, 2), Db(136, 5, 3)), -38);
    // The first name that differs decides: an older main wins over a newer plate.
    EXPECT_EQ(YxProjectDb_CompareVesions(Db(120, 9, 9), Db(125, 1, 1)), -38);
}

TEST_F(CompareVersions, MissingDatabasesAndVersionsFail) {
    const YxProjectDbHandle a = Db(136, 5, 3);
    EXPECT_EQ(YxProjectDb_CompareVesions(0, a), -9);
    EXPECT_EQ(YxProjectDb_CompareVesions(a, 0), -9);
    EXPECT_EQ(YxProjectDb_CompareVesions(a, 987654321), -9);  // B unknown: its versions read as 0
    EXPECT_EQ(YxProjectDb_CompareVesions(Db(136, 0, 3), a), -9);  // a version of 0

    sqlite3* bare = OpenMemory();  // no vesion table: A's read fails
    const YxProjectDbHandle noTable = CYxProjectDbConnectionManager::GetInstance().Add(bare);
    m_handles.push_back(noTable);
    EXPECT_EQ(YxProjectDb_CompareVesions(noTable, a), -9);
    EXPECT_EQ(YxProjectDb_CompareVesions(a, noTable), -9);

    const YxProjectDbHandle noDish = Db(136, 5, 3);
    sqlite3_exec(CYxProjectDbConnectionManager::GetConnection(noDish), "DELETE FROM vesion WHERE wszName='dish'",
                 nullptr, nullptr, nullptr);
    EXPECT_EQ(YxProjectDb_CompareVesions(a, noDish), -9);
    // Before the missing name is reached, a difference decides.
    EXPECT_EQ(YxProjectDb_CompareVesions(Db(137, 5, 3), noDish), -19);
}

}  // namespace
