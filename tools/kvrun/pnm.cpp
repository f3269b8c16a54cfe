// Binary PNM: P5 (grey) and P6 (RGB), 8 bits per sample for a maximum value
// below 256, else 16 bits stored big-endian.
#include "sink.h"
#include "source.h"
#include "stream_io.h"

#include <cstdio>

namespace kvrun {

namespace {

// Header fields are read a byte at a time: they are a few dozen bytes, and
// the image data after them must start exactly at the right byte.
class HeaderReader {
public:
    explicit HeaderReader(KorvIO *io) : io_(io) {}
    // -1 at end of data or on error.
    int next()
    {
        unsigned char c;
        return io_->read(io_, &c, 1) == 1 ? c : -1;
    }
    // A decimal field after blanks and comments; false if there is none.
    bool number(uint32_t &value, int &after)
    {
        int c = next();
        for (;;) {
            if (c == '#') {
                while (c != '\n' && c != '\r' && c != -1)
                    c = next();
            } else if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' ||
                       c == '\f') {
                c = next();
            } else {
                break;
            }
        }
        if (c < '0' || c > '9')
            return false;
        uint64_t v = 0;
        while (c >= '0' && c <= '9') {
            v = v * 10 + static_cast<uint64_t>(c - '0');
            if (v > 0xffffffffu)
                return false;
            c = next();
        }
        value = static_cast<uint32_t>(v);
        after = c;
        return true;
    }

private:
    KorvIO *io_;
};

bool is_blank(int c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

class PnmSource : public Source {
public:
    PnmSource(KorvIO *io, std::string name) : Source(io, std::move(name)) {}

    Status open()
    {
        HeaderReader r(io_);
        r.next();
        int kind = r.next();
        shape_.channels = kind == '5' ? 1 : 3;
        uint32_t maxval = 0;
        int after = 0;
        if (!r.number(shape_.width, after) || !is_blank(after) ||
            !r.number(shape_.height, after) || !is_blank(after) || !r.number(maxval, after) ||
            !is_blank(after))
            return fail(kExitData, "%s: malformed PNM header", name_.c_str());
        if (maxval == 0 || maxval > 65535)
            return fail(kExitData, "%s: PNM maximum value %u is out of range (1 to 65535)",
                        name_.c_str(), maxval);
        maxval_ = maxval;
        shape_.bits = maxval < 256 ? 8 : 16;
        shape_.colorSpace = KorvGetDefaultColor(shape_.channels);
        return check_shape(shape_, name_.c_str());
    }

    Status read_lines(unsigned char *dst, uint32_t lines) override
    {
        uint64_t want = shape_.line_bytes() * lines;
        int64_t got = read_full(io_, dst, want);
        if (got < 0)
            return fail(kExitData, "%s: read error", name_.c_str());
        if (static_cast<uint64_t>(got) < want)
            return fail(kExitData, "%s: truncated image data (%llu of %llu bytes of a strip)",
                        name_.c_str(), static_cast<unsigned long long>(got),
                        static_cast<unsigned long long>(want));
        uint64_t samples = uint64_t(shape_.width) * shape_.channels * lines;
        if (shape_.bits == 16 && machine_is_little_endian())
            swap16(dst, samples);
        if (maxval_ != 255 && maxval_ != 65535)
            rescale(dst, samples);
        return Status{};
    }

private:
    // Samples of a smaller maximum value are stretched to the full range of
    // their width, so that white stays white.
    void rescale(unsigned char *data, uint64_t samples)
    {
        const uint32_t full = shape_.bits == 8 ? 255 : 65535;
        if (shape_.bits == 8) {
            for (uint64_t i = 0; i < samples; i++) {
                uint32_t v = data[i] > maxval_ ? maxval_ : data[i];
                data[i] = static_cast<unsigned char>((v * full + maxval_ / 2) / maxval_);
            }
        } else {
            auto *p = reinterpret_cast<uint16_t *>(data);
            for (uint64_t i = 0; i < samples; i++) {
                uint64_t v = p[i] > maxval_ ? maxval_ : p[i];
                p[i] = static_cast<uint16_t>((v * full + maxval_ / 2) / maxval_);
            }
        }
    }

    uint32_t maxval_ = 255;
};

class PnmSink : public Sink {
public:
    explicit PnmSink(std::string name) : Sink(std::move(name)) {}

    Status begin(KorvIO *io, const ImageShape &shape) override
    {
        io_ = io;
        shape_ = shape;
        char head[64];
        int n = snprintf(head, sizeof head, "P%c\n%u %u\n%u\n", shape.channels == 1 ? '5' : '6',
                         shape.width, shape.height, shape.bits == 8 ? 255u : 65535u);
        if (!write_full(io, head, static_cast<uint64_t>(n)))
            return fail(kExitData, "%s: write failed", name_.c_str());
        return Status{};
    }

    Status write_lines(unsigned char *data, uint32_t lines) override
    {
        uint64_t bytes = shape_.line_bytes() * lines;
        if (shape_.bits == 16 && machine_is_little_endian())
            swap16(data, bytes / 2);
        if (!write_full(io_, data, bytes))
            return fail(kExitData, "%s: write failed", name_.c_str());
        return Status{};
    }
};

} // namespace

Status open_pnm_source(KorvIO *io, const std::string &name, std::unique_ptr<Source> &source)
{
    auto pnm = std::make_unique<PnmSource>(io, name);
    Status st = pnm->open();
    if (st.ok())
        source = std::move(pnm);
    return st;
}

std::unique_ptr<Sink> make_pnm_sink(const std::string &name)
{
    return std::make_unique<PnmSink>(name);
}

} // namespace kvrun
