/*
 * The CM tokenizer: one call reads exactly one token from a stream, byte by
 * byte through its read slot (inline data four bytes at a time), writes the
 * token's text to another stream and returns the token's code.
 *
 * Reading rules shared by every step: a read that returns less than one byte
 * is end of input, and so is the byte 0xFF. A carriage return is dropped
 * wherever it stands, except inside inline data. The call needs no
 * lookahead: it consumes the token's bytes, plus one more after inline data
 * and after a brace block.
 */
#include "cm/cm_private.h"

#include <string.h>

namespace {

constexpr int kEnd = -1;

/* Byte source over the input stream. */
struct Source {
    KorvIO *io;

    /* One byte as it stands; end of input and 0xFF read as kEnd. */
    int raw()
    {
        unsigned char c;
        if (io->read(io, &c, 1) < 1 || c == 0xFF)
            return kEnd;
        return c;
    }

    /* One byte with carriage returns dropped. */
    int get()
    {
        int c;
        do
            c = raw();
        while (c == '\r');
        return c;
    }
};

/* Token text on its way to the output stream. Bytes are gathered and
 * written in runs; a write that moves fewer bytes than asked fails the
 * token. */
struct Sink {
    KorvIO *io;
    size_t n = 0;
    bool failed = false;
    unsigned char buf[4096];

    explicit Sink(KorvIO *out) : io(out) {}

    bool flush()
    {
        if (n && !failed && io->write(io, buf, n) != static_cast<int64_t>(n))
            failed = true;
        n = 0;
        return !failed;
    }

    bool put(int c)
    {
        if (n == sizeof buf && !flush())
            return false;
        buf[n++] = static_cast<unsigned char>(c);
        return true;
    }

    /* Ends the token: its code, or failure if any write came up short. */
    int finish(int code) { return flush() ? code : KORV_CM_FAIL; }

    /* Ends the token with failure, keeping what was gathered so far. */
    int fail()
    {
        flush();
        return KORV_CM_FAIL;
    }
};

/* Whitespace as the C locale's isspace sees it, whatever locale the host
 * program has set. */
bool is_space(int c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/* Decoding table of the inline data: the standard base64 alphabet maps to
 * 0..63, every other byte (the pad '=' too) to 0. */
struct Base64Table {
    unsigned char v[128];
    constexpr Base64Table() : v()
    {
        const char *alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (int i = 0; i < 64; i++)
            v[static_cast<unsigned char>(alphabet[i])] = static_cast<unsigned char>(i);
    }
};
constexpr Base64Table kDecode;

/* Escape phase of a string, starting with byte b. A backslash is never
 * written and makes the following quote a literal one; an unterminated
 * string ends quietly at end of input. */
int string_escapes(Source &in, Sink &out, int b, int quote)
{
    for (;;) {
        if (b == kEnd)
            return out.finish(KORV_CM_STRING);
        if (b != '\\' && !out.put(b))
            return KORV_CM_FAIL;
        int n = in.get();
        if (n == quote) {
            if (b != '\\')
                return out.finish(KORV_CM_STRING);
            if (!out.put(quote))
                return KORV_CM_FAIL;
            n = in.get();
            if (n == quote)
                return out.finish(KORV_CM_STRING);
        }
        b = n;
    }
}

/* Inline data after its marker: groups of exactly four bytes, read whole
 * and taken as they stand, until the group ">>>>". A third byte '=' makes
 * a group yield two bytes (one if the fourth is '=' too); any other group
 * yields three, so a group with a single pad ends in a zero byte. */
int inline_data(KorvIO *io, Sink &out)
{
    for (;;) {
        unsigned char g[4];
        if (io->read(io, g, 4) != 4)
            return out.fail();
        if (memcmp(g, ">>>>", 4) == 0)
            break;
        uint32_t v = static_cast<uint32_t>(kDecode.v[g[0] & 0x7F]) << 18 |
                     static_cast<uint32_t>(kDecode.v[g[1] & 0x7F]) << 12 |
                     static_cast<uint32_t>(kDecode.v[g[2] & 0x7F]) << 6 |
                     static_cast<uint32_t>(kDecode.v[g[3] & 0x7F]);
        int count = g[2] != '=' ? 3 : g[3] != '=' ? 2 : 1;
        if (out.n + 3 > sizeof out.buf && !out.flush())
            return KORV_CM_FAIL;
        out.buf[out.n++] = static_cast<unsigned char>(v >> 16);
        if (count > 1)
            out.buf[out.n++] = static_cast<unsigned char>(v >> 8);
        if (count > 2)
            out.buf[out.n++] = static_cast<unsigned char>(v);
    }
    /* The byte after the closing group (normally the closing quote) is
     * consumed unseen. */
    unsigned char closing;
    io->read(io, &closing, 1);
    return out.finish(KORV_CM_DATA);
}

/* A string of the current dialect, after its opening quote. Up to 31 bytes
 * are first gathered plainly (a backslash is ordinary there and a quote
 * always ends the string) so that the inline-data marker can be spotted; a
 * ':' or a 32nd byte hands over to the escape phase. */
int new_string(Source &in, Sink &out)
{
    char scratch[31];
    size_t held = 0;
    int c;
    for (;;) {
        c = in.get();
        if (c == kEnd || c == '"' || c == ':' || held == sizeof scratch)
            break;
        scratch[held++] = static_cast<char>(c);
    }
    if (held == 14 && kvcm::ci_equal(scratch, "<<<<Base64Data", 14))
        return inline_data(in.io, out);
    for (size_t i = 0; i < held; i++)
        if (!out.put(static_cast<unsigned char>(scratch[i])))
            return KORV_CM_FAIL;
    if (c == '"')
        return out.finish(KORV_CM_STRING);
    return string_escapes(in, out, c, '"');
}

/* A header (terminator '>' or ']', code given) or a bare word (terminator
 * ':'; its first byte already written). '=' stops both in the current
 * dialect. In a bare word a newline ends the word and '#' starts a comment
 * that swallows the rest of it; in a header both are ordinary. A backslash
 * writes the next byte as it stands; a quoted section is copied plainly up
 * to its closing quote. */
int word(Source &in, Sink &out, int terminator, int header_code, bool old)
{
    const bool header = header_code != 0;
    bool comment = false;
    int c;
    for (;;) {
        c = in.get();
        if (c == kEnd || c == terminator || (!old && c == '='))
            break;
        if (c == '\n') {
            if (!header)
                return out.finish(KORV_CM_PLAIN);
            if (!out.put(c))
                return KORV_CM_FAIL;
            continue;
        }
        if (comment)
            continue;
        if (c == '#' && !header) {
            comment = true;
            continue;
        }
        if (c == '\\') {
            int n = in.get();
            if (n != kEnd && !out.put(n))
                return KORV_CM_FAIL;
            continue;
        }
        if (!out.put(c))
            return KORV_CM_FAIL;
        if (c == '"' || (old && c == '\'')) {
            for (;;) {
                int n = in.get();
                if (n == kEnd)
                    break;
                if (!out.put(n))
                    return KORV_CM_FAIL;
                if (n == c)
                    break;
            }
        }
    }
    if (header)
        return out.finish(header_code);
    if (c == ':')
        return out.finish(KORV_CM_LABEL);
    if (c == '=')
        return out.finish(KORV_CM_ASSIGN);
    return out.finish(KORV_CM_PLAIN);
}

/* A brace block, kept whole with its braces. The byte after the closing
 * brace (normally a newline) is consumed; end of input anywhere, that byte
 * included, fails the block. */
int brace_block(Source &in, Sink &out)
{
    if (!out.put('{'))
        return KORV_CM_FAIL;
    unsigned long depth = 1;
    for (;;) {
        int c = in.get();
        if (c == kEnd)
            return out.fail();
        if (!out.put(c))
            return KORV_CM_FAIL;
        if (c == '{')
            depth++;
        else if (c == '}' && --depth == 0)
            break;
    }
    if (in.get() == kEnd)
        return out.fail();
    return out.finish(KORV_CM_PLAIN);
}

int read_token(KorvIO *in_io, KorvIO *out_io, bool old)
{
    if (!in_io || !out_io)
        return KORV_CM_FAIL;
    Source in{in_io};
    Sink out(out_io);

    int c;
    for (;;) {
        c = in.get();
        if (c == kEnd)
            return KORV_CM_EOF;
        if (c == '#') {
            do
                c = in.get();
            while (c != '\n' && c != kEnd);
            if (c == kEnd)
                return KORV_CM_EOF;
            continue;
        }
        if (!is_space(c))
            break;
    }

    if (c == '"' && !old)
        return new_string(in, out);
    if (c == '"' || (c == '\'' && old)) {
        int first = in.get();
        if (first == c)
            return out.finish(KORV_CM_STRING);
        return string_escapes(in, out, first, c);
    }
    if (c == '<')
        return word(in, out, '>', KORV_CM_OBJECT, old);
    if (c == '[')
        return word(in, out, ']', KORV_CM_SECTION, old);
    if (c == '{' && !old)
        return brace_block(in, out);
    /* Any other byte opens a bare word and is written as it stands, even a
     * backslash or a terminator. */
    if (!out.put(c))
        return KORV_CM_FAIL;
    return word(in, out, ':', 0, old);
}

} // namespace

extern "C" KORV_API int KorvReadUserCM(KorvIO *in, KorvIO *out)
{
    return read_token(in, out, false);
}

extern "C" KORV_API int KorvReadOldUserCM(KorvIO *in, KorvIO *out)
{
    return read_token(in, out, true);
}
