// Status and accumulated error text of a process state, and the "KV-nnn"
// code scanner.
#include <string.h>
#include <kvsup.h>
#include "core/format.h"
#include "core/message.h"

extern "C" KORV_API int32_t KorvSetError(KorvState *state, int32_t code, const char *format, ...)
{
    if (!state)
        return code;
    if (format) {
        va_list args, again;
        va_start(args, format);
        va_copy(again, args);
        int length = korv::vformat(nullptr, 0, format, args);
        va_end(args);
        if (length >= 0) {
            // A new message is appended after ", "; a failed growth keeps the
            // old message as it was.
            size_t old = state->errorMsg ? strlen(state->errorMsg) : 0;
            size_t start = state->errorMsg ? old + 2 : 0;
            auto *grown = static_cast<char *>(
                korv_internal_realloc(state->errorMsg, start + (size_t)length + 1));
            if (grown) {
                if (start)
                    memcpy(grown + old, ", ", 2);
                korv::vformat(grown + start, (size_t)length + 1, format, again);
                state->errorMsg = grown;
            }
        }
        va_end(again);
    }
    state->status = code;
    return code;
}

extern "C" KORV_API int32_t KorvGetStatus(KorvState *state)
{
    return state ? state->status : 0;
}

extern "C" KORV_API int32_t KorvSetStatus(KorvState *state, int32_t status)
{
    if (state)
        state->status = status;
    return status;
}

extern "C" KORV_API char *KorvGetErrorMsg(KorvState *state)
{
    if (!state || !state->getErrorMsg)
        return nullptr;
    return state->getErrorMsg(state);
}

extern "C" KORV_API int32_t KorvGetErrorCode(KorvState *state)
{
    if (!state || !state->errorMsg)
        return 0;
    return KorvParseErrorCode(state->errorMsg);
}

// Scans for "KV-" and digits. The value is read from (position - count - 1):
// the first digit when something follows the digits, but the character just
// before them (the minus sign) when the digits end the text, so that a text
// ending in "KV-42" reads as -42 and "KV-42:" as 42.
extern "C" KORV_API int32_t KorvParseErrorCode(const char *text)
{
    if (!text)
        return 0;
    int state = 0;
    size_t position = 0, count = 0;
    for (const char *p = text; *p && state != 5; p++, position++) {
        char c = *p;
        bool digit = c >= '0' && c <= '9';
        switch (state) {
        case 0:
            if (c == 'K')
                state = 1;
            break;
        case 1:
            if (c == 'V')
                state = 2;
            break;
        case 2:
            if (c == '-')
                state = 3;
            else if (c == 'K')
                state = 1;
            break;
        case 3:
            if (digit) {
                state = 4;
                count = 1;
            } else if (c == 'K') {
                state = 1;
            }
            break;
        case 4:
            if (digit)
                count++;
            else
                state = 5;
            break;
        }
    }
    if (count == 0)
        return 0;
    int32_t value = 0;
    KorvSScanf(text + (position - count - 1), "%d", &value);
    return value;
}

extern "C" KORV_API void KorvReportError(KorvState *state)
{
    if (state && state->errorMsg)
        KorvError("\t%s\n", state->errorMsg);
}
