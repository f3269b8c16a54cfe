// The stream side of the scan sources: one byte per read.
#include "format/scan_source.h"

namespace korv::scan {

void StreamSource::fetch() {
    unsigned char c;
    uint64_t got = KorvIOReadBytes(io, &c, 1);
    if (got == 1) {
        cur = c;
        return;
    }
    // 0 is the end of the data; anything else (an error, a read that would
    // block, a null stream) is a failed read and ends the input as well.
    cur = end_of_input;
    if (got != 0) failure = read_failed;
}

} // namespace korv::scan
