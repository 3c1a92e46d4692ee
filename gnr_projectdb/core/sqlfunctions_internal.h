// Registration groups of the SQL functions, one per source file. Each
// registers its functions on the connection and ignores SQLite's answers
// (a registration can only fail for a null connection or out of memory).
#pragma once

struct sqlite3;

// Texts of the errors that the functions raise; the failing statement
// reports them as its error message.
#define YX_SQLFN_ERR_COUNT "Wrong parameter count"
#define YX_SQLFN_ERR_TYPE "Wrong parameter type"

// uuid, jdnnow, printjdn, bitwiseand, bitsetmasked
void YxSqlFn_RegisterScalars(sqlite3* db);
// bitwiseor, count_ret_null, count_str, double_sum
void YxSqlFn_RegisterCountAggregates(sqlite3* db);
// stdev, variance, stderror_of_mean, coeff_of_var
void YxSqlFn_RegisterSpreadAggregates(sqlite3* db);
// mode, median, lower_quartile, upper_quartile
void YxSqlFn_RegisterOrderAggregates(sqlite3* db);
// wcs_collation
void YxSqlFn_RegisterCollation(sqlite3* db);
