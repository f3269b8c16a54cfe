// The quote-aware tokenizer in its three forms (in place, copy from a small
// heap, copy from the general allocator) and the splitter built on it.
//
// A walk keeps its place in a position variable owned by the caller: null
// before the first call, the byte after the last delimiter while tokens
// remain, and the string's own start once the string is used up, so that
// the next call returns null.
#include <string.h>
#include <kvsup.h>

namespace {

// Byte classes of the scanner. A quote class is also the scanner state
// inside that quote.
enum : uint8_t {
    kPlain = 0,
    kDelimiter = 1,
    kDouble = 2,        // "..."
    kSingle = 3,        // '...'
    kDoubleEscaped = 4, // "..." with backslash escapes
    kSingleEscaped = 5, // '...' with backslash escapes
};

struct Classes {
    uint8_t of[256];
};

// Delimiters first, quotes over them. Bytes of 0x80 and above are always
// ordinary, so UTF-8 text is never cut inside a character.
void classify(Classes &classes, const char *delimiters, uint32_t flags)
{
    memset(classes.of, kPlain, sizeof classes.of);
    if (delimiters)
        for (const auto *d = reinterpret_cast<const unsigned char *>(delimiters); *d; d++)
            if (*d < 0x80)
                classes.of[*d] = kDelimiter;
    bool escapes = flags & KORV_TOKEN_ESCAPES;
    if (flags & KORV_TOKEN_DOUBLE_QUOTES)
        classes.of['"'] = escapes ? kDoubleEscaped : kDouble;
    if (flags & KORV_TOKEN_SINGLE_QUOTES)
        classes.of['\''] = escapes ? kSingleEscaped : kSingle;
}

unsigned char closing_quote(uint8_t state)
{
    return state == kDouble || state == kDoubleEscaped ? '"' : '\'';
}

bool escaping(uint8_t state)
{
    return state == kDoubleEscaped || state == kSingleEscaped;
}

// Where the token starting at p ends: at its delimiter, or at the string's
// terminator (an unclosed quote runs to the end).
const unsigned char *scan(const unsigned char *p, const Classes &classes)
{
    uint8_t state = kPlain;
    for (;; p++) {
        unsigned char b = *p;
        if (b == 0)
            return p;
        if (state == kPlain) {
            state = classes.of[b];
            if (state == kDelimiter)
                return p;
        } else if (escaping(state) && b == '\\') {
            if (p[1] == 0)
                return p + 1;
            p++; // the escaped byte is skipped unseen
        } else if (b == closing_quote(state)) {
            state = kPlain;
        }
    }
}

unsigned char unescape(unsigned char b)
{
    switch (b) {
    case 'n': return '\n';
    case 'r': return '\r';
    case 't': return '\t';
    default: return b;
    }
}

// Writes the n bytes of a token to out with quotes removed (or kept) and
// escapes inside quotes replaced; out may be src itself, as the text only
// shrinks. Terminates out.
void rewrite(char *out, const char *src, size_t n, const Classes &classes, bool keep_quotes)
{
    uint8_t state = kPlain;
    size_t w = 0;
    for (size_t i = 0; i < n; i++) {
        auto b = (unsigned char)src[i];
        if (state == kPlain) {
            uint8_t k = classes.of[b];
            if (k >= kDouble) {
                state = k;
                if (!keep_quotes)
                    continue;
            }
        } else if (b == closing_quote(state)) {
            state = kPlain;
            if (!keep_quotes)
                continue;
        } else if (escaping(state) && b == '\\' && i + 1 < n) {
            b = unescape((unsigned char)src[++i]);
        }
        out[w++] = (char)b;
    }
    out[w] = 0;
}

bool rewrites(uint32_t flags)
{
    return flags & (KORV_TOKEN_SINGLE_QUOTES | KORV_TOKEN_DOUBLE_QUOTES);
}

// The start of the next token, or null when the walk is over (the position
// is then set to the string's start).
const unsigned char *token_start(const char *string, const Classes &classes, uint32_t flags,
                                 const char **position)
{
    if (*position == string)
        return nullptr;
    const auto *p = reinterpret_cast<const unsigned char *>(*position ? *position : string);
    if (flags & KORV_TOKEN_SKIP_DELIMITERS) {
        while (*p && classes.of[*p] == kDelimiter)
            p++;
        if (*p == 0) {
            *position = string;
            return nullptr;
        }
    }
    return p;
}

const char *position_after(const char *string, const unsigned char *end)
{
    return *end ? reinterpret_cast<const char *>(end + 1) : string;
}

} // namespace

extern "C" KORV_API char *KorvTokenParseEx(char *string, const char *delimiters, uint32_t flags,
                                           char **position)
{
    if (!string || !position)
        return nullptr;
    Classes classes;
    classify(classes, delimiters, flags);
    const char *at = *position;
    const unsigned char *start = token_start(string, classes, flags, &at);
    *position = const_cast<char *>(at);
    if (!start)
        return nullptr;
    const unsigned char *end = scan(start, classes);
    *position = const_cast<char *>(position_after(string, end));
    char *token = string + (start - reinterpret_cast<unsigned char *>(string));
    char *cut = string + (end - reinterpret_cast<unsigned char *>(string));
    *cut = 0;
    if (rewrites(flags))
        rewrite(token, token, (size_t)(cut - token), classes, flags & KORV_TOKEN_KEEP_QUOTES);
    return token;
}

extern "C" KORV_API char *KorvTokenParse(char *string, const char *delimiters, char **position)
{
    return KorvTokenParseEx(string, delimiters, 0, position);
}

extern "C" KORV_API char *KorvShDupTokenParseEx(KorvSmallHeap *heap, const char *string,
                                                const char *delimiters, uint32_t flags,
                                                const char **position)
{
    if (!string || !position)
        return nullptr;
    Classes classes;
    classify(classes, delimiters, flags);
    const char *at = *position;
    const unsigned char *start = token_start(string, classes, flags, &at);
    if (!start) {
        *position = at;
        return nullptr;
    }
    const unsigned char *end = scan(start, classes);
    auto n = (size_t)(end - start);
    auto *copy = static_cast<char *>(korv_internal_sh_malloc(heap, n + 1));
    if (!copy)
        return nullptr; // the position stays, so the call can be repeated
    const auto *src = reinterpret_cast<const char *>(start);
    if (rewrites(flags)) {
        rewrite(copy, src, n, classes, flags & KORV_TOKEN_KEEP_QUOTES);
    } else {
        memcpy(copy, src, n);
        copy[n] = 0;
    }
    *position = position_after(string, end);
    return copy;
}

extern "C" KORV_API char *KorvShDupTokenParse(KorvSmallHeap *heap, const char *string,
                                              const char *delimiters, const char **position)
{
    return KorvShDupTokenParseEx(heap, string, delimiters, 0, position);
}

extern "C" KORV_API char *KorvDupTokenParseEx(const char *string, const char *delimiters,
                                              uint32_t flags, const char **position)
{
    return KorvShDupTokenParseEx(nullptr, string, delimiters, flags, position);
}

extern "C" KORV_API char *KorvDupTokenParse(const char *string, const char *delimiters,
                                            const char **position)
{
    return KorvShDupTokenParseEx(nullptr, string, delimiters, 0, position);
}

extern "C" KORV_API char **KorvShSplitStringEx(KorvSmallHeap *heap, const char *string,
                                               const char *delimiters, uint32_t flags)
{
    if (!string)
        return nullptr;
    // Tokens are gathered in a working array that doubles when full, then
    // copied into an array of exactly the right size. A token that cannot be
    // copied, or a working array that cannot grow, ends the list early.
    char *first[32];
    char **work = first;
    size_t capacity = 32, count = 0;
    const char *position = nullptr;
    char *token;
    while ((token = KorvShDupTokenParseEx(heap, string, delimiters, flags, &position))) {
        if (count == capacity) {
            auto **grown = static_cast<char **>(korv_internal_malloc(2 * capacity * sizeof(char *)));
            if (!grown) {
                if (!heap)
                    korv_internal_free(token);
                break;
            }
            memcpy(grown, work, count * sizeof(char *));
            if (work != first)
                korv_internal_free(work);
            work = grown;
            capacity *= 2;
        }
        work[count++] = token;
    }
    auto **result = static_cast<char **>(korv_internal_sh_malloc(heap, (count + 1) * sizeof(char *)));
    if (result) {
        memcpy(result, work, count * sizeof(char *));
        result[count] = nullptr;
    } else if (!heap) {
        for (size_t i = 0; i < count; i++)
            korv_internal_free(work[i]);
    }
    if (work != first)
        korv_internal_free(work);
    return result;
}

extern "C" KORV_API char **KorvShSplitString(KorvSmallHeap *heap, const char *string,
                                             const char *delimiters)
{
    return KorvShSplitStringEx(heap, string, delimiters, 0);
}

extern "C" KORV_API char **KorvSplitStringEx(const char *string, const char *delimiters,
                                             uint32_t flags)
{
    return KorvShSplitStringEx(nullptr, string, delimiters, flags);
}

extern "C" KORV_API char **KorvSplitString(const char *string, const char *delimiters)
{
    return KorvShSplitStringEx(nullptr, string, delimiters, 0);
}
