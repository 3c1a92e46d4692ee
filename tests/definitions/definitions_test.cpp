// Property, qualifier and tag definitions: get-or-insert by the unique group
// (also from two processes at once), the definitions a run uses, rename,
// colour and delete-when-unused.
#include "gnr_projectdb/records_definitions.h"

#include "records/records_fixture.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

SYxProjectDbRow_propdef Prop(const wchar_t* feature, const wchar_t* group = L"Nuclei") {
    SYxProjectDbRow_propdef p{};
    p.iType = 1;
    p.wszFeatureName = feature;
    p.wszGroupName = group;
    p.wszUnit = L"px";
    p.wszDesc = L"first description";
    return p;
}

class CYxDefinitionsTest : public CYxRecordsTest {
protected:
    std::int64_t AddFrameProp(std::int64_t run, std::int64_t propdef, int frame) {
        SYxProjectDbRow_frameprop fp{0, run, 0, propdef, frame, 1.5};
        std::int64_t key = 0;
        EXPECT_EQ(0, YxProjectDb_Row_Insert(m_h, fp, &key));
        return key;
    }
};

TEST_F(CYxDefinitionsTest, GetOrInsertFindsByTheUniqueGroupAsTheTableComparesIt) {
    SYxProjectDbRow_propdef a = Prop(L"Mean Intensity");
    std::int64_t ka = 0;
    ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, a, &ka));
    ASSERT_NE(0, ka);
    EXPECT_EQ(ka, a.iKey);

    // Same group: the group name column is NOCASE, so case does not matter;
    // the other columns of the record are not written to the existing row.
    SYxProjectDbRow_propdef b = Prop(L"Mean Intensity", L"NUCLEI");
    b.wszDesc = L"second description";
    std::int64_t kb = 0;
    ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, b, &kb));
    EXPECT_EQ(ka, kb);
    SYxProjectDbRow_propdef stored{};
    ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, ka, stored));
    EXPECT_EQ(CYxStringW(L"first description"), stored.wszDesc);

    // The feature name is compared exactly, and every group column counts.
    SYxProjectDbRow_propdef c = Prop(L"mean intensity");
    std::int64_t kc = 0;
    ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, c, &kc));
    EXPECT_NE(ka, kc);
    SYxProjectDbRow_propdef d = Prop(L"Mean Intensity");
    d.iAggregation = 2;
    std::int64_t kd = 0;
    ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, d, &kd));
    EXPECT_NE(ka, kd);
    EXPECT_EQ(3, Count(L"propdef"));
}

TEST_F(CYxDefinitionsTest, EveryTableHasGetOrInsertAndFind) {
    SYxProjectDbRow_qualdef q{0, 0, 0, L"Cell cycle", L"Phase", L"", 0, {}};
    std::int64_t kq = 0, kq2 = 0, found = -1;
    ASSERT_EQ(0, YxProjectDb_Qualdef_Find(m_h, q, &found));
    EXPECT_EQ(0, found);
    ASSERT_EQ(0, YxProjectDb_Qualdef_GetOrInsert(m_h, q, &kq));
    q.wszGroupName = L"CELL CYCLE";
    ASSERT_EQ(0, YxProjectDb_Qualdef_GetOrInsert(m_h, q, &kq2));
    EXPECT_EQ(kq, kq2);
    ASSERT_EQ(0, YxProjectDb_Qualdef_Find(m_h, q, &found));
    EXPECT_EQ(kq, found);

    std::int64_t ks = 0, ks2 = 0;
    ASSERT_EQ(0, YxProjectDb_Qualstr_GetOrInsert(m_h, L"G1", &ks));
    SYxProjectDbRow_qualstr s{0, L"G1"};
    ASSERT_EQ(0, YxProjectDb_Qualstr_GetOrInsert(m_h, s, &ks2));
    EXPECT_EQ(ks, ks2);
    EXPECT_EQ(ks, s.iKey);

    SYxProjectDbRow_tagdef t{0, 1, 0xff0000, L"Mitosis", L""};
    std::int64_t kt = 0, kt2 = 0;
    ASSERT_EQ(0, YxProjectDb_Tagdef_GetOrInsert(m_h, t, &kt));
    SYxProjectDbRow_tagdef other{0, 2, 0, L"Mitosis", L""};  // another type: another tag
    ASSERT_EQ(0, YxProjectDb_Tagdef_GetOrInsert(m_h, other, &kt2));
    EXPECT_NE(kt, kt2);
    EXPECT_EQ(2, Count(L"tagdef"));
    EXPECT_EQ(1, Count(L"qualdef"));
    EXPECT_EQ(1, Count(L"qualstr"));
}

TEST_F(CYxDefinitionsTest, TextsAreValuesNeverStatements) {
    const wchar_t* hostile[] = {L"x'); DROP TABLE propdef; --", L"a\"b", L"--", L";", L"Größe ÄÖÜ", L"%s%d"};
    for (const wchar_t* name : hostile) {
        SYxProjectDbRow_propdef p = Prop(name, name);
        std::int64_t k1 = 0, k2 = 0;
        ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, p, &k1)) << CYxStringW(name).ToUtf8();
        ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, p, &k2));
        EXPECT_EQ(k1, k2);
        SYxProjectDbRow_propdef back{};
        ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, k1, back));
        EXPECT_EQ(CYxStringW(name), back.wszFeatureName);
        ASSERT_EQ(0, YxProjectDb_Qualstr_GetOrInsert(m_h, name, &k1));
        ASSERT_EQ(0, YxProjectDb_Tagdef_Rename(m_h, 0, name));
    }
    EXPECT_EQ(6, Count(L"propdef"));
    EXPECT_EQ(6, Count(L"qualstr"));
}

TEST_F(CYxDefinitionsTest, UsedByJobrunCountsEveryValueTableOfTheRun) {
    const std::int64_t runA = AddRun();
    const std::int64_t runB = AddRun();
    std::int64_t p1 = 0, p2 = 0, p3 = 0, unused = 0;
    SYxProjectDbRow_propdef r1 = Prop(L"P1"), r2 = Prop(L"P2"), r3 = Prop(L"P3"), r4 = Prop(L"P4");
    ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, r1, &p1));
    ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, r2, &p2));
    ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, r3, &p3));
    ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, r4, &unused));
    AddFrameProp(runA, p2, 0);
    AddFrameProp(runA, p2, 1);
    SYxProjectDbRow_jobrunprop jp{0, runA, p1, 3.0};
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, jp, nullptr));
    AddFrameProp(runB, p3, 0);

    std::vector<SYxProjectDbRow_propdef> used(1);  // appended after what is there
    ASSERT_EQ(0, YxProjectDb_Propdef_GetManyUsedByJobrun(m_h, runA, used));
    ASSERT_EQ(3u, used.size());
    EXPECT_EQ(p1, used[1].iKey);
    EXPECT_EQ(p2, used[2].iKey);
    EXPECT_EQ(CYxStringW(L"P2"), used[2].wszFeatureName);

    std::int64_t qd = 0, qs = 0;
    SYxProjectDbRow_qualdef q{0, 0, 0, L"G", L"Phase", L"", 0, {}};
    ASSERT_EQ(0, YxProjectDb_Qualdef_GetOrInsert(m_h, q, &qd));
    ASSERT_EQ(0, YxProjectDb_Qualstr_GetOrInsert(m_h, L"S", &qs));
    SYxProjectDbRow_framequal fq{0, runB, 4, qd, qs};
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, fq, nullptr));
    std::vector<SYxProjectDbRow_qualdef> qa, qb;
    std::vector<SYxProjectDbRow_qualstr> sb;
    ASSERT_EQ(0, YxProjectDb_Qualdef_GetManyUsedByJobrun(m_h, runA, qa));
    ASSERT_EQ(0, YxProjectDb_Qualdef_GetManyUsedByJobrun(m_h, runB, qb));
    ASSERT_EQ(0, YxProjectDb_Qualstr_GetManyUsedByJobrun(m_h, runB, sb));
    EXPECT_TRUE(qa.empty());
    ASSERT_EQ(1u, qb.size());
    EXPECT_EQ(qd, qb[0].iKey);
    ASSERT_EQ(1u, sb.size());
    EXPECT_EQ(qs, sb[0].iKey);

    SYxProjectDbRow_tagdef t{0, 0, 0, L"T", L""};
    std::int64_t td = 0;
    ASSERT_EQ(0, YxProjectDb_Tagdef_GetOrInsert(m_h, t, &td));
    SYxProjectDbRow_jobruntag rt{0, runA, td};
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, rt, nullptr));
    std::vector<SYxProjectDbRow_tagdef> ta, tb;
    ASSERT_EQ(0, YxProjectDb_Tagdef_GetManyUsedByJobrun(m_h, runA, ta));
    ASSERT_EQ(0, YxProjectDb_Tagdef_GetManyUsedByJobrun(m_h, runB, tb));
    ASSERT_EQ(1u, ta.size());
    EXPECT_TRUE(tb.empty());
}

TEST_F(CYxDefinitionsTest, RenameAndColour) {
    SYxProjectDbRow_tagdef a{0, 0, 1, L"A", L""}, b{0, 0, 2, L"B", L""};
    std::int64_t ka = 0, kb = 0;
    ASSERT_EQ(0, YxProjectDb_Tagdef_GetOrInsert(m_h, a, &ka));
    ASSERT_EQ(0, YxProjectDb_Tagdef_GetOrInsert(m_h, b, &kb));
    ASSERT_EQ(0, YxProjectDb_Tagdef_Rename(m_h, ka, L"Apoptosis"));
    ASSERT_EQ(0, YxProjectDb_Tagdef_SetColor(m_h, ka, 0x00ff00));
    // Onto a name that is taken (NOCASE): a constraint failure, nothing changed.
    EXPECT_EQ(19, YxProjectDb_Tagdef_Rename(m_h, kb, L"APOPTOSIS"));
    SYxProjectDbRow_tagdef ra{}, rb{};
    ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, ka, ra));
    ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, kb, rb));
    EXPECT_EQ(CYxStringW(L"Apoptosis"), ra.wszName);
    EXPECT_EQ(0x00ff00, ra.iColor);
    EXPECT_EQ(CYxStringW(L"B"), rb.wszName);

    SYxProjectDbRow_propdef p = Prop(L"Area");
    std::int64_t kp = 0;
    ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, p, &kp));
    ASSERT_EQ(0, YxProjectDb_Propdef_Rename(m_h, kp, L"Area (µm²)"));
    SYxProjectDbRow_propdef rp{};
    ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, kp, rp));
    EXPECT_EQ(CYxStringW(L"Area (µm²)"), rp.wszFeatureName);
    EXPECT_EQ(CYxStringW(L"Nuclei"), rp.wszGroupName);
}

TEST_F(CYxDefinitionsTest, DeleteOfAUsedDefinitionChangesNothing) {
    const std::int64_t run = AddRun();
    SYxProjectDbRow_propdef used = Prop(L"Used"), free = Prop(L"Free");
    std::int64_t ku = 0, kf = 0;
    ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, used, &ku));
    ASSERT_EQ(0, YxProjectDb_Propdef_GetOrInsert(m_h, free, &kf));
    AddFrameProp(run, ku, 0);
    AddFrameProp(run, ku, 1);

    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Propdef_DeleteIfUnused(m_h, ku));
    EXPECT_EQ(2, Count(L"propdef"));
    EXPECT_EQ(2, Count(L"frameprop"));  // the cascade did not run
    EXPECT_EQ(0, YxProjectDb_Propdef_DeleteIfUnused(m_h, kf));
    EXPECT_EQ(1, Count(L"propdef"));
    EXPECT_EQ(0, YxProjectDb_Propdef_DeleteIfUnused(m_h, 987654));  // no such row

    // A tag used only by a project (no run column) is used as well.
    SYxProjectDbRow_project proj{};
    proj.wszName = L"p";
    std::int64_t kproj = 0;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, proj, &kproj));
    SYxProjectDbRow_tagdef t{0, 0, 0, L"T", L""};
    std::int64_t kt = 0;
    ASSERT_EQ(0, YxProjectDb_Tagdef_GetOrInsert(m_h, t, &kt));
    SYxProjectDbRow_projtag pt{0, kproj, kt};
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, pt, nullptr));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Tagdef_DeleteIfUnused(m_h, kt));
    EXPECT_EQ(1, Count(L"projtag"));
    ASSERT_EQ(0, YxProjectDb_Row_Delete(m_h, pt.iKey, &pt));
    EXPECT_EQ(0, YxProjectDb_Tagdef_DeleteIfUnused(m_h, kt));
    EXPECT_EQ(0, Count(L"tagdef"));

    // Qualifier strings are used through the qualifier values.
    std::int64_t qd = 0, qs = 0;
    SYxProjectDbRow_qualdef q{0, 0, 0, L"G", L"Q", L"", 0, {}};
    ASSERT_EQ(0, YxProjectDb_Qualdef_GetOrInsert(m_h, q, &qd));
    ASSERT_EQ(0, YxProjectDb_Qualstr_GetOrInsert(m_h, L"S", &qs));
    SYxProjectDbRow_jobrunqual rq{0, run, qd, qs};
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, rq, nullptr));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Qualstr_DeleteIfUnused(m_h, qs));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Qualdef_DeleteIfUnused(m_h, qd));
    EXPECT_EQ(1, Count(L"jobrunqual"));
}

TEST_F(CYxDefinitionsTest, WithoutConnection) {
    SYxProjectDbRow_propdef p = Prop(L"x");
    std::int64_t key = 77;
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Propdef_GetOrInsert(999, p, &key));
    EXPECT_EQ(0, key);
    key = 77;
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Tagdef_Find(999, SYxProjectDbRow_tagdef{}, &key));
    EXPECT_EQ(0, key);
    std::vector<SYxProjectDbRow_qualdef> rows;
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Qualdef_GetManyUsedByJobrun(999, 1, rows));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Qualstr_DeleteIfUnused(999, 1));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Qualdef_Rename(999, 1, L"x"));
}

// Two processes insert the same 1,000 definitions at once, each through its
// own connection; every definition ends up as one row and both processes
// receive the same keys.
TEST(CYxDefinitionsProcesses, TwoProcessesAgreeOnEveryKey) {
    CYxTempDir dir;
    const CYxStringW path = dir.File("jobs.db");
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(path));
    const int kCount = 1000;
    int go[2];
    ASSERT_EQ(0, pipe(go));
    pid_t pids[2];
    for (int p = 0; p < 2; ++p) {
        pids[p] = fork();
        ASSERT_GE(pids[p], 0);
        if (pids[p] == 0) {
            close(go[1]);
            const YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(path);
            char c = 0;
            if (!h || read(go[0], &c, 1) != 1) _exit(3);
            std::ofstream out(dir.FileUtf8(p ? "keys1.txt" : "keys0.txt"));
            // The two processes walk the list in opposite directions, so
            // that they meet in the middle and race for the same rows.
            for (int i = 0; i < kCount; ++i) {
                const int n = p ? kCount - 1 - i : i;
                SYxProjectDbRow_propdef def = Prop(CYxStringW::Format(L"feature %d", n));
                std::int64_t key = 0;
                if (YxProjectDb_Propdef_GetOrInsert(h, def, &key) != 0 || key == 0) _exit(4);
                out << n << ' ' << key << '\n';
            }
            out.close();
            YxProjectDb_Db_Disconnect(h);
            _exit(0);
        }
    }
    close(go[0]);
    ASSERT_EQ(2, write(go[1], "gg", 2));
    close(go[1]);
    for (pid_t pid : pids) {
        int status = 0;
        ASSERT_EQ(pid, waitpid(pid, &status, 0));
        ASSERT_TRUE(WIFEXITED(status));
        ASSERT_EQ(0, WEXITSTATUS(status));
    }
    std::vector<std::int64_t> keys[2];
    for (int p = 0; p < 2; ++p) {
        keys[p].assign(kCount, 0);
        std::ifstream in(dir.FileUtf8(p ? "keys1.txt" : "keys0.txt"));
        int n = 0;
        std::int64_t key = 0;
        while (in >> n >> key) keys[p][static_cast<std::size_t>(n)] = key;
    }
    EXPECT_EQ(keys[0], keys[1]);
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(path);
    ASSERT_NE(0u, h);
    std::int64_t rows = 0;
    ASSERT_EQ(0, YxProjectDb_Table_Count(h, L"propdef", nullptr, &rows));
    EXPECT_EQ(kCount, rows);
    YxProjectDb_Db_Disconnect(h);
}

}  // namespace
