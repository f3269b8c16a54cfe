/*
 * korv: the default library of the engine's basic functions, the library a
 * function's entry name without a library name resolves in. It is a bundle
 * like any other (entry symbols named after "korv", major version 5) whose
 * init entries are also exported by their own names (KorvCopyInit, ...).
 *
 * Every function here works on the bytes of whole strips and keeps nothing
 * of the image between calls but its output buffer.
 */
#ifndef KORV_BUNDLE_KORV_H
#define KORV_BUNDLE_KORV_H

#include <stdint.h>
#include <kvsup.h>

#if defined(_WIN32)
#  define KORV_BUNDLE_EXPORT __declspec(dllexport)
#else
#  define KORV_BUNDLE_EXPORT __attribute__((visibility("default")))
#endif

namespace korvfx {

/* Transforms size bytes of a strip from in to out (out never overlaps in). */
typedef void (*StripFn)(const unsigned char *in, unsigned char *out, uint32_t size);

/* The init entry shared by every function: reads "input:h" (a NULL-terminated
 * array of input headers), makes a state whose one output has the input's
 * header and whose process entry runs fn over each strip. Named name in its
 * messages. */
uint32_t strip_init(const char *name, StripFn fn, KorvArgWord *args, KorvState **state);

} // namespace korvfx

extern "C" {
KORV_BUNDLE_EXPORT uint32_t KorvCopyInit(KorvArgWord *args, KorvState **state, KorvFuncDesc *desc);
KORV_BUNDLE_EXPORT uint32_t KorvInvertInit(KorvArgWord *args, KorvState **state,
                                           KorvFuncDesc *desc);
}

#endif
