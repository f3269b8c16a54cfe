/*
 * The engine's own re-entrant locks: the master lock and the eight global
 * locks taken by key. A thread that holds a lock may enter it again; it must
 * leave it as often as it entered.
 *
 * The storage is opaque and large enough for the platform's lock object, so
 * that locks live inside static tables and need no allocation.
 */
#ifndef KVSUP_CORE_LOCK_H
#define KVSUP_CORE_LOCK_H

#include <stdint.h>

namespace korv {

struct Lock {
    alignas(16) unsigned char storage[64];
};

void lock_init(Lock *lock);
void lock_destroy(Lock *lock);
/* Both return 1: entering blocks until the lock is free or already ours. */
uint32_t lock_enter(Lock *lock);
uint32_t lock_leave(Lock *lock);

/* Holds a lock for the lifetime of the guard. */
class LockGuard {
public:
    explicit LockGuard(Lock *lock) : lock_(lock) { lock_enter(lock_); }
    ~LockGuard() { lock_leave(lock_); }
    LockGuard(const LockGuard &) = delete;
    LockGuard &operator=(const LockGuard &) = delete;

private:
    Lock *lock_;
};

} // namespace korv

#endif
