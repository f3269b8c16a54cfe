// Allocation failure at every point of loading modules: a loader made from a
// registry file (a bundle library, a missing optional one and an alias), a
// module found through the alias, and the loader released.
#include <string>

#include "alloc_sweep.h"
#include "modules/modules_test_util.h"

namespace {

std::string g_registry;

void load_modules(bool failing)
{
    KorvModLoader *l = nullptr;
    if (KorvBasicModLoaderCreate(&l) != 1) {
        EXPECT_TRUE(failing);
        return;
    }
    uint32_t r = KorvBasicModLoaderAddRegistryFile(l, g_registry.c_str());
    // The optional bundle is missing: 2. Without memory the file may be
    // unreadable (0) or the good bundle may fail too.
    if (!failing)
        EXPECT_EQ(r, 2u);
    else
        EXPECT_TRUE(r == 0 || r == 1 || r == 2 || r == 0xFFFFFFFFu) << r;
    KorvModule *m = l->findModule(l, "smooth");
    if (m) {
        EXPECT_STREQ(m->name, "blur");
        l->releaseModule(l, m);
    } else {
        EXPECT_TRUE(failing);
    }
    KorvModule **list = nullptr;
    KorvBasicModLoaderGetList(l, nullptr, &list);
    korv_internal_free(list);
    l->release(l);
}

class LoaderSweep : public ::testing::TestWithParam<SweepPath> {};

TEST_P(LoaderSweep, EveryAllocationFails)
{
    Scratch dir("loader-sweep");
    g_registry = dir.write("sweep.reg", "[libraries]\noptional: " + cm_word(lib_path("tb_good")) +
                                            "\noptional: " + cm_word(lib_path("tb_absent")) +
                                            "\n[aliases]\nsmooth: tb_good!blur\n");
    EXPECT_GT(sweep_path(GetParam()), 0u);
}

INSTANTIATE_TEST_SUITE_P(Paths, LoaderSweep,
                         ::testing::Values(SweepPath{"RegistryAliasRelease", load_modules}),
                         SweepName());

} // namespace
