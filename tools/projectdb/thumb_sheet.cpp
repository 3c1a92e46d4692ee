// The contact sheet's layout, pixels and digit font.
#include "thumb_sheet.h"

#include <algorithm>
#include <cstdlib>

namespace {

// 5x7 digits, one byte per row from the top, bit 4 the leftmost pixel.
const std::uint8_t kDigits[10][7] = {
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E},  // 0
    {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},  // 1
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F},  // 2
    {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},  // 3
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02},  // 4
    {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},  // 5
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E},  // 6
    {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},  // 7
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E},  // 8
    {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C},  // 9
};
const int kGlyphWidth = 5, kGlyphHeight = 7, kAdvance = 6;

}  // namespace

SYxSheetLayout SYxSheetLayout::Make(int count, int columns, int thumbWidth, int thumbHeight) {
    SYxSheetLayout l;
    l.columns = std::max(1, std::min(columns, count));
    l.rows = count <= 0 ? 0 : (count + l.columns - 1) / l.columns;
    l.thumbWidth = std::max(1, thumbWidth);
    l.thumbHeight = std::max(1, thumbHeight);
    l.scale = std::max(1, l.thumbWidth / 64);
    l.labelHeight = kGlyphHeight * l.scale + 6;
    l.width = l.columns * l.thumbWidth + (l.columns + 1) * kMargin;
    l.height = l.rows * (l.thumbHeight + l.labelHeight) + (l.rows + 1) * kMargin;
    return l;
}

int SYxSheetLayout::CellX(int i) const { return kMargin + (i % columns) * (thumbWidth + kMargin); }
int SYxSheetLayout::CellY(int i) const { return kMargin + (i / columns) * (thumbHeight + labelHeight + kMargin); }

CYxContactSheet::CYxContactSheet(const SYxSheetLayout& layout)
    : m_layout(layout),
      m_pixels(static_cast<std::size_t>(layout.width) * static_cast<std::size_t>(layout.height),
               SYxSheetLayout::kBackground) {}

void CYxContactSheet::Set(int x, int y, std::uint8_t v) {
    if (x < 0 || y < 0 || x >= m_layout.width || y >= m_layout.height) return;
    m_pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(m_layout.width) + static_cast<std::size_t>(x)] = v;
}

void CYxContactSheet::Place(int i, const std::vector<std::uint8_t>& grey, int width, int height) {
    const int w = std::min(width, m_layout.thumbWidth), h = std::min(height, m_layout.thumbHeight);
    if (w <= 0 || h <= 0 || grey.size() < static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) return;
    const int x0 = m_layout.CellX(i) + (m_layout.thumbWidth - w) / 2;
    const int y0 = m_layout.CellY(i) + (m_layout.thumbHeight - h) / 2;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            Set(x0 + x, y0 + y, grey[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)]);
}

void CYxContactSheet::MarkMissing(int i) {
    const int x0 = m_layout.CellX(i), y0 = m_layout.CellY(i);
    const int w = m_layout.thumbWidth, h = m_layout.thumbHeight;
    for (int x = 0; x < w; ++x) {
        Set(x0 + x, y0, SYxSheetLayout::kMissing);
        Set(x0 + x, y0 + h - 1, SYxSheetLayout::kMissing);
    }
    for (int y = 0; y < h; ++y) {
        Set(x0, y0 + y, SYxSheetLayout::kMissing);
        Set(x0 + w - 1, y0 + y, SYxSheetLayout::kMissing);
    }
    // Both diagonals, one pixel per step along the longer side.
    const int steps = std::max(w, h);
    for (int k = 0; k < steps; ++k) {
        const int x = k * (w - 1) / std::max(1, steps - 1), y = k * (h - 1) / std::max(1, steps - 1);
        Set(x0 + x, y0 + y, SYxSheetLayout::kMissing);
        Set(x0 + w - 1 - x, y0 + y, SYxSheetLayout::kMissing);
    }
}

int CYxContactSheet::TextWidth(const std::string& text, int scale) {
    return text.empty() ? 0 : (static_cast<int>(text.size()) * kAdvance - (kAdvance - kGlyphWidth)) * scale;
}

void CYxContactSheet::Label(int i, const std::string& text) {
    const int s = m_layout.scale;
    int x = m_layout.CellX(i) + (m_layout.thumbWidth - TextWidth(text, s)) / 2;
    const int y = m_layout.CellY(i) + m_layout.thumbHeight + 3;
    for (char c : text) {
        if (c >= '0' && c <= '9') {
            const std::uint8_t* glyph = kDigits[c - '0'];
            for (int row = 0; row < kGlyphHeight; ++row)
                for (int col = 0; col < kGlyphWidth; ++col)
                    if (glyph[row] & (0x10 >> col))
                        for (int dy = 0; dy < s; ++dy)
                            for (int dx = 0; dx < s; ++dx) Set(x + col * s + dx, y + row * s + dy, SYxSheetLayout::kInk);
        }
        x += kAdvance * s;
    }
}
