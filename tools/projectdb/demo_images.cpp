// Synthetic cell images for the demo and the TIFF files that hold them.
#include "demo_images.h"

#include <tiffio.h>

#include <algorithm>
#include <cmath>

namespace demo {
namespace {

// splitmix64: every random value is a hash of what it belongs to (seed,
// position, plane, time point, cell), so nothing depends on call order.
std::uint64_t Mix(std::uint64_t z) {
    z += 0x9E3779B97F4A7C15ull;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

std::uint64_t Key(std::uint32_t seed, std::int64_t a, std::int64_t b = 0, std::int64_t c = 0, std::int64_t d = 0) {
    std::uint64_t k = Mix(seed);
    for (std::int64_t v : {a, b, c, d}) k = Mix(k ^ static_cast<std::uint64_t>(v));
    return k;
}

class CRandom {
public:
    explicit CRandom(std::uint64_t state) : m_state(state) {}
    std::uint64_t Next() {
        m_state += 0x9E3779B97F4A7C15ull;
        std::uint64_t z = m_state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    // In [0, 1).
    double Uniform() { return static_cast<double>(Next() >> 11) * (1.0 / 9007199254740992.0); }
    double Between(double lo, double hi) { return lo + (hi - lo) * Uniform(); }
    // Close to a standard normal value: the sum of four uniform values,
    // centred and scaled to variance 1 (one 64-bit draw).
    float Normal() {
        const std::uint64_t r = Next();
        const std::uint32_t sum = static_cast<std::uint32_t>((r & 0xFFFF) + ((r >> 16) & 0xFFFF) +
                                                             ((r >> 32) & 0xFFFF) + (r >> 48));
        return (static_cast<float>(sum) * (1.0f / 65536.0f) - 2.0f) * 1.7320508f;
    }

private:
    std::uint64_t m_state;
};

const int kPlaneSeed = 1000;      // keeps the planes' noise apart
const double kGlowWidth = 2.2;    // GFP glow sigma / nucleus sigma
const float kReadNoiseVar = 36.f; // camera read noise, variance in counts^2

// Adds amp * exp(-r^2 / 2 s^2) around (cx, cy), cut off at 3.5 s; the
// Gaussian is separable, so one row and one column of factors serve the box.
void AddSpot(std::vector<float>& signal, int width, int height, double cx, double cy, double s, double amp) {
    const int r = static_cast<int>(std::ceil(3.5 * s));
    const int x0 = std::max(0, static_cast<int>(std::floor(cx)) - r);
    const int x1 = std::min(width - 1, static_cast<int>(std::floor(cx)) + r);
    const int y0 = std::max(0, static_cast<int>(std::floor(cy)) - r);
    const int y1 = std::min(height - 1, static_cast<int>(std::floor(cy)) + r);
    if (x0 > x1 || y0 > y1) return;
    std::vector<float> fx(static_cast<std::size_t>(x1 - x0 + 1));
    const double k = -1.0 / (2 * s * s);
    for (int x = x0; x <= x1; ++x) fx[static_cast<std::size_t>(x - x0)] = static_cast<float>(std::exp(k * (x - cx) * (x - cx)));
    for (int y = y0; y <= y1; ++y) {
        const float fy = static_cast<float>(amp * std::exp(k * (y - cy) * (y - cy)));
        float* row = &signal[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)];
        for (int x = x0; x <= x1; ++x) row[x] += fy * fx[static_cast<std::size_t>(x - x0)];
    }
}

}  // namespace

std::vector<SDemoCell> DemoCells(std::uint32_t seed, int position, int width, int height) {
    CRandom rng(Key(seed, position, -1));
    const int count = 30 + static_cast<int>(rng.Next() % 16);
    std::vector<SDemoCell> cells;
    for (int i = 0; i < count; ++i) {
        SDemoCell c;
        const bool tracked = i < kTrackedCells;
        // Tracked cells start in the middle 60 % so that their drift keeps them inside.
        const double margin = tracked ? 0.2 : 0.04;
        c.x = rng.Between(margin, 1 - margin) * width;
        c.y = rng.Between(margin, 1 - margin) * height;
        c.vx = rng.Between(-1.2, 1.2);
        c.vy = rng.Between(-1.2, 1.2);
        c.sigma = tracked ? rng.Between(5.5, 8.0) : rng.Between(3.5, 7.5);
        // Most untracked cells are dim, a few bright.
        const double u = rng.Uniform();
        c.dapi = tracked ? rng.Between(2500, 5000) : 300 + 3500 * u * u;
        c.gfp = c.dapi * rng.Between(0.15, 0.5);
        cells.push_back(c);
    }
    return cells;
}

void DemoCellAt(std::uint32_t seed, int position, int cell, const SDemoCell& c, int t, double* x, double* y) {
    CRandom wobble(Key(seed, position, cell, t, -2));
    *x = c.x + c.vx * t + wobble.Between(-0.4, 0.4);
    *y = c.y + c.vy * t + wobble.Between(-0.4, 0.4);
}

void RenderDemoPlane(std::uint32_t seed, int position, int plane, int t, int width, int height,
                     std::vector<std::uint16_t>& pixels) {
    const std::size_t w = static_cast<std::size_t>(width), n = w * static_cast<std::size_t>(height);
    std::vector<float> signal(n, 0.f);
    const std::vector<SDemoCell> cells = DemoCells(seed, position, width, height);
    for (std::size_t i = 0; i < cells.size(); ++i) {
        double x = 0, y = 0;
        DemoCellAt(seed, position, static_cast<int>(i), cells[i], t, &x, &y);
        if (plane == 0)
            AddSpot(signal, width, height, x, y, cells[i].sigma, cells[i].dapi);
        else
            AddSpot(signal, width, height, x, y, cells[i].sigma * kGlowWidth, cells[i].gfp);
    }
    // Background a little darker towards the corners, then shot noise and
    // read noise.
    CRandom noise(Key(seed, position, kPlaneSeed + plane, t));
    pixels.resize(n);
    const double cx = 0.5 * width, cy = 0.5 * height, r2 = cx * cx + cy * cy;
    for (int y = 0; y < height; ++y) {
        const double dy = y - cy;
        for (int x = 0; x < width; ++x) {
            const double dx = x - cx;
            const std::size_t i = static_cast<std::size_t>(y) * w + static_cast<std::size_t>(x);
            const float bg = static_cast<float>(kDemoBackground * (1.0 - 0.1 * (dx * dx + dy * dy) / r2));
            const float s = signal[i];
            const float v = bg + s + noise.Normal() * std::sqrt(kReadNoiseVar + s);
            pixels[i] = static_cast<std::uint16_t>(std::lround(std::clamp(v, 0.f, 65535.f)));
        }
    }
}

CDemoTiffWriter::~CDemoTiffWriter() {
    if (m_tiff) TIFFClose(m_tiff);
}

bool CDemoTiffWriter::Open(const std::string& path, int pages) {
    if (m_tiff) TIFFClose(m_tiff);
    m_tiff = TIFFOpen(path.c_str(), "w");
    m_pages = pages;
    m_written = 0;
    m_failed = m_tiff == nullptr;
    return !m_failed;
}

bool CDemoTiffWriter::AddPage(const std::uint16_t* pixels, int width, int height) {
    if (!m_tiff || m_failed) return false;
    TIFFSetField(m_tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    TIFFSetField(m_tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(width));
    TIFFSetField(m_tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(height));
    TIFFSetField(m_tiff, TIFFTAG_BITSPERSAMPLE, 16);
    TIFFSetField(m_tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(m_tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    TIFFSetField(m_tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(m_tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(m_tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(m_tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(m_tiff, 0));
    TIFFSetField(m_tiff, TIFFTAG_PAGENUMBER, static_cast<std::uint16_t>(m_written), static_cast<std::uint16_t>(m_pages));
    TIFFSetField(m_tiff, TIFFTAG_SOFTWARE, "projectdb demo");
    // libtiff may swap bytes in the buffer it is given: write from a copy.
    std::vector<std::uint16_t> row(static_cast<std::size_t>(width));
    for (int y = 0; y < height && !m_failed; ++y) {
        std::copy_n(pixels + static_cast<std::size_t>(y) * row.size(), row.size(), row.begin());
        if (TIFFWriteScanline(m_tiff, row.data(), static_cast<std::uint32_t>(y), 0) < 0) m_failed = true;
    }
    if (!m_failed && !TIFFWriteDirectory(m_tiff)) m_failed = true;
    if (!m_failed) ++m_written;
    return !m_failed;
}

bool CDemoTiffWriter::Close() {
    if (!m_tiff) return false;
    TIFFClose(m_tiff);  // writes nothing more after TIFFWriteDirectory
    m_tiff = nullptr;
    return !m_failed;
}

}  // namespace demo
