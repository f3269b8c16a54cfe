/*
 * Resolution, aspect and units of an image, kept as the parameters
 * "resolution", "aspect" and "units" of section "Origin". Numbers are
 * written in their shortest form that reads back to the same double and
 * read without regard to the locale.
 */
#include "image/image_private.h"

#include <charconv>
#include <string.h>

namespace {

constexpr const char *kOrigin = "Origin";

/* The parameter's text read as a number (leading blanks allowed); false
 * when the parameter is missing or does not begin with a number. */
bool get_double(KorvCMNode *params, const char *name, double *value)
{
    const char *text = KorvGetParam(params, nullptr, kOrigin, name);
    if (!text)
        return false;
    while (*text == ' ' || *text == '\t')
        text++;
    if (*text == '+')
        text++;
    auto result = std::from_chars(text, text + strlen(text), *value);
    return result.ec == std::errc();
}

/* Removes every parameter of that name, so that a later set leaves one. */
void delete_all(KorvGenericHeader *header, const char *name)
{
    KorvCMNode *found = KorvGetUserCMData(header->params, nullptr, kOrigin, name);
    while (found) {
        header->params = KorvDeleteUserCMData(header->params, nullptr, kOrigin, name);
        KorvCMNode *next = KorvGetUserCMData(header->params, nullptr, kOrigin, name);
        if (next == found)
            break;
        found = next;
    }
}

void set_double(KorvGenericHeader *header, const char *name, double value)
{
    char text[64];
    auto result = std::to_chars(text, text + sizeof text, value);
    delete_all(header, name);
    if (result.ec == std::errc())
        header->params = KorvSetParam(header->params, nullptr, kOrigin, name, text,
                                      static_cast<uint64_t>(result.ptr - text));
}

} // namespace

/* 1 when a resolution is given, 2 when only an aspect is, 0 for neither;
 * without a resolution both values start at 1.0. */
extern "C" KORV_API uint32_t KorvHeaderGetResolution(KorvGenericHeader *header, double *x,
                                                     double *y)
{
    KorvCMNode *params = header ? header->params : nullptr;
    double resolution = 1.0, aspect = 0.0;
    uint32_t result = 2;
    if (get_double(params, "resolution", &resolution))
        result = 1;
    double vertical = resolution;
    if (get_double(params, "aspect", &aspect)) {
        if (aspect > 0.0)
            vertical /= aspect;
    } else if (result == 2) {
        result = 0;
    }
    if (x)
        *x = resolution;
    if (y)
        *y = vertical;
    return result;
}

/* A resolution of 1.0 or less is never stored: it reads back as "none". */
extern "C" KORV_API uint32_t KorvHeaderSetResolution(KorvGenericHeader *header, double x, double y)
{
    if (!header)
        return 0;
    if (x > 1.0 && y != 0.0)
        set_double(header, "resolution", x);
    else
        delete_all(header, "resolution");
    if (y == 0.0)
        delete_all(header, "aspect");
    else
        set_double(header, "aspect", x / y);
    return 1;
}

extern "C" KORV_API char *KorvHeaderGetUnits(KorvGenericHeader *header)
{
    if (!header)
        return nullptr;
    return KorvGetParam(header->params, nullptr, kOrigin, "units");
}

/* The units are kept as a quoted string, so any text reads back as given;
 * a NULL text removes them. */
extern "C" KORV_API uint32_t KorvHeaderSetUnits(KorvGenericHeader *header, const char *units)
{
    if (!header)
        return 0;
    delete_all(header, "units");
    if (units)
        header->params = KorvSetString(header->params, nullptr, kOrigin, "units", units);
    return 1;
}
