// The images kvrun moves: whole scan lines of pixel-interleaved samples, 1 to
// 4 samples per pixel (grey, grey+alpha, RGB, RGBA), 8 or 16 bits each;
// 16-bit samples are in the machine's byte order in memory.
#pragma once

#include "report.h"

#include <kvsup.h>

#include <cstddef>
#include <cstdint>

namespace kvrun {

struct ImageShape {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t channels = 0; // samples per pixel
    uint32_t bits = 0;     // 8 or 16
    uint32_t colorSpace = 0;

    uint64_t line_bytes() const { return uint64_t(width) * channels * (bits / 8); }
};

// Lines per strip: about 1 MiB of data, at least one line.
uint32_t strip_lines(uint64_t line_bytes);

// Checks that a size fits what kvrun handles (width, height and a line that
// fits 32-bit chunk sizes); what names the image in the message.
Status check_shape(const ImageShape &shape, const char *what);

// A new generic header describing shape (free it with its free entry).
KorvGenericHeader *make_header(const ImageShape &shape);

// Reads a header a function produced; fails unless it is a pixel-interleaved
// raster of 1 to 4 samples of 8 or 16 bits with whole-line geometry.
Status shape_from_header(const KorvGenericHeader *header, const char *who, ImageShape &shape);

// Swaps 16-bit samples in place (count samples).
void swap16(unsigned char *data, size_t count);
bool machine_is_little_endian();

} // namespace kvrun
