#include "strip_queue.h"

namespace kvrun {

StripQueue::StripQueue(uint32_t capacity) : ring_(capacity)
{
    KorvInitCriticalSection(&lock_);
    KorvInitSemaphore(&items_, 0);
    KorvInitSemaphore(&room_, capacity);
}

StripQueue::~StripQueue()
{
    KorvFreeSemaphore(items_);
    KorvFreeSemaphore(room_);
    KorvFreeCriticalSection(lock_);
}

bool StripQueue::put(Strip *strip)
{
    if (closed_ || KorvTimedWaitSemaphore(room_, KORV_INFINITE) != 1 || closed_)
        return false;
    KorvEnterCriticalSection(lock_);
    ring_[(head_ + count_) % ring_.size()] = strip;
    count_++;
    KorvLeaveCriticalSection(lock_);
    KorvPostSemaphore(items_);
    return true;
}

bool StripQueue::take(Strip **strip)
{
    if (closed_ || KorvTimedWaitSemaphore(items_, KORV_INFINITE) != 1 || closed_)
        return false;
    KorvEnterCriticalSection(lock_);
    *strip = ring_[head_];
    head_ = static_cast<uint32_t>((head_ + 1) % ring_.size());
    count_--;
    KorvLeaveCriticalSection(lock_);
    KorvPostSemaphore(room_);
    return true;
}

// Each end waits on at most one semaphore at a time and stops at the first
// failed call, so one extra count on each wakes whoever is waiting.
void StripQueue::close()
{
    if (closed_.exchange(true))
        return;
    KorvPostSemaphore(items_);
    KorvPostSemaphore(room_);
}

} // namespace kvrun
