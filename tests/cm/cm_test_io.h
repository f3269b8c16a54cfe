// A test-only stream over a std::string: reads drain `in`, writes append to
// `out` until `write_budget` bytes have been accepted (then writes come up
// short).
#pragma once

#include "kvsup.h"

#include <algorithm>
#include <cstring>
#include <string>

struct TestIO {
    struct Handle {
        KorvIO io;
        TestIO *self;
    } h{};
    std::string in;
    size_t pos = 0;
    std::string out;
    size_t write_budget = static_cast<size_t>(-1);

    explicit TestIO(std::string input = {}) : in(std::move(input))
    {
        h.self = this;
        h.io.read = [](KorvIO *s, void *dst, uint64_t n) -> int64_t {
            TestIO *t = reinterpret_cast<Handle *>(s)->self;
            size_t k = std::min<size_t>(n, t->in.size() - t->pos);
            std::memcpy(dst, t->in.data() + t->pos, k);
            t->pos += k;
            return static_cast<int64_t>(k);
        };
        h.io.write = [](KorvIO *s, const void *src, uint64_t n) -> int64_t {
            TestIO *t = reinterpret_cast<Handle *>(s)->self;
            size_t k = std::min<size_t>(n, t->write_budget);
            t->out.append(static_cast<const char *>(src), k);
            t->write_budget -= k;
            return static_cast<int64_t>(k);
        };
    }
    TestIO(const TestIO &) = delete;
    KorvIO *io() { return &h.io; }
    std::string rest() const { return in.substr(pos); }
};
