// Frames, loops, loop indexes and frame attributes.
#include "acq_fixture.h"

#include "gnr_projectdb/records_file.h"
#include "gnr_projectdb/records_frame.h"

#include "locale_support.h"

#include <algorithm>

using Frames = AcqDbTest;

TEST_F(Frames, AttachFileToExistingFrameChangesOnlyTheFileColumns) {
    std::int64_t fileKey = 0;
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, L"a.tif", 8, 8, 1, 1, 16, 1, 1.0, 1.0, &fileKey));
    std::int64_t frameKey = 0;
    ASSERT_EQ(0, YxProjectDb_Frame_Insert(h, runKey, taskKey, 7, 2460000.25, 0, 0, &frameKey));

    // The frame exists: the constraint turns the insert into an update.
    EXPECT_EQ(0, YxProjectDb_Frame_Insert(h, runKey, 7, fileKey, 3));
    EXPECT_EQ(1, Count("frame"));
    std::vector<SYxProjectDbRow_frame> rows;
    ASSERT_EQ(0, YxProjectDb_Frame_GetMany(h, runKey, rows));
    ASSERT_EQ(1u, rows.size());
    EXPECT_EQ(frameKey, rows[0].iKey);
    EXPECT_EQ(taskKey, rows[0].iJobtaskKeyRef);
    EXPECT_DOUBLE_EQ(2460000.25, rows[0].dCTime);
    EXPECT_EQ(fileKey, rows[0].iFileKeyRef);
    EXPECT_EQ(3, rows[0].iFileFrameIndex);

    // A new frame gets only the file; task and time NULL until the other
    // half arrives, which then completes the same row.
    EXPECT_EQ(0, YxProjectDb_Frame_Insert(h, runKey, 8, fileKey, 4));
    EXPECT_EQ("NULL|NULL|" + std::to_string(fileKey) + "|4",
              AcqOne(h, "SELECT iJobtaskKeyRef, dCTime, iFileKeyRef, iFileFrameIndex FROM frame WHERE iFrameIndex=8"));
    EXPECT_EQ(0, YxProjectDb_Frame_Insert(h, runKey, 8, taskKey, 2460001.5));
    EXPECT_EQ(std::to_string(taskKey) + "|2460001.5|" + std::to_string(fileKey) + "|4",
              AcqOne(h, "SELECT iJobtaskKeyRef, dCTime, iFileKeyRef, iFileFrameIndex FROM frame WHERE iFrameIndex=8"));
    EXPECT_EQ(2, Count("frame"));

    // Another constraint failure than "exists" (an unknown run) is not an
    // update of anything.
    EXPECT_EQ(0, YxProjectDb_Frame_Insert(h, 9999, 8, fileKey, 5));
    EXPECT_EQ(2, Count("frame"));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Frame_Insert(kNoHandle, runKey, 8, fileKey, 4));
}

TEST_F(Frames, ConflictClausesOfSingleInserts) {
    std::int64_t first = 0, key = -1;
    ASSERT_EQ(0, YxProjectDb_Frame_Insert(h, runKey, taskKey, 1, 1.0, 0, 0, &first));
    EXPECT_NE(0, YxProjectDb_Frame_Insert(h, runKey, taskKey, 1, 2.0, 0, 0, &key));
    EXPECT_EQ(0, key);
    key = -1;
    EXPECT_EQ(0, YxProjectDb_Frame_InsertOrIgnore(h, runKey, taskKey, 1, 3.0, 0, 0, &key));
    EXPECT_EQ(0, key);
    EXPECT_EQ("1.0", AcqOne(h, "SELECT dCTime FROM frame"));
    EXPECT_EQ(0, YxProjectDb_Frame_InsertOrReplace(h, runKey, taskKey, 1, 4.0, 0, 0, &key));
    EXPECT_NE(first, key);
    EXPECT_EQ("4.0", AcqOne(h, "SELECT dCTime FROM frame"));
    std::int64_t count = -1;
    EXPECT_EQ(0, YxProjectDb_Frame_GetCount(h, runKey, count));
    EXPECT_EQ(1, count);
    EXPECT_EQ(0, YxProjectDb_Frame_Update(h, key, runKey, 0, 5, 6.0, 0, 2));
    // An unknown handle leaves the key out-argument alone.
    std::int64_t untouched = 55;
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Frame_Insert(kNoHandle, runKey, taskKey, 9, 1.0, 0, 0, &untouched));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Frametag_Insert(kNoHandle, runKey, 0, 9, &untouched));
    EXPECT_EQ(55, untouched);
    EXPECT_EQ("NULL|5|6.0|2", AcqOne(h, "SELECT iJobtaskKeyRef, iFrameIndex, dCTime, iFileFrameIndex FROM frame"));
}

TEST_F(Frames, BulkInsertWritesKeysBackAndNullsZeroReferences) {
    std::vector<SYxProjectDbRow_frame> rows;
    EXPECT_EQ(0, YxProjectDb_Frame_InsertMany(h, rows));
    for (int i = 0; i < 50; ++i) rows.push_back({0, runKey, i % 2 ? taskKey : 0, i, 1.0 + i, 0, i});
    ASSERT_EQ(0, YxProjectDb_Frame_InsertMany(h, rows));
    for (const auto& r : rows) {
        EXPECT_EQ(std::to_string(r.iFrameIndex), AcqOne(h, "SELECT iFrameIndex FROM frame WHERE iKey=" +
                                                               std::to_string(r.iKey)));
    }
    EXPECT_EQ(25, Count("frame", "iJobtaskKeyRef IS NULL"));
    EXPECT_EQ(50, Count("frame", "iFileKeyRef IS NULL"));
    // A duplicate in the batch fails that row only; the status says so.
    std::vector<SYxProjectDbRow_frame> more{{0, runKey, 0, 100, 0, 0, 0}, {0, runKey, 0, 3, 0, 0, 0},
                                            {0, runKey, 0, 101, 0, 0, 0}};
    EXPECT_EQ(19, YxProjectDb_Frame_InsertMany(h, more));
    EXPECT_NE(0, more[0].iKey);
    EXPECT_EQ(0, more[1].iKey);
    EXPECT_NE(0, more[2].iKey);
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Frame_InsertMany(kNoHandle, more));
}

TEST_F(Frames, ReplaceTaskKeysThroughAMapTable) {
    SYxProjectDbRow_jobtask task;
    task.iJobprogramKeyRef = programKey;
    std::int64_t newTask = 0;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(h, task, &newTask));
    ASSERT_EQ(0, YxProjectDb_Frame_Insert(h, runKey, taskKey, 0, 0.0, 0, 0));
    ASSERT_EQ(0, YxProjectDb_Frame_Insert(h, runKey2, taskKey, 0, 0.0, 0, 0));
    ASSERT_EQ(0, YxProjectDb_Runloop_Insert(h, runKey, taskKey, 0, 0, 1));
    AcqQuery(h, "CREATE TEMP TABLE lu_test(iKey INTEGER, iValue INTEGER)");
    AcqQuery(h, "INSERT INTO lu_test VALUES(" + std::to_string(taskKey) + "," + std::to_string(newTask) + ")");
    EXPECT_EQ(0, YxProjectDb_Frame_ReplaceTaskKeyRefMany(h, runKey, L"lu_test"));
    EXPECT_EQ(0, YxProjectDb_Runloop_ReplaceTaskKeyRefMany(h, runKey, L"lu_test"));
    EXPECT_EQ(std::to_string(newTask), AcqOne(h, "SELECT iJobtaskKeyRef FROM frame WHERE iJobrunKeyRef=" +
                                                     std::to_string(runKey)));
    EXPECT_EQ(std::to_string(newTask), AcqOne(h, "SELECT iJobtaskKeyRef FROM runloop"));
    // Only the given run is mapped.
    EXPECT_EQ(std::to_string(taskKey), AcqOne(h, "SELECT iJobtaskKeyRef FROM frame WHERE iJobrunKeyRef=" +
                                                     std::to_string(runKey2)));
}

TEST_F(Frames, UpdateIncOrderShiftsOrdersAndNestLevels) {
    // Nothing to shift is not an error.
    EXPECT_EQ(0, YxProjectDb_Runloop_UpdateIncOrder(h, runKey));
    std::int64_t keys[3] = {};
    for (int i = 0; i < 3; ++i) ASSERT_EQ(0, YxProjectDb_Runloop_Insert(h, runKey, taskKey, i, i, 10 + i, &keys[i]));
    ASSERT_EQ(0, YxProjectDb_Runloop_Insert(h, runKey2, 0, 0, 5, 1));
    EXPECT_EQ(0, YxProjectDb_Runloop_UpdateIncOrder(h, runKey));
    std::vector<SYxProjectDbRow_runloop> loops;
    ASSERT_EQ(0, YxProjectDb_Runloop_GetMany(h, runKey, loops));
    ASSERT_EQ(3u, loops.size());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(keys[i], loops[static_cast<std::size_t>(i)].iKey);
        EXPECT_EQ(i + 1, loops[static_cast<std::size_t>(i)].iOrder);
        EXPECT_EQ(i + 1, loops[static_cast<std::size_t>(i)].iNestLevel);
        EXPECT_EQ(10 + i, loops[static_cast<std::size_t>(i)].iLoopType);
    }
    // The other run keeps its loop.
    EXPECT_EQ("0|5", AcqOne(h, "SELECT iOrder, iNestLevel FROM runloop WHERE iJobrunKeyRef=" + std::to_string(runKey2)));
    // A new outermost loop fits at order 0 now.
    std::int64_t outer = 0;
    EXPECT_EQ(0, YxProjectDb_Runloop_Insert(h, runKey, taskKey, 0, 0, 1, &outer));
    EXPECT_NE(0, outer);
    // Inside an open transaction the begin fails: -9 and nothing shifted.
    AcqQuery(h, "BEGIN");
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Runloop_UpdateIncOrder(h, runKey));
    AcqQuery(h, "ROLLBACK");
    EXPECT_EQ("0|1|2|3", AcqOne(h, "SELECT group_concat(iOrder, '|') FROM (SELECT iOrder FROM runloop WHERE "
                                   "iJobrunKeyRef=" + std::to_string(runKey) + " ORDER BY iOrder)"));
}

TEST_F(Frames, LoopLookupsFindOrInsert) {
    EXPECT_EQ(0, YxProjectDb_Runloop_Find(h, runKey, 0, 0));
    std::int64_t a = 0, b = 0, c = -1;
    ASSERT_EQ(0, YxProjectDb_Runloop_GetOrInsert(h, runKey, taskKey, 0, 1, 2, &a));
    ASSERT_EQ(0, YxProjectDb_Runloop_GetOrInsert(h, runKey, taskKey, 0, 1, 9, &b));
    EXPECT_EQ(a, b);
    EXPECT_EQ(1, Count("runloop"));
    EXPECT_EQ(a, YxProjectDb_Runloop_Find(h, runKey, 0, 1));
    EXPECT_EQ(0, YxProjectDb_Runloop_Find(h, runKey2, 0, 1));
    EXPECT_EQ(0, YxProjectDb_Runloop_GetIKey(h, runKey, 0, c));
    EXPECT_EQ(a, c);
    EXPECT_EQ(0, YxProjectDb_Runloop_GetIKey(h, runKey, 7, c));
    EXPECT_EQ(0, c);
    SYxProjectDbRow_runloop row;
    EXPECT_EQ(0, YxProjectDb_Runloop_GetOne(h, a, row));
    EXPECT_EQ(2, row.iLoopType);
    EXPECT_EQ(0, YxProjectDb_Runloop_Find(kNoHandle, runKey, 0, 1));
}

// Time x position x Z: 2 x 3 x 2 frames with every combination once.
TEST_F(Frames, FrameIndexAtAThreeLoopCoordinate) {
    std::int64_t loops[3] = {};
    for (int i = 0; i < 3; ++i) ASSERT_EQ(0, YxProjectDb_Runloop_Insert(h, runKey, taskKey, i, i, i + 1, &loops[i]));
    std::vector<SYxProjectDbRow_frame> frames;
    std::vector<SYxProjectDbRow_loopindex> idx;
    int frame = 0;
    for (int t = 0; t < 2; ++t)
        for (int p = 0; p < 3; ++p)
            for (int z = 0; z < 2; ++z, ++frame) {
                frames.push_back({0, runKey, taskKey, frame, 0.0, 0, 0});
                idx.push_back({0, runKey, frame, loops[0], t});
                idx.push_back({0, runKey, frame, loops[1], p});
                idx.push_back({0, runKey, frame, loops[2], z});
            }
    // A frame of another task at the same coordinate must not be returned.
    frames.push_back({0, runKey, 0, 99, 0.0, 0, 0});
    idx.push_back({0, runKey, 99, loops[0], 1});
    idx.push_back({0, runKey, 99, loops[1], 2});
    idx.push_back({0, runKey, 99, loops[2], 0});
    ASSERT_EQ(0, YxProjectDb_Frame_InsertMany(h, frames));
    ASSERT_EQ(0, YxProjectDb_Loopindex_InsertMany(h, idx));

    std::vector<std::int32_t> found{42};
    const std::vector<SYxProjectDbRow_loopindex> at{{0, 0, 0, loops[0], 1}, {0, 0, 0, loops[1], 2},
                                                    {0, 0, 0, loops[2], 0}};
    YxProjectDb_Loopindex_GetFrameIndex(h, runKey, taskKey, at, found);
    EXPECT_EQ(std::vector<std::int32_t>{10}, found);  // t=1, p=2, z=0

    // Two coordinates: both Z planes of that time point and position.
    YxProjectDb_Loopindex_GetFrameIndex(h, runKey, taskKey, {at[0], at[1]}, found);
    std::sort(found.begin(), found.end());
    EXPECT_EQ((std::vector<std::int32_t>{10, 11}), found);

    // No coordinates: every frame of the task with a loop index (once per row).
    YxProjectDb_Loopindex_GetFrameIndex(h, runKey, taskKey, {}, found);
    EXPECT_EQ(36u, found.size());

    // A coordinate outside the acquisition.
    YxProjectDb_Loopindex_GetFrameIndex(h, runKey, taskKey, {{0, 0, 0, loops[0], 5}, at[1], at[2]}, found);
    EXPECT_TRUE(found.empty());

    std::vector<SYxProjectDbRow_loopindex> forFrame;
    ASSERT_EQ(0, YxProjectDb_Loopindex_GetAllForFrame(h, runKey, 10, forFrame));
    EXPECT_EQ(3u, forFrame.size());
    // Duplicates: the plain bulk insert reports them, the ignoring one skips.
    std::vector<SYxProjectDbRow_loopindex> again{idx[0], {0, runKey, 50, loops[0], 0}};
    EXPECT_EQ(0, YxProjectDb_Loopindex_InsertOrIgnoreMany(h, again));
    EXPECT_EQ(0, again[0].iKey);
    EXPECT_NE(0, again[1].iKey);
}

TEST_F(Frames, NullConstraintTriggerKeepsTheFirstAcquisitionValue) {
    const std::int64_t prop = AddPropdef(L"focus");
    SYxProjectDbRow_assayrun assay;
    assay.iJobrunKeyRef = runKey;
    std::int64_t assayKey = 0;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(h, assay, &assayKey));

    // Without the trigger, NULL assay runs are never equal: both rows stay.
    ASSERT_EQ(0, YxProjectDb_Frameprop_Insert(h, runKey, 0, prop, 1, 1.0));
    ASSERT_EQ(0, YxProjectDb_Frameprop_Insert(h, runKey, 0, prop, 1, 2.0));
    EXPECT_EQ(2, Count("frameprop"));
    AcqQuery(h, "DELETE FROM frameprop");

    ASSERT_EQ(0, YxProjectDb_Frameprop_CreateNullConstraintTrigger(h));
    EXPECT_EQ("framepropConstraitTrigger", AcqOne(h, "SELECT name FROM sqlite_master WHERE type='trigger' AND "
                                                     "tbl_name='frameprop'"));
    ASSERT_EQ(0, YxProjectDb_Frameprop_CreateNullConstraintTrigger(h));  // IF NOT EXISTS
    ASSERT_EQ(0, YxProjectDb_Frameprop_Insert(h, runKey, 0, prop, 1, 1.0));
    ASSERT_EQ(0, YxProjectDb_Frameprop_Insert(h, runKey, 0, prop, 1, 2.0));
    std::vector<SYxProjectDbRow_frameprop> bulk{{0, runKey, 0, prop, 1, 3.0}, {0, runKey, 0, prop, 2, 4.0}};
    ASSERT_EQ(0, YxProjectDb_Frameprop_InsertMany(h, bulk));
    EXPECT_EQ(0, bulk[0].iKey);
    EXPECT_NE(0, bulk[1].iKey);
    EXPECT_EQ("1.0", AcqOne(h, "SELECT dValue FROM frameprop WHERE iFrameIndex=1"));
    EXPECT_EQ(1, Count("frameprop", "iFrameIndex=1"));

    // Assay-run properties follow the table's own unique rule.
    ASSERT_EQ(0, YxProjectDb_Frameprop_Insert(h, runKey, assayKey, prop, 1, 5.0));
    EXPECT_NE(0, YxProjectDb_Frameprop_Insert(h, runKey, assayKey, prop, 1, 6.0));
    EXPECT_EQ(2, Count("frameprop", "iFrameIndex=1"));

    ASSERT_EQ(0, YxProjectDb_Frameprop_DropNullConstraintTrigger(h));
    EXPECT_EQ(0, Count("sqlite_master", "type='trigger' AND name='framepropConstraitTrigger'"));
    ASSERT_EQ(0, YxProjectDb_Frameprop_Insert(h, runKey, 0, prop, 1, 7.0));
    EXPECT_EQ(3, Count("frameprop", "iFrameIndex=1"));
}

TEST_F(Frames, PropertyUpsertMatchesNullAssayRunWithNull) {
    const std::int64_t prop = AddPropdef(L"temp");
    SYxProjectDbRow_assayrun assay;
    assay.iJobrunKeyRef = runKey;
    std::int64_t assayKey = 0;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(h, assay, &assayKey));
    std::int64_t acqKey = 0, assayPropKey = 0;
    ASSERT_EQ(0, YxProjectDb_Frameprop_Insert(h, runKey, 0, prop, 1, 1.0, &acqKey));
    ASSERT_EQ(0, YxProjectDb_Frameprop_Insert(h, runKey, assayKey, prop, 1, 2.0, &assayPropKey));

    std::vector<SYxProjectDbRow_frameprop> rows{{0, runKey, 0, prop, 1, 10.0},
                                                {0, runKey, assayKey, prop, 1, 20.0},
                                                {0, runKey, 0, prop, 2, 30.0}};
    ASSERT_EQ(0, YxProjectDb_Frameprop_UpdateOrInsertMany(h, rows));
    EXPECT_EQ(acqKey, rows[0].iKey);
    EXPECT_EQ(assayPropKey, rows[1].iKey);
    EXPECT_NE(0, rows[2].iKey);
    EXPECT_EQ("10.0", AcqOne(h, "SELECT dValue FROM frameprop WHERE iKey=" + std::to_string(acqKey)));
    EXPECT_EQ("20.0", AcqOne(h, "SELECT dValue FROM frameprop WHERE iKey=" + std::to_string(assayPropKey)));
    EXPECT_EQ("NULL|30.0", AcqOne(h, "SELECT iAssayrunKeyRef, dValue FROM frameprop WHERE iFrameIndex=2"));
    EXPECT_EQ(3, Count("frameprop"));

    SYxProjectDbRow_frameprop one;
    ASSERT_EQ(0, YxProjectDb_Frameprop_GetOne(h, runKey, 2, prop, one));
    EXPECT_DOUBLE_EQ(30.0, one.dValue);
    ASSERT_EQ(0, YxProjectDb_Frameprop_UpdateValue(h, one.iKey, 31.5));
    EXPECT_EQ("31.5", AcqOne(h, "SELECT dValue FROM frameprop WHERE iFrameIndex=2"));
    std::vector<SYxProjectDbRow_frameprop> ofFrame;
    ASSERT_EQ(0, YxProjectDb_Frameprop_GetMany(h, runKey, 1, ofFrame));
    EXPECT_EQ(2u, ofFrame.size());
    // RemoveMany deletes by run, frame and property: both rows of frame 1.
    ASSERT_EQ(0, YxProjectDb_Frameprop_RemoveMany(h, {rows[0]}));
    EXPECT_EQ(1, Count("frameprop"));
}

// The value is spliced into the statement's text: under a comma-decimal
// locale it still reads as one number, and values with up to six decimals
// come back exactly.
TEST_F(Frames, SameValueForEveryFrameUnderACommaLocale) {
    CYxCommaLocale comma;
    YX_REQUIRE_COMMA_LOCALE(comma);
    std::vector<SYxProjectDbRow_frame> frames;
    for (int i = 0; i < 3; ++i) frames.push_back({0, runKey, 0, i, 0.0, 0, 0});
    ASSERT_EQ(0, YxProjectDb_Frame_InsertMany(h, frames));
    int n = 0;
    for (const double value : {2.5, 0.1, -1234.000125, 2451545.333333}) {
        const std::int64_t prop = AddPropdef((L"p" + std::to_wstring(++n)).c_str());
        ASSERT_EQ(0, YxProjectDb_Frameprop_InsertManySame(h, runKey, prop, value)) << value;
        EXPECT_EQ(3, Count("frameprop", "iPropdefKeyRef=" + std::to_string(prop)));
        SYxProjectDbRow_frameprop one;
        ASSERT_EQ(0, YxProjectDb_Frameprop_GetOne(h, runKey, 1, prop, one));
        EXPECT_EQ(value, one.dValue);
    }
}

TEST_F(Frames, SameValueForEveryFrameOfTheRun) {
    const std::int64_t prop = AddPropdef(L"exposure");
    // No frames: nothing inserted, no error.
    EXPECT_EQ(0, YxProjectDb_Frameprop_InsertManySame(h, runKey, prop, 12.5));
    EXPECT_EQ(0, Count("frameprop"));
    std::vector<SYxProjectDbRow_frame> frames;
    for (int i = 0; i < 4; ++i) frames.push_back({0, runKey, 0, i, 0.0, 0, 0});
    frames.push_back({0, runKey2, 0, 0, 0.0, 0, 0});
    ASSERT_EQ(0, YxProjectDb_Frame_InsertMany(h, frames));
    EXPECT_EQ(0, YxProjectDb_Frameprop_InsertManySame(h, runKey, prop, 12.5));
    EXPECT_EQ(4, Count("frameprop", "iAssayrunKeyRef IS NULL AND dValue=12.5 AND iJobrunKeyRef=" +
                                        std::to_string(runKey)));
    EXPECT_EQ(0, Count("frameprop", "iJobrunKeyRef=" + std::to_string(runKey2)));

    SYxProjectDbRow_qualdef qd;
    qd.wszName = L"well";
    std::int64_t qualdef = 0, qualstr = 0;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(h, qd, &qualdef));
    SYxProjectDbRow_qualstr qs;
    qs.wszName = L"A1";
    ASSERT_EQ(0, YxProjectDb_Row_Insert(h, qs, &qualstr));
    EXPECT_EQ(0, YxProjectDb_Framequal_InsertManySame(h, runKey, qualdef, qualstr));
    EXPECT_EQ(0, YxProjectDb_Framequal_InsertManySame(h, runKey, qualdef, qualstr));  // replaces
    EXPECT_EQ(4, Count("framequal"));
    std::vector<SYxProjectDbRow_framequal> quals;
    ASSERT_EQ(0, YxProjectDb_Framequal_GetMany(h, runKey, 2, quals));
    ASSERT_EQ(1u, quals.size());
    EXPECT_EQ(qualstr, quals[0].iQualstrKeyRef);
    ASSERT_EQ(0, YxProjectDb_Framequal_RemoveMany(h, quals));
    EXPECT_EQ(3, Count("framequal"));
    ASSERT_EQ(0, YxProjectDb_Framequal_RemoveManyReferencingJobrun(h, runKey));
    EXPECT_EQ(0, Count("framequal"));
}

TEST_F(Frames, TagsAndHolderPositions) {
    std::int64_t tags[3] = {};
    for (int i = 0; i < 3; ++i) {
        SYxProjectDbRow_tagdef tag;
        tag.wszName = CYxStringW::Format(L"tag%d", i);
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, tag, &tags[i]));
    }
    std::vector<SYxProjectDbRow_frametag> rows;
    for (int f = 0; f < 3; ++f)
        for (int t = 0; t < 3; ++t) rows.push_back({0, runKey, tags[t], f});
    rows.push_back({0, runKey2, tags[0], 0});
    ASSERT_EQ(0, YxProjectDb_Frametag_InsertMany(h, rows));
    std::vector<SYxProjectDbRow_frametag> dup{rows[0]};
    EXPECT_EQ(0, YxProjectDb_Frametag_InsertOrIgnoreMany(h, dup));
    EXPECT_EQ(0, dup[0].iKey);
    EXPECT_EQ(0, YxProjectDb_Frametag_RemoveManyReferencingJobrunTagdef(h, runKey, {}));
    EXPECT_EQ(0, YxProjectDb_Frametag_RemoveManyReferencingJobrunTagdef(h, runKey, {tags[0], tags[2]}));
    EXPECT_EQ(3, Count("frametag", "iJobrunKeyRef=" + std::to_string(runKey)));
    EXPECT_EQ(3, Count("frametag", "iTagdefKeyRef=" + std::to_string(tags[1])));
    EXPECT_EQ(1, Count("frametag", "iJobrunKeyRef=" + std::to_string(runKey2)));  // other run untouched
    ASSERT_EQ(0, YxProjectDb_Frametag_RemoveManyReferencingJobrun(h, runKey));
    EXPECT_EQ(1, Count("frametag"));

    SYxProjectDbRow_plateinfo plate;
    plate.iJobrunKeyRef = runKey;
    std::int64_t plateKey = 0;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(h, plate, &plateKey));
    bool exists = true;
    EXPECT_EQ(0, YxProjectDb_Frameplateinfo_Exists(h, runKey, 4, exists));
    EXPECT_FALSE(exists);
    ASSERT_EQ(0, YxProjectDb_Frameplateinfo_Insert(h, runKey, plateKey, 4));
    EXPECT_EQ(0, YxProjectDb_Frameplateinfo_Exists(h, runKey, 4, exists));
    EXPECT_TRUE(exists);
    std::int64_t key = -1;
    EXPECT_EQ(0, YxProjectDb_Frameplateinfo_InsertOrIgnore(h, runKey, plateKey, 4, &key));
    EXPECT_EQ(0, key);
    exists = true;
    EXPECT_EQ(0, YxProjectDb_Frameslideinfo_Exists(h, runKey, 4, exists));
    EXPECT_FALSE(exists);
    bool untouched = true;
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Frameslideinfo_Exists(kNoHandle, runKey, 4, untouched));
    EXPECT_TRUE(untouched);
}
