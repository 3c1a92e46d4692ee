// The demo's acquisition: frames come from a producer thread in the order
// the camera takes them (it renders both planes of a frame and appends them
// to the position's image file), are analysed in parallel (per-frame
// properties, qualifier, tag, well, and the segmented nuclei with their
// measurements), and reach the jobs database in order, one time point per
// batch of many-row inserts, through the parallel processing queue.
//
// Threads: DemoAcquire runs the producer and the queue's workers and returns
// when they have ended; the connection is used by the transporting worker
// only while they run, so the caller must not touch it meanwhile.
#pragma once

#include "demo_images.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/db.h"

#include <cstdint>
#include <string>
#include <vector>

namespace demo {

const int kPositions = 4;
const int kTimepoints = 12;
const int kPlanes = 2;
const int kObjectsPerFrame = kTrackedCells;
const int kWidth = 512;
const int kHeight = 512;
// A segmented pixel is this much brighter than the background level.
const int kNucleusThreshold = 200;

// What the acquisition refers to; everything is recorded before it starts.
struct SAcquisitionSetup {
    YxProjectDbHandle handle = 0;
    std::int64_t runKey = 0;
    std::int64_t acquireTask = 0;
    double t0 = 0;                           // Julian day of the first frame
    std::vector<std::int64_t> fileKeys;      // one per position
    // The image file of each position (native paths, UTF-8): a multi-page
    // 16-bit TIFF, page = time point * kPlanes + plane, made by the camera.
    std::vector<std::string> imagePaths;
    std::uint32_t seed = 1;                  // of the synthetic cells
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

// Records kTimepoints x kPositions frames of the run and writes their image
// files. 0, or the status of the first failing write (its step in
// result->failedStep; YXPDB_E_GENERIC for an image file); the batches
// written before it stay.
int DemoAcquire(const SAcquisitionSetup& setup, SAcquisitionResult* result);

}  // namespace demo
