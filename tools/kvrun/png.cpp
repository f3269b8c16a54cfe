// PNG through libpng. Palette, low-bit grey and transparency chunks are
// expanded, so that every PNG reads as 1 to 4 samples of 8 or 16 bits.
#include "sink.h"
#include "source.h"
#include "stream_io.h"

#include <png.h>

#include <cstdio>

#include <csetjmp>

namespace kvrun {

namespace {

// libpng reports errors through a callback that must not return: it keeps
// the text and jumps back to the setjmp of the call in progress.
struct PngErrors {
    char text[256] = "PNG error";

    static void on_error(png_structp png, png_const_charp message)
    {
        auto *self = static_cast<PngErrors *>(png_get_error_ptr(png));
        snprintf(self->text, sizeof self->text, "%s", message ? message : "PNG error");
        png_longjmp(png, 1);
    }
    static void on_warning(png_structp, png_const_charp) {}
};

class PngSource : public Source {
public:
    PngSource(KorvIO *io, std::string name) : Source(io, std::move(name)) {}
    ~PngSource() override
    {
        if (png_)
            png_destroy_read_struct(&png_, info_ ? &info_ : nullptr, nullptr);
    }

    Status open()
    {
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &errors_, PngErrors::on_error,
                                      PngErrors::on_warning);
        if (png_)
            info_ = png_create_info_struct(png_);
        if (!png_ || !info_)
            return fail(kExitData, "%s: out of memory", name_.c_str());
        if (setjmp(png_jmpbuf(png_)))
            return fail(kExitData, "%s: malformed PNG: %s", name_.c_str(), errors_.text);
        png_set_read_fn(png_, this, read_data);
        png_read_info(png_, info_);
        if (png_get_interlace_type(png_, info_) != PNG_INTERLACE_NONE)
            return fail(kExitData,
                        "%s: interlaced PNG is not handled (it cannot be read line by line)",
                        name_.c_str());
        int color = png_get_color_type(png_, info_);
        if (color == PNG_COLOR_TYPE_PALETTE)
            png_set_palette_to_rgb(png_);
        if (color == PNG_COLOR_TYPE_GRAY && png_get_bit_depth(png_, info_) < 8)
            png_set_expand_gray_1_2_4_to_8(png_);
        if (png_get_valid(png_, info_, PNG_INFO_tRNS))
            png_set_tRNS_to_alpha(png_);
        if (png_get_bit_depth(png_, info_) == 16 && machine_is_little_endian())
            png_set_swap(png_);
        png_read_update_info(png_, info_);
        shape_.width = png_get_image_width(png_, info_);
        shape_.height = png_get_image_height(png_, info_);
        shape_.channels = png_get_channels(png_, info_);
        shape_.bits = png_get_bit_depth(png_, info_);
        shape_.colorSpace = KorvGetDefaultColor(shape_.channels);
        return check_shape(shape_, name_.c_str());
    }

    Status read_lines(unsigned char *dst, uint32_t lines) override
    {
        const uint64_t line = shape_.line_bytes();
        if (setjmp(png_jmpbuf(png_)))
            return fail(kExitData, "%s: malformed PNG: %s", name_.c_str(), errors_.text);
        for (uint32_t i = 0; i < lines; i++)
            png_read_row(png_, dst + line * i, nullptr);
        return Status{};
    }

private:
    static void read_data(png_structp png, png_bytep data, png_size_t length)
    {
        auto *self = static_cast<PngSource *>(png_get_io_ptr(png));
        int64_t got = read_full(self->io_, data, length);
        if (got < 0)
            png_error(png, "read error");
        if (static_cast<png_size_t>(got) < length)
            png_error(png, "truncated data");
    }

    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    PngErrors errors_;
};

class PngSink : public Sink {
public:
    explicit PngSink(std::string name) : Sink(std::move(name)) {}
    ~PngSink() override
    {
        if (png_)
            png_destroy_write_struct(&png_, info_ ? &info_ : nullptr);
    }

    Status begin(KorvIO *io, const ImageShape &shape) override
    {
        io_ = io;
        shape_ = shape;
        png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &errors_, PngErrors::on_error,
                                       PngErrors::on_warning);
        if (png_)
            info_ = png_create_info_struct(png_);
        if (!png_ || !info_)
            return fail(kExitData, "%s: out of memory", name_.c_str());
        if (setjmp(png_jmpbuf(png_)))
            return failure();
        static const int types[5] = {0, PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA,
                                     PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGB_ALPHA};
        png_set_write_fn(png_, this, write_data, flush_data);
        png_set_IHDR(png_, info_, shape.width, shape.height, static_cast<int>(shape.bits),
                     types[shape.channels], PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png_, info_);
        if (shape.bits == 16 && machine_is_little_endian())
            png_set_swap(png_);
        return Status{};
    }

    Status write_lines(unsigned char *data, uint32_t lines) override
    {
        const uint64_t line = shape_.line_bytes();
        if (setjmp(png_jmpbuf(png_)))
            return failure();
        for (uint32_t i = 0; i < lines; i++)
            png_write_row(png_, data + line * i);
        return Status{};
    }

    Status finish() override
    {
        if (setjmp(png_jmpbuf(png_)))
            return failure();
        png_write_end(png_, nullptr);
        return Status{};
    }

private:
    Status failure()
    {
        if (write_failed_)
            return fail(kExitData, "%s: write failed", name_.c_str());
        return fail(kExitData, "%s: PNG error: %s", name_.c_str(), errors_.text);
    }

    static void write_data(png_structp png, png_bytep data, png_size_t length)
    {
        auto *self = static_cast<PngSink *>(png_get_io_ptr(png));
        if (!write_full(self->io_, data, length)) {
            self->write_failed_ = true;
            png_error(png, "write failed");
        }
    }
    static void flush_data(png_structp) {}

    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    PngErrors errors_;
    bool write_failed_ = false;
};

} // namespace

bool png_supported() { return true; }

Status open_png_source(KorvIO *io, const std::string &name, std::unique_ptr<Source> &source)
{
    auto png = std::make_unique<PngSource>(io, name);
    Status st = png->open();
    if (st.ok())
        source = std::move(png);
    return st;
}

std::unique_ptr<Sink> make_png_sink(const std::string &name)
{
    return std::make_unique<PngSink>(name);
}

} // namespace kvrun
