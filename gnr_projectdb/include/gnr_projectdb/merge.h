/// \file
/// Database merge: copies the rows of one jobs database (the source) into
/// another (the target), giving every copied row a new key in the target and
/// re-pointing every reference through old-key -> new-key maps.
///
/// Rows are matched by identity, never by key: by uuid where the table has
/// one, otherwise by the table's unique group (with its references already
/// mapped), otherwise by all of its columns. A source row whose identity is
/// present in the target is not copied; its key maps to the target's row.
/// Property, qualifier and tag definitions, users and the holder catalog are
/// always matched this way, so two acquisitions that share definitions keep
/// one row per definition. With eYxMergeCopyDuplicates, records that carry a
/// uuid (projects, definitions of jobs, programs, tasks, runs, files, ...)
/// are copied again as new rows with new uuids instead.
///
/// The whole merge runs in one transaction of the target; the source is only
/// read, through an attachment of its file to the target's connection, so the
/// merge sees what the source had committed when it began. A failure or a
/// cancel rolls the target back to its old content and removes every folder
/// the merge had created. Project and run folders beside the source database
/// are copied (never moved) into the target's project root.
///
/// Threads: a merge uses both connections for its whole run; neither handle
/// may be used by another thread meanwhile. The cancel flag may be set from
/// any thread.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/records_jobdef.h"
#include "gnr_projectdb/status.h"

#include <atomic>
#include <cstdint>
#include <vector>

/// What happens to a source record whose uuid exists in the target already.
enum EYxProjectDbMergeDuplicates {
    /// Not copied; references to it are mapped to the target's row.
    eYxMergeSkipDuplicates = 0,
    /// Copied as a new row with a new uuid (definitions are still matched).
    eYxMergeCopyDuplicates = 1,
};

/// One progress report of a running merge.
struct SYxProjectDbMergeProgress {
    const wchar_t* wszTable = L"";    ///< table being copied ("" while counting or copying folders)
    std::int64_t iRowsDone = 0;       ///< rows handled so far (copied or matched)
    std::int64_t iRowsTotal = 0;      ///< rows to handle, counted before the copy starts
    double dSecondsElapsed = 0;
    double dSecondsLeft = -1;         ///< estimate from the throughput so far; -1 while unknown
};

/// Receives progress, also from inside long statements (then with the last
/// row count). Called on the merging thread. A non-zero answer cancels.
class GNR_API IYxProjectDbMergeProgress {
public:
    virtual ~IYxProjectDbMergeProgress() = default;
    virtual int OnMergeProgress(const SYxProjectDbMergeProgress& progress) = 0;
};

struct SYxProjectDbMerge_DuplicateOptions {
    YxProjectDbHandle hSource = 0;
    YxProjectDbHandle hTarget = 0;
    EYxProjectDbMergeDuplicates eDuplicates = eYxMergeSkipDuplicates;
    bool bCopyFolders = true;                         ///< copy project and run folders
    IYxProjectDbMergeProgress* pProgress = nullptr;   ///< optional
    const std::atomic<bool>* pCancel = nullptr;       ///< optional; true cancels
};

/// What a merge did (or, as a dry run, would do) to one table.
struct SYxProjectDbMergeTableCount {
    CYxStringW wszTable;
    std::int64_t iCopied = 0;    ///< new rows in the target
    std::int64_t iMatched = 0;   ///< source rows mapped to rows the target had
};

struct SYxProjectDbMergeReport {
    std::vector<SYxProjectDbMergeTableCount> tables;   ///< tables with any rows, in copy order
    std::vector<CYxStringW> folders;                   ///< folders created in the target (absolute)
    double dSeconds = 0;
};

/// Which part of the source to merge. Empty lists merge the whole database.
/// Named runs bring their frames and every other row that belongs to them;
/// named projects bring their job definitions, programs, tasks and runs.
/// Rows that the chosen rows refer to (definitions, programs, the holder
/// catalog, ...) come along in both cases.
struct SYxProjectDbMergeScope {
    std::vector<CYxStringW> runUuids;
    std::vector<CYxStringW> projectUuids;
};

/// Merges the source into the target.
/// Returns 0 on success, with *report (when given) filled. Failures change
/// nothing in the target and remove every folder the merge created:
///   -9   a zero or unknown handle, or a source that is not a file;
///   -10  the target is read-only;
///   -13  a uuid of the scope is not in the source (nothing is merged);
///   -38, -19, -57  the versions differ (YxProjectDb_CompareVesions of source
///        and target): -38 the source is older, -19/-57 the source is newer;
///   -60  source and target are the same database file;
///   -61  cancelled (progress handler or cancel flag);
///   -62  a folder could not be copied;
///   SQLITE_ERROR (1) when the target is inside a transaction of the caller;
///   otherwise the SQLite code of the failed statement (busy: the target's
///   busy timeout ran out).
/// *report is cleared first; on failure it keeps what was counted.
GNR_API int YxProjectDb_Merge_Run(const SYxProjectDbMerge_DuplicateOptions& options,
                                  const SYxProjectDbMergeScope& scope, SYxProjectDbMergeReport* report);

/// As YxProjectDb_Merge_Run, but only counts: *report tells, per table, how
/// many rows would be copied and how many matched. Nothing is written and no
/// folder is touched. Same statuses (except -62).
GNR_API int YxProjectDb_Merge_Plan(const SYxProjectDbMerge_DuplicateOptions& options,
                                   const SYxProjectDbMergeScope& scope, SYxProjectDbMergeReport* report);

// ---- copies of one table's rows

/// A key map of one referenced table, used to re-point a reference column.
struct SYxProjectDbMergeKeyMap {
    const wchar_t* wszTable = L"";                       ///< the referenced table
    const std::vector<SYxProjectDbMap_oldToNew>* pMap = nullptr;
};

/// Copies the rows of `table` whose column `parentColumn` holds srcParent in
/// the source into the target with dstParent in that column, matched and
/// re-keyed as the merge does. References to other tables are mapped through
/// `maps` (a key missing from a given map is written as NULL); a referenced
/// row of a table without a map is matched by identity in the target, or
/// copied along when the target lacks it. An empty parentColumn (or null)
/// copies every row of the table. Folders are not copied. The new keys
/// are appended to *outMap (old -> new, matched rows included) when given.
/// Runs in a transaction of its own; the target must not be inside one.
/// Returns 0, -9 (handles, unknown table, a parent column that is not a
/// reference), -10, -60, -61, the version statuses of YxProjectDb_Merge_Run,
/// or the SQLite code; on failure nothing is written and *outMap is left as
/// it was.
GNR_API int YxProjectDb_Table_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                            const wchar_t* table, const wchar_t* parentColumn,
                                            std::int64_t srcParent, std::int64_t dstParent,
                                            const std::vector<SYxProjectDbMergeKeyMap>& maps,
                                            std::vector<SYxProjectDbMap_oldToNew>* outMap);

// The named copies below are YxProjectDb_Table_DuplicateMany on their table.
// Those with a parent copy the rows of one parent; the maps they take
// re-point the references that the comment names.

/// Every project / every project-to-tag link of the source.
GNR_API int YxProjectDb_Proj_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                           std::vector<SYxProjectDbMap_oldToNew>* outMap);
/// The tag links of project srcProj onto dstProj.
GNR_API int YxProjectDb_Projtag_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                              std::int64_t srcProj, std::int64_t dstProj);
/// The job definitions of project srcProj into dstProj.
GNR_API int YxProjectDb_Jobdef_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                             std::int64_t srcProj, std::int64_t dstProj,
                                             std::vector<SYxProjectDbMap_oldToNew>* outMap);
/// The companions of job definition srcDef onto dstDef.
GNR_API int YxProjectDb_Jobdeftag_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                                std::int64_t srcDef, std::int64_t dstDef);
GNR_API int YxProjectDb_TaskListjobdef_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                                     std::int64_t srcDef, std::int64_t dstDef);
GNR_API int YxProjectDb_Toolbarjobdef_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                                    std::int64_t srcDef, std::int64_t dstDef);
/// The programs of job definition srcDef onto dstDef.
GNR_API int YxProjectDb_Jobprogram_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                                 std::int64_t srcDef, std::int64_t dstDef,
                                                 std::vector<SYxProjectDbMap_oldToNew>* outMap);
/// The tasks of program srcProgram onto dstProgram (parent tasks mapped among them).
GNR_API int YxProjectDb_Jobtask_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                              std::int64_t srcProgram, std::int64_t dstProgram,
                                              std::vector<SYxProjectDbMap_oldToNew>* outMap);
/// One run with everything that belongs to it (frames, files, attributes,
/// objects, statistics, its folder when asked), into project dstProj (0: the
/// run's own project, matched or copied). *newKey receives the run's key in
/// the target. -13 when the source has no run srcRun.
GNR_API int YxProjectDb_Jobrun_DuplicateOne(const SYxProjectDbMerge_DuplicateOptions& options,
                                            std::int64_t srcRun, std::int64_t dstProj, std::int64_t* newKey);
/// The files of run srcRun onto dstRun.
GNR_API int YxProjectDb_File_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                           std::int64_t srcRun, std::int64_t dstRun,
                                           std::vector<SYxProjectDbMap_oldToNew>* outMap);
/// Every plane description of the source (matched by name and components).
GNR_API int YxProjectDb_PlaneInfo_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                                std::vector<SYxProjectDbMap_oldToNew>* outMap);
/// The frames of run srcRun onto dstRun; mapA re-points their tasks, mapB their files.
GNR_API int YxProjectDb_Frame_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                            std::int64_t srcRun, std::int64_t dstRun,
                                            const std::vector<SYxProjectDbMap_oldToNew>& mapA,
                                            const std::vector<SYxProjectDbMap_oldToNew>& mapB);
/// The frame properties of run srcRun onto dstRun. The trigger
/// framepropConstraitTrigger is dropped for the bulk copy and re-created.
GNR_API int YxProjectDb_Frameprop_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                                std::int64_t srcRun, std::int64_t dstRun);
/// The rows of a per-frame or per-run table (frametag, framequal, loopindex,
/// runloop, frameplateinfo, framewellinfo, frameslideinfo, plateinfo,
/// wellinfo, slideinfo, binlayer, binobj, binobjprop, binobjqual, trace,
/// traceprop, tracequal, assayrun, jobrunprop, jobruntag, jobrunqual, the run
/// statistics, ...) of run srcRun onto dstRun; other references by identity.
GNR_API int YxProjectDb_RunTable_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options,
                                               const wchar_t* table, std::int64_t srcRun, std::int64_t dstRun);
/// The deposits / upload requests of the source (all rows).
GNR_API int YxProjectDb_Deposit_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options);
GNR_API int YxProjectDb_toupload_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options);
