// Preparing a connection for schema upgrades.
#pragma once

struct sqlite3;

// Makes an open connection fit for running migration scripts, before any
// transaction begins: foreign keys off, legacy ALTER TABLE behaviour (a
// renamed table does not rewrite the references of other tables), and a
// writable name `version` that reaches the table `vesion` in files that
// still call it so (an in-memory attached schema with a view and a TEMP
// INSTEAD OF UPDATE trigger; nothing is stored in the file). Returns 0 or
// the SQLite status of the statement that failed.
int YxProjectDb_Upgrade_PrepareConnection(sqlite3* db);
