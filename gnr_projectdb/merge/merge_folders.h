// Copies the project and run folders of merged rows from the source's
// project root into the target's, choosing a free name on a clash and
// writing the name used into the target's row. Every folder it creates is
// recorded so that a failed or cancelled merge can remove exactly those.
// Used by one thread, inside the merge's transaction.
#pragma once

#include "gnr_projectdb/merge/merge_session.h"

#include <string>
#include <vector>

namespace yxmerge {

class CYxMergeFolders {
public:
    CYxMergeFolders(CYxMergeSession& session, const std::wstring& sourceRoot, const std::wstring& targetRoot)
        : m_s(session), m_srcRoot(sourceRoot), m_dstRoot(targetRoot) {}
    // Removes what was created unless Keep() was called. Never throws.
    ~CYxMergeFolders();

    // Folders of the projects and runs that the session copied. 0, -61 on
    // cancel, -62 when a folder could not be created or copied, or the
    // SQLite code of a failed read or update.
    int CopyAll();
    void Keep() { m_keep = true; }
    const std::vector<std::wstring>& Created() const { return m_created; }

private:
    int CopyProjects();
    int CopyRuns();
    // Creates `path` and every missing parent below `root`, recording the
    // top-most folder it made. 0 or -62.
    int MakeFolder(const std::wstring& root, const std::wstring& relative);

    CYxMergeSession& m_s;
    std::wstring m_srcRoot, m_dstRoot;
    std::vector<std::wstring> m_created;
    bool m_keep = false;
};

}  // namespace yxmerge
