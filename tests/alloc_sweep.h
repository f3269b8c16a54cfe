// Allocation-failure sweeps: a path is run once to count its allocations,
// then once for each of them with that one failing. The path checks its own
// results (the documented ones when memory runs out) and releases what it
// got; the sanitizer legs find what it leaks or touches after a failure.
#pragma once

#include <gtest/gtest.h>

#include <stdio.h>

#include "core/alloc_testing.h"

// One path of a sweep: `run(failing)` takes the path; failing says that one
// allocation of it may fail.
struct SweepPath {
    const char *name;
    void (*run)(bool failing);
};

inline void PrintTo(const SweepPath &p, std::ostream *os) { *os << p.name; }

// Sweeps one path; returns the number of allocation points it covered.
inline unsigned long sweep_path(const SweepPath &path)
{
    // A first run fills the process-wide caches (settings, locale, the
    // sockets' start-up), which a path takes once only.
    path.run(false);
    korv_testing_fail_alloc(0);
    path.run(false);
    unsigned long count = korv_testing_alloc_count();
    for (unsigned long n = 1; n <= count; n++) {
        SCOPED_TRACE(testing::Message() << path.name << ", allocation " << n << " fails");
        korv_testing_fail_alloc(n);
        path.run(true);
        korv_testing_fail_alloc(0);
        if (::testing::Test::HasFatalFailure())
            break;
    }
    printf("[ sweep    ] %s: %lu allocation points\n", path.name, count);
    return count;
}

// Names a parameterised sweep's instances after their paths.
struct SweepName {
    std::string operator()(const ::testing::TestParamInfo<SweepPath> &info) const
    {
        return info.param.name;
    }
};
