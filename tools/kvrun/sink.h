// Image sinks: the output formats, chosen by the extension of OUTPUT.
#pragma once

#include "image.h"

#include <memory>
#include <string>

namespace kvrun {

enum class Format { Pnm, Png, ImageExt, PixelStream };

class Sink {
public:
    virtual ~Sink();
    // Writes the header of an image of that geometry.
    virtual Status begin(KorvIO *io, const ImageShape &shape) = 0;
    // Writes lines whole scan lines; the sink may change data in place
    // (byte order).
    virtual Status write_lines(unsigned char *data, uint32_t lines) = 0;
    // After the last line.
    virtual Status finish() { return Status{}; }

protected:
    explicit Sink(std::string name) : name_(std::move(name)) {}
    std::string name_;
    KorvIO *io_ = nullptr; // not owned
    ImageShape shape_;
};

// The format of OUTPUT: '-' is image-ext; otherwise by extension.
Status output_format(const std::string &name, Format &format);

// Whether the format can hold such an image (PNM: grey or RGB only).
Status check_output(Format format, const ImageShape &shape, const std::string &name);

std::unique_ptr<Sink> make_sink(Format format, const std::string &name);
std::unique_ptr<Sink> make_pnm_sink(const std::string &name);
std::unique_ptr<Sink> make_png_sink(const std::string &name);
std::unique_ptr<Sink> make_kv_sink(const std::string &name, bool pixelstream);

} // namespace kvrun
