// The demo command: two runs into one database, consistent afterwards.
#include "test_support.h"

#include <sqlite3.h>

#include <string>
#include <vector>

namespace {
std::vector<std::string> Query(const std::string& file, const std::string& sql) {
    std::vector<std::string> rows;
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        sqlite3_close(db);
        ADD_FAILURE() << "cannot open " << file;
        return rows;
    }
    sqlite3_stmt* s = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &s, nullptr) == SQLITE_OK) {
        while (sqlite3_step(s) == SQLITE_ROW) {
            std::string row;
            for (int i = 0; i < sqlite3_column_count(s); ++i) {
                if (i) row += '|';
                const char* t = reinterpret_cast<const char*>(sqlite3_column_text(s, i));
                row += t ? t : "NULL";
            }
            rows.push_back(row);
        }
    } else {
        ADD_FAILURE() << sqlite3_errmsg(db);
    }
    sqlite3_finalize(s);
    sqlite3_close(db);
    return rows;
}
}  // namespace

TEST(Demo, TwoRunsIntoOneConsistentDatabase) {
    CYxTempDir dir;
    const std::string out = dir.Path() + "/demo out";
    const std::string cmd = std::string(YxTest_ToolPath()) + " demo '" + out + "' 2>&1";
    std::string first, second;
    ASSERT_EQ(0, YxTest_RunCommand(cmd, &first)) << first;
    ASSERT_EQ(0, YxTest_RunCommand(cmd, &second)) << second;
    EXPECT_NE(std::string::npos, first.find("(created)")) << first;
    EXPECT_NE(std::string::npos, second.find("(reused)")) << second;
    EXPECT_NE(std::string::npos, second.find("run folder:")) << second;

    const std::string db = out + "/demo.gnrdb";
    EXPECT_EQ(std::vector<std::string>{"ok"}, Query(db, "PRAGMA integrity_check"));
    EXPECT_TRUE(Query(db, "PRAGMA foreign_key_check").empty());
    // One project and definition, two finished runs with the same recording.
    EXPECT_EQ(std::vector<std::string>{"1|1|2"},
              Query(db, "SELECT (SELECT count(*) FROM project), (SELECT count(*) FROM jobdef), "
                        "(SELECT count(*) FROM jobrun WHERE iFinishFlags=0 AND wszFinishMessage='Finished')"));
    const std::vector<std::string> perRun =
        Query(db, "SELECT (SELECT count(*) FROM frame f WHERE f.iJobrunKeyRef=r.iKey), "
                  "(SELECT count(*) FROM binobj o WHERE o.iJobrunKeyRef=r.iKey), "
                  "(SELECT count(*) FROM file x WHERE x.iJobrunKeyRef=r.iKey), "
                  "(SELECT count(*) FROM jobrunpropstat s WHERE s.iJobrunKeyRef=r.iKey AND s.iCount > 0) "
                  "FROM jobrun r ORDER BY r.iKey");
    ASSERT_EQ(2u, perRun.size());
    EXPECT_EQ(perRun[0], perRun[1]);
    EXPECT_EQ("48|240|4|6", perRun[0]);
    // The frames reach the database in the order they were taken, although
    // they are analysed in parallel: keys rise with the frame index and the
    // acquisition time.
    EXPECT_EQ(std::vector<std::string>{"0"},
              Query(db, "SELECT count(*) FROM frame a JOIN frame b ON a.iJobrunKeyRef=b.iJobrunKeyRef "
                        "AND a.iKey<b.iKey AND (a.iFrameIndex>=b.iFrameIndex OR a.dCTime>b.dCTime)"));
    // Every frame has its analysis: two properties, a well, a plate, five
    // objects; every object its two measurements and its phase, on its frame.
    EXPECT_EQ(std::vector<std::string>{"0"},
              Query(db, "SELECT count(*) FROM frame f WHERE "
                        "(SELECT count(*) FROM frameprop p WHERE p.iJobrunKeyRef=f.iJobrunKeyRef "
                        "AND p.iFrameIndex=f.iFrameIndex) != 3 OR "
                        "(SELECT count(*) FROM framequal q WHERE q.iJobrunKeyRef=f.iJobrunKeyRef "
                        "AND q.iFrameIndex=f.iFrameIndex) != 1 OR "
                        "(SELECT count(*) FROM framewellinfo w WHERE w.iJobrunKeyRef=f.iJobrunKeyRef "
                        "AND w.iFrameIndex=f.iFrameIndex) != 1 OR "
                        "(SELECT count(*) FROM binobj o WHERE o.iJobrunKeyRef=f.iJobrunKeyRef "
                        "AND o.iFrameIndex=f.iFrameIndex) != 5"));
    EXPECT_EQ(std::vector<std::string>{"0"},
              Query(db, "SELECT count(*) FROM binobj o WHERE "
                        "(SELECT count(*) FROM binobjprop p WHERE p.iBinobjKeyRef=o.iKey "
                        "AND p.iFrameIndex=o.iFrameIndex AND p.dValue > 0) != 2 OR "
                        "(SELECT count(*) FROM binobjqual q WHERE q.iBinobjKeyRef=o.iKey "
                        "AND q.iFrameIndex=o.iFrameIndex) != 1"));
    // Planes are shared between the runs' files.
    EXPECT_EQ(std::vector<std::string>{"2|16"},
              Query(db, "SELECT (SELECT count(*) FROM planeinfo), (SELECT count(*) FROM fileplaneinfo)"));
    // Every run folder exists and holds the image files.
    for (const std::string& folder :
         Query(db, "SELECT p.wszFolderName || '/' || replace(r.wszFolderName, '\\', '/') FROM jobrun r "
                   "JOIN project p ON p.iKey=r.iProjKeyRef")) {
        std::string listing;
        EXPECT_EQ(0, YxTest_RunCommand("ls '" + out + "/demo Projects/" + folder + "'", &listing));
        EXPECT_NE(std::string::npos, listing.find("pos04.tif")) << listing;
    }
}
