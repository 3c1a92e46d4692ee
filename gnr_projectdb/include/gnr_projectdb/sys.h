// System utilities: Julian-day values, identifiers, names and folder names,
// paths, and the schema export. Stateless and thread-safe; no handle.
#pragma once

#include "framework/yxdatetime.h"
#include "framework/yxexport.h"
#include "framework/yxstring.h"

#include <vector>

// The current instant as a Julian-day value (UTC), equal to julianday('now').
GNR_API double YxProjectDb_Sys_JdnNow();
// Splits a Julian-day value into calendar fields (UTC; month 1..12).
GNR_API void YxProjectDb_Sys_JdnToST(double jdn, SYxSystemTime* st);
// "YYYYMMDD", "_HHMMSS", "_mmm" as asked; see the implementation comment.
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatForFile(double jdn, bool withDate, bool withTime, bool withMs);
// A new uuid as 32 lower-case hexadecimal digits.
GNR_API CYxStringW YxProjectDb_Sys_UuidAsText();
// Every character that is not a letter or digit replaced by `replacement`.
GNR_API CYxStringW YxProjectDb_Sys_ReplaceNonAlnum(const wchar_t* text, wchar_t replacement);
// The name without its numbering (see the implementation).
GNR_API CYxStringW YxProjectDb_Sys_GetNamePrefix(const wchar_t* name, bool withBlank);
// True when the name equals none of the existing names; otherwise false with
// the first free numbered name in uniqueName.
GNR_API bool YxProjectDb_Sys_IsNameUnique(const wchar_t* name, const std::vector<CYxStringW>& existing,
                                          CYxStringW& uniqueName, bool withBlank, bool compare);
// True when the path lies on a network file system.
GNR_API bool YxProjectDb_Sys_IsNetworkPath(const wchar_t* path);
// Deletes the folder with its contents; always 0.
GNR_API int YxProjectDb_Sys_DeleteFolder(const wchar_t* path);
// The application's storage path followed by the sub-folder and a '/'.
GNR_API CYxStringW YxProjectDb_Sys_GetDefStoragePath(const wchar_t* subFolder);
// The jobs schema (version 136, 59 tables) as XML.
GNR_API CYxStringW YxProjectDb_Sys_ExportSchemaAsXml();

// Display formatting (local time, the user's locale).
GNR_API CYxStringW YxProjectDb_Sys_JdnFormat(double jdn);
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatShort(double jdn);
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatDateDM(double jdn);
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatDateLong(double jdn);
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatDateShort(double jdn);
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatTimeHHMMSSmmm(double jdn);
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatTimeLong(double jdn);
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatTimeShort(double jdn);
GNR_API CYxStringW YxProjectDb_Sys_DayJdnFormatShort(double jdn);
// Parses a date/time text into a Julian-day value; false when not understood.
GNR_API bool YxProjectDb_Sys_JdnParse(const wchar_t* text, double* jdn);
// A valid folder name made from a proposed one.
GNR_API CYxStringW YxProjectDb_Sys_CheckFolderName(const wchar_t* name);
// The value of one key of an id string.
GNR_API bool YxProjectDb_Sys_GetValueFromIdString(const wchar_t* idString, const wchar_t* key, CYxStringW& value);
