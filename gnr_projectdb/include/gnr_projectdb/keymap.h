/// \file
/// Key maps: temporary tables that map the keys of one set of rows to the
/// keys of another (old key -> new key), for statements that re-key rows by
/// joining against them: the merge of two databases, the re-keying of the
/// tasks of a new program version.
///
/// A key map is a table of the connection's temporary database,
///   CREATE TEMP TABLE lu_<32 hex digits> (iKey INTEGER PRIMARY KEY, iValue INTEGER)
/// whose name is made here and handed back; iKey is the old key, iValue the
/// new one. It lives until it is dropped or the connection closes, and only
/// that connection sees it. Writing a key map touches only the temporary
/// database, so it never waits for other processes.
///
/// Every function that takes a name accepts only names of that form (see
/// YxProjectDb_KeyMap_IsName): any other name returns -13 and runs nothing,
/// so a name can be put into SQL text safely. Keys are always bound.
///
/// Statuses: 0 on success, -9 when the handle has no connection, -13 for a
/// name that is not a key map name or a key that is not in the map (see each
/// function), otherwise the SQLite result code.
///
/// Threads: a handle is used by one thread at a time.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <map>
#include <vector>

/// True when the text is a key map name: "lu_" and 32 lower-case hex digits.
GNR_API bool YxProjectDb_KeyMap_IsName(const wchar_t* name);

/// Creates an empty key map; *name receives its name (empty on failure).
GNR_API int YxProjectDb_KeyMap_Create(YxProjectDbHandle handle, CYxStringW& name);
/// Maps oldKey to newKey, replacing an earlier entry of oldKey.
GNR_API int YxProjectDb_KeyMap_Insert(YxProjectDbHandle handle, const wchar_t* name, std::int64_t oldKey,
                                      std::int64_t newKey);
/// Enters every pair (first = old key, second = new key) in one transaction
/// (or in the caller's transaction when one is open). On failure none of
/// the pairs remain when the transaction was this call's own. Empty: 0.
GNR_API int YxProjectDb_KeyMap_InsertMany(YxProjectDbHandle handle, const wchar_t* name,
                                          const std::map<std::int64_t, std::int64_t>& pairs);
/// The new key of oldKey into *newKey. Not in the map: -13, *newKey untouched.
GNR_API int YxProjectDb_KeyMap_Lookup(YxProjectDbHandle handle, const wchar_t* name, std::int64_t oldKey,
                                      std::int64_t* newKey);
/// Adds every entry of the map to pairs (entries of pairs with the same old
/// key are replaced).
GNR_API int YxProjectDb_KeyMap_GetAll(YxProjectDbHandle handle, const wchar_t* name,
                                      std::map<std::int64_t, std::int64_t>& pairs);
/// Number of entries into *count (untouched on failure).
GNR_API int YxProjectDb_KeyMap_Count(YxProjectDbHandle handle, const wchar_t* name, std::int64_t* count);
/// Drops the key map. A map that does not exist (any more): 0.
GNR_API int YxProjectDb_KeyMap_Drop(YxProjectDbHandle handle, const wchar_t* name);

/// A key map that is dropped when the object goes out of scope. Status()
/// tells whether the creation succeeded; Name() is empty when it did not.
class GNR_API CYxProjectDbKeyMap {
public:
    explicit CYxProjectDbKeyMap(YxProjectDbHandle handle);
    ~CYxProjectDbKeyMap();
    CYxProjectDbKeyMap(const CYxProjectDbKeyMap&) = delete;
    CYxProjectDbKeyMap& operator=(const CYxProjectDbKeyMap&) = delete;

    int Status() const { return m_status; }
    const CYxStringW& Name() const { return m_name; }
    int Insert(std::int64_t oldKey, std::int64_t newKey);
    int InsertMany(const std::map<std::int64_t, std::int64_t>& pairs);
    int Lookup(std::int64_t oldKey, std::int64_t* newKey) const;
    /// Drops the map now (the destructor then does nothing); its status.
    int Drop();

private:
    YxProjectDbHandle m_handle;
    CYxStringW m_name;
    int m_status;
};
