// Image sources: an opened input that hands out whole scan lines.
#pragma once

#include "image.h"

#include <memory>
#include <string>

namespace kvrun {

class Source {
public:
    virtual ~Source();
    const ImageShape &shape() const { return shape_; }
    // Reads exactly lines scan lines into dst (line_bytes() each). Running
    // out of data is a "truncated" failure naming the input.
    virtual Status read_lines(unsigned char *dst, uint32_t lines) = 0;

protected:
    Source(KorvIO *io, std::string name) : io_(io), name_(std::move(name)) {}
    KorvIO *io_; // owned
    std::string name_;
    ImageShape shape_;
};

// Opens the input and reads its header. The format is told by the first
// bytes: "P5"/"P6" PNM, the PNG signature, or a header document (image-ext,
// pixelstream).
Status open_source(const std::string &name, std::unique_ptr<Source> &source);

// Per-format openers; io is positioned at the first byte and becomes the
// source's.
Status open_pnm_source(KorvIO *io, const std::string &name, std::unique_ptr<Source> &source);
Status open_png_source(KorvIO *io, const std::string &name, std::unique_ptr<Source> &source);
Status open_kv_source(KorvIO *io, const std::string &name, std::unique_ptr<Source> &source);

// Whether this build reads and writes PNG, and the usage error when not.
bool png_supported();
Status png_unsupported(const std::string &name);

// The lower-case extension of a file name ("" when it has none).
std::string extension_of(const std::string &name);

} // namespace kvrun
