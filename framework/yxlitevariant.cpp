#include "framework/yxlitevariant.h"

#include "framework/yxutf8.h"

#include <QByteArray>
#include <QCborMap>
#include <QCborValue>
#include <QSet>
#include <QString>

#include <cstdint>
#include <utility>

struct SYxLiteVariantData {
    QCborMap top;
    // Open groups, outermost first: the name in the parent and a working copy
    // (the writer puts the copy back on close; the reader only reads it).
    std::vector<std::pair<QString, QCborMap>> open;
    int status = YXLV_OK;

    QCborMap& Current() { return open.empty() ? top : open.back().second; }
    const QCborMap& Current() const { return open.empty() ? top : open.back().second; }
    void Clear() {
        top = QCborMap();
        open.clear();
    }
};

namespace {

QString ToQString(const wchar_t* s) {
    const std::string u = YxUtf8FromWide(std::wstring_view(s ? s : L""));
    return QString::fromUtf8(u.data(), static_cast<int>(u.size()));
}

CYxStringW FromQString(const QString& s) {
    const QByteArray u = s.toUtf8();
    return CYxStringW(YxWideFromUtf8(u.constData(), static_cast<std::size_t>(u.size())));
}

// ---- structural check of the raw bytes, before Qt decodes anything

struct SScan {
    const std::uint8_t* p;
    std::size_t n;
    std::size_t pos;
};

// Reads an item head; false for reserved or indefinite lengths and for a
// head that runs past the end.
bool ReadHead(SScan& s, int& major, std::uint64_t& value) {
    if (s.pos >= s.n) return false;
    const std::uint8_t ib = s.p[s.pos++];
    major = ib >> 5;
    const int ai = ib & 0x1F;
    if (ai < 24) {
        value = static_cast<std::uint64_t>(ai);
        return true;
    }
    if (ai > 27) return false;
    const std::size_t bytes = std::size_t{1} << (ai - 24);
    if (s.n - s.pos < bytes) return false;
    value = 0;
    for (std::size_t i = 0; i < bytes; ++i) value = (value << 8) | s.p[s.pos++];
    return true;
}

bool SkipPayload(SScan& s, std::uint64_t length) {
    if (length > s.n - s.pos) return false;
    s.pos += static_cast<std::size_t>(length);
    return true;
}

// A group: a map of text keys to text, bytes or groups.
bool ScanGroup(SScan& s, std::uint64_t pairs, int depth) {
    if (depth > YX_LITEVARIANT_MAX_DEPTH) return false;
    for (std::uint64_t i = 0; i < pairs; ++i) {
        int major = 0;
        std::uint64_t v = 0;
        if (!ReadHead(s, major, v) || major != 3 || !SkipPayload(s, v)) return false;
        if (!ReadHead(s, major, v)) return false;
        if (major == 2 || major == 3) {
            if (!SkipPayload(s, v)) return false;
        } else if (major == 5) {
            if (!ScanGroup(s, v, depth + 1)) return false;
        } else {
            return false;
        }
    }
    return true;
}

bool ScanTree(const std::uint8_t* p, std::size_t n) {
    SScan s{p, n, 0};
    int major = 0;
    std::uint64_t pairs = 0;
    if (!ReadHead(s, major, pairs) || major != 5) return false;
    return ScanGroup(s, pairs, 0) && s.pos == n;
}

// ---- check of the decoded values (UTF-8 validity is Qt's, names unique)

bool CheckGroup(const QCborMap& map) {
    QSet<QString> names;
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        const QCborValue key = it.key();
        if (!key.isString()) return false;
        const QString name = key.toString();
        if (names.contains(name)) return false;
        names.insert(name);
        const QCborValue value = it.value();
        if (value.isMap()) {
            if (!CheckGroup(value.toMap())) return false;
        } else if (!value.isString() && !value.isByteArray()) {
            return false;
        }
    }
    return true;
}

int Decode(const void* data, std::size_t size, QCborMap& out) {
    out = QCborMap();
    if (size == 0) return YXLV_OK;
    if (!data) return YXLV_E_FORMAT;
    const auto* p = static_cast<const std::uint8_t*>(data);
    if (size > static_cast<std::size_t>(INT32_MAX) || !ScanTree(p, size)) return YXLV_E_FORMAT;
    const QByteArray bytes(reinterpret_cast<const char*>(p), static_cast<int>(size));
    QCborParserError error;
    const QCborValue value = QCborValue::fromCbor(bytes, &error);
    if (error.error != QCborError::NoError || !value.isMap()) return YXLV_E_FORMAT;
    const QCborMap map = value.toMap();
    if (!CheckGroup(map)) return YXLV_E_FORMAT;
    out = map;
    return YXLV_OK;
}

EYxLiteVariantKind KindOf(const QCborValue& v) {
    if (v.isString()) return eYxLvText;
    if (v.isByteArray()) return eYxLvBytes;
    if (v.isMap()) return eYxLvGroup;
    return eYxLvNone;
}

}  // namespace

// ------------------------------------------------------------------ writer

CYxLiteVariantW::CYxLiteVariantW() : m_d(std::make_unique<SYxLiteVariantData>()) {}
CYxLiteVariantW::~CYxLiteVariantW() = default;
CYxLiteVariantW::CYxLiteVariantW(const CYxLiteVariantW& other)
    : m_d(std::make_unique<SYxLiteVariantData>(*other.m_d)) {}
CYxLiteVariantW& CYxLiteVariantW::operator=(const CYxLiteVariantW& other) {
    if (this != &other) *m_d = *other.m_d;
    return *this;
}

int CYxLiteVariantW::Load(const void* data, std::size_t size) {
    m_d->Clear();
    m_d->status = Decode(data, size, m_d->top);
    return m_d->status;
}

int CYxLiteVariantW::OpenGroup(const wchar_t* name) {
    if (!name) return YXLV_E_STATE;
    if (Depth() >= YX_LITEVARIANT_MAX_DEPTH) return YXLV_E_STATE;
    const QString key = ToQString(name);
    const QCborValue existing = m_d->Current().value(key);
    if (!existing.isUndefined() && !existing.isMap()) return YXLV_E_TYPE;
    m_d->open.emplace_back(key, existing.isMap() ? existing.toMap() : QCborMap());
    return YXLV_OK;
}

int CYxLiteVariantW::CloseGroup() {
    if (m_d->open.empty()) return YXLV_E_STATE;
    std::pair<QString, QCborMap> group = std::move(m_d->open.back());
    m_d->open.pop_back();
    m_d->Current().insert(group.first, group.second);
    return YXLV_OK;
}

int CYxLiteVariantW::Depth() const { return static_cast<int>(m_d->open.size()); }

int CYxLiteVariantW::AddText(const wchar_t* name, const wchar_t* value) {
    if (!name) return YXLV_E_STATE;
    m_d->Current().insert(ToQString(name), ToQString(value));
    return YXLV_OK;
}

int CYxLiteVariantW::AddBytes(const wchar_t* name, const void* data, std::size_t size) {
    if (!name || size > static_cast<std::size_t>(INT32_MAX)) return YXLV_E_STATE;
    const QByteArray bytes = data && size ? QByteArray(static_cast<const char*>(data), static_cast<int>(size))
                                          : QByteArray();
    m_d->Current().insert(ToQString(name), bytes);
    return YXLV_OK;
}

int CYxLiteVariantW::Remove(const wchar_t* name) {
    if (!name) return YXLV_E_STATE;
    const QString key = ToQString(name);
    if (!m_d->Current().contains(key)) return YXLV_E_NOTFOUND;
    m_d->Current().remove(key);
    return YXLV_OK;
}

int CYxLiteVariantW::GetData(CYxByteArray& out) const {
    // Fold the open groups into copies of their parents, innermost first.
    QCborMap inner;
    for (std::size_t i = m_d->open.size(); i-- > 0;) {
        QCborMap group = m_d->open[i].second;
        if (i + 1 < m_d->open.size()) group.insert(m_d->open[i + 1].first, inner);
        inner = group;
    }
    QCborMap top = m_d->top;
    if (!m_d->open.empty()) top.insert(m_d->open.front().first, inner);
    const QByteArray bytes = QCborValue(top).toCbor();
    out.SetData(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return YXLV_OK;
}

// ------------------------------------------------------------------ reader

CYxLiteVariantR::CYxLiteVariantR() : m_d(std::make_unique<SYxLiteVariantData>()) {}
CYxLiteVariantR::CYxLiteVariantR(const CYxByteArray& data) : CYxLiteVariantR() { Load(data); }
CYxLiteVariantR::CYxLiteVariantR(const void* data, std::size_t size) : CYxLiteVariantR() { Load(data, size); }
CYxLiteVariantR::~CYxLiteVariantR() = default;
CYxLiteVariantR::CYxLiteVariantR(const CYxLiteVariantR& other)
    : m_d(std::make_unique<SYxLiteVariantData>(*other.m_d)) {}
CYxLiteVariantR& CYxLiteVariantR::operator=(const CYxLiteVariantR& other) {
    if (this != &other) *m_d = *other.m_d;
    return *this;
}

int CYxLiteVariantR::Load(const void* data, std::size_t size) {
    m_d->Clear();
    m_d->status = Decode(data, size, m_d->top);
    return m_d->status;
}

int CYxLiteVariantR::Status() const { return m_d->status; }

int CYxLiteVariantR::EnterGroup(const wchar_t* name) {
    if (!name) return YXLV_E_STATE;
    const QString key = ToQString(name);
    const QCborValue v = m_d->Current().value(key);
    if (v.isUndefined()) return YXLV_E_NOTFOUND;
    if (!v.isMap()) return YXLV_E_TYPE;
    m_d->open.emplace_back(key, v.toMap());
    return YXLV_OK;
}

int CYxLiteVariantR::LeaveGroup() {
    if (m_d->open.empty()) return YXLV_E_STATE;
    m_d->open.pop_back();
    return YXLV_OK;
}

int CYxLiteVariantR::Depth() const { return static_cast<int>(m_d->open.size()); }

EYxLiteVariantKind CYxLiteVariantR::GetKind(const wchar_t* name) const {
    if (!name) return eYxLvNone;
    return KindOf(m_d->Current().value(ToQString(name)));
}

int CYxLiteVariantR::GetText(const wchar_t* name, CYxStringW& value) const {
    if (!name) return YXLV_E_STATE;
    const QCborValue v = m_d->Current().value(ToQString(name));
    if (v.isUndefined()) return YXLV_E_NOTFOUND;
    if (!v.isString()) return YXLV_E_TYPE;
    value = FromQString(v.toString());
    return YXLV_OK;
}

int CYxLiteVariantR::GetBytes(const wchar_t* name, CYxByteArray& value) const {
    if (!name) return YXLV_E_STATE;
    const QCborValue v = m_d->Current().value(ToQString(name));
    if (v.isUndefined()) return YXLV_E_NOTFOUND;
    if (!v.isByteArray()) return YXLV_E_TYPE;
    const QByteArray bytes = v.toByteArray();
    value.SetData(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return YXLV_OK;
}

std::vector<CYxStringW> CYxLiteVariantR::GetNames() const {
    std::vector<CYxStringW> names;
    const QCborMap& map = m_d->Current();
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) names.push_back(FromQString(it.key().toString()));
    return names;
}

int CYxLiteVariantR::GetCount() const { return static_cast<int>(m_d->Current().size()); }
