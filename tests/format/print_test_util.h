// Helpers of the output engine tests.
#pragma once

#include "kvsup.h"

#include <gtest/gtest.h>

#include <stdarg.h>
#include <string>

// The text KorvVSNPrintf makes of format; a count that differs from the
// text's length fails the test.
inline std::string Fmt(const char *format, ...)
{
    char buffer[1024];
    va_list args;
    va_start(args, format);
    uint64_t n = KorvVSNPrintf(buffer, sizeof buffer, format, args);
    va_end(args);
    std::string text(buffer);
    EXPECT_EQ(n, text.size()) << format;
    return text;
}
