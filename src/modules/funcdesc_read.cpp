// Reading a function descriptor from a CM document: a flat walk over the
// tokens, one section per descriptor. Keys and values pass through two
// string streams over fixed buffers, so an over-long value is cut at the
// buffer's size rather than read whole.
#include <string.h>
#include <kvsup.h>
#include "modules/funcdesc_internal.h"

namespace {

constexpr uint64_t kKeySize = 512;
constexpr uint64_t kValueSize = 2048;

// White space as the C locale sees it, whatever locale the host has set.
bool is_space(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool starts_with(const char *text, const char *prefix)
{
    return strncmp(text, prefix, strlen(prefix)) == 0;
}

// Cuts text at white space in place. Returns the number of words and, in
// *first, the first of them; the words then follow each other, each after
// its predecessor's NUL and any further white space.
size_t cut_words(char *text, char **first)
{
    size_t words = 0;
    *first = nullptr;
    char *p = text;
    for (;;) {
        while (*p && is_space(*p))
            *p++ = '\0';
        if (!*p)
            break;
        if (!*first)
            *first = p;
        words++;
        while (*p && !is_space(*p))
            p++;
    }
    return words;
}

// The word after word in a text cut by cut_words, once done words of the n
// have been taken (word itself when none is left).
char *next_word(char *word, size_t done, size_t n)
{
    if (done >= n)
        return word;
    word += strlen(word);
    while (!*word)
        word++;
    return word;
}

// A buffer that a string stream writes into: n bytes of text and a NUL
// that stays in place when a token fills the whole buffer.
struct TokenBuffer {
    char *text;
    KorvIO *io;

    bool open(char *storage, uint64_t n)
    {
        text = storage;
        text[n] = '\0';
        io = KorvIO_Str(text, n);
        return io != nullptr;
    }

    void close()
    {
        if (io)
            io->close(io);
        io = nullptr;
    }

    // Reads the next token of in; its text is left NUL-terminated in text.
    int read(KorvIO *in)
    {
        KorvIOStrReset(io);
        text[0] = '\0';
        return KorvReadUserCM(in, io);
    }
};

struct Reader {
    KorvFuncDesc *desc;
    bool inputSeen = false;
    bool outputSeen = false;

    // Sets a string field once; a later key of the same name is ignored.
    bool set_once(char **field, const char *value)
    {
        if (*field)
            return true;
        *field = KorvStrDup(value);
        return *field != nullptr;
    }

    // Appends a copy of value to a NULL-terminated array that grows four
    // elements at a time. The array is left as it was when memory runs out.
    bool append(char ***field, const char *value)
    {
        size_t n = 0;
        if (*field)
            while ((*field)[n])
                n++;
        char *copy = KorvStrDup(value);
        if (!copy)
            return false;
        char **list = *field;
        if (n % 4 == 0) {
            list = static_cast<char **>(korv_internal_realloc(list, (n + 4 + 1) * sizeof(char *)));
            if (!list) {
                korv_internal_free(copy);
                return false;
            }
            *field = list;
        }
        list[n] = copy;
        list[n + 1] = nullptr;
        return true;
    }

    // Replaces a string array by the words of value. A value without words
    // leaves the field as it was.
    bool set_words(char ***field, char *value)
    {
        char *word;
        size_t n = cut_words(value, &word);
        if (n == 0)
            return true;
        auto **list = static_cast<char **>(korv_internal_calloc(n + 2, sizeof(char *)));
        if (!list)
            return false;
        for (size_t i = 0; i < n; i++, word = next_word(word, i, n)) {
            list[i] = KorvStrDup(word);
            if (!list[i]) {
                KorvFreeArray(reinterpret_cast<void **>(list));
                return false;
            }
        }
        if (*field)
            KorvFreeArray(reinterpret_cast<void **>(*field));
        *field = list;
        return true;
    }

    // Bit depths: each word as a decimal integer, then -1.
    bool set_bits(char *value)
    {
        char *word;
        size_t n = cut_words(value, &word);
        if (n == 0)
            return true;
        auto *bits = static_cast<int32_t *>(korv_internal_calloc(n + 2, sizeof(int32_t)));
        if (!bits)
            return false;
        for (size_t i = 0; i < n; i++, word = next_word(word, i, n))
            bits[i] = KorvReadInt32(word, nullptr);
        bits[n] = -1;
        korv_internal_free(desc->bits);
        desc->bits = bits;
        return true;
    }

    void set_interleaves(char *value)
    {
        char *word;
        size_t n = cut_words(value, &word);
        if (n == 0)
            return;
        uint32_t mask = 0;
        for (size_t i = 0; i < n; i++, word = next_word(word, i, n)) {
            if (strcmp(word, "scanline") == 0)
                mask |= KORV_FD_SCANLINE;
            else if (strcmp(word, "pixel") == 0)
                mask |= KORV_FD_PIXEL;
            else if (strcmp(word, "frame") == 0)
                mask |= KORV_FD_FRAME;
            else if (strcmp(word, "compression") == 0)
                mask |= KORV_FD_COMPRESSION;
        }
        desc->interleaves = mask;
    }

    // Applies one key and its value; the first key that matches wins.
    // False when memory runs out.
    bool apply(const char *key, char *value)
    {
        if (strcmp(key, "init") == 0)
            return set_once(&desc->init, value);
        if (strcmp(key, "description") == 0)
            return set_once(&desc->description, value);
        if (strcmp(key, "documentation") == 0)
            return set_once(&desc->documentation, value);
        if (strcmp(key, "arg") == 0)
            return append(&desc->args, value);
        if (strcmp(key, "test") == 0)
            return append(&desc->tests, value);
        if (strcmp(key, "format") == 0)
            return append(&desc->formats, value);
        if (starts_with(key, "cspace"))
            return starts_with(value, "any") || set_words(&desc->colorSpaces, value);
        if (strcmp(key, "categories") == 0 || strcmp(key, "category") == 0)
            return set_words(&desc->categories, value);
        if (starts_with(key, "bit"))
            return starts_with(value, "any") || set_bits(value);
        if (starts_with(key, "interleave")) {
            if (!starts_with(value, "any"))
                set_interleaves(value);
            return true;
        }
        if (strcmp(key, "input") == 0) {
            if (!inputSeen)
                desc->inputs = KorvReadInt32(value, nullptr);
            inputSeen = true;
            return true;
        }
        if (strcmp(key, "output") == 0) {
            if (!outputSeen)
                desc->outputs = KorvReadInt32(value, nullptr);
            outputSeen = true;
            return true;
        }
        if (strcmp(key, "synchronous") == 0) {
            desc->synchronous = value[0] && strchr("YyTt1", value[0]) ? 1 : 0;
            return true;
        }
        return true; // unknown keys are ignored
    }

    uint32_t run(KorvIO *in, TokenBuffer &key, TokenBuffer &value)
    {
        for (;;) {
            switch (key.read(in)) {
            case KORV_CM_EOF:
                return 1;
            case KORV_CM_SECTION:
                // A second header ends this descriptor; it has been consumed.
                if (desc->name)
                    return 1;
                desc->name = KorvStrDup(key.text);
                if (!desc->name)
                    return 0;
                break;
            case KORV_CM_LABEL:
                // The value's own token code does not matter, only its text.
                if (value.read(in) == KORV_CM_EOF)
                    return 0;
                if (!apply(key.text, value.text))
                    return 0;
                break;
            default:
                break;
            }
        }
    }
};

} // namespace

extern "C" KORV_API uint32_t KorvReadFuncDesc(KorvIO *io, KorvFuncDesc *desc)
{
    if (!io || !desc)
        return 0;
    korv::fd::release_fields(desc);
    korv::fd::set_read_defaults(desc);

    char keyStorage[kKeySize + 1];
    char valueStorage[kValueSize + 1];
    TokenBuffer key{}, value{};
    uint32_t result = 0;
    if (key.open(keyStorage, kKeySize) && value.open(valueStorage, kValueSize)) {
        Reader reader{desc};
        result = reader.run(io, key, value);
    }
    key.close();
    value.close();
    return result;
}
