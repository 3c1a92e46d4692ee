// A contact sheet: a grid of 8-bit grey thumbnails, each with a number
// written under it in a small built-in 5x7 digit font.
//
// Layout (all in pixels): every cell holds a thumbnail box as large as the
// largest thumbnail (cellWidth x thumbHeight; smaller ones are centred in
// it) with a label strip of 7 * scale + 6 below it; a margin of kMargin
// separates the cells from each other and from the edges. So a sheet of C
// columns and R rows is C * thumbWidth + (C + 1) * kMargin wide and
// R * (thumbHeight + labelHeight) + (R + 1) * kMargin high. The digits are
// drawn `scale` pixels per font pixel, scale = max(1, thumbWidth / 64).
//
// Threads: a CYxContactSheet belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct SYxSheetLayout {
    static constexpr int kMargin = 8;
    static constexpr std::uint8_t kBackground = 40;
    static constexpr std::uint8_t kInk = 255;        // the digits
    static constexpr std::uint8_t kMissing = 128;    // the cross of a cell without a thumbnail

    int columns = 0, rows = 0;
    int thumbWidth = 0, thumbHeight = 0;  // the thumbnail box of a cell
    int scale = 1;                        // font pixels
    int labelHeight = 0;
    int width = 0, height = 0;            // the whole sheet

    // The layout for `count` cells in `columns` columns (at least 1; fewer
    // columns when there are fewer cells) around thumbnails of at most
    // thumbWidth x thumbHeight.
    static SYxSheetLayout Make(int count, int columns, int thumbWidth, int thumbHeight);
    // Top-left corner of cell i's thumbnail box.
    int CellX(int i) const;
    int CellY(int i) const;
};

class CYxContactSheet {
public:
    explicit CYxContactSheet(const SYxSheetLayout& layout);

    // Puts a thumbnail (width * height grey bytes) into cell i, centred in
    // its box; a larger picture is cut to the box.
    void Place(int i, const std::vector<std::uint8_t>& grey, int width, int height);
    // Crosses out cell i's box: no thumbnail to show.
    void MarkMissing(int i);
    // Writes `text` (digits; other characters leave a gap) centred in cell
    // i's label strip.
    void Label(int i, const std::string& text);

    const SYxSheetLayout& Layout() const { return m_layout; }
    const std::vector<std::uint8_t>& Pixels() const { return m_pixels; }

    // Width in pixels of `text` written at `scale`.
    static int TextWidth(const std::string& text, int scale);

private:
    void Set(int x, int y, std::uint8_t v);

    SYxSheetLayout m_layout;
    std::vector<std::uint8_t> m_pixels;
};
