// The exported queue classes: the item base and the master, a thin shell
// over the engine that keeps exceptions inside the library.
#include "gnr_projectdb/queue.h"
#include "gnr_projectdb/queue/queue_engine.h"

#include <new>

IYxQueueItem::~IYxQueueItem() = default;

int IYxQueueItem::Transport(int) {
    return 0;
}

CYxQueueMaster::CYxQueueMaster(std::unique_ptr<CYxQueueEngine> engine) : m_engine(std::move(engine)) {}

CYxQueueMaster::~CYxQueueMaster() = default;

int CYxQueueMaster::Create(const SYxQueueOptions& options, std::unique_ptr<CYxQueueMaster>* out) {
    if (out == nullptr)
        return YXPDB_E_QUEUE_ARGUMENT;
    const int check = CYxQueueEngine::CheckOptions(options);
    if (check != 0)
        return check;
    try {
        auto engine = std::make_unique<CYxQueueEngine>(options);
        out->reset(new CYxQueueMaster(std::move(engine)));
    } catch (...) {
        return YXPDB_E_GENERIC;
    }
    return 0;
}

int CYxQueueMaster::Start() {
    return m_engine->Start();
}

int CYxQueueMaster::Push(std::unique_ptr<IYxQueueItem>&& item, int timeoutMs) {
    return m_engine->Push(item, timeoutMs);
}

void CYxQueueMaster::Close() {
    m_engine->Close();
}

void CYxQueueMaster::Cancel() {
    m_engine->Cancel();
}

int CYxQueueMaster::Wait() {
    return m_engine->Wait();
}

int CYxQueueMaster::GetStatistics(SYxQueueStatistics* out) const {
    return m_engine->GetStatistics(out);
}

bool CYxQueueMaster::IsCancelled() const {
    return m_engine->IsCancelled();
}
