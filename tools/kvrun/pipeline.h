// The streaming pass: a reader, a processing and a writer thread joined by
// bounded strip queues, so that reading, processing and writing overlap
// while only a few strips per stage are in memory. The first failure of any
// thread stops all three.
#pragma once

#include "functions.h"
#include "progress.h"
#include "sink.h"
#include "source.h"
#include "strip_queue.h"

namespace kvrun {

class Pipeline {
public:
    Pipeline(Source &source, Chain &chain, Sink &sink, Progress &progress);
    ~Pipeline();
    Status run();

private:
    static uint32_t reader_main(void *self);
    static uint32_t processor_main(void *self);
    static uint32_t writer_main(void *self);
    void read_all();
    void process_all();
    void write_all();
    Status to_writer(unsigned char *data, uint32_t size, uint32_t lines);
    void stop(const Status &status);

    static const uint32_t kDepth = 3; // strips per link

    Source &source_;
    Chain &chain_;
    Sink &sink_;
    Progress &progress_;
    StripQueue free_in_{kDepth}, full_in_{kDepth}, free_out_{kDepth}, full_out_{kDepth};
    Strip in_[kDepth];
    Strip out_[kDepth];
    KorvCriticalSection *lock_ = nullptr;
    Status failure_;
    bool written_ = false;
};

} // namespace kvrun
