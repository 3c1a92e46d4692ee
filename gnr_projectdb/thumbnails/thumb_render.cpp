// Reduction of a grey page to its thumbnail: contrast stretch and area
// averaging. Each output pixel is the mean of the source area it covers,
// partly covered source pixels weighted by the covered fraction; the two
// directions are reduced one after the other.
#include "gnr_projectdb/thumbnails/thumb_image.h"

#include <algorithm>
#include <cmath>

namespace {

struct STap {
    int iSource;
    float fWeight;
};

// For each of `out` output positions, the source positions of [0, in) it
// covers with their weights (summing to 1).
std::vector<std::vector<STap>> Taps(int in, int out) {
    std::vector<std::vector<STap>> taps(static_cast<std::size_t>(out));
    const double step = static_cast<double>(in) / out;
    for (int o = 0; o < out; ++o) {
        const double a = o * step, b = std::min<double>(in, (o + 1) * step);
        for (int s = static_cast<int>(std::floor(a)); s < in && s < b; ++s) {
            const double cover = std::min<double>(b, s + 1) - std::max<double>(a, s);
            if (cover > 1e-9) taps[static_cast<std::size_t>(o)].push_back({s, static_cast<float>(cover / step)});
        }
    }
    return taps;
}

}  // namespace

void YxThumb_Percentiles(const SYxGreyPage& page, double low, double high, int* lowValue, int* highValue) {
    std::vector<std::uint32_t> histogram(65536, 0);
    for (std::uint16_t v : page.pixels) ++histogram[v];
    const std::size_t n = page.pixels.size();
    *lowValue = *highValue = 0;
    if (n == 0) return;
    const std::size_t lowRank = static_cast<std::size_t>(std::floor(low * static_cast<double>(n - 1)));
    const std::size_t highRank = static_cast<std::size_t>(std::ceil(high * static_cast<double>(n - 1)));
    std::size_t seen = 0;
    bool lowFound = false;
    for (int v = 0; v < 65536; ++v) {
        seen += histogram[static_cast<std::size_t>(v)];
        if (!lowFound && seen > lowRank) {
            *lowValue = v;
            lowFound = true;
        }
        if (seen > highRank) {
            *highValue = v;
            return;
        }
    }
}

void YxThumb_ThumbSize(int width, int height, int level, int* outWidth, int* outHeight) {
    const int longSide = std::max(width, height);
    if (longSide <= level) {
        *outWidth = width;
        *outHeight = height;
        return;
    }
    const double scale = static_cast<double>(level) / longSide;
    *outWidth = width >= height ? level : std::max(1, static_cast<int>(std::lround(width * scale)));
    *outHeight = height >= width ? level : std::max(1, static_cast<int>(std::lround(height * scale)));
}

void YxThumb_Render(const SYxGreyPage& page, int level, std::vector<std::uint8_t>* grey, int* outWidth,
                    int* outHeight) {
    int ow = 0, oh = 0;
    YxThumb_ThumbSize(page.iWidth, page.iHeight, level, &ow, &oh);
    double offset = 0, scale = 1;
    if (page.iBits == 16) {
        int lo = 0, hi = 0;
        YxThumb_Percentiles(page, 0.001, 0.999, &lo, &hi);
        if (hi <= lo) hi = lo + 1;
        offset = lo;
        scale = 255.0 / (hi - lo);
    }
    const auto across = Taps(page.iWidth, ow);
    const auto down = Taps(page.iHeight, oh);
    // Rows reduced across first: page.iHeight x ow.
    std::vector<float> rows(static_cast<std::size_t>(page.iHeight) * ow);
    for (int y = 0; y < page.iHeight; ++y) {
        const std::uint16_t* src = page.pixels.data() + static_cast<std::size_t>(y) * page.iWidth;
        float* dst = rows.data() + static_cast<std::size_t>(y) * ow;
        for (int x = 0; x < ow; ++x) {
            float sum = 0;
            for (const STap& t : across[static_cast<std::size_t>(x)]) sum += t.fWeight * src[t.iSource];
            dst[x] = sum;
        }
    }
    grey->assign(static_cast<std::size_t>(ow) * oh, 0);
    std::vector<float> line(static_cast<std::size_t>(ow));
    for (int y = 0; y < oh; ++y) {
        std::fill(line.begin(), line.end(), 0.0f);
        for (const STap& t : down[static_cast<std::size_t>(y)]) {
            const float* src = rows.data() + static_cast<std::size_t>(t.iSource) * ow;
            for (int x = 0; x < ow; ++x) line[static_cast<std::size_t>(x)] += t.fWeight * src[x];
        }
        std::uint8_t* dst = grey->data() + static_cast<std::size_t>(y) * ow;
        for (int x = 0; x < ow; ++x) {
            const double v = (line[static_cast<std::size_t>(x)] - offset) * scale;
            dst[x] = static_cast<std::uint8_t>(std::clamp(std::lround(v), 0L, 255L));
        }
    }
    *outWidth = ow;
    *outHeight = oh;
}
