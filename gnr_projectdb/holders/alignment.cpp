// Stage alignment of a holder: the 2x3 affine transform holder -> stage and
// its 48-byte stored form (six little-endian doubles a, b, c, d, e, f).
#include "gnr_projectdb/holders_geometry.h"

#include <cmath>
#include <cstring>

namespace {

const double kPi = 3.14159265358979323846;

bool Finite(const SYxHolderAlignment& m) {
    return std::isfinite(m.a) && std::isfinite(m.b) && std::isfinite(m.c) && std::isfinite(m.d) &&
           std::isfinite(m.e) && std::isfinite(m.f);
}

void PutDouble(std::uint8_t* out, double v) {
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    for (int i = 0; i < 8; ++i) out[i] = static_cast<std::uint8_t>(bits >> (8 * i));
}

double GetDouble(const std::uint8_t* in) {
    std::uint64_t bits = 0;
    for (int i = 0; i < 8; ++i) bits |= static_cast<std::uint64_t>(in[i]) << (8 * i);
    double v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

}  // namespace

SYxHolderAlignment YxHolder_MakeAlignment(double degrees, double scale, double offsetX, double offsetY) {
    const double rad = degrees * kPi / 180.0;
    const double cs = std::cos(rad) * scale, sn = std::sin(rad) * scale;
    SYxHolderAlignment m;
    m.a = cs;
    m.b = sn;
    m.c = offsetX;
    m.d = -sn;
    m.e = cs;
    m.f = offsetY;
    return m;
}

SYxHolderPoint YxHolder_HolderToStage(const SYxHolderAlignment& m, double x, double y) {
    return SYxHolderPoint{m.a * x + m.b * y + m.c, m.d * x + m.e * y + m.f};
}

int YxHolder_InvertAlignment(const SYxHolderAlignment& m, SYxHolderAlignment* inverse) {
    if (!inverse) return YXPDB_E_GENERIC;
    if (!Finite(m)) return YXPDB_E_HOLDER_DATA;
    const double det = m.a * m.e - m.b * m.d;
    const double norm = std::fabs(m.a) + std::fabs(m.b) + std::fabs(m.d) + std::fabs(m.e);
    if (!(std::fabs(det) > 1e-12 * norm * norm) || !std::isfinite(1.0 / det)) return YXPDB_E_HOLDER_DATA;
    SYxHolderAlignment r;
    r.a = m.e / det;
    r.b = -m.b / det;
    r.d = -m.d / det;
    r.e = m.a / det;
    r.c = -(r.a * m.c + r.b * m.f);
    r.f = -(r.d * m.c + r.e * m.f);
    if (!Finite(r)) return YXPDB_E_HOLDER_DATA;
    *inverse = r;
    return YXPDB_OK;
}

int YxHolder_StageToHolder(const SYxHolderAlignment& m, double sx, double sy, SYxHolderPoint* holder) {
    if (!holder) return YXPDB_E_GENERIC;
    SYxHolderAlignment inv;
    const int rc = YxHolder_InvertAlignment(m, &inv);
    if (rc != YXPDB_OK) return rc;
    *holder = YxHolder_HolderToStage(inv, sx, sy);
    return YXPDB_OK;
}

CYxByteArray YxHolder_EncodeAlignment(const SYxHolderAlignment& m) {
    std::uint8_t bytes[48];
    const double v[6] = {m.a, m.b, m.c, m.d, m.e, m.f};
    for (int i = 0; i < 6; ++i) PutDouble(bytes + 8 * i, v[i]);
    return CYxByteArray(bytes, sizeof bytes);
}

int YxHolder_DecodeAlignment(const CYxByteArray& bytes, SYxHolderAlignment* m) {
    if (!m) return YXPDB_E_GENERIC;
    if (bytes.IsEmpty()) return YXPDB_E_NOTFOUND;
    if (bytes.GetSize() != 48) return YXPDB_E_HOLDER_DATA;
    const std::uint8_t* p = bytes.GetData();
    SYxHolderAlignment r;
    r.a = GetDouble(p);
    r.b = GetDouble(p + 8);
    r.c = GetDouble(p + 16);
    r.d = GetDouble(p + 24);
    r.e = GetDouble(p + 32);
    r.f = GetDouble(p + 40);
    SYxHolderAlignment inv;
    if (YxHolder_InvertAlignment(r, &inv) != YXPDB_OK) return YXPDB_E_HOLDER_DATA;
    *m = r;
    return YXPDB_OK;
}
