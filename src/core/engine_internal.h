/*
 * Private engine entry points: the load hook's two calls and the global lock
 * table that the clean-up registry shares.
 */
#ifndef KVSUP_CORE_ENGINE_INTERNAL_H
#define KVSUP_CORE_ENGINE_INTERNAL_H

#include <stdint.h>
#include "core/lock.h"

/* Called once when the library is attached: creates the master lock and
 * initialises the engine (count 1). */
void korv_engine_attach(void);

/* Called once when the library is detached: ends the engine absolutely and
 * destroys the master lock. */
void korv_engine_detach(void);

namespace korv {

/* Slot of a four-character key: (key + (key >> 16)) mod 8. */
uint32_t global_lock_slot(uint32_t key);

/* The global lock of a key, or null while the engine is not initialised. */
Lock *global_lock(uint32_t key);

/* The lock of the clean-up registry: the global lock in slot 4. */
inline Lock *cleanup_lock() { return global_lock(4); }

} // namespace korv

#endif
