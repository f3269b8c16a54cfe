// Streams of kvrun: opening the input, looking at its first bytes without
// losing them, and exact reads.
#pragma once

#include "report.h"

#include <kvsup.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace kvrun {

// The input named on the command line: '-' for standard input, an http://
// address, or a file. The stream is owned by the caller (close slot).
Status open_input(const std::string &name, KorvIO **io);

// A stream that first hands out the bytes already taken from inner, then
// reads inner. It owns inner: closing it closes inner.
KorvIO *prefix_stream(KorvIO *inner, const unsigned char *bytes, size_t count);

// Reads up to count bytes (fewer only at end of data); -1 on a read error.
int64_t read_full(KorvIO *io, void *dst, uint64_t count);

// Writes all count bytes; false when the stream fails or takes nothing.
bool write_full(KorvIO *io, const void *src, uint64_t count);

bool is_url(const std::string &name);

} // namespace kvrun
