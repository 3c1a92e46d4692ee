// Steps of the merge driver that the per-table copies share.
// Used by one thread, inside one merge.
#pragma once

#include "gnr_projectdb/merge.h"
#include "gnr_projectdb/merge/merge_session.h"

#include <string>

struct sqlite3;

namespace yxmerge {

// Version check for a merge: YxProjectDb_CompareVesions, except that a
// version name that neither file records is no difference.
int CompareForMerge(YxProjectDbHandle source, YxProjectDbHandle target);
// Resolves both handles and refuses what cannot be merged: 0, -9, -10, -60
// or a version status. *srcPath receives the source's file name.
int CheckPair(const SYxProjectDbMerge_DuplicateOptions& o, sqlite3** src, sqlite3** dst, std::wstring* srcPath);
// Counts, then copies every table of the plan that has rows in scope.
int CopyAllTables(CYxMergeSession& s, bool planOnly, SYxProjectDbMergeReport* report);
// The cancel status when the merge asked for the interrupt, else rc.
int Outcome(const CYxMergeSession& s, int rc);

}  // namespace yxmerge
