// Output headers handed out as binary headers.
#include "process/state_internal.h"

namespace korv {

int32_t output_bin_header(KorvGenericHeader *header, void *buffer, uint32_t size)
{
    (void)header;
    (void)buffer;
    (void)size;
    return 0;
}

} // namespace korv
