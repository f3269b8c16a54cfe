/*
 * Private engine entry points for the load hook.
 */
#ifndef KVSUP_CORE_ENGINE_INTERNAL_H
#define KVSUP_CORE_ENGINE_INTERNAL_H

/* Called once when the library is attached: creates the master lock and
 * initialises the engine (count 1). */
void korv_engine_attach(void);

/* Called once when the library is detached: ends the engine absolutely and
 * destroys the master lock. */
void korv_engine_detach(void);

#endif
