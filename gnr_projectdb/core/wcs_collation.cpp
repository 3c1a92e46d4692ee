// wcs_collation: the natural text order (YxNaturalCompare) as an SQLite
// collation. SQLite hands the collation the texts in the encoding it was
// registered for, so it is registered for UTF-16 in native byte order, for
// aligned UTF-16, and for UTF-8: whatever the database encoding, SQLite
// finds a version without converting. Both forms are decoded to code points
// (invalid sequences become U+FFFD) before they are compared.
#include "sqlfunctions_internal.h"

#include "framework/yxnaturalcompare.h"
#include "framework/yxutf8.h"

#include <sqlite3.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace {

constexpr wchar_t kReplacement = 0xFFFD;

// Decodes native-order UTF-16 of `bytes` bytes (an odd last byte is
// ignored). The pointer need not be aligned.
void DecodeUtf16(const void* data, int bytes, std::wstring& out) {
    out.clear();
    const unsigned char* p = static_cast<const unsigned char*>(data);
    const std::size_t units = bytes > 0 && p ? static_cast<std::size_t>(bytes) / 2 : 0;
    auto unitAt = [p](std::size_t i) {
        std::uint16_t u;
        std::memcpy(&u, p + 2 * i, 2);
        return u;
    };
    out.reserve(units);
    for (std::size_t i = 0; i < units; ++i) {
        const std::uint16_t u = unitAt(i);
        if (u >= 0xD800 && u <= 0xDBFF && i + 1 < units) {
            const std::uint16_t l = unitAt(i + 1);
            if (l >= 0xDC00 && l <= 0xDFFF) {
                out += static_cast<wchar_t>(0x10000 + ((u - 0xD800) << 10) + (l - 0xDC00));
                ++i;
                continue;
            }
        }
        out += (u >= 0xD800 && u <= 0xDFFF) ? kReplacement : static_cast<wchar_t>(u);
    }
}

// Each thread keeps its two decode buffers, so a sort does not allocate
// per comparison.
struct SDecodeBuffers {
    std::wstring a, b;
};

SDecodeBuffers& Buffers() {
    thread_local SDecodeBuffers buffers;
    return buffers;
}

int CompareUtf16(void*, int n1, const void* p1, int n2, const void* p2) {
    SDecodeBuffers& buf = Buffers();
    DecodeUtf16(p1, n1, buf.a);
    DecodeUtf16(p2, n2, buf.b);
    return YxNaturalCompareN(buf.a.data(), buf.a.size(), buf.b.data(), buf.b.size());
}

int CompareUtf8(void*, int n1, const void* p1, int n2, const void* p2) {
    SDecodeBuffers& buf = Buffers();
    buf.a = YxWideFromUtf8(static_cast<const char*>(p1), n1 > 0 && p1 ? static_cast<std::size_t>(n1) : 0);
    buf.b = YxWideFromUtf8(static_cast<const char*>(p2), n2 > 0 && p2 ? static_cast<std::size_t>(n2) : 0);
    return YxNaturalCompareN(buf.a.data(), buf.a.size(), buf.b.data(), buf.b.size());
}

}  // namespace

void YxSqlFn_RegisterCollation(sqlite3* db) {
    sqlite3_create_collation_v2(db, "wcs_collation", SQLITE_UTF16, nullptr, CompareUtf16, nullptr);
    sqlite3_create_collation_v2(db, "wcs_collation", SQLITE_UTF16_ALIGNED, nullptr, CompareUtf16, nullptr);
    sqlite3_create_collation_v2(db, "wcs_collation", SQLITE_UTF8, nullptr, CompareUtf8, nullptr);
}
