// UTF-8, UTF-16 and UCS-4 conversions, the character walks and the named
// code pages over fuzzed bytes. Valid text must survive the round trips.
#include "fuzz_util.h"
#include "util/utf16_paths.h"

namespace {

const char *const kEncodings[] = {nullptr, "utf8", "UTF-8", "ACP", "OEMCP", "CP1252", "cp437",
                                  "CP65001", "CP932", "CP99999", "CPx"};

// Fuzzed bytes as 16-bit or 32-bit units ending in 0.
template <typename T>
std::basic_string<T> units(const uint8_t *data, size_t size)
{
    std::basic_string<T> s;
    for (size_t i = 0; i + sizeof(T) <= size; i += sizeof(T)) {
        T v;
        memcpy(&v, data + i, sizeof v);
        if (v)
            s.push_back(v);
    }
    return s;
}

bool valid_utf8(const char *s)
{
    for (;;) {
        int32_t n = KorvUTF8NextCharLen(s);
        if (n == 0)
            return true;
        if (n < 0)
            return false;
        s += n;
    }
}

// Text that survives UTF-16: characters beyond the Basic Multilingual Plane
// come back otherwise on purpose, surrogates cannot stand alone there, and
// the byte-order marks are skipped on the way back.
bool survives_utf16(const char *s)
{
    size_t remaining = strlen(s);
    int32_t error = 0;
    for (;;) {
        uint32_t c = KorvUTF8NextChar(&s, &remaining, &error);
        if (error)
            return false;
        if (c == 0)
            return true;
        if (c >= 0x10000 || (c >= 0xD800 && c <= 0xDFFF) || c == 0xFEFF || c == 0xFFFE)
            return false;
    }
}

// The conversions through the block way the machine chose must give what
// the one-character code gives, byte for byte, both ways.
template <typename Out, typename In>
void same_on_every_path(Out *(*convert)(const In *), const In *text)
{
    Out *fast = convert(text);
    korv::utf16::force_path(korv::utf16::Path::Scalar);
    Out *plain = convert(text);
    korv::utf16::reset_path();
    if (!fast != !plain)
        abort(); // one way refused the text and the other did not
    size_t n = 0;
    while (plain && plain[n])
        n++;
    if (plain && memcmp(fast, plain, (n + 1) * sizeof(Out)) != 0)
        abort(); // the block way disagrees with the one-character code
    korv_internal_free(fast);
    korv_internal_free(plain);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1)
        return 0;
    uint8_t selector = data[0];
    std::string text(reinterpret_cast<const char *>(data + 1), size - 1);
    const char *s = text.c_str();

    // Walks: the stepping calls must agree with the counting ones.
    int32_t length = KorvUTF8StrLen(s);
    int32_t steps = 0;
    const char *p = s;
    size_t remaining = strlen(s);
    int32_t error = 0;
    while (KorvUTF8NextChar(&p, &remaining, &error) != 0 && !error)
        steps++;
    if (!error && steps != length)
        abort();
    KorvUTF8StrNLen(s, selector);
    KorvUTF8StrChr(s, 0x20AC);
    KorvUTF8StrRChr(s, selector);
    for (const char *q = s; *q;) {
        KorvUTF8IsNextCharValid(q);
        const char *next = KorvUTF8Inc(q);
        if (next <= q)
            abort(); // the walk does not move
        q = next;
    }

    bool valid = valid_utf8(s);
    uint16_t *wide = KorvUTF8ConvertToUTF16(s);
    if (wide) {
        char *back = KorvUTF8ConvertFromUTF16(wide);
        if (survives_utf16(s) && (!back || strcmp(back, s) != 0))
            abort(); // text changed through UTF-16
        korv_internal_free(back);
        korv_internal_free(wide);
    }
    uint32_t *ucs = KorvUTF8ConvertToUCS4(s);
    if (ucs) {
        char *back = KorvUTF8ConvertFromUCS4(ucs);
        if (valid && (!back || strcmp(back, s) != 0))
            abort(); // valid text changed through UCS-4
        korv_internal_free(back);
        korv_internal_free(ucs);
    }

    // The input read as units of the wider forms.
    std::u16string w = units<char16_t>(data + 1, size - 1);
    same_on_every_path(KorvUTF8ConvertFromUTF16, reinterpret_cast<const uint16_t *>(w.c_str()));
    same_on_every_path(KorvUTF8ConvertToUTF16, s);
    std::u32string u = units<char32_t>(data + 1, size - 1);
    korv_internal_free(KorvUTF8ConvertFromUCS4(reinterpret_cast<const uint32_t *>(u.c_str())));

    const char *encoding = kEncodings[selector % (sizeof kEncodings / sizeof *kEncodings)];
    int32_t out_length = -1;
    char *converted = KorvUTF8ConvertTo(s, encoding, &out_length);
    if (converted) {
        if (out_length < 0 || static_cast<size_t>(out_length) != strlen(converted))
            abort(); // the stored length is not the result's
        korv_internal_free(converted);
    }
    int32_t from_length = static_cast<int32_t>(selector >> 4) - 4;
    korv_internal_free(KorvUTF8ConvertFrom(s, from_length, encoding));
    return 0;
}
