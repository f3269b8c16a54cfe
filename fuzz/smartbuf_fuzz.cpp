// The smart buffer driven by a fuzzed sequence of operations, spilling to
// files past a small memory limit, checked against a plain queue. Bytes in
// the file parts of a spilling buffer read back as zeros (the file is
// emptied when it is mapped), so there a byte must be the queue's or 0.
#include "fuzz_util.h"

#include <deque>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Small limits so that short inputs reach the file segments.
    KorvSetenv("KORV_MEMORY_MAX", "96");
    KorvSetenv("KORV_TEMPFILE_MAX", "40");
    KorvSetenv("KORV_TEMP", fuzz_scratch_dir().c_str());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in{data, size};
    uint8_t head = in.byte();
    KorvSmartBuffer *sb = KorvSBInit(head & 1, 1 + (head >> 1) % 64);
    if (!sb)
        return 0;
    std::deque<uint8_t> model;
    std::vector<uint8_t> buffer(512);
    uint8_t counter = 0;
    for (int step = 0; step < 64 && !in.empty(); step++) {
        bool exact = KorvSBBytesInMemory(sb) == KorvSBBytesAvailable(sb);
        auto same = [&](uint8_t got, uint8_t want) { return got == want || (!exact && got == 0); };
        uint8_t op = in.byte();
        uint64_t count = in.byte() * ((op & 0x80) ? 2 : 1);
        switch (op % 5) {
        case 0: { // append a recognisable run of bytes
            std::vector<uint8_t> bytes(count);
            for (auto &b : bytes) {
                b = counter++;
                model.push_back(b);
            }
            if (KorvSBAppend(sb, bytes.data(), count) != count)
                abort(); // an append that could not fail came up short
            break;
        }
        case 1: { // peek somewhere inside
            int64_t offset = in.byte();
            uint64_t got = KorvSBPeek(sb, offset, buffer.data(), count);
            uint64_t want = offset < int64_t(model.size())
                                ? std::min<uint64_t>(count, model.size() - offset) : 0;
            if (got != want)
                abort();
            for (uint64_t k = 0; k < got; k++)
                if (!same(buffer[k], model[offset + k]))
                    abort(); // peeked the wrong bytes
            break;
        }
        case 2: { // read from the head
            uint64_t got = KorvSBRead(sb, buffer.data(), count);
            if (got != std::min<uint64_t>(count, model.size()))
                abort();
            for (uint64_t k = 0; k < got; k++) {
                if (!same(buffer[k], model.front()))
                    abort(); // read the wrong bytes
                model.pop_front();
            }
            break;
        }
        case 3: { // drop from the head
            int64_t got = KorvSBAdvance(sb, static_cast<int64_t>(count));
            if (got != int64_t(std::min<uint64_t>(count, model.size())))
                abort();
            model.erase(model.begin(), model.begin() + got);
            break;
        }
        default:
            if (KorvSBBytesInMemory(sb) > KorvSBBytesAvailable(sb))
                abort();
            break;
        }
        if (KorvSBBytesAvailable(sb) != int64_t(model.size()))
            abort(); // the count of unread bytes is wrong
    }
    // A stream over the buffer reads the rest.
    KorvIO *io = KorvIO_SB(sb);
    if (io) {
        uint64_t got = KorvIOReadBytes(io, buffer.data(), buffer.size());
        for (uint64_t k = 0; k < got && k < model.size(); k++)
            if (buffer[k] != model[k] && buffer[k] != 0)
                abort();
        io->close(io);
    }
    KorvSBFree(sb);
    return 0;
}
