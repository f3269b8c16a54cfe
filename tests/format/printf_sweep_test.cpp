// Allocation failure at every point of formatting into an allocated string.
#include <string.h>

#include "alloc_sweep.h"
#include <kvsup.h>

namespace {

void allocated_string(bool failing)
{
    // Long enough to make the growing string double several times.
    char *out = reinterpret_cast<char *>(1);
    uint64_t n = KorvASPrintf(&out, "%s|%-40d|%#x|%.3f|%60s|%c", "start", 42, 255u, 2.5, "end",
                              'z');
    const char *want_start = "start|42 ";
    if (out) {
        EXPECT_EQ(n, strlen(out));
        EXPECT_EQ(strncmp(out, want_start, strlen(want_start)), 0) << out;
        EXPECT_EQ(out[n - 1], 'z');
    } else {
        // The string could not be made or grown: no string is handed out.
        EXPECT_TRUE(failing);
    }
    korv_internal_free(out);

    char *empty = nullptr;
    EXPECT_EQ(KorvASPrintf(&empty, ""), 0u);
    if (!failing)
        EXPECT_STREQ(empty, "");
    korv_internal_free(empty);
}

class PrintfSweep : public ::testing::TestWithParam<SweepPath> {};

TEST_P(PrintfSweep, EveryAllocationFails)
{
    EXPECT_GT(sweep_path(GetParam()), 0u);
}

INSTANTIATE_TEST_SUITE_P(Paths, PrintfSweep,
                         ::testing::Values(SweepPath{"AllocatedString", allocated_string}),
                         SweepName());

} // namespace
