/*
 * Trace switches read once when the engine is first initialised: set when
 * the variable exists, whatever its value.
 *   KVENV_DEBUG       environment lookups
 *   KVSHARED_DEBUG    shared-library loading
 *   KVFINDFILE_DEBUG  the data-file search
 */
#ifndef KVSUP_CORE_TRACE_H
#define KVSUP_CORE_TRACE_H

namespace korv {

void trace_read_flags();

} // namespace korv

bool korv_trace_env();
bool korv_trace_shared();
bool korv_trace_findfile();

#endif
