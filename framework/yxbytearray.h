// The library's own sources include this name; the declarations are public
// and live in gnr_projectdb/bytes.h.
#pragma once

#include "gnr_projectdb/bytes.h"
