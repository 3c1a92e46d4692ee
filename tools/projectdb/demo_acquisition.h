// The demo's acquisition: frames come from a producer thread in the order
// the camera takes them, are analysed in parallel (per-frame properties,
// qualifier, tag, well, and the segmented objects with their measurements),
// and reach the jobs database in order, one time point per batch of
// many-row inserts, through the parallel processing queue.
//
// Threads: DemoAcquire runs the producer and the queue's workers and returns
// when they have ended; the connection is used by the transporting worker
// only while they run, so the caller must not touch it meanwhile.
#pragma once

#include "framework/yxstring.h"
#include "gnr_projectdb/db.h"

#include <cstdint>
#include <string>
#include <vector>

namespace demo {

const int kPositions = 4;
const int kTimepoints = 12;
const int kPlanes = 2;
const int kObjectsPerFrame = 5;
const int kWidth = 128;
const int kHeight = 128;

// The camera's pixel `i` of plane `plane` (counted over the whole time
// series of one position) at a position.
inline std::uint16_t PixelValue(std::size_t i, int plane, int position) {
    return static_cast<std::uint16_t>((i * 7 + static_cast<std::size_t>(plane * 131 + position * 17)) & 0x0FFF);
}

// What the acquisition refers to; everything is recorded before it starts.
struct SAcquisitionSetup {
    YxProjectDbHandle handle = 0;
    std::int64_t runKey = 0;
    std::int64_t acquireTask = 0;
    double t0 = 0;                           // Julian day of the first frame
    std::vector<std::int64_t> fileKeys;      // one per position
    std::int64_t timeLoop = 0, positionLoop = 0;
    std::int64_t focus = 0, temperature = 0; // frame properties
    std::int64_t area = 0, intensity = 0;    // object properties
    std::int64_t wellQual = 0, phaseQual = 0;
    std::vector<std::int64_t> wellNames;     // qualifier string per position
    std::int64_t interphase = 0, mitosis = 0;
    std::int64_t reviewed = 0;               // tag of every fifth frame
    std::int64_t plateKey = 0;
    std::vector<std::int64_t> wellKeys;      // plate well per position
    std::int64_t layerKey = 0;
    std::vector<std::int64_t> traceKeys;     // per position and object
};

struct SAcquisitionResult {
    std::size_t frames = 0;
    std::size_t objects = 0;
    // The first failing step's name, when the status is not 0.
    std::string failedStep;
};

// Records kTimepoints x kPositions frames of the run. 0, or the status of the
// first failing write (its step in result->failedStep); the batches written
// before it stay.
int DemoAcquire(const SAcquisitionSetup& setup, SAcquisitionResult* result);

}  // namespace demo
