// Fixed-size item buffers of the queue's stages. Both are sized once to the
// queue's capacity and never allocate afterwards: no stage can hold more
// items than are in flight. Not synchronised: the engine's lock guards them.
#pragma once

#include "gnr_projectdb/queue.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace gnr::queue {

// First in, first out.
class CFifo {
public:
    void Reserve(std::size_t capacity) { m_slots.assign(capacity, nullptr); }
    bool Empty() const noexcept { return m_size == 0; }
    std::size_t Size() const noexcept { return m_size; }
    // The caller guarantees room (fewer than capacity items held).
    void Push(IYxQueueItem* item) noexcept {
        std::size_t slot = m_head + m_size;
        if (slot >= m_slots.size())
            slot -= m_slots.size();
        m_slots[slot] = item;
        ++m_size;
    }
    IYxQueueItem* Pop() noexcept {
        IYxQueueItem* item = m_slots[m_head];
        m_slots[m_head] = nullptr;
        if (++m_head == m_slots.size())
            m_head = 0;
        --m_size;
        return item;
    }

private:
    std::vector<IYxQueueItem*> m_slots;
    std::size_t m_head = 0;
    std::size_t m_size = 0;
};

// Items keyed by sequence number. The numbers held always lie within one
// window of `capacity` consecutive numbers, so each has a slot of its own.
class CSequenceRing {
public:
    void Reserve(std::size_t capacity) { m_slots.assign(capacity, nullptr); }
    std::size_t Size() const noexcept { return m_size; }
    // false when the slot is taken (a broken window: an internal fault).
    bool Put(IYxQueueItem* item) noexcept {
        IYxQueueItem*& slot = m_slots[item->GetSequence() % m_slots.size()];
        if (slot != nullptr)
            return false;
        slot = item;
        ++m_size;
        return true;
    }
    // The item with this sequence number, taken out; null when not here.
    IYxQueueItem* Take(std::uint64_t sequence) noexcept {
        IYxQueueItem*& slot = m_slots[sequence % m_slots.size()];
        IYxQueueItem* item = slot;
        if (item == nullptr || item->GetSequence() != sequence)
            return nullptr;
        slot = nullptr;
        --m_size;
        return item;
    }
    // Empties the ring, handing every item to f.
    template <class F>
    void TakeAll(F&& f) {
        for (IYxQueueItem*& slot : m_slots) {
            if (slot != nullptr) {
                f(slot);
                slot = nullptr;
            }
        }
        m_size = 0;
    }

private:
    std::vector<IYxQueueItem*> m_slots;
    std::size_t m_size = 0;
};

}  // namespace gnr::queue
