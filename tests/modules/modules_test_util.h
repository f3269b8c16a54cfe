// Helpers of the library and loader tests: where the test libraries are,
// and the debug lines the library writes.
#pragma once

#include "kvsup.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#ifdef _WIN32
inline constexpr const char *kLibExt = ".dll";
#else
inline constexpr const char *kLibExt = ".so";
#endif

// The test libraries sit beside the test program.
inline std::string lib_dir() {
    return KorvGetExecutablePath();
}

inline std::string lib_path(const std::string &name) {
    return lib_dir() + KORV_PATH_SEP + name + kLibExt;
}

inline std::string take_string(char *s) {
    if (!s) return "<null>";
    std::string r(s);
    korv_internal_free(s);
    return r;
}

// Collects the library's debug lines while it lives.
struct DebugLog {
    std::mutex mutex;
    std::vector<std::string> lines;

    DebugLog() {
        KorvSetDebug(1);
        KorvSetLoggingCallback(&DebugLog::collect, this);
    }
    ~DebugLog() {
        KorvSetLoggingCallback(nullptr, nullptr);
        KorvSetDebug(0);
    }
    static void collect(const char *text, int32_t level, void *user) {
        auto *log = static_cast<DebugLog *>(user);
        std::lock_guard<std::mutex> lock(log->mutex);
        if (level == KORV_LOG_DEBUG)
            log->lines.emplace_back(text);
    }
    std::vector<std::string> take() {
        std::lock_guard<std::mutex> lock(mutex);
        std::vector<std::string> out;
        out.swap(lines);
        return out;
    }
};

// A scratch directory in the build tree, removed with its content.
struct Scratch {
    std::filesystem::path path;
    explicit Scratch(const char *name) {
        const char *base = std::getenv("KV_TEST_BINARY_DIR");
        path = std::filesystem::absolute(std::filesystem::path(base ? base : ".") / name);
        std::filesystem::remove_all(path);
        std::filesystem::create_directories(path);
    }
    ~Scratch() { std::filesystem::remove_all(path); }
    std::string dir() const {
        std::string s = path.string();
        for (char &c : s)
            if (c == '/') c = KORV_PATH_SEP;
        return s;
    }
    std::string write(const std::string &name, const std::string &text) const {
        std::ofstream(path / name, std::ios::binary) << text;
        return dir() + KORV_PATH_SEP + name;
    }
};

// A path as a bare word of a CM document: backslashes, colons and the other
// bytes that end or alter a word are escaped with a backslash.
inline std::string cm_word(const std::string &text) {
    std::string out;
    for (char c : text) {
        if (c == '\\' || c == ':' || c == '#' || c == '=' || c == '"')
            out += '\\';
        out += c;
    }
    return out;
}
