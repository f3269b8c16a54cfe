// Helpers of the stream tests: a stream with scripted slot results and a
// scratch directory of its own.
#pragma once

#include "kvsup.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

// Each read returns the next scripted result; a positive one delivers that
// many bytes 'x'. Past the script, reads return 0. Asked sizes are recorded.
struct ScriptIO {
    struct Handle {
        KorvIO io;
        ScriptIO *self;
    } h{};
    std::vector<int64_t> script;
    size_t next = 0;
    std::vector<uint64_t> asked;

    explicit ScriptIO(std::vector<int64_t> s) : script(std::move(s)) {
        h.self = this;
        h.io.read = [](KorvIO *io, void *dst, uint64_t n) -> int64_t {
            ScriptIO *t = reinterpret_cast<Handle *>(io)->self;
            t->asked.push_back(n);
            int64_t r = t->next < t->script.size() ? t->script[t->next++] : 0;
            if (r > 0) std::memset(dst, 'x', static_cast<size_t>(r));
            return r;
        };
    }
    KorvIO *io() { return &h.io; }
};

// A fresh directory under the build tree, removed with its content.
struct ScratchDir {
    std::filesystem::path path;
    explicit ScratchDir(const char *name) {
        const char *base = std::getenv("KV_TEST_BINARY_DIR");
        path = std::filesystem::path(base ? base : ".") / name;
        std::filesystem::remove_all(path);
        std::filesystem::create_directories(path);
    }
    ~ScratchDir() { std::filesystem::remove_all(path); }
    std::string file(const char *name) const { return (path / name).string(); }
    size_t count() const {
        size_t n = 0;
        for (auto &e : std::filesystem::directory_iterator(path)) (void)e, ++n;
        return n;
    }
};

inline void setenv_for_test(const char *name, const char *value) { KorvSetenv(name, value); }

inline std::string slurp(KorvIO *io) {
    void *buf = nullptr;
    uint64_t len = 0;
    if (!KorvIOReadBlock(io, &buf, &len)) return "<fail>";
    std::string s(static_cast<char *>(buf), len);
    korv_internal_free(buf);
    return s;
}
