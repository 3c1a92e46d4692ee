// A second process for the tests that need one.
//
//   gnr_test_helper lock FILE MS    holds an exclusive transaction on FILE for
//                                   MS milliseconds; prints "locked" once held
//   gnr_test_helper sleep MS        sleeps (a process to kill)
//   gnr_test_helper exec FILE SQL   runs the statements on FILE and exits
//                                   (0 on success)
//   gnr_test_helper frames FILE RUN FILEKEY FIRST STOPFILE
//                                   an acquisition: inserts frames FIRST,
//                                   FIRST+1, ... of run RUN (key) on file
//                                   FILEKEY (its frame 0) through the
//                                   library, one commit each, with no busy
//                                   wait, until STOPFILE exists; prints
//                                   "ready" after the first, then the count;
//                                   exit 4 when an insert met a busy
//                                   database, 5 on any other failure
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records_frame.h"

#include <sqlite3.h>
#include <sys/stat.h>

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
    if (argc >= 7 && !std::strcmp(argv[1], "frames")) {
        const CYxStringW path = CYxStringW::FromUtf8(argv[2]);
        const YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(path);
        if (h == 0) return 3;
        sqlite3_busy_timeout(CYxProjectDbConnectionManager::GetConnection(h).Get(), 0);
        const std::int64_t run = std::atoll(argv[3]), file = std::atoll(argv[4]);
        int frame = std::atoi(argv[5]), count = 0, status = 0;
        struct stat st;
        while (status == 0 && (count == 0 || ::stat(argv[6], &st) != 0)) {
            const int rc = YxProjectDb_Frame_Insert(h, run, frame++, file, 0);
            if (rc != 0) status = (rc & 0xFF) == SQLITE_BUSY || (rc & 0xFF) == SQLITE_LOCKED ? 4 : 5;
            if (++count == 1) {
                std::printf("ready\n");
                std::fflush(stdout);
            }
        }
        std::printf("%d\n", count);
        YxProjectDb_Db_Disconnect(h);
        return status;
    }
    if (argc >= 3 && !std::strcmp(argv[1], "sleep")) {
        std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(argv[2])));
        return 0;
    }
    std::fprintf(stderr, "usage: gnr_test_helper lock FILE MS | sleep MS | exec FILE SQL"
                         " | frames FILE RUN FILEKEY FIRST STOPFILE\n");
    return 2;
}
