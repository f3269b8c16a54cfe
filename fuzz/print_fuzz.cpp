// Format strings for the print engine. The input is a format, a NUL, then
// bytes for the values; the engine's own parser tells the type of every
// argument, so each conversion gets a value of its type. The bounded, the
// growing and the stream sinks must produce the same text.
#include "fuzz_util.h"
#include "format/format_parse.h"

#include <vector>

namespace {

using korv::fmt::Parsed;

// Widths of many digits only make the output long, not the engine wrong.
bool has_long_number(const std::string &format)
{
    int run = 0;
    for (char c : format) {
        run = (c >= '0' && c <= '9') ? run + 1 : 0;
        if (run > 3)
            return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in{data, size};
    std::string format = in.text(0);
    if (has_long_number(format))
        return 0;
    static Parsed parsed;
    if (korv::fmt::parse(format.c_str(), false, &parsed) != korv::fmt::parse_ok)
        return 0;

    // One 8-byte cell per record, filled for its type.
    uint64_t cells[korv::fmt::max_records] = {};
    uint64_t counts[korv::fmt::max_records] = {};
    std::vector<std::string> texts(korv::fmt::max_records);
    void *args[korv::fmt::max_records] = {};
    for (int i = 0; i < parsed.count; i++) {
        args[i] = &cells[i];
        uint64_t v = in.u64();
        switch (parsed.records[i].type) {
        case korv::fmt::arg_star:
            cells[i] = static_cast<uint64_t>(static_cast<int64_t>(static_cast<int8_t>(v)) * 2);
            break;
        case korv::fmt::arg_string:
            if (v & 1) {
                texts[i] = in.text(0);
                cells[i] = reinterpret_cast<uintptr_t>(texts[i].c_str());
            } else {
                cells[i] = 0; // a null string
            }
            break;
        case korv::fmt::arg_count:
            cells[i] = (v & 1) ? 0 : reinterpret_cast<uintptr_t>(&counts[i]);
            break;
        default:
            cells[i] = v;
            break;
        }
    }

    char *grown = nullptr;
    uint64_t n_grown = KorvLASPrintf(&grown, format.c_str(), args);
    char bounded[24];
    uint64_t n_bounded = KorvLSNPrintf(bounded, sizeof bounded, format.c_str(), args);
    KorvIO *io = KorvIO_Mem(0);
    uint64_t n_stream = KorvIOLPrintf(io, format.c_str(), args);
    void *block = nullptr;
    uint64_t length = 0;
    KorvIOReadBlock(io, &block, &length);
    io->close(io);

    if (!grown || n_grown != n_bounded || n_grown != n_stream || length != n_grown)
        abort(); // the sinks disagree on the count
    if (memcmp(grown, block, length) != 0)
        abort(); // the stream got other text than the growing string
    size_t kept = n_grown < sizeof bounded - 1 ? n_grown : sizeof bounded - 1;
    if (memcmp(grown, bounded, kept) != 0 || bounded[kept] != '\0')
        abort(); // the bounded string is not the start of the text
    korv_internal_free(block);
    korv_internal_free(grown);

    KorvLocale comma = {",", ".", "3"};
    char big[512];
    if (n_grown < sizeof big)
        KorvLSPrintfl(&comma, big, format.c_str(), args);
    return 0;
}
