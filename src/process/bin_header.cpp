// Output headers handed out as binary headers in this machine's byte order.
#include "process/state_internal.h"

namespace korv {

int32_t output_bin_header(KorvGenericHeader *header, void *buffer, uint32_t size)
{
    // Without a buffer the writer only reports the size it needs.
    return KorvBinHdrFromHdr(header, KorvIdentifyEndian(), buffer ? &buffer : nullptr, size);
}

} // namespace korv
