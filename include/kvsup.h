/*
 * kvsup.h - the public interface of kvsup, the support runtime of the
 * Korvane image-processing engine.
 *
 * This is the one public header. It compiles as C11 and as C++. Every
 * function declared here is exported by the shared library under its exact
 * name; everything else in the library is hidden.
 *
 * Conventions: most functions return an unsigned 32-bit code, 1 for success
 * and 0 for failure; where a function says so, -1 (all bits set) means
 * partial success or "call again", and 2 means that nothing was named.
 * Strings crossing the interface are UTF-8. Memory handed across the
 * interface is allocated and freed with the korv_internal_* allocators.
 */
#ifndef KVSUP_H
#define KVSUP_H

#include <stddef.h>
#include <stdint.h>
#include <stdarg.h>
#include <stdio.h>

#if defined(_WIN32)
#  if defined(KORV_STATIC)
#    define KORV_API
#  elif defined(KORV_BUILDING)
#    define KORV_API __declspec(dllexport)
#  else
#    define KORV_API __declspec(dllimport)
#  endif
#else
#  define KORV_API __attribute__((visibility("default")))
#endif

#if defined(__GNUC__)
#  define KORV_NORETURN __attribute__((noreturn))
#else
#  define KORV_NORETURN
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Pointer-sized word of argument lists and clean-up arguments. */
typedef uintptr_t KorvArgWord;

#define KORV_ARG_NULL  ((KorvArgWord)0)
#define KORV_ARG_END   ((KorvArgWord)1)
#define KORV_ARG_FIXED ((KorvArgWord)2)

/* The path separator of this platform. */
#if defined(_WIN32)
#  define KORV_PATH_SEP '\\'
#  define KORV_PATH_SEP_STR "\\"
#else
#  define KORV_PATH_SEP '/'
#  define KORV_PATH_SEP_STR "/"
#endif

/* Records referred to across subsystems, declared here so that every section
 * below can use them before their full definition. */
typedef struct KorvState KorvState;
typedef struct KorvChunk KorvChunk;
typedef struct KorvGenericHeader KorvGenericHeader;
typedef struct KorvIO KorvIO;
typedef struct KorvCMNode KorvCMNode;
typedef struct KorvSmallHeap KorvSmallHeap;
typedef struct KorvSmartBuffer KorvSmartBuffer;

/* ======================================================================
 * [core] Engine lifecycle, locks, allocation, errors and logging
 * ====================================================================== */

KORV_API void *korv_internal_malloc(size_t size);
KORV_API void *korv_internal_calloc(size_t count, size_t size);
KORV_API void *korv_internal_realloc(void *block, size_t size);
KORV_API void korv_internal_free(void *block);

/* ---- end [core] ---- */


/* ======================================================================
 * [process] Process state, module calls, chunk queue
 * ====================================================================== */

/* ---- end [process] ---- */


/* ======================================================================
 * [image] Generic image header, enumerations, windows, colour spaces
 * ====================================================================== */

/* ---- end [image] ---- */


/* ======================================================================
 * [args] Argument lists, parsing, binary argument blocks and headers
 * ====================================================================== */

/* ---- end [args] ---- */


/* ======================================================================
 * [header] Header managers and chunk encodings
 * ====================================================================== */

/* ---- end [header] ---- */


/* ======================================================================
 * [io] Streams, back ends, smart buffer
 * ====================================================================== */

/* Operation slots of a stream. read/write return the bytes moved, 0 at end of
 * data (read) or when nothing was accepted (write), -1 on error and -2 when
 * the call would block. seek's whence: 0 start, 1 current, 2 end; it returns
 * the new position from the start, or -1. */
typedef void (*KorvIOCloseFn)(KorvIO *io);
typedef int64_t (*KorvIOReadFn)(KorvIO *io, void *dst, uint64_t count);
typedef int64_t (*KorvIOWriteFn)(KorvIO *io, const void *src, uint64_t count);
typedef int32_t (*KorvIOFlushFn)(KorvIO *io);
typedef int64_t (*KorvIOSeekFn)(KorvIO *io, int64_t offset, uint32_t whence);
typedef void (*KorvIOSetOwnedFn)(KorvIO *io, uint32_t owned);

/* The stream object: two reserved words, the six slots in this order, then
 * the back end's own fields (each back end allocates the record larger). A
 * stream is released by calling its close slot with the stream itself. */
struct KorvIO {
    uintptr_t reserved1;
    uintptr_t reserved2;
    KorvIOCloseFn close;
    KorvIOReadFn read;
    KorvIOWriteFn write;
    KorvIOFlushFn flush;
    KorvIOSeekFn seek;
    KorvIOSetOwnedFn set_owned;
};

/* ---- end [io] ---- */


/* ======================================================================
 * [format] Formatted output and input (printf and scanf families)
 * ====================================================================== */

/* ---- end [format] ---- */


/* ======================================================================
 * [env] Environment, data-file search, files and directories
 * ====================================================================== */

/* ---- end [env] ---- */


/* ======================================================================
 * [cm] CM documents
 * ====================================================================== */

/* ---- end [cm] ---- */


/* ======================================================================
 * [modules] Function descriptors, info fields, module loader, libraries
 * ====================================================================== */

/* ---- end [modules] ---- */


/* ======================================================================
 * [thread] Synchronisation, threads, thread-local storage, coroutines
 * ====================================================================== */

/* ---- end [thread] ---- */


/* ======================================================================
 * [locale] Engine and user locales, locale-independent number reading
 * ====================================================================== */

/* ---- end [locale] ---- */


/* ======================================================================
 * [util] Strings, tokens, small heap, UTF-8, arrays, hashing, byte order
 * ====================================================================== */

/* ---- end [util] ---- */

#ifdef __cplusplus
}
#endif

#endif /* KVSUP_H */
