#include "gnr_projectdb/merge/merge_folders.h"

#include "framework/yxfilesystem.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"

namespace yxmerge {
namespace {

const int kCancelled = -61;
const int kFolderFailed = -62;

// Last component of a relative folder name that may use '\' or '/'.
std::size_t LastSeparator(const std::wstring& s) { return s.find_last_of(L"\\/"); }

std::wstring Join(const std::wstring& root, const std::wstring& relative) {
    std::wstring r = YxFs_AddTrailingSeparator(root.c_str()).str();
    return YxFs_Native((r + relative).c_str()).str();
}

}  // namespace

CYxMergeFolders::~CYxMergeFolders() {
    if (m_keep) return;
    for (auto it = m_created.rbegin(); it != m_created.rend(); ++it) YxFs_DeleteWithContents(it->c_str());
}

int CYxMergeFolders::MakeFolder(const std::wstring& root, const std::wstring& relative) {
    std::wstring path = YxFs_Native(YxFs_AddTrailingSeparator(root.c_str())).str();
    std::wstring rel = YxFs_Native(relative.c_str()).str();
    std::size_t pos = 0;
    while (pos <= rel.size()) {
        std::size_t next = rel.find(L'/', pos);
        if (next == std::wstring::npos) next = rel.size();
        if (next > pos) {
            path += rel.substr(pos, next - pos);
            if (!YxFs_IsDirectory(path.c_str())) {
                if (YxFs_CreateDirectories(path.c_str()) != 0) return kFolderFailed;
                m_created.push_back(path);
                return YxFs_CreateDirectories(Join(root, relative).c_str()) == 0 ? 0 : kFolderFailed;
            }
            path += L"/";
        }
        pos = next + 1;
    }
    return 0;
}

int CYxMergeFolders::CopyProjects() {
    std::vector<std::pair<std::int64_t, std::int64_t>> keys;
    const int table = PlanIndex(L"project");
    if (int rc = m_s.CopiedKeys(table, keys)) return rc;
    CYxSqliteCmd read(m_s.Target(), L"SELECT wszFolderName FROM gnr_merge_src.project WHERE iKey = ?");
    CYxSqliteCmd write(m_s.Target(), L"UPDATE main.project SET wszFolderName = ? WHERE iKey = ?");
    for (const auto& [oldKey, newKey] : keys) {
        if (m_s.Cancelled()) return kCancelled;
        read.Reset();
        read.Bind(1, oldKey);
        CYxStringW name;
        if (read.Next()) read.Column(0, name);
        if (int rc = read.Result()) return rc;
        if (name.IsEmpty()) continue;
        std::wstring chosen = name.str();
        const std::wstring dst = Join(m_dstRoot, chosen);
        if (YxFs_Exists(dst.c_str()) && !YxFs_IsDirectoryEmpty(dst.c_str())) {
            CYxStringW free;
            if (!YxFs_FreeSiblingName(dst.c_str(), free)) return kFolderFailed;
            chosen = free.str().substr(LastSeparator(free.str()) + 1);
        }
        if (int rc = MakeFolder(m_dstRoot, chosen)) return rc;
        if (chosen != name.str()) {
            write.Reset();
            write.Bind(1, chosen.c_str());
            write.Bind(2, newKey);
            write.Next();
            if (int rc = write.Result()) return rc;
        }
    }
    return 0;
}

int CYxMergeFolders::CopyRuns() {
    std::vector<std::pair<std::int64_t, std::int64_t>> keys;
    const int table = PlanIndex(L"jobrun");
    if (int rc = m_s.CopiedKeys(table, keys)) return rc;
    CYxSqliteCmd readSrc(m_s.Target(), L"SELECT p.wszFolderName, r.wszFolderName FROM gnr_merge_src.jobrun r "
                                       L"LEFT JOIN gnr_merge_src.project p ON p.iKey = r.iProjKeyRef WHERE r.iKey = ?");
    CYxSqliteCmd readDst(m_s.Target(), L"SELECT p.wszFolderName FROM main.jobrun r "
                                       L"LEFT JOIN main.project p ON p.iKey = r.iProjKeyRef WHERE r.iKey = ?");
    CYxSqliteCmd write(m_s.Target(), L"UPDATE main.jobrun SET wszFolderName = ? WHERE iKey = ?");
    for (const auto& [oldKey, newKey] : keys) {
        if (m_s.Cancelled() || m_s.Report(L"")) return kCancelled;
        CYxStringW srcProject, runFolder, dstProject;
        readSrc.Reset();
        readSrc.Bind(1, oldKey);
        if (readSrc.Next()) {
            readSrc.Column(0, srcProject);
            readSrc.Column(1, runFolder);
        }
        if (int rc = readSrc.Result()) return rc;
        readDst.Reset();
        readDst.Bind(1, newKey);
        if (readDst.Next()) readDst.Column(0, dstProject);
        if (int rc = readDst.Result()) return rc;
        if (runFolder.IsEmpty() || srcProject.IsEmpty() || dstProject.IsEmpty()) continue;

        const std::wstring src = Join(m_srcRoot, srcProject.str() + L"/" + runFolder.str());
        if (!YxFs_IsDirectory(src.c_str())) continue;  // a run without files on disk
        std::wstring chosen = runFolder.str();
        std::wstring dst = Join(m_dstRoot, dstProject.str() + L"/" + chosen);
        if (YxFs_Exists(dst.c_str())) {
            CYxStringW free;
            if (!YxFs_FreeSiblingName(dst.c_str(), free)) return kFolderFailed;
            const std::size_t cut = LastSeparator(chosen);
            const std::wstring last = free.str().substr(LastSeparator(free.str()) + 1);
            chosen = (cut == std::wstring::npos ? std::wstring() : chosen.substr(0, cut + 1)) + last;
            dst = free.str();
        }
        const std::size_t cut = LastSeparator(chosen);
        const std::wstring parent = dstProject.str() + (cut == std::wstring::npos ? L"" : L"/" + chosen.substr(0, cut));
        if (int rc = MakeFolder(m_dstRoot, parent)) return rc;
        m_created.push_back(dst);
        if (YxFs_CopyTree(src.c_str(), dst.c_str()) != 0) return kFolderFailed;
        if (chosen != runFolder.str()) {
            write.Reset();
            write.Bind(1, chosen.c_str());
            write.Bind(2, newKey);
            write.Next();
            if (int rc = write.Result()) return rc;
        }
    }
    return 0;
}

int CYxMergeFolders::CopyAll() {
    if (m_srcRoot.empty() || m_dstRoot.empty()) return 0;
    if (int rc = CopyProjects()) return rc;
    return CopyRuns();
}

}  // namespace yxmerge
