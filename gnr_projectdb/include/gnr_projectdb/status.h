// Status codes of the library. Operations that return int return 0 for
// success, one of the negative codes below for a failure of the library, or
// otherwise the SQLite result code of the failed statement.
#pragma once

#include <cstdint>

// A database handle names one open connection in the registry; 0 never does.
typedef std::uint64_t YxProjectDbHandle;

enum EYxProjectDbStatus {
    YXPDB_OK = 0,
    // Empty file name, open failed, or a database newer than this library.
    YXPDB_E_GENERIC = -1,
    // Null or empty file path given to an upgrade or clean-up driver.
    YXPDB_E_PATH = -4,
    // No connection for the handle, a zero handle, or a failed statement.
    YXPDB_E_NOCONNECTION = -9,
    // The database file is read-only or could not be written to.
    YXPDB_E_READONLY = -10,
    // A worker thread could not be started or its exit code not read.
    YXPDB_E_THREAD = -11,
    // A looked-up item was not found.
    YXPDB_E_NOTFOUND = -13,
    // Version comparison: the first database is newer in the main schema.
    YXPDB_E_NEWER_MAIN = -19,
    // Version comparison: the first database is older in one version name.
    YXPDB_E_OLDER = -38,
    // Version comparison: the first database is newer in the plate or dish catalog.
    YXPDB_E_NEWER_CATALOG = -57,
    // Sample holders: bytes that are not a valid holder model or alignment
    // matrix (damaged or of an unknown format version).
    YXPDB_E_HOLDER_DATA = -70,
    // Sample holders: a name part that matches more than one holder.
    YXPDB_E_AMBIGUOUS = -71,
};
