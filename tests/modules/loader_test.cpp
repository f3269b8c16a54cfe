// The basic module loader over real test bundles: adding bundles, registry
// files, defaults, finding modules with aliases, reference counts and their
// debug lines, and a loader shared by threads.
#include "modules/modules_test_util.h"

#include "core/alloc_testing.h"

#include <atomic>
#include <thread>

namespace {

constexpr uint32_t kFail = 0xFFFFFFFFu;

// A loader released (and checked freed) at the end of the test.
struct Loader {
    KorvModLoader *l = nullptr;
    Loader() { EXPECT_EQ(KorvBasicModLoaderCreate(&l), 1u); }
    ~Loader() {
        if (l) {
            EXPECT_EQ(l->refcount, 1) << "references left";
            l->release(l);
        }
    }
    KorvModLoader *operator->() const { return l; }
    operator KorvModLoader *() const { return l; }
};

KorvBundle *bundle(KorvModLoader *l, const char *name) {
    for (KorvBundle *head : l->bundles)
        for (KorvBundle *b = head; b; b = b->next)
            if (std::string(b->name) == name) return b;
    return nullptr;
}

std::vector<std::string> dump(KorvModLoader *l) {
    DebugLog log;
    KorvBasicModLoaderDebugDump(l);
    return log.take();
}

// A bundle that lives in the test itself.
const int32_t kFive = 5;
const int32_t kFour = 4;
KorvModule g_local = {"local", "here", "local_here", nullptr, nullptr};
KorvModule *g_local_list[] = {&g_local, nullptr};
const int32_t *local_version() { return &kFive; }
const int32_t *old_version() { return &kFour; }
KorvModule **local_list() { return g_local_list; }
KorvModule *local_module(const char *name) {
    return std::string(name) == "here" ? &g_local : nullptr;
}

} // namespace

TEST(ModLoader, CreateAndRelease) {
    EXPECT_EQ(KorvBasicModLoaderCreate(nullptr), 0u);
    KorvModLoader *l = nullptr;
    ASSERT_EQ(KorvBasicModLoaderCreate(&l), 1u);
    EXPECT_EQ(std::string(l->tag, 4), "Q)E(");
    EXPECT_EQ(l->refcount, 1);
    DebugLog log;
    l->retain(l);
    l->release(l);
    l->release(l);
    EXPECT_EQ(log.take(), (std::vector<std::string>{
                              "KorvBasicModLoaderRetain: new refcount 2\n",
                              "KorvBasicModLoaderRelease: new refcount 1\n",
                              "KorvBasicModLoaderRelease: new refcount 0 and freeing\n"}));
}

TEST(ModLoader, AddLibraryResultsAndMessages) {
    Loader l;
    std::string good = lib_path("tb_good");
    EXPECT_EQ(KorvBasicModLoaderAddLibrary(l, good.c_str()), 1u);
    // Present by base name, whatever the path.
    EXPECT_EQ(KorvBasicModLoaderAddLibrary(l, good.c_str()), 2u);
    EXPECT_EQ(KorvBasicModLoaderAddLibrary(l, "tb_good"), 2u);

    DebugLog log;
    std::string absent = lib_path("tb_absent");
    EXPECT_EQ(KorvBasicModLoaderAddLibrary(l, absent.c_str()), kFail);
    auto lines = log.take();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "Failed to open shared library<" + absent + ">.\n");

    const struct {
        const char *name;
        const char *message;
    } broken[] = {
        {"tb_v4", "Library bundle '%s' opened with a different Korvane major version 4."},
        {"tb_noversion", "Failed to open shared library<%s> because of missing version function.\n"},
        {"tb_nolist", "Failed to open shared library<%s> because of missing list function.\n"},
        {"tb_nomodule", "Failed to open shared library<%s> because of missing module function.\n"},
    };
    for (const auto &b : broken) {
        std::string path = lib_path(b.name);
        EXPECT_EQ(KorvBasicModLoaderAddLibrary(l, path.c_str()), kFail) << b.name;
        std::string want = b.message;
        want.replace(want.find("%s"), 2, path);
        EXPECT_EQ(log.take(), std::vector<std::string>{want}) << b.name;
    }
    EXPECT_EQ(dump(l), (std::vector<std::string>{
                           "ModLoader refcount = 1\n",
                           "ModLoader bundle tb_good count = 2, refcount = 1\n"}));
}

TEST(ModLoader, AddFunctions) {
    Loader l;
    EXPECT_EQ(KorvBasicModLoaderAddFunctions(l, "local", local_version, local_list, local_module), 1u);
    EXPECT_EQ(KorvBasicModLoaderAddFunctions(l, "local", local_version, local_list, local_module), 2u);
    DebugLog log;
    EXPECT_EQ(KorvBasicModLoaderAddFunctions(l, "old", old_version, local_list, local_module), kFail);
    EXPECT_EQ(log.take(), std::vector<std::string>{
                              "Library bundle 'old' opened with a different Korvane major version 4."});
    KorvBundle *b = bundle(l, "local");
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->library, nullptr);
    EXPECT_EQ(b->count, 1u);
    KorvModule *m = l->findModule(l, "here");
    EXPECT_EQ(m, &g_local);
    l->releaseModule(l, m);
}

TEST(ModLoader, AddPath) {
    Loader l;
    EXPECT_EQ(KorvBasicModLoaderAddPath(l, nullptr), kFail);
    std::string list = lib_path("tb_good") + "," + lib_path("tb_absent");
    EXPECT_EQ(KorvBasicModLoaderAddPath(l, list.c_str()), 2u);
    EXPECT_NE(bundle(l, "tb_good"), nullptr);
    list = lib_path("tb_good") + "," + lib_path("tb_fx");
    EXPECT_EQ(KorvBasicModLoaderAddPath(l, list.c_str()), 1u);
    EXPECT_NE(bundle(l, "tb_fx"), nullptr);
    // An empty element names nothing that opens.
    EXPECT_EQ(KorvBasicModLoaderAddPath(l, (lib_path("tb_fx") + ",").c_str()), 2u);
}

TEST(ModLoader, RegistryFile) {
    Scratch dir("modloader-registry");
    const std::string good = cm_word(lib_path("tb_good"));
    const std::string absent = cm_word(lib_path("tb_absent"));
    struct Case {
        const char *text; // %G the good bundle, %A one that does not open
        uint32_t result;
    } cases[] = {
        {"[libraries]\nrequired: %G\noptional: %A\n", 2},
        {"[Libraries]\nREQUIRED: %A\n", kFail},
        {"[libraries]\nmaybe: %A\nrequired: %G\n", 0},
        // Once not 1, the status stays.
        {"[libraries]\noptional: %A\nrequired: %A\nmaybe: %A\n", 2},
        // Labels of other sections are ignored.
        {"[other]\nrequired: %A\n[libraries]\nrequired: %G\n", 1},
        // A label at the very end.
        {"[libraries]\nrequired: %G\noptional:", 1},
        // A broken token.
        {"[libraries]\noptional: {unclosed\n", 0},
    };
    for (const Case &c : cases) {
        std::string text = c.text;
        for (size_t at; (at = text.find("%G")) != std::string::npos;) text.replace(at, 2, good);
        for (size_t at; (at = text.find("%A")) != std::string::npos;) text.replace(at, 2, absent);
        Loader l;
        std::string path = dir.write("case.reg", text);
        EXPECT_EQ(KorvBasicModLoaderAddRegistryFile(l, path.c_str()), c.result) << c.text;
    }
    Loader l;
    EXPECT_EQ(KorvBasicModLoaderAddRegistryFile(l, dir.write("x", "").c_str()), 1u);
    EXPECT_EQ(KorvBasicModLoaderAddRegistryFile(l, (dir.dir() + KORV_PATH_SEP + "none.reg").c_str()),
              0u);

    // Every library entry leaves a line, whatever became of it.
    DebugLog log;
    std::string path = dir.write("lines.reg", "[libraries]\nrequired: " + good + "\n");
    EXPECT_EQ(KorvBasicModLoaderAddRegistryFile(l, path.c_str()), 1u);
    EXPECT_EQ(log.take(), std::vector<std::string>{"Failed to load bundle " + lib_path("tb_good") + ".\n"});
}

TEST(ModLoader, RegistryAliases) {
    Scratch dir("modloader-aliases");
    Loader l;
    std::string path = dir.write("a.reg", "[aliases]\nblur: " + cm_word(lib_path("tb_fx")) +
                                              "!gaussian\n");
    ASSERT_EQ(KorvBasicModLoaderAddRegistryFile(l, path.c_str()), 1u);
    // The qualified target opens its bundle on demand.
    KorvModule *m = l->findModule(l, "blur");
    ASSERT_NE(m, nullptr);
    EXPECT_STREQ(m->bundle, "tb_fx");
    EXPECT_STREQ(m->name, "gaussian");
    l->releaseModule(l, m);
}

TEST(ModLoader, AddDefaults) {
    Scratch dir("modloader-defaults");
    const std::string good = lib_path("tb_good");
    const std::string fx = lib_path("tb_fx");
    const std::string absent = lib_path("tb_absent");
    {
        // The registry is found along the search path with its extension; a
        // loaded registry leaves the default list out.
        dir.write("bundles.reg", "[libraries]\noptional: " + cm_word(good) + "\n");
        Loader l;
        EXPECT_EQ(KorvBasicModLoaderAddDefaults(l, "bundles", dir.dir().c_str(), nullptr, fx.c_str()), 1u);
        EXPECT_NE(bundle(l, "tb_good"), nullptr);
        EXPECT_EQ(bundle(l, "tb_fx"), nullptr);
        EXPECT_EQ(KorvBasicModLoaderAddDefaults(l, "bundles.reg", dir.dir().c_str(), nullptr, nullptr), 1u);
    }
    {
        std::string file = dir.write("broken.reg", "[libraries]\nmaybe: " + cm_word(absent) + "\n");
        Loader l;
        DebugLog log;
        EXPECT_EQ(KorvBasicModLoaderAddDefaults(l, "broken", dir.dir().c_str(), nullptr, good.c_str()), 0u);
        EXPECT_EQ(log.take().back(),
                  "Error loading Korvane bundles from the registry file <" + file + ">.\n");
        file = dir.write("strict.reg", "[libraries]\nrequired: " + cm_word(absent) + "\n");
        EXPECT_EQ(KorvBasicModLoaderAddDefaults(l, "strict", dir.dir().c_str(), nullptr, good.c_str()), kFail);
        EXPECT_EQ(log.take().back(),
                  "Unable to load a required Korvane bundle from the registry file <" + file + ">.\n");
        EXPECT_EQ(bundle(l, "tb_good"), nullptr);
    }
    {
        // A set variable decides, even when an element fails.
        Loader l;
        KorvSetenv("KV_TEST_MODLOADER_PATH", (fx + "," + absent).c_str());
        EXPECT_EQ(KorvBasicModLoaderAddDefaults(l, "nowhere", dir.dir().c_str(), "KV_TEST_MODLOADER_PATH",
                                                good.c_str()), 1u);
        KorvSetenv("KV_TEST_MODLOADER_PATH", nullptr);
        EXPECT_NE(bundle(l, "tb_fx"), nullptr);
        EXPECT_EQ(bundle(l, "tb_good"), nullptr);
    }
    {
        // Neither registry nor variable: the default list.
        Loader l;
        EXPECT_EQ(KorvBasicModLoaderAddDefaults(l, "nowhere", dir.dir().c_str(), "KV_TEST_MODLOADER_UNSET",
                                                (good + "," + absent).c_str()), 1u);
        EXPECT_NE(bundle(l, "tb_good"), nullptr);
        EXPECT_EQ(KorvBasicModLoaderAddDefaults(l, nullptr, nullptr, nullptr, nullptr), 1u);
    }
}

TEST(ModLoader, FindModuleAndAliases) {
    Loader l;
    ASSERT_EQ(KorvBasicModLoaderAddLibrary(l, lib_path("tb_good").c_str()), 1u);
    auto find = [&](const char *name) -> std::string {
        KorvModule *m = l->findModule(l, name);
        if (!m) return "<none>";
        std::string r = std::string(m->bundle) + "!" + m->name;
        l->releaseModule(l, m);
        return r;
    };
    EXPECT_EQ(find("blur"), "tb_good!blur");
    EXPECT_EQ(find("nothing"), "<none>");
    // A qualified name opens its bundle.
    EXPECT_EQ(bundle(l, "tb_fx"), nullptr);
    EXPECT_EQ(find((lib_path("tb_fx") + "!median").c_str()), "tb_fx!median");
    EXPECT_NE(bundle(l, "tb_fx"), nullptr);
    EXPECT_EQ(find("tb_fx!gaussian"), "tb_fx!gaussian");
    EXPECT_EQ(find("tb_good!gaussian"), "<none>");
    EXPECT_EQ(find("tb_absent!blur"), "<none>");

    ASSERT_EQ(KorvBasicModLoaderAddAlias(l, "soft", "tb_fx!gaussian"), 1u);
    ASSERT_EQ(KorvBasicModLoaderAddAlias(l, "tb_good!smooth", "tb_fx!median"), 1u);
    ASSERT_EQ(KorvBasicModLoaderAddAlias(l, "sharp", "sharpen"), 1u);
    EXPECT_EQ(find("soft"), "tb_fx!gaussian");
    EXPECT_EQ(find("smooth"), "tb_fx!median");         // by its function part
    EXPECT_EQ(find("tb_good!smooth"), "tb_fx!median"); // by its full name
    EXPECT_EQ(find("any!soft"), "tb_fx!gaussian");     // a qualified name's function part
    EXPECT_EQ(find("sharp"), "tb_good!sharpen");
    // The newest alias of a key wins.
    ASSERT_EQ(KorvBasicModLoaderAddAlias(l, "soft", "tb_fx!median"), 1u);
    EXPECT_EQ(find("soft"), "tb_fx!median");

    EXPECT_EQ(bundle(l, "tb_good")->refcount, 1);
    EXPECT_EQ(bundle(l, "tb_fx")->refcount, 1);
}

TEST(ModLoader, ModuleReferences) {
    Loader l;
    ASSERT_EQ(KorvBasicModLoaderAddLibrary(l, lib_path("tb_good").c_str()), 1u);
    KorvModule *m = l->findModule(l, "sharpen");
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(l->refcount, 2);
    DebugLog log;
    l->retainModule(l, m);
    l->releaseModule(l, m);
    l->releaseModule(l, m);
    l->releaseModule(l, nullptr);
    EXPECT_EQ(log.take(), (std::vector<std::string>{
                              "KorvBasicModLoaderRetainModule: new bundle refcount 3, loader refcount 3\n",
                              "KorvBasicModLoaderReleaseModule: new bundle refcount 2\n",
                              "KorvBasicModLoaderRelease: new refcount 2\n",
                              "KorvBasicModLoaderReleaseModule: new bundle refcount 1\n",
                              "KorvBasicModLoaderRelease: new refcount 1\n"}));
}

TEST(ModLoader, RetainedModuleOutlivesItsLoader) {
    KorvModLoader *l = nullptr;
    ASSERT_EQ(KorvBasicModLoaderCreate(&l), 1u);
    ASSERT_EQ(KorvBasicModLoaderAddLibrary(l, lib_path("tb_good").c_str()), 1u);
    KorvModule *m = l->findModule(l, "blur");
    ASSERT_NE(m, nullptr);
    // The loader goes while the module is held: its bundle stays loaded.
    DebugLog log;
    l->release(l);
    l->release(l);
    EXPECT_EQ(log.take().back(), "KorvBasicModLoaderRelease: new refcount 0 and freeing\n");
    KorvState *state = nullptr;
    ASSERT_EQ(m->init(nullptr, &state, nullptr), 1u);
    EXPECT_STREQ(state->name, "blur");
    KorvFreeState(state);
}

TEST(ModLoader, FreedLoaderClosesItsBundles) {
    {
        Loader l;
        ASSERT_EQ(KorvBasicModLoaderAddLibrary(l, lib_path("tb_fx").c_str()), 1u);
        KorvModule *m = l->findModule(l, "median");
        ASSERT_NE(m, nullptr);
        l->releaseModule(l, m);
    }
    // Opened afresh, its module entry has not been asked yet.
    KorvLibrary lib = nullptr;
    ASSERT_EQ(KorvDLOpen(lib_path("tb_fx").c_str(), &lib), 1u);
    void *calls = nullptr;
    ASSERT_EQ(KorvDLSymbolLookup(lib, "tb_module_calls", &calls), 1u);
    EXPECT_EQ(reinterpret_cast<int (*)(void)>(calls)(), 0);
    KorvDLClose(lib);
}

TEST(ModLoader, GetList) {
    Loader l;
    ASSERT_EQ(KorvBasicModLoaderAddLibrary(l, lib_path("tb_good").c_str()), 1u);
    KorvModule **list = nullptr;
    EXPECT_EQ(KorvBasicModLoaderGetList(l, nullptr, &list), 2u);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list[2], nullptr);
    korv_internal_free(list);
    // A named bundle is opened when needed.
    EXPECT_EQ(KorvBasicModLoaderGetList(l, lib_path("tb_fx").c_str(), &list), 2u);
    ASSERT_NE(list, nullptr);
    EXPECT_STREQ(list[0]->name, "gaussian");
    EXPECT_STREQ(list[1]->name, "median");
    EXPECT_EQ(list[2], nullptr);
    korv_internal_free(list);
    EXPECT_EQ(KorvBasicModLoaderGetList(l, nullptr, nullptr), 4u);
    EXPECT_EQ(KorvBasicModLoaderGetList(l, "tb_good", nullptr), 2u);
    EXPECT_EQ(KorvBasicModLoaderGetList(l, "tb_absent", &list), 0u);
    EXPECT_EQ(list, nullptr);
}

TEST(ModLoaderThreads, SharedLoader) {
    Loader l;
    ASSERT_EQ(KorvBasicModLoaderAddLibrary(l, lib_path("tb_good").c_str()), 1u);
    ASSERT_EQ(KorvBasicModLoaderAddAlias(l, "soft", "tb_fx!gaussian"), 1u);
    std::atomic<int> misses{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; t++) {
        threads.emplace_back([&, t] {
            const char *names[] = {"blur", "soft", "tb_fx!median", "tb_good!sharpen"};
            for (int i = 0; i < 200; i++) {
                l->retain(l);
                KorvModule *m = l->findModule(l, names[(t + i) % 4]);
                if (!m) misses++;
                void *p = nullptr;
                if (KorvRetrieveFunc("tb_blur!BlurInit", nullptr, &p) != 1) misses++;
                l->releaseModule(l, m);
                l->release(l);
            }
        });
    }
    for (auto &t : threads) t.join();
    EXPECT_EQ(misses.load(), 0);
    EXPECT_EQ(bundle(l, "tb_good")->refcount, 1);
    EXPECT_EQ(bundle(l, "tb_fx")->refcount, 1);
}

TEST(ModLoader, AllocationFailuresLeaveNothingBehind) {
    const std::string good = lib_path("tb_good");
    bool completed = false;
    for (unsigned long n = 1; n < 200 && !completed; n++) {
        korv_testing_fail_alloc(n);
        KorvModLoader *l = nullptr;
        if (KorvBasicModLoaderCreate(&l) != 1) {
            korv_testing_fail_alloc(0);
            EXPECT_EQ(l, nullptr);
            continue;
        }
        uint32_t added = KorvBasicModLoaderAddLibrary(l, good.c_str());
        uint32_t aliased = KorvBasicModLoaderAddAlias(l, "tb_good!soft", "tb_good!blur");
        KorvModule *m = l->findModule(l, "soft");
        KorvModule **list = nullptr;
        uint32_t listed = KorvBasicModLoaderGetList(l, nullptr, &list);
        completed = korv_testing_alloc_count() < n;
        korv_testing_fail_alloc(0);
        EXPECT_TRUE(added == 1 || added == kFail) << n;
        if (completed) {
            EXPECT_EQ(aliased, 1u);
            EXPECT_NE(m, nullptr);
            EXPECT_EQ(listed, 2u);
        }
        korv_internal_free(list);
        l->releaseModule(l, m);
        l->release(l);
    }
    EXPECT_TRUE(completed);
}
