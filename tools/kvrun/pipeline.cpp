#include "pipeline.h"

#include <algorithm>
#include <cstring>

namespace kvrun {

namespace {
// Handed back by a thread that stopped because another one failed; the
// other one's failure is the one reported.
const char *const kStopped = "stopped";
} // namespace

Pipeline::Pipeline(Source &source, Chain &chain, Sink &sink, Progress &progress)
    : source_(source), chain_(chain), sink_(sink), progress_(progress)
{
    KorvInitCriticalSection(&lock_);
}

Pipeline::~Pipeline() { KorvFreeCriticalSection(lock_); }

void Pipeline::stop(const Status &status)
{
    KorvEnterCriticalSection(lock_);
    if (failure_.ok() && !status.ok() && status.message != kStopped)
        failure_ = status;
    KorvLeaveCriticalSection(lock_);
    free_in_.close();
    full_in_.close();
    free_out_.close();
    full_out_.close();
}

uint32_t Pipeline::reader_main(void *self)
{
    static_cast<Pipeline *>(self)->read_all();
    return 0;
}

uint32_t Pipeline::processor_main(void *self)
{
    static_cast<Pipeline *>(self)->process_all();
    return 0;
}

uint32_t Pipeline::writer_main(void *self)
{
    static_cast<Pipeline *>(self)->write_all();
    return 0;
}

void Pipeline::read_all()
{
    const ImageShape &shape = source_.shape();
    const uint32_t per_strip = strip_lines(shape.line_bytes());
    uint32_t left = shape.height;
    Strip *s = nullptr;
    while (left) {
        uint32_t n = std::min(per_strip, left);
        if (!free_in_.take(&s))
            return;
        s->data.resize(shape.line_bytes() * n);
        Status st = source_.read_lines(s->data.data(), n);
        if (!st.ok())
            return stop(st);
        s->lines = n;
        s->end = false;
        if (!full_in_.put(s))
            return;
        left -= n;
    }
    if (!free_in_.take(&s))
        return;
    s->lines = 0;
    s->end = true;
    full_in_.put(s);
}

Status Pipeline::to_writer(unsigned char *data, uint32_t size, uint32_t lines)
{
    Strip *o = nullptr;
    if (!free_out_.take(&o))
        return data_error(kStopped);
    o->data.assign(data, data + size);
    o->lines = lines;
    o->end = false;
    if (!full_out_.put(o))
        return data_error(kStopped);
    return Status{};
}

void Pipeline::process_all()
{
    const StripSink sink = [this](unsigned char *data, uint32_t size, uint32_t lines) {
        return to_writer(data, size, lines);
    };
    for (;;) {
        Strip *s = nullptr;
        if (!full_in_.take(&s))
            return;
        if (s->end) {
            Status st = chain_.finish(sink);
            if (!st.ok())
                return stop(st);
            Strip *o = nullptr;
            if (!free_out_.take(&o))
                return;
            o->lines = 0;
            o->end = true;
            full_out_.put(o);
            return;
        }
        Status st = chain_.feed(s->data.data(), s->lines, sink);
        if (!st.ok())
            return stop(st);
        if (!free_in_.put(s))
            return;
    }
}

void Pipeline::write_all()
{
    uint64_t lines = 0;
    for (;;) {
        Strip *o = nullptr;
        if (!full_out_.take(&o))
            return;
        if (o->end) {
            Status st = sink_.finish();
            if (!st.ok())
                return stop(st);
            written_ = true;
            return;
        }
        Status st = sink_.write_lines(o->data.data(), o->lines);
        if (!st.ok())
            return stop(st);
        lines += o->lines;
        progress_.update(lines);
        if (!free_out_.put(o))
            return;
    }
}

Status Pipeline::run()
{
    if (!lock_ || !free_in_.ready() || !full_in_.ready() || !free_out_.ready() ||
        !full_out_.ready())
        return fail(kExitData, "cannot set up the strip queues");
    for (uint32_t i = 0; i < kDepth; i++) {
        free_in_.put(&in_[i]);
        free_out_.put(&out_[i]);
    }
    KorvThread *threads[3] = {};
    KorvThreadFunc mains[3] = {reader_main, processor_main, writer_main};
    int started = 0;
    for (; started < 3; started++)
        if (KorvCreateThread(&threads[started], mains[started], this) != 1)
            break;
    if (started < 3)
        stop(fail(kExitData, "cannot start a thread"));
    for (int i = 0; i < started; i++) {
        uint32_t code = 0;
        KorvJoinThread(threads[i], &code);
    }
    progress_.clear();
    if (!failure_.ok())
        return failure_;
    if (!written_)
        return fail(kExitData, "the pass stopped early");
    return Status{};
}

} // namespace kvrun
