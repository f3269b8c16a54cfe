// Allocation failure at every point of the data-file search.
#include "alloc_sweep.h"
#include "env/env_test_util.h"

namespace {

std::string g_path;
std::string g_want;

void search(bool failing)
{
    char *found = KorvFindFile("table", "tbl", g_path.c_str());
    if (found)
        EXPECT_EQ(std::string(found), g_want);
    else
        EXPECT_TRUE(failing);
    korv_internal_free(found);
}

class FindFileSweep : public ::testing::TestWithParam<SweepPath> {};

TEST_P(FindFileSweep, EveryAllocationFails)
{
    EnvScratch dir("findfile-sweep");
    std::filesystem::create_directories(dir.path / "data");
    g_want = dir.write("data/table.tbl", "x");
    KorvSetenv("SWEEP_ROOT", dir.dir().c_str());
    // Expanded entries that miss, then the one that holds the file.
    g_path = "${SWEEP_ROOT}/none,$SWEEP_ROOT/also-none,${SWEEP_ROOT}/data";
    EXPECT_GT(sweep_path(GetParam()), 0u);
    KorvSetenv("SWEEP_ROOT", nullptr);
}

INSTANTIATE_TEST_SUITE_P(Paths, FindFileSweep,
                         ::testing::Values(SweepPath{"ExpandedSearchPath", search}),
                         SweepName());

} // namespace
