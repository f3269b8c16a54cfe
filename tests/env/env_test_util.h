// Helpers of the environment and file tests.
#pragma once

#include "kvsup.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

// Sets (or, for null, removes) a variable of this process's environment.
inline void set_process_env(const char *name, const char *value) {
#ifdef _WIN32
    _putenv_s(name, value ? value : "");
#else
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
#endif
}

// '/' in a literal becomes this platform's separator.
inline std::string sep(std::string s) {
    for (char &c : s)
        if (c == '/') c = KORV_PATH_SEP;
    return s;
}

// Takes a new string of the library and frees it; "<null>" for null.
inline std::string take(char *s) {
    if (!s) return "<null>";
    std::string r(s);
    korv_internal_free(s);
    return r;
}

// A fresh directory under the build tree, removed with its content. Paths
// handed out use this platform's separator.
struct EnvScratch {
    std::filesystem::path path;
    explicit EnvScratch(const char *name) {
        const char *base = std::getenv("KV_TEST_BINARY_DIR");
        path = std::filesystem::absolute(std::filesystem::path(base ? base : ".") / name);
        std::filesystem::remove_all(path);
        std::filesystem::create_directories(path);
    }
    ~EnvScratch() { std::filesystem::remove_all(path); }
    std::string dir() const { return sep(path.string()); }
    std::string file(const std::string &name) const { return dir() + KORV_PATH_SEP + sep(name); }
    std::string write(const std::string &name, const std::string &text) const {
        std::ofstream(path / name, std::ios::binary) << text;
        return file(name);
    }
};
