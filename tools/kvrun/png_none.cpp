// A build without libpng: PNG operands are refused before anything is opened.
#include "sink.h"
#include "source.h"

namespace kvrun {

bool png_supported() { return false; }

Status open_png_source(KorvIO *io, const std::string &name, std::unique_ptr<Source> &)
{
    io->close(io);
    return png_unsupported(name);
}

std::unique_ptr<Sink> make_png_sink(const std::string &) { return nullptr; }

} // namespace kvrun
