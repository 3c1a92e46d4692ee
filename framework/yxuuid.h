// Uuid generation for row identities. Thread-safe.
#pragma once

#include "framework/yxstring.h"

#include <cstdint>

struct SYxUuid {
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::uint8_t data4[8] = {};
};

// A new random (version 4) uuid.
SYxUuid YxUuid_Create();
