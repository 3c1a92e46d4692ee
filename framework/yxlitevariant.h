// The key-value tree of the framework: named groups holding named text and
// byte entries (and further groups), serialised as one CBOR map.
//
// Serialised form: every group is a CBOR map with text keys whose values are
// text strings (text entries), byte strings (byte entries) or maps (nested
// groups). The tree itself is the top-level map; the root group that callers
// store their entries in is its group of empty name. Lengths are definite and
// names unique within a group. An empty byte array stands for the empty tree.
//
// CYxLiteVariantW writes a tree (from scratch or starting from existing
// bytes); CYxLiteVariantR reads one. Both keep a current group: the top level
// at first, then whatever OpenGroup/EnterGroup entered.
//
// Loading checks the bytes completely before anything is decoded: bytes that
// are not such a tree (random, truncated, trailing data, other CBOR types,
// nesting deeper than YX_LITEVARIANT_MAX_DEPTH) give YXLV_E_FORMAT and leave
// an empty tree; they never crash.
//
// Thread safety: both classes are plain values. Distinct objects may be used
// from different threads; one object is used by one thread at a time.
#pragma once

#include "framework/yxbytearray.h"
#include "framework/yxstring.h"

#include <memory>
#include <vector>

// Status codes of the key-value tree functions.
enum EYxLiteVariantStatus {
    YXLV_OK = 0,
    YXLV_E_FORMAT = -1,    // the bytes are not a key-value tree
    YXLV_E_NOTFOUND = -2,  // no entry or group of that name
    YXLV_E_TYPE = -3,      // the entry exists with another kind
    YXLV_E_STATE = -4,     // null name, or a group closed that was not open
};

enum EYxLiteVariantKind { eYxLvNone = 0, eYxLvText = 1, eYxLvBytes = 2, eYxLvGroup = 3 };

enum { YX_LITEVARIANT_MAX_DEPTH = 32 };

struct SYxLiteVariantData;  // the decoded tree (Qt CBOR values), private

class CYxLiteVariantW {
public:
    CYxLiteVariantW();
    ~CYxLiteVariantW();
    CYxLiteVariantW(const CYxLiteVariantW& other);
    CYxLiteVariantW& operator=(const CYxLiteVariantW& other);

    // Starts over from an existing serialised tree (to change some entries of
    // it). YXLV_E_FORMAT leaves an empty tree. Open groups are dropped.
    int Load(const void* data, std::size_t size);
    int Load(const CYxByteArray& data) { return Load(data.GetData(), data.GetSize()); }

    // Enters the group of that name inside the current one, creating it when
    // missing. A text or byte entry of that name gives YXLV_E_TYPE.
    int OpenGroup(const wchar_t* name);
    // Returns to the parent group; YXLV_E_STATE at the top level.
    int CloseGroup();
    int Depth() const;

    // Writes an entry into the current group, replacing one of that name
    // (of any kind) in place; new names go to the end.
    int AddText(const wchar_t* name, const wchar_t* value);
    int AddBytes(const wchar_t* name, const void* data, std::size_t size);
    int AddBytes(const wchar_t* name, const CYxByteArray& value) {
        return AddBytes(name, value.GetData(), value.GetSize());
    }
    // Removes an entry or group of the current group; YXLV_E_NOTFOUND if none.
    int Remove(const wchar_t* name);

    // Serialises the whole tree; groups still open are included as they are.
    int GetData(CYxByteArray& out) const;

private:
    std::unique_ptr<SYxLiteVariantData> m_d;
};

class CYxLiteVariantR {
public:
    CYxLiteVariantR();
    // Loads the bytes; Status() tells the outcome.
    explicit CYxLiteVariantR(const CYxByteArray& data);
    CYxLiteVariantR(const void* data, std::size_t size);
    ~CYxLiteVariantR();
    CYxLiteVariantR(const CYxLiteVariantR& other);
    CYxLiteVariantR& operator=(const CYxLiteVariantR& other);

    // 0, or YXLV_E_FORMAT (and an empty tree). Returns to the top level.
    int Load(const void* data, std::size_t size);
    int Load(const CYxByteArray& data) { return Load(data.GetData(), data.GetSize()); }
    // The result of the last Load.
    int Status() const;

    // Enters a group of the current group: YXLV_E_NOTFOUND when there is no
    // entry of that name, YXLV_E_TYPE when it is not a group.
    int EnterGroup(const wchar_t* name);
    // Returns to the parent group; YXLV_E_STATE at the top level.
    int LeaveGroup();
    int Depth() const;

    // Entries of the current group.
    EYxLiteVariantKind GetKind(const wchar_t* name) const;
    bool Has(const wchar_t* name) const { return GetKind(name) != eYxLvNone; }
    // 0, YXLV_E_NOTFOUND, or YXLV_E_TYPE; the out-argument is untouched
    // unless 0 is returned.
    int GetText(const wchar_t* name, CYxStringW& value) const;
    int GetBytes(const wchar_t* name, CYxByteArray& value) const;
    // Names of the entries and groups of the current group, in stored order.
    std::vector<CYxStringW> GetNames() const;
    int GetCount() const;

private:
    std::unique_ptr<SYxLiteVariantData> m_d;
};
