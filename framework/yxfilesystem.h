// The one file-system module. Every path that reaches the operating system
// passes YxFs_Native first, which turns the backslashes of stored relative
// names into '/'. Functions are stateless and thread-safe (the file system
// itself is of course shared).
#pragma once

#include "framework/yxstring.h"

#include <cstdint>

// Separator conversion: every '\' becomes '/'.
CYxStringW YxFs_Native(const wchar_t* path);
// UTF-8 form of the native path, for system calls.
std::string YxFs_NativeUtf8(const wchar_t* path);

bool YxFs_Exists(const wchar_t* path);
bool YxFs_IsDirectory(const wchar_t* path);
// True when the folder exists and holds no entry.
bool YxFs_IsDirectoryEmpty(const wchar_t* path);
// The read-only attribute: the file exists and has no write permission bit.
bool YxFs_IsReadOnly(const wchar_t* path);
// True when the path (or its nearest existing parent) lies on a network file
// system: NFS, SMB/CIFS/SMB2, AFS, Coda, 9P or Ceph.
bool YxFs_IsNetworkPath(const wchar_t* path);
// Creates the folder with every missing parent. 0 on success (also when it
// exists already), -1 on failure.
int YxFs_CreateDirectories(const wchar_t* path);
// File size in bytes (YX_GetFileSizeFromName); 0 when the file is missing.
std::uint64_t YX_GetFileSizeFromName(const wchar_t* path);
// The first free sibling name of an existing path: "Name (2)", "Name (3)", ...
// beside it. Returns false when no free name was found.
bool YxFs_FreeSiblingName(const wchar_t* path, CYxStringW& freePath);
// Deletes a file or a folder with all its contents. 0 on success, -1 on failure.
int YxFs_DeleteWithContents(const wchar_t* path);
// Copies a folder with everything in it to dst, which must not exist yet
// (its parent must). Files are copied, never moved. 0 on success, -1 on
// failure (what was copied stays; the caller removes dst).
int YxFs_CopyTree(const wchar_t* src, const wchar_t* dst);
// Ensures exactly one trailing '/' (or '\' when the path already uses it).
CYxStringW YxFs_AddTrailingSeparator(const wchar_t* path);
