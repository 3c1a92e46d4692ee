/// \file
/// System utilities: Julian-day values, identifiers, names and folder names,
/// paths, and the schema export. They hold no state, take no handle and are
/// thread-safe. Null text arguments are read as empty texts, null out
/// pointers make the call do nothing (or return false); nothing throws.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"

#include <vector>

/// Calendar record (the platform's SYSTEMTIME role): month 1..12,
/// day of week 0 = Sunday .. 6 = Saturday.
struct SYxSystemTime {
    int wYear = 0;
    int wMonth = 0;
    int wDayOfWeek = 0;
    int wDay = 0;
    int wHour = 0;
    int wMinute = 0;
    int wSecond = 0;
    int wMilliseconds = 0;
};

// ---- Julian-day values (UTC, SQLite's julianday() scale)

/// Returns the current instant as a Julian-day value, equal to
/// julianday('now') to the millisecond.
GNR_API double YxProjectDb_Sys_JdnNow();
/// Fills *st with the calendar fields of the value in UTC: month 1..12,
/// day of week 0 = Sunday, milliseconds rounded. Null st: nothing happens.
GNR_API void YxProjectDb_Sys_JdnToST(double jdn, SYxSystemTime* st);
/// Returns a text for file and folder names (UTC), made of the parts asked
/// for in this order: "YYYYMMDD"; "HHMMSS", after a '_' when the date was
/// written; "mmm", after a '_' when anything was written. All flags clear
/// gives "".
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatForFile(double jdn, bool withDate, bool withTime, bool withMs);
/// Parses a date and time, read as UTC, into *jdn. Accepted, with blanks
/// around allowed:
///   "YYYY-MM-DD[( |T)HH:MM[:SS[.f...]]][Z]"  (fraction to the millisecond)
///   "YYYYMMDD[_HHMMSS[_mmm]]"                (as JdnFormatForFile writes)
/// Returns true on success; false (and *jdn untouched) for any other text or
/// an impossible date or time (month 13, February 30, 24:00, ...).
GNR_API bool YxProjectDb_Sys_JdnParse(const wchar_t* text, double* jdn);

// ---- Display formatting: local time, the user's locale (the environment's
// LC_ALL / LC_TIME / LANG; "C" when unset or unknown). Names of days and
// months come in the locale's language.

/// Short date and time: "%x %X" of the locale, e.g. "03/04/2024 02:05:06 PM".
GNR_API CYxStringW YxProjectDb_Sys_JdnFormat(double jdn);
/// Short date and short time: JdnFormatDateShort + ' ' + JdnFormatTimeShort.
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatShort(double jdn);
/// Day and month: the locale's short date without the year and its
/// separator, e.g. "03/04" (en_US), "04.03" (de_DE).
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatDateDM(double jdn);
/// Long date: weekday, day, month name, year: "Monday, 4 March 2024".
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatDateLong(double jdn);
/// Short date: the locale's date form ("%x").
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatDateShort(double jdn);
/// "HH:MM:SS.mmm", 24 hours, independent of the locale.
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatTimeHHMMSSmmm(double jdn);
/// Time: the locale's time form ("%X").
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatTimeLong(double jdn);
/// Short time: the locale's time form without the seconds ("02:05 PM").
GNR_API CYxStringW YxProjectDb_Sys_JdnFormatTimeShort(double jdn);
/// Abbreviated weekday, ", ", short date, ' ', short time: "Mon, 03/04/2024 02:05 PM".
GNR_API CYxStringW YxProjectDb_Sys_DayJdnFormatShort(double jdn);

// ---- Identifiers and names

/// Returns a new uuid as 32 lower-case hexadecimal digits, no separators.
GNR_API CYxStringW YxProjectDb_Sys_UuidAsText();
/// Returns a copy of the text with every character that is not a letter or
/// digit replaced by `replacement`: letters of any script, decimal digits and
/// combining marks stay, by Unicode's character classes whatever the locale.
GNR_API CYxStringW YxProjectDb_Sys_ReplaceNonAlnum(const wchar_t* text, wchar_t replacement);
/// Returns the name without its numbering. The name is trimmed first; with
/// withBlank, a trailing blank followed by digits is cut off ("Run 12" ->
/// "Run", "Run12" stays); without, trailing digits and then trailing white
/// space are cut ("Run12" -> "Run", "Run 12" -> "Run").
GNR_API CYxStringW YxProjectDb_Sys_GetNamePrefix(const wchar_t* name, bool withBlank);
/// Returns true when the name equals none of the existing names; uniqueName
/// is then the name. Otherwise returns false and sets uniqueName to the first
/// free numbered name: GetNamePrefix(name) followed by " 1", " 2", ... (with
/// withBlank) or "1", "2", ... (without).
/// Equality: with `compare` set, names compare ignoring case (CompareNoCase,
/// as folder names on the host's file systems do); with it clear, exactly.
/// The same equality decides whether a numbered candidate is free.
GNR_API bool YxProjectDb_Sys_IsNameUnique(const wchar_t* name, const std::vector<CYxStringW>& existing,
                                          CYxStringW& uniqueName, bool withBlank, bool compare);
/// Returns a usable folder name made from a proposed one: each of
/// / \ : * ? " < > | and each control character becomes '_'; blanks and dots
/// are trimmed at both ends; a name reserved on Windows file systems (CON,
/// PRN, AUX, NUL, COM1-9, LPT1-9, alone or before a dot, any case) gets a
/// leading '_'; an empty result is "_".
GNR_API CYxStringW YxProjectDb_Sys_CheckFolderName(const wchar_t* name);
/// Looks up a key in an id string "key1=value1;key2=value2;...". Keys match
/// ignoring case; blanks around keys and values are dropped; the first entry
/// with the key wins; an entry without '=' is skipped. Returns true and sets
/// value when found; returns false and leaves value untouched otherwise.
GNR_API bool YxProjectDb_Sys_GetValueFromIdString(const wchar_t* idString, const wchar_t* key, CYxStringW& value);

// ---- Paths

/// Returns true when the path (or its nearest existing parent) lies on a
/// network file system.
GNR_API bool YxProjectDb_Sys_IsNetworkPath(const wchar_t* path);
/// Deletes the folder with all its contents, silently. Returns 0 always,
/// also when nothing could be deleted.
GNR_API int YxProjectDb_Sys_DeleteFolder(const wchar_t* path);
/// Returns `"<storage>/<subFolder>/"`, where `<storage>` is the application's
/// storage path: $XDG_DATA_HOME/gnr when XDG_DATA_HOME is set to an absolute
/// path, otherwise $HOME/.local/share/gnr (the user database's home folder
/// when HOME is unset). An empty sub-folder gives `"<storage>/"`. Nothing is
/// created on disk.
GNR_API CYxStringW YxProjectDb_Sys_GetDefStoragePath(const wchar_t* subFolder);

// ---- Schema

/// Returns the jobs schema (version 136, its 59 tables) as an XML document.
GNR_API CYxStringW YxProjectDb_Sys_ExportSchemaAsXml();
