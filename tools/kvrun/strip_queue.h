// A bounded queue of strips between two threads, built on the library's
// semaphores and critical section. One thread puts, one takes. Closing it
// wakes both ends; after that every put and take fails.
#pragma once

#include <kvsup.h>

#include <atomic>
#include <cstdint>
#include <vector>

namespace kvrun {

struct Strip {
    std::vector<unsigned char> data;
    uint32_t lines = 0; // 0 with end set: no more strips
    bool end = false;
};

class StripQueue {
public:
    explicit StripQueue(uint32_t capacity);
    ~StripQueue();
    bool ready() const { return lock_ && items_ && room_; }
    // Blocks while the queue is full; false once closed.
    bool put(Strip *strip);
    // Blocks while the queue is empty; false once closed.
    bool take(Strip **strip);
    void close();

private:
    std::vector<Strip *> ring_;
    uint32_t head_ = 0;
    uint32_t count_ = 0;
    std::atomic<bool> closed_{false};
    KorvCriticalSection *lock_ = nullptr;
    KorvSemaphore *items_ = nullptr; // strips waiting
    KorvSemaphore *room_ = nullptr;  // free places
};

} // namespace kvrun
