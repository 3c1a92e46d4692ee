/// \file
/// Sample holder models in the jobs database: how a layout is stored in the
/// holder definition tables, the built-in catalog of holder types, and the
/// operations on the definition tables (wellplateconfiguration +
/// wellplatename, dishconfiguration + dishname, slidedef) and on the holders
/// of a run (plateinfo, wellinfo, slideinfo).
///
/// Stored form. The blob columns hold key-value trees (the framework's CBOR
/// form, yxlitevariant.h): the root group (empty name) carries "format" (the
/// format version, YX_HOLDER_FORMAT_VERSION, as text) and the values; numbers
/// are text in the shortest form that reads back to the same double,
/// independent of any locale. A shape is a group with "kind" ("rect",
/// "roundrect", "ellipse", "polygon"), "w", "h", "r" and, for polygons,
/// "points" ("x y x y ..."). Per table:
///   wellplateconfiguration  iRowCount, iColCount, iRowNaming, iColNaming, and
///                           pData: "width", "height", group "outline",
///                           "firstx", "firsty", "pitchx", "pitchy", group "well"
///   dishconfiguration,      stickerL/T/R/B; layoutelement: group "elements"
///   slidedef                with one group per element ("0", "1", ...: "name",
///                           "row", "col", "x", "y", group "shape");
///                           surroundarea: "width", "height", group "outline"
///   slidedef only           iNumCrosses, crossesL/T/R/B
/// Decoding checks everything it reads (format version, numbers, counts,
/// shapes) and returns YXPDB_E_HOLDER_DATA (-70) for bytes that do not hold a
/// valid model; it never crashes, whatever the bytes.
///
/// Identity. A holder is named by the uuid of its name row (wellplatename,
/// dishname) or of its slidedef row; catalog entries carry fixed uuids, the
/// same in every database. Its full name is company, type and model joined
/// by single blanks ("Generic 96-well plate SBS round").
///
/// Statuses: 0; -1 for an invalid argument (null pointer, unknown kind, empty
/// name); -9 when the handle has no connection; -13 when no holder matches;
/// -70 for stored bytes that do not decode; -71 for a name part that matches
/// several holders; otherwise the SQLite result code. Every value from the
/// caller is bound, never spliced into SQL. Writes of several rows run in one
/// transaction (begun here unless the caller has one open) and are wholly in
/// or wholly out. Out-arguments are left untouched on failure; sequences are
/// appended to.
///
/// Threads: the catalog is immutable and shared; database operations use a
/// handle from one thread at a time.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/holders_layout.h"
#include "gnr_projectdb/rows.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <vector>

enum { YX_HOLDER_FORMAT_VERSION = 1 };

// ---- stored form

/// Writes the layout into the configuration columns of the row (iKey and
/// wszUuid are left alone). -1 when the layout is not a valid grid.
GNR_API int YxHolder_PlateToRow(const SYxHolderLayout& layout, SYxProjectDbRow_wellplateconfiguration& row);
/// Reads a plate layout (grid built, elements named). 0 or -70.
GNR_API int YxHolder_PlateFromRow(const SYxProjectDbRow_wellplateconfiguration& row, SYxHolderLayout& layout);
GNR_API int YxHolder_DishToRow(const SYxHolderLayout& layout, SYxProjectDbRow_dishconfiguration& row);
GNR_API int YxHolder_DishFromRow(const SYxProjectDbRow_dishconfiguration& row, SYxHolderLayout& layout);
/// Writes the geometry columns of a slidedef row (sticker, layoutelement,
/// surroundarea, crosses); names, flags and references are left alone.
GNR_API int YxHolder_SlideToRow(const SYxHolderLayout& layout, SYxProjectDbRow_slidedef& row);
GNR_API int YxHolder_SlideFromRow(const SYxProjectDbRow_slidedef& row, SYxHolderLayout& layout);

// ---- holders as stored

struct SYxHolderEntry {
    EYxHolderKind eKind = eYxHolderPlate;
    std::int64_t iKey = 0;        ///< wellplatename, dishname or slidedef key
    std::int64_t iConfigKey = 0;  ///< wellplateconfiguration or dishconfiguration key (0 for slides)
    CYxStringW wszUuid;           ///< uuid of the name row (slidedef row)
    CYxStringW wszConfigUuid;     ///< uuid of the configuration row (empty for slides)
    CYxStringW wszCompany;
    CYxStringW wszType;
    CYxStringW wszModel;
    std::int32_t iUserImported = 0;
    std::int32_t iRemoved = 0;
    CYxStringW wszSlideUuid;      ///< slide frames: uuid of the slide type they hold (may be empty)
    SYxHolderLayout layout;
};

/// "company type model", single blanks, empty parts left out.
GNR_API CYxStringW YxHolder_FullName(const SYxHolderEntry& entry);

// ---- the built-in catalog

/// The catalog's version, stored as the "plate" and "dish" rows of vesion.
enum { YX_HOLDER_CATALOG_VERSION = 1 };

/// Every entry of the built-in catalog (plates, dishes, slides), with fixed
/// uuids, iUserImported 0, keys 0. Built once; never changes.
GNR_API const std::vector<SYxHolderEntry>& YxHolder_Catalog();

/// Brings the catalog of one kind in the open database up to date, as the
/// content steps of YxProjectDb_Db_Jobs_CreateWithUpgrades do (7 plates, 2
/// dishes, 4 slides). When the database's catalog version is older than
/// YX_HOLDER_CATALOG_VERSION (a missing row counts as 0): entries missing in
/// the database are inserted, entries whose stored values differ are updated
/// in place (same rows and keys), and catalog rows of the database that the
/// catalog no longer lists get iRemoved 1 (they are never deleted: runs refer
/// to them). Rows with iUserImported set are never touched. The "plate"
/// version row belongs to the plates; the "dish" row to dishes and slides
/// together, written by the slide step, so the dish step must run first. A
/// database at this version or newer is left alone. One transaction.
GNR_API int YxProjectDb_Holder_UpdateCatalog(YxProjectDbHandle handle, EYxHolderKind kind);
/// All three kinds in the order plates, dishes, slides.
GNR_API int YxProjectDb_Holder_UpdateCatalogs(YxProjectDbHandle handle);

// ---- definition tables

/// The holder with that uuid (of its name row or slidedef row), any kind.
/// -13 when none; -70 when its stored geometry does not decode.
GNR_API int YxProjectDb_Holder_GetByUuid(YxProjectDbHandle handle, const wchar_t* uuid, SYxHolderEntry& entry);
/// The holder of a kind with that company, type and model (compared without
/// regard to case, as the columns' collation says).
GNR_API int YxProjectDb_Holder_GetByName(YxProjectDbHandle handle, EYxHolderKind kind, const wchar_t* company,
                                         const wchar_t* type, const wchar_t* model, SYxHolderEntry& entry);
/// The holder with that name-row key of a kind.
GNR_API int YxProjectDb_Holder_GetByKey(YxProjectDbHandle handle, EYxHolderKind kind, std::int64_t key,
                                        SYxHolderEntry& entry);
/// Appends every holder (plates, dishes, slides, each by full name), without
/// the removed ones unless asked. A row whose geometry does not decode is
/// skipped and the call returns -70 after listing the others.
GNR_API int YxProjectDb_Holder_GetAll(YxProjectDbHandle handle, bool includeRemoved,
                                      std::vector<SYxHolderEntry>& entries);
/// Finds a holder by a text: its uuid, its full name (without regard to
/// case), or any part of the full name that only one holder contains (removed
/// holders are not searched). -13 none, -71 several.
GNR_API int YxProjectDb_Holder_Find(YxProjectDbHandle handle, const wchar_t* text, SYxHolderEntry& entry);
/// The same rule over a list (the catalog, for instance), removed entries
/// skipped: -1 for an empty text, -13 none, -71 several.
GNR_API int YxHolder_FindIn(const std::vector<SYxHolderEntry>& entries, const wchar_t* text, SYxHolderEntry& entry);
/// Inserts a user-defined holder (iUserImported 1, iRemoved 0): its
/// configuration row and name row, or its slidedef row, in one transaction.
/// An empty wszUuid (and wszConfigUuid) gets a new uuid, an empty company,
/// type or model "Unknown". The keys, uuids and names are written back into
/// the entry. -1 for an invalid layout.
GNR_API int YxProjectDb_Holder_InsertUser(YxProjectDbHandle handle, SYxHolderEntry& entry);
/// Sets or clears iRemoved of the holder's name row (slidedef row). A key
/// without row: 0, nothing changed.
GNR_API int YxProjectDb_Holder_MarkRemoved(YxProjectDbHandle handle, EYxHolderKind kind, std::int64_t key,
                                           bool removed = true);

// ---- holders of a run

/// A plate of a run: its plateinfo row, the decoded alignment (identity when
/// none is stored) and its holder.
struct SYxHolderRunPlate {
    SYxProjectDbRow_plateinfo row;
    SYxHolderAlignment alignment;
    bool bHasAlignment = false;
    SYxHolderEntry holder;
};

/// Records a plate for a run: one plateinfo row (with the alignment matrix)
/// and one wellinfo row per element index given (iWellIndex the element's
/// index, wszName its name), in one transaction. wellKeys (when given)
/// receives the wellinfo keys in the order of the indexes. -1 for an element
/// index outside the layout.
GNR_API int YxProjectDb_Holder_AddRunPlate(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                           const SYxHolderEntry& plate, const wchar_t* name, const wchar_t* barcode,
                                           const SYxHolderAlignment& alignment, const std::vector<int>& wells,
                                           std::int64_t* plateinfoKey, std::vector<std::int64_t>* wellKeys);
/// Records a slide for a run (one slideinfo row with the alignment matrix).
GNR_API int YxProjectDb_Holder_AddRunSlide(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                           const SYxHolderEntry& slide, const wchar_t* name, const wchar_t* barcode,
                                           const SYxHolderAlignment& alignment, std::int64_t* slideinfoKey);
/// The plates of a run with their holders; -70 when a stored matrix or
/// geometry does not decode (the others are still appended).
GNR_API int YxProjectDb_Holder_GetRunPlates(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                            std::vector<SYxHolderRunPlate>& plates);
/// The wells recorded for a run (wellinfo), by iWellIndex.
GNR_API int YxProjectDb_Holder_GetRunWells(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                           std::vector<SYxProjectDbRow_wellinfo>& wells);
/// The slides recorded for a run (slideinfo).
GNR_API int YxProjectDb_Holder_GetRunSlides(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                            std::vector<SYxProjectDbRow_slideinfo>& slides);
/// Names of the wells that hold at least one frame of the run (through
/// framewellinfo), each once.
GNR_API int YxProjectDb_Holder_GetRunFrameWells(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                std::vector<CYxStringW>& names);
