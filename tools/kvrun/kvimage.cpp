// The library's own header documents: "image-ext" (binary chunk frames of
// whole scan lines) and "pixelstream" (one text line per pixel). A
// pixelstream header describes pixels only; kvrun keeps the raster size in
// its "Raster" section ("pixels", "scanlines"), as image-ext does.
#include "sink.h"
#include "source.h"
#include "stream_io.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kvrun {

namespace {

const uint32_t kChunkEnd = 1; // chunk flag: end of data

bool raster_size(KorvCMNode *params, const char *name, uint32_t &value)
{
    char *text = KVHdrGetHeaderParam(params, "Raster", name);
    if (!text)
        return false;
    char *end = nullptr;
    unsigned long v = strtoul(text, &end, 10);
    if (end == text || v == 0 || v > 0xffffffffu)
        return false;
    value = static_cast<uint32_t>(v);
    return true;
}

class KvSource : public Source {
public:
    KvSource(KorvIO *io, std::string name) : Source(io, std::move(name)) {}
    ~KvSource() override
    {
        if (header_ && header_->free)
            header_->free(header_);
    }

    Status open()
    {
        memset(&manager_, 0, sizeof manager_);
        if (KVHdrRead_Header(io_, &manager_, &header_) != 1 || !header_)
            return fail(kExitData, "%s: malformed header document (or an unknown format)",
                        name_.c_str());
        pixelstream_ = header_->kind == KORV_KIND_RAW;
        if (!pixelstream_)
            return shape_from_header(header_, name_.c_str(), shape_);
        shape_.channels = header_->imageParts[0] + header_->imageParts[1] + header_->imageParts[2];
        shape_.bits = header_->bitsPerSample[0];
        shape_.colorSpace = header_->colorSpace;
        if (!raster_size(header_->params, "pixels", shape_.width) ||
            !raster_size(header_->params, "scanlines", shape_.height))
            return fail(kExitData,
                        "%s: pixelstream without a raster size (Raster pixels and scanlines)",
                        name_.c_str());
        return check_shape(shape_, name_.c_str());
    }

    Status read_lines(unsigned char *dst, uint32_t lines) override
    {
        return pixelstream_ ? read_pixels(dst, lines) : read_frames(dst, lines);
    }

private:
    // Frames may hold any number of lines; they are cut into the strips
    // asked for. A frame's bytes stay valid until the next frame is read.
    Status read_frames(unsigned char *dst, uint32_t lines)
    {
        uint64_t need = shape_.line_bytes() * lines;
        while (need) {
            if (left_ == 0) {
                KorvChunk chunk;
                memset(&chunk, 0, sizeof chunk);
                if (KVHdrToChunk(&manager_, header_, io_, &chunk) != 1)
                    return fail(kExitData, "%s: truncated or malformed data frame",
                                name_.c_str());
                if (chunk.flags & kChunkEnd)
                    return fail(kExitData, "%s: truncated image data", name_.c_str());
                if (chunk.size % shape_.line_bytes() != 0)
                    return fail(kExitData, "%s: a data frame of %u bytes is not whole scan lines",
                                name_.c_str(), chunk.size);
                data_ = chunk.data;
                left_ = chunk.size;
                continue;
            }
            uint64_t n = left_ < need ? left_ : need;
            memcpy(dst, data_, n);
            dst += n;
            data_ += n;
            left_ -= n;
            need -= n;
        }
        return Status{};
    }

    Status read_pixels(unsigned char *dst, uint32_t lines)
    {
        uint64_t pixels = uint64_t(shape_.width) * lines;
        KorvChunk chunk;
        memset(&chunk, 0, sizeof chunk);
        uint32_t r = KVHdrToChunkLines(&manager_, header_, io_, &chunk,
                                       static_cast<uint32_t>(pixels));
        if (r == 0xFFFFFFFFu)
            return fail(kExitData, "%s: a pixel with missing samples", name_.c_str());
        if (r != 1)
            return fail(kExitData, "%s: malformed pixel data", name_.c_str());
        if (chunk.aux < pixels)
            return fail(kExitData, "%s: truncated image data", name_.c_str());
        if (chunk.size != shape_.line_bytes() * lines)
            return fail(kExitData, "%s: malformed pixel data", name_.c_str());
        memcpy(dst, chunk.data, chunk.size);
        return Status{};
    }

    KVHdrManager manager_;
    KorvGenericHeader *header_ = nullptr;
    bool pixelstream_ = false;
    unsigned char *data_ = nullptr;
    uint64_t left_ = 0;
};

class KvSink : public Sink {
public:
    KvSink(std::string name, bool pixelstream) : Sink(std::move(name)), pixelstream_(pixelstream)
    {
    }
    ~KvSink() override
    {
        if (header_ && header_->free)
            header_->free(header_);
    }

    Status begin(KorvIO *io, const ImageShape &shape) override
    {
        io_ = io;
        shape_ = shape;
        const char *format = pixelstream_ ? "pixelstream" : "image-ext";
        memset(&manager_, 0, sizeof manager_);
        if (!KVHdrGetManager_Str(format, pixelstream_ ? "1.0-ascii" : "1.0", &manager_) ||
            KVHdrCreateHeader(&manager_, &header_) != 1 || !header_)
            return fail(kExitData, "%s: the %s format is not available", name_.c_str(), format);
        KorvGenericHeader *h = header_;
        h->imageParts[0] = shape.channels;
        for (uint32_t i = 0; i < shape.channels; i++)
            h->bitsPerSample[i] = shape.bits;
        h->colorSpace = shape.colorSpace ? shape.colorSpace : KorvGetDefaultColor(shape.channels);
        h->endian = KorvIdentifyEndian();
        if (pixelstream_) {
            char number[16];
            snprintf(number, sizeof number, "%u", shape.width);
            h->params = KVHdrSetHeaderParam(h->params, "Raster", "pixels", number);
            snprintf(number, sizeof number, "%u", shape.height);
            h->params = KVHdrSetHeaderParam(h->params, "Raster", "scanlines", number);
        } else {
            h->kind = KORV_KIND_PIXELS;
            h->dimensions = 2;
            h->pixels = shape.width;
            h->scanlines = shape.height;
            h->interleave = KORV_INTERLEAVE_PIXEL;
            KorvHeaderFillInBytes(h);
        }
        if (KVHdrWrite_Header(h, &manager_, io) != 1)
            return fail(kExitData, "%s: write failed", name_.c_str());
        return Status{};
    }

    Status write_lines(unsigned char *data, uint32_t lines) override
    {
        KorvChunk chunk;
        memset(&chunk, 0, sizeof chunk);
        chunk.data = data;
        chunk.size = static_cast<uint32_t>(shape_.line_bytes() * lines);
        chunk.aux = pixelstream_ ? shape_.width * lines : lines;
        if (KVHdrFromChunk(&manager_, header_, io_, &chunk) != 1)
            return fail(kExitData, "%s: write failed", name_.c_str());
        return Status{};
    }

    Status finish() override
    {
        if (io_->flush)
            io_->flush(io_);
        return Status{};
    }

private:
    bool pixelstream_;
    KVHdrManager manager_;
    KorvGenericHeader *header_ = nullptr;
};

} // namespace

Status open_kv_source(KorvIO *io, const std::string &name, std::unique_ptr<Source> &source)
{
    auto kv = std::make_unique<KvSource>(io, name);
    Status st = kv->open();
    if (st.ok())
        source = std::move(kv);
    return st;
}

std::unique_ptr<Sink> make_kv_sink(const std::string &name, bool pixelstream)
{
    return std::make_unique<KvSink>(name, pixelstream);
}

} // namespace kvrun
