// The demo camera's pictures: synthetic fluorescence images of cells on a
// dark, noisy background, and the multi-page 16-bit grey TIFF files that
// hold them.
//
// A position shows a few dozen cells (Gaussian spots of varying size and
// brightness) that drift a little from one time point to the next. Plane 0
// (DAPI) shows their nuclei, plane 1 (GFP) a wider, dimmer glow around them.
// Everything follows from the seed: the same seed, position, plane and time
// point give the same pixels on every machine and in any order of calls.
//
// Threads: the functions keep no state and may run on any thread at once;
// a CDemoTiffWriter belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

typedef struct tiff TIFF;

namespace demo {

// Cells 0 .. kTrackedCells-1 of a position are the bright ones that the
// demo's segmentation follows; they stay well inside the image.
const int kTrackedCells = 5;

struct SDemoCell {
    double x = 0, y = 0;    // centre at time point 0, in pixels
    double vx = 0, vy = 0;  // drift per time point
    double sigma = 0;       // nucleus radius (Gaussian sigma), pixels
    double dapi = 0;        // peak brightness of the nucleus above background
    double gfp = 0;         // peak brightness of the glow around it
};

// The cells of one position (between 30 and 45 of them).
std::vector<SDemoCell> DemoCells(std::uint32_t seed, int position, int width, int height);

// Where a cell is at time point t: its drift plus a small wobble.
void DemoCellAt(std::uint32_t seed, int position, int cell, const SDemoCell& c, int t, double* x, double* y);

// The camera's background level without noise (before vignetting).
const int kDemoBackground = 100;

// Renders one plane (0 DAPI, 1 GFP) of one time point into `pixels`
// (width * height values, row by row), replacing what it held.
void RenderDemoPlane(std::uint32_t seed, int position, int plane, int t, int width, int height,
                     std::vector<std::uint16_t>& pixels);

// Writes a multi-page 16-bit grey TIFF, one page at a time. Pages are
// ordered as the camera takes them: page = frame index in the file *
// planes + plane.
class CDemoTiffWriter {
public:
    CDemoTiffWriter() = default;
    ~CDemoTiffWriter();
    CDemoTiffWriter(const CDemoTiffWriter&) = delete;
    CDemoTiffWriter& operator=(const CDemoTiffWriter&) = delete;

    // Creates (or truncates) the file; `path` is a native path in UTF-8.
    bool Open(const std::string& path, int pages);
    // Appends one page of width * height values.
    bool AddPage(const std::uint16_t* pixels, int width, int height);
    // Finishes the file. False when it was not open or a write failed; the
    // destructor closes it too but cannot report.
    bool Close();

private:
    TIFF* m_tiff = nullptr;
    int m_pages = 0;
    int m_written = 0;
    bool m_failed = false;
};

}  // namespace demo
