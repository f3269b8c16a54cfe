#include "source.h"

#include "stream_io.h"

#include <algorithm>

namespace kvrun {

Source::~Source()
{
    if (io_)
        io_->close(io_);
}

std::string extension_of(const std::string &name)
{
    size_t dot = name.rfind('.');
    size_t sep = name.find_last_of("/\\");
    if (dot == std::string::npos || (sep != std::string::npos && dot < sep))
        return "";
    std::string ext = name.substr(dot + 1);
    for (auto &c : ext)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return ext;
}

Status png_unsupported(const std::string &name)
{
    return fail(kExitUsage, "%s: PNG is not supported by this build", name.c_str());
}

Status open_source(const std::string &name, std::unique_ptr<Source> &source)
{
    KorvIO *raw = nullptr;
    Status st = open_input(name, &raw);
    if (!st.ok())
        return st;
    const std::string shown = name == "-" ? "standard input" : name;
    unsigned char head[8] = {};
    int64_t got = read_full(raw, head, sizeof head);
    if (got < 0) {
        raw->close(raw);
        return fail(kExitData, "%s: read error", shown.c_str());
    }
    KorvIO *io = prefix_stream(raw, head, static_cast<size_t>(got));
    if (!io) {
        raw->close(raw);
        return fail(kExitData, "%s: out of memory", shown.c_str());
    }
    static const unsigned char png_sig[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (got >= 2 && head[0] == 'P' && (head[1] == '5' || head[1] == '6'))
        return open_pnm_source(io, shown, source);
    if (got == 8 && std::equal(head, head + 8, png_sig)) {
        if (!png_supported()) {
            io->close(io);
            return png_unsupported(shown);
        }
        return open_png_source(io, shown, source);
    }
    // A header document begins with its object or section header.
    int64_t k = 0;
    while (k < got && (head[k] == ' ' || head[k] == '\t' || head[k] == '\r' || head[k] == '\n'))
        k++;
    if (k < got && (head[k] == '<' || head[k] == '['))
        return open_kv_source(io, shown, source);
    io->close(io);
    if (got == 0)
        return fail(kExitData, "%s: empty input", shown.c_str());
    return fail(kExitData, "%s: not a PNM (P5/P6), PNG, image-ext or pixelstream image",
                shown.c_str());
}

} // namespace kvrun
