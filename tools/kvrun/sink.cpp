#include "sink.h"

#include "source.h"

namespace kvrun {

Sink::~Sink() = default;

Status output_format(const std::string &name, Format &format)
{
    if (name == "-") {
        format = Format::ImageExt;
        return Status{};
    }
    std::string ext = extension_of(name);
    if (ext == "pgm" || ext == "ppm" || ext == "pnm")
        format = Format::Pnm;
    else if (ext == "png") {
        if (!png_supported())
            return png_unsupported(name);
        format = Format::Png;
    } else if (ext == "kvi")
        format = Format::ImageExt;
    else if (ext == "kvp")
        format = Format::PixelStream;
    else
        return fail(kExitUsage,
                    "%s: unknown output format (use .pgm, .ppm, .pnm, .png, .kvi or .kvp)",
                    name.c_str());
    return Status{};
}

Status check_output(Format format, const ImageShape &shape, const std::string &name)
{
    if (format == Format::Pnm && shape.channels != 1 && shape.channels != 3)
        return fail(kExitUsage,
                    "%s: PNM holds grey or RGB images, not %u samples per pixel "
                    "(use .png, .kvi or .kvp)",
                    name.c_str(), shape.channels);
    return Status{};
}

std::unique_ptr<Sink> make_sink(Format format, const std::string &name)
{
    switch (format) {
    case Format::Pnm:
        return make_pnm_sink(name);
    case Format::Png:
        return make_png_sink(name);
    case Format::ImageExt:
        return make_kv_sink(name, false);
    case Format::PixelStream:
        return make_kv_sink(name, true);
    }
    return nullptr;
}

} // namespace kvrun
