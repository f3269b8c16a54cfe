// Engine lifecycle: the master lock, the reference count and the load hook's
// entry points.
#include <kvsup.h>
#include "core/engine_internal.h"

void korv_engine_attach(void) {}
void korv_engine_detach(void) {}
