// The demo's acquisition through the parallel processing queue: a producer
// thread takes the frames, two processing workers analyse them out of order,
// and one in-order transporting worker writes them, a time point at a time.
#include "demo_acquisition.h"

#include "gnr_projectdb/queue.h"
#include "gnr_projectdb/records_binobj.h"
#include "gnr_projectdb/records_frame.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <thread>

namespace demo {
namespace {

const int kAnalysisThreads = 2;
// Frames in flight: two time points.
const int kFramesInFlight = 2 * kPositions;

// An object found in a frame and what was measured on it.
struct SObject {
    SYxProjectDbRow_binobj row;
    double area = 0;
    double meanIntensity = 0;
    std::int64_t phase = 0;
};

class CDemoWriter;

// One frame: created by the camera with its place in the run and its DAPI
// plane, analysed by a processing worker, written by the transporting one.
class CDemoFrame : public IYxQueueItem {
public:
    CDemoFrame(const SAcquisitionSetup& setup, CDemoWriter& writer, int t, int p, std::vector<std::uint16_t> dapi);
    int Process(int stage) override;
    int Transport(int stage) override;

    const SAcquisitionSetup& setup;
    const int t, p, index;
    SYxProjectDbRow_frame frame;
    std::vector<std::uint16_t> dapi;
    // Filled by the analysis.
    std::vector<SYxProjectDbRow_frameprop> props;
    SYxProjectDbRow_framequal well;
    bool reviewed = false;
    std::vector<SObject> objects;

private:
    CDemoWriter& m_writer;
};

// Collects the analysed frames of one time point and writes them with one
// many-row insert per table. Used by one thread at a time.
class CDemoWriter {
public:
    explicit CDemoWriter(const SAcquisitionSetup& setup) : m_setup(setup) {}

    int Add(CDemoFrame& f) {
        const std::int64_t run = m_setup.runKey;
        m_frames.push_back(f.frame);
        m_indexes.push_back({0, run, f.index, m_setup.timeLoop, f.t});
        m_indexes.push_back({0, run, f.index, m_setup.positionLoop, f.p});
        m_props.insert(m_props.end(), f.props.begin(), f.props.end());
        m_quals.push_back(f.well);
        if (f.reviewed) m_tags.push_back({0, run, m_setup.reviewed, f.index});
        m_wells.push_back({0, run, m_setup.wellKeys[static_cast<std::size_t>(f.p)], f.index});
        m_plates.push_back({0, run, m_setup.plateKey, f.index});
        m_objects.insert(m_objects.end(), f.objects.begin(), f.objects.end());
        return f.p + 1 == kPositions ? Flush() : 0;
    }

    // Writes what was collected; the rows are written once even when a
    // step fails.
    int Flush() {
        if (m_frames.empty()) return 0;
        std::vector<SYxProjectDbRow_binobj> objects;
        for (const SObject& o : m_objects) objects.push_back(o.row);
        const bool ok = Check(YxProjectDb_Frame_InsertMany(m_setup.handle, m_frames), "frames") &&
                        Check(YxProjectDb_Loopindex_InsertMany(m_setup.handle, m_indexes), "loop indexes") &&
                        Check(YxProjectDb_Frameprop_InsertMany(m_setup.handle, m_props), "frame properties") &&
                        Check(YxProjectDb_Framequal_InsertMany(m_setup.handle, m_quals), "frame qualifiers") &&
                        Check(YxProjectDb_Frametag_InsertMany(m_setup.handle, m_tags), "frame tags") &&
                        Check(YxProjectDb_Framewellinfo_InsertMany(m_setup.handle, m_wells), "frame wells") &&
                        Check(YxProjectDb_Frameplateinfo_InsertMany(m_setup.handle, m_plates), "frame plates") &&
                        Check(YxProjectDb_Binobj_InsertMany(m_setup.handle, objects), "objects");
        if (ok) {
            // The objects' measurements refer to the keys just given to them.
            std::vector<SYxProjectDbRow_binobjprop> props;
            std::vector<SYxProjectDbRow_binobjqual> quals;
            const std::int64_t run = m_setup.runKey;
            for (std::size_t i = 0; i < objects.size(); ++i) {
                const SYxProjectDbRow_binobj& o = objects[i];
                props.push_back({0, o.iKey, m_setup.area, run, o.iFrameIndex, m_objects[i].area});
                props.push_back({0, o.iKey, m_setup.intensity, run, o.iFrameIndex, m_objects[i].meanIntensity});
                quals.push_back({0, o.iKey, m_setup.phaseQual, run, o.iFrameIndex, m_objects[i].phase});
            }
            if (Check(YxProjectDb_Binobjprop_InsertMany(m_setup.handle, props), "object properties"))
                Check(YxProjectDb_Binobjqual_InsertMany(m_setup.handle, quals), "object qualifiers");
        }
        m_framesWritten += m_frames.size();
        m_objectsWritten += objects.size();
        m_frames.clear();
        m_indexes.clear();
        m_props.clear();
        m_quals.clear();
        m_tags.clear();
        m_wells.clear();
        m_plates.clear();
        m_objects.clear();
        return m_status;
    }

    int status() const { return m_status; }
    const std::string& failedStep() const { return m_failedStep; }
    std::size_t framesWritten() const { return m_framesWritten; }
    std::size_t objectsWritten() const { return m_objectsWritten; }

private:
    bool Check(int rc, const char* step) {
        if (rc != 0 && m_status == 0) {
            m_status = rc;
            m_failedStep = step;
        }
        return m_status == 0;
    }

    const SAcquisitionSetup& m_setup;
    int m_status = 0;
    std::string m_failedStep;
    std::size_t m_framesWritten = 0, m_objectsWritten = 0;
    std::vector<SYxProjectDbRow_frame> m_frames;
    std::vector<SYxProjectDbRow_loopindex> m_indexes;
    std::vector<SYxProjectDbRow_frameprop> m_props;
    std::vector<SYxProjectDbRow_framequal> m_quals;
    std::vector<SYxProjectDbRow_frametag> m_tags;
    std::vector<SYxProjectDbRow_framewellinfo> m_wells;
    std::vector<SYxProjectDbRow_frameplateinfo> m_plates;
    std::vector<SObject> m_objects;
};

CDemoFrame::CDemoFrame(const SAcquisitionSetup& s, CDemoWriter& writer, int tp, int pos,
                       std::vector<std::uint16_t> dapiPlane)
    : setup(s), t(tp), p(pos), index(tp * kPositions + pos), dapi(std::move(dapiPlane)), m_writer(writer) {
    const std::size_t position = static_cast<std::size_t>(p);
    const double when = setup.t0 + (t * 300.0 + p * 4.0) / 86400.0;
    frame = {0, setup.runKey, setup.acquireTask, index, when,
             position < setup.fileKeys.size() ? setup.fileKeys[position] : 0, t};
}

int CDemoFrame::Process(int) {
    const std::int64_t run = setup.runKey;
    props.push_back({0, run, 0, setup.focus, index, 0.8 + 0.01 * ((index * 7) % 13)});
    props.push_back({0, run, 0, setup.temperature, index, 37.0 + 0.05 * (index % 5)});
    well = {0, run, index, setup.wellQual, setup.wellNames[static_cast<std::size_t>(p)]};
    reviewed = index % 5 == 0;
    // Segmentation: the tracked nuclei of the position. Around where each
    // one is expected, the pixels brighter than the background by the
    // threshold are the object; its box is theirs (right and bottom
    // exclusive), its area their count, its intensity their mean.
    const std::vector<SDemoCell> cells = DemoCells(setup.seed, p, kWidth, kHeight);
    for (int k = 0; k < kObjectsPerFrame && k < static_cast<int>(cells.size()); ++k) {
        const SDemoCell& cell = cells[static_cast<std::size_t>(k)];
        double cx = 0, cy = 0;
        DemoCellAt(setup.seed, p, k, cell, t, &cx, &cy);
        const int reach = static_cast<int>(std::ceil(2.5 * cell.sigma));
        const int x0 = std::max(0, static_cast<int>(std::lround(cx)) - reach);
        const int x1 = std::min(kWidth, static_cast<int>(std::lround(cx)) + reach + 1);
        const int y0 = std::max(0, static_cast<int>(std::lround(cy)) - reach);
        const int y1 = std::min(kHeight, static_cast<int>(std::lround(cy)) + reach + 1);
        int left = kWidth, top = kHeight, right = 0, bottom = 0, count = 0;
        double sum = 0;
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x) {
                const std::uint16_t v = dapi[static_cast<std::size_t>(y * kWidth + x)];
                if (v <= kDemoBackground + kNucleusThreshold) continue;
                ++count;
                sum += v;
                left = std::min(left, x);
                top = std::min(top, y);
                right = std::max(right, x + 1);
                bottom = std::max(bottom, y + 1);
            }
        if (count == 0) left = top = right = bottom = 0;
        const std::size_t trace = static_cast<std::size_t>(p * kObjectsPerFrame + k);
        SObject o;
        o.row = {0, run, index, setup.layerKey, k + 1, trace < setup.traceKeys.size() ? setup.traceKeys[trace] : 0,
                 left, top, right, bottom, count};
        o.area = count;
        o.meanIntensity = count ? sum / count : 0;
        const int ordinal = index * kObjectsPerFrame + k + 1;
        o.phase = ordinal % 7 == 0 ? setup.mitosis : setup.interphase;
        objects.push_back(o);
    }
    return 0;
}

int CDemoFrame::Transport(int) { return m_writer.Add(*this); }

// The camera: renders both planes of a frame and appends them to its
// position's file. Used by the producer thread only.
class CDemoCamera {
public:
    explicit CDemoCamera(const SAcquisitionSetup& setup) : m_setup(setup), m_files(setup.imagePaths.size()) {}

    bool Open() {
        bool ok = m_files.size() == static_cast<std::size_t>(kPositions);
        for (std::size_t i = 0; i < m_files.size() && ok; ++i) ok = m_files[i].Open(m_setup.imagePaths[i], kTimepoints * kPlanes);
        return ok;
    }

    // The DAPI plane of time point t at position p; false when the file
    // could not be written.
    bool Take(int t, int p, std::vector<std::uint16_t>& dapi) {
        CDemoTiffWriter& file = m_files[static_cast<std::size_t>(p)];
        RenderDemoPlane(m_setup.seed, p, 0, t, kWidth, kHeight, dapi);
        if (!file.AddPage(dapi.data(), kWidth, kHeight)) return false;
        for (int plane = 1; plane < kPlanes; ++plane) {
            RenderDemoPlane(m_setup.seed, p, plane, t, kWidth, kHeight, m_scratch);
            if (!file.AddPage(m_scratch.data(), kWidth, kHeight)) return false;
        }
        return true;
    }

    bool Close() {
        bool ok = true;
        for (CDemoTiffWriter& f : m_files) ok = f.Close() && ok;
        return ok;
    }

private:
    const SAcquisitionSetup& m_setup;
    std::vector<CDemoTiffWriter> m_files;
    std::vector<std::uint16_t> m_scratch;
};

}  // namespace

int DemoAcquire(const SAcquisitionSetup& setup, SAcquisitionResult* result) {
    CDemoWriter writer(setup);
    SYxQueueOptions options;
    options.iCapacity = kFramesInFlight;
    options.eFailurePolicy = eYxQueueFailure_Stop;
    SYxQueueStage analyse, write;
    analyse.eKind = eYxQueueWorker_ProcessOutOfOrder;  // frames analysed in parallel
    analyse.iThreads = kAnalysisThreads;
    write.eKind = eYxQueueWorker_TransportInOrder;     // written one at a time, in order
    options.stages = {analyse, write};
    std::unique_ptr<CYxQueueMaster> queue;
    int rc = CYxQueueMaster::Create(options, &queue);
    if (rc == 0) rc = queue->Start();
    if (rc != 0) {
        result->failedStep = "acquisition queue";
        return rc;
    }

    CDemoCamera camera(setup);
    bool imagesWritten = camera.Open();
    CYxQueueMaster* master = queue.get();
    std::thread producer([&setup, &writer, &camera, &imagesWritten, master] {
        try {
            for (int t = 0; t < kTimepoints && imagesWritten; ++t)
                for (int p = 0; p < kPositions; ++p) {
                    std::vector<std::uint16_t> dapi;
                    if (!camera.Take(t, p, dapi)) {
                        imagesWritten = false;
                        break;
                    }
                    if (master->Push(std::make_unique<CDemoFrame>(setup, writer, t, p, std::move(dapi))) != 0) return;
                }
        } catch (...) {
            imagesWritten = false;
        }
        if (!imagesWritten) master->Cancel();
    });
    producer.join();
    imagesWritten = camera.Close() && imagesWritten;
    rc = queue->Wait();
    if (!imagesWritten && writer.status() == 0) {
        result->failedStep = "image file";
        result->frames = writer.framesWritten();
        result->objects = writer.objectsWritten();
        return YXPDB_E_GENERIC;
    }
    // A failed write stopped the queue; otherwise the last batch went with
    // its time point and nothing is left.
    if (rc == 0) rc = writer.Flush();
    if (writer.status() != 0) {
        rc = writer.status();
        result->failedStep = writer.failedStep();
    } else if (rc != 0) {
        result->failedStep = "acquisition";
    }
    result->frames = writer.framesWritten();
    result->objects = writer.objectsWritten();
    return rc;
}

}  // namespace demo
