/// \file
/// Status codes of the library. Operations that return int return 0 for
/// success, one of the negative codes below for a failure of the library, or
/// otherwise the SQLite result code of the failed statement.
#pragma once

#include "gnr_projectdb/export.h"

#include <cstdint>

/// A database handle names one open connection in the registry; 0 never does.
typedef std::uint64_t YxProjectDbHandle;

enum EYxProjectDbStatus {
    YXPDB_OK = 0,
    /// Empty file name, open failed, or a database newer than this library.
    YXPDB_E_GENERIC = -1,
    /// Null or empty file path given to an upgrade or clean-up driver.
    YXPDB_E_PATH = -4,
    /// No connection for the handle, a zero handle, or a failed statement.
    YXPDB_E_NOCONNECTION = -9,
    /// The database file is read-only or could not be written to.
    YXPDB_E_READONLY = -10,
    /// A worker thread could not be started or its exit code not read.
    YXPDB_E_THREAD = -11,
    /// A looked-up item was not found.
    YXPDB_E_NOTFOUND = -13,
    /// Version comparison: the first database is newer in the main schema.
    YXPDB_E_NEWER_MAIN = -19,
    /// Version comparison: the first database is older in one version name.
    YXPDB_E_OLDER = -38,
    /// Version comparison: the first database is newer in the plate or dish catalog.
    YXPDB_E_NEWER_CATALOG = -57,
    /// Merge: source and target are the same database file.
    YXPDB_E_SAMEFILE = -60,
    /// Merge: cancelled through the progress handler or the cancel flag.
    YXPDB_E_CANCELLED = -61,
    /// Merge: a project or run folder could not be created or copied.
    YXPDB_E_FOLDER = -62,
    /// Sample holders: bytes that are not a valid holder model or alignment
    /// matrix (damaged or of an unknown format version).
    YXPDB_E_HOLDER_DATA = -70,
    /// Sample holders: a name part that matches more than one holder.
    YXPDB_E_AMBIGUOUS = -71,
    /// Queue: a push found the queue still full when its timeout ran out.
    YXPDB_E_QUEUE_TIMEOUT = -80,
    /// Queue: closed; it takes no more items.
    YXPDB_E_QUEUE_CLOSED = -81,
    /// Queue: cancelled, by the caller or by the stop-on-failure policy.
    YXPDB_E_QUEUE_CANCELLED = -82,
    /// Queue: a call that the queue's state does not allow (started twice,
    /// waited for from its own worker thread, ...).
    YXPDB_E_QUEUE_STATE = -83,
    /// Queue: a null argument or options that make no queue.
    YXPDB_E_QUEUE_ARGUMENT = -84,
    /// Queue: an item's work threw an exception (the item's failure status).
    YXPDB_E_QUEUE_EXCEPTION = -85,
    /// Search: the expression does not parse (the error record says where).
    YXPDB_E_SEARCH_SYNTAX = -90,
    // Pictures: an image (TIFF page or PNG bytes) that cannot be read or
    // encoded.
    YXPDB_E_IMAGE = -100,
    // Thumbnails: the frame's image file cannot be read; a failure row keeps
    // it from being tried again until the file changes.
    YXPDB_E_THUMB_SOURCE = -101,
    // Thumbnails: a null argument, or a level, plane or option out of range.
    YXPDB_E_THUMB_ARGUMENT = -102,
};

/// The symbolic name of a status: "YXPDB_OK", "YXPDB_E_NOCONNECTION" and the
/// others above for the library's own codes, "SQLITE_BUSY", "SQLITE_CANTOPEN",
/// "SQLITE_IOERR_WRITE" and their like for SQLite result codes (an extended
/// code that has no name of its own is named by its primary code). Never null:
/// a code that is neither gives "UNKNOWN_STATUS". The text is static.
GNR_API const char* YxProjectDb_StatusName(int status);
