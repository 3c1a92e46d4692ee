// Files whose silent step ran before the main chain reached the rebuilds of
// the holder tables end with the current schema and keep their alignment
// matrices, whatever version the silent step met.
#include "migration_test_util.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/upgrade.h"

#include <map>

namespace {

class SilentFirst : public ::testing::TestWithParam<int> {};

}  // namespace

TEST_P(SilentFirst, EndsWithTheCurrentSchemaAndKeepsTheMatrices) {
    const int from = GetParam();
    CYxMigrationDir dir;
    const std::string path = dir.FileUtf8("old.db");
    std::string error;
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(path, from, {}, &error)) << error;
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Silent_Upgrade(dir.File("old.db")));
    std::vector<std::string> plates, slides;
    {
        CYxTestDb db(path);
        ASSERT_EQ("1", db.One("SELECT iVersion FROM vesion WHERE wszName='silent';"));
        ASSERT_EQ(0, db.Exec("UPDATE plateinfo SET pAlignmentMatrix = CAST('p' || iKey AS BLOB);"
                             "UPDATE slideinfo SET pAlignmentMatrix = CAST('s' || iKey AS BLOB);"));
        plates = db.Rows("SELECT iKey, hex(pAlignmentMatrix) FROM plateinfo ORDER BY iKey;");
        slides = db.Rows("SELECT iKey, hex(pAlignmentMatrix) FROM slideinfo ORDER BY iKey;");
    }
    ASSERT_FALSE(plates.empty());
    ASSERT_FALSE(slides.empty());

    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Upgrade(dir.File("old.db"), nullptr));

    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(dir.File("fresh.db")));
    CYxTestDb fresh(dir.FileUtf8("fresh.db"));
    CYxTestDb db(path);
    EXPECT_EQ("136", YxTest_Main(db));
    EXPECT_EQ("1", db.One("SELECT iVersion FROM vesion WHERE wszName='silent';"));
    const auto expected = YxMigrationFixture_Schema(fresh.Get(), true);
    const auto schema = YxMigrationFixture_Schema(db.Get(), true);
    for (const auto& t : expected) {
        ASSERT_TRUE(schema.count(t.first)) << t.first;
        EXPECT_EQ(t.second, schema.at(t.first)) << "table " << t.first;
    }
    EXPECT_EQ(expected.size(), schema.size());
    EXPECT_EQ(plates, db.Rows("SELECT iKey, hex(pAlignmentMatrix) FROM plateinfo ORDER BY iKey;"));
    EXPECT_EQ(slides, db.Rows("SELECT iKey, hex(pAlignmentMatrix) FROM slideinfo ORDER BY iKey;"));
    EXPECT_EQ("ok", db.One("PRAGMA integrity_check;"));
}

// The first version at which both holder tables exist, one in the middle,
// the last before their rebuild, and one after it.
INSTANTIATE_TEST_SUITE_P(Versions, SilentFirst, ::testing::Values(110, 120, 127, 130),
                         [](const ::testing::TestParamInfo<int>& info) { return "from_" + std::to_string(info.param); });
