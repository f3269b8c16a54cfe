// Engine locks on POSIX: recursive pthread mutexes.
#include <pthread.h>
#include <new>
#include "core/lock.h"

namespace korv {

static_assert(sizeof(pthread_mutex_t) <= sizeof(Lock::storage), "lock storage too small");

static pthread_mutex_t *mutex_of(Lock *lock)
{
    return reinterpret_cast<pthread_mutex_t *>(lock->storage);
}

void lock_init(Lock *lock)
{
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(new (lock->storage) pthread_mutex_t, &attr);
    pthread_mutexattr_destroy(&attr);
}

void lock_destroy(Lock *lock)
{
    pthread_mutex_destroy(mutex_of(lock));
}

uint32_t lock_enter(Lock *lock)
{
    return pthread_mutex_lock(mutex_of(lock)) == 0 ? 1 : 0;
}

uint32_t lock_leave(Lock *lock)
{
    return pthread_mutex_unlock(mutex_of(lock)) == 0 ? 1 : 0;
}

} // namespace korv
