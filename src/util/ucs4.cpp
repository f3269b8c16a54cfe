// UTF-8 to UCS-4 (32-bit code points) and back. Decoding follows the same
// rules as every UTF-8 walk: a bad sequence ends the text quietly.
#include <kvsup.h>
#include "util/utf8_codec.h"
#include "util/utf8_grow.h"

using namespace korv::utf8;

extern "C" KORV_API uint32_t *KorvUTF8ConvertToUCS4(const char *s)
{
    if (!s)
        return nullptr;
    size_t capacity, n = 0;
    auto *out = start_buffer<uint32_t>(capacity);
    if (!out)
        return nullptr;
    const auto *p = reinterpret_cast<const unsigned char *>(s);
    for (;;) {
        if (n + 1 >= capacity && !double_buffer(out, capacity))
            return nullptr;
        Decoded d = decode(p, SIZE_MAX);
        if (d.length <= 0)
            break;
        p += d.length;
        out[n++] = d.value;
    }
    out[n] = 0;
    return out;
}

// A value too large for four UTF-8 bytes (0x200000 and above) fails the
// conversion, as a broken surrogate pair fails the UTF-16 one.
extern "C" KORV_API char *KorvUTF8ConvertFromUCS4(const uint32_t *s)
{
    if (!s)
        return nullptr;
    size_t capacity, n = 0;
    auto *out = start_buffer<unsigned char>(capacity);
    if (!out)
        return nullptr;
    for (const uint32_t *p = s; *p; p++) {
        if (n + 4 >= capacity && !double_buffer(out, capacity))
            return nullptr;
        if (encoded_length(*p) == 0) {
            korv_internal_free(out);
            return nullptr;
        }
        n += (size_t)encode(*p, out + n);
    }
    out[n] = 0;
    return reinterpret_cast<char *>(out);
}
