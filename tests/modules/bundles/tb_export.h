// Symbols the test libraries export.
#pragma once

#if defined(_WIN32)
#  define TB_EXPORT extern "C" __declspec(dllexport)
#else
#  define TB_EXPORT extern "C" __attribute__((visibility("default")))
#endif

#define TB_CAT2(a, b) a##b
#define TB_CAT(a, b) TB_CAT2(a, b)
#define TB_STR2(a) #a
#define TB_STR(a) TB_STR2(a)
