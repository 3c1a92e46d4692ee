// Small helpers for the database-file tests.
#pragma once

#include "framework/yxstring.h"
#include "test_query.h"

#include <sqlite3.h>

#include <string>
#include <vector>

