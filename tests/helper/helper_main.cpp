// A second process for the tests that need one.
//
//   gnr_test_helper lock FILE MS    holds an exclusive transaction on FILE for
//                                   MS milliseconds; prints "locked" once held
//   gnr_test_helper sleep MS        sleeps (a process to kill)
//   gnr_test_helper exec FILE SQL   runs the statements on FILE and exits
//                                   (0 on success)
#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

int main(int argc, char** argv) {
    if (argc >= 4 && !std::strcmp(argv[1], "lock")) {
        sqlite3* db = nullptr;
        if (sqlite3_open_v2(argv[2], &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) return 3;
        sqlite3_busy_timeout(db, 10000);
        if (sqlite3_exec(db, "BEGIN EXCLUSIVE TRANSACTION;", nullptr, nullptr, nullptr) != SQLITE_OK) return 4;
        std::printf("locked\n");
        std::fflush(stdout);
        std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(argv[3])));
        sqlite3_exec(db, "COMMIT;", nullptr, nullptr, nullptr);
        sqlite3_close(db);
        return 0;
    }
    if (argc >= 4 && !std::strcmp(argv[1], "exec")) {
        sqlite3* db = nullptr;
        if (sqlite3_open_v2(argv[2], &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) return 3;
        sqlite3_busy_timeout(db, 10000);
        const int rc = sqlite3_exec(db, argv[3], nullptr, nullptr, nullptr);
        sqlite3_close(db);
        return rc == SQLITE_OK ? 0 : 5;
    }
    if (argc >= 3 && !std::strcmp(argv[1], "sleep")) {
        std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(argv[2])));
        return 0;
    }
    std::fprintf(stderr, "usage: gnr_test_helper lock FILE MS | sleep MS | exec FILE SQL\n");
    return 2;
}
