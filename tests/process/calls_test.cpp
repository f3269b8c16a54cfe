#include <gtest/gtest.h>
#include <algorithm>
#include <string>
#include <vector>
#include <kvsup.h>
#include "core/alloc_testing.h"

namespace {

constexpr uint32_t kAgain = 0xFFFFFFFFu;

int g_calls;
uint32_t g_result;
void *g_a;
KorvChunk g_input;
std::vector<uint32_t> g_ends; // results of the scripted end entry, in turn
char *g_errorAtEnd;

// A process entry that records what it got and, given addresses, stores
// output of its own (which the drivers may overwrite).
uint32_t recording_process(KorvState *state, void *a, void *b, void *)
{
    g_calls++;
    g_a = a;
    if (KorvChunk *in = state->getInputChunk(state, 0))
        g_input = *in;
    if (a) {
        *static_cast<void **>(a) = reinterpret_cast<void *>(0xBAD);
        *static_cast<uint32_t *>(b) = 77;
    }
    return g_result;
}

uint32_t scripted_end(KorvState *state)
{
    g_calls++;
    g_errorAtEnd = state->errorMsg;
    uint32_t r = g_ends.front();
    g_ends.erase(g_ends.begin());
    return r;
}

// A state with (optionally) one input and one output chunk.
struct Driven {
    KorvState *state = nullptr;
    explicit Driven(bool in = true, bool out = true)
    {
        g_calls = 0;
        KorvAllocState(&state, KORV_STATE_MIN_SIZE);
        state->processPoint = recording_process;
        if (in)
            KorvAllocArray(reinterpret_cast<void ***>(&state->inputChunks), 1, sizeof(KorvChunk));
        if (out)
            KorvAllocArray(reinterpret_cast<void ***>(&state->outputChunks), 1, sizeof(KorvChunk));
    }
    ~Driven()
    {
        KorvFreeArray(reinterpret_cast<void **>(state->inputChunks));
        KorvFreeArray(reinterpret_cast<void **>(state->outputChunks));
        korv_internal_free(state->errorMsg);
        KorvFreeState(state);
    }
    KorvState *operator->() const { return state; }
};

} // namespace

TEST(ProcessDrivers, MissingEntriesAndNullStates)
{
    EXPECT_EQ(KorvCallProcess(nullptr, nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(KorvProcessSI(nullptr, nullptr, 0, 0), 0u);
    EXPECT_EQ(KorvProcessSO(nullptr, nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(KorvProcessSISO(nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(KorvCallEnd(nullptr), 0u);
    EXPECT_EQ(KorvAbsoluteCallEnd(nullptr), 0u);

    Driven s;
    s->processPoint = nullptr;
    s->endPoint = nullptr;
    void *data;
    uint32_t size, aux;
    EXPECT_EQ(KorvCallProcess(s.state, nullptr, nullptr, nullptr), kAgain);
    EXPECT_EQ(s->status, -1);
    EXPECT_EQ(KorvProcessSI(s.state, &data, 1, 0), kAgain);
    EXPECT_EQ(KorvProcessSO(s.state, &data, &size, &aux), kAgain);
    EXPECT_EQ(KorvProcessSISO(s.state, &data, 1, 0, &data, &size, &aux), kAgain);
    const std::string p = "No processPoint entry point defined";
    EXPECT_EQ(std::string(s->errorMsg), p + ", " + p + ", " + p + ", " + p);

    korv_internal_free(s->errorMsg);
    s->errorMsg = nullptr;
    EXPECT_EQ(KorvCallEnd(s.state), 0u); // the record stays alive
    EXPECT_STREQ(s->errorMsg, "No endPoint entry point defined");
    EXPECT_EQ(s->status, 0);
}

TEST(ProcessDrivers, ChunksInAndOut)
{
    char in[4] = "abc", out[3] = {};
    Driven s;
    KorvSetChunk(s->outputChunks, 0, out, 3, 11);
    s->inputChunks[0]->flags = 4;
    void *x = nullptr;
    uint32_t y = 0, z = 0;
    g_result = 7;
    EXPECT_EQ(KorvCallProcess(s.state, &x, &y, &z), 7u);
    EXPECT_EQ(s->status, 7);
    EXPECT_EQ(g_a, &x);

    g_result = 3;
    EXPECT_EQ(KorvProcessSI(s.state, in, 4, 9), 3u);
    EXPECT_EQ(g_input.data, reinterpret_cast<unsigned char *>(in));
    EXPECT_EQ(g_input.size, 4u);
    EXPECT_EQ(g_input.aux, 9u);
    EXPECT_EQ(g_input.flags, 4u);
    EXPECT_EQ(g_a, nullptr);

    // Output chunk 0 is handed out after 1 and 2 only.
    for (uint32_t r : {1u, 2u, 3u}) {
        g_result = r;
        void *data = nullptr;
        uint32_t size = 0, aux = 0;
        EXPECT_EQ(KorvProcessSO(s.state, &data, &size, &aux), r);
        EXPECT_EQ(s->status, (int32_t)r);
        EXPECT_EQ(data, r == 3 ? reinterpret_cast<void *>(0xBAD) : out);
        EXPECT_EQ(size, r == 3 ? 77u : 3u);
        data = nullptr;
        EXPECT_EQ(KorvProcessSISO(s.state, in, 2, 8, &data, &size, &aux), r);
        EXPECT_EQ(g_input.size, 2u);
        EXPECT_EQ(data, r == 3 ? nullptr : out);
    }

    Driven noOutput(true, false);
    g_result = 2;
    EXPECT_EQ(KorvProcessSO(noOutput.state, &x, &y, &z), 0u);
    EXPECT_EQ(KorvProcessSISO(noOutput.state, in, 1, 0, &x, &y, &z), 0u);
    EXPECT_EQ(noOutput->status, 2);
    Driven noInput(false, true);
    noInput->status = 42;
    EXPECT_EQ(KorvProcessSI(noInput.state, in, 1, 0), 0u);
    EXPECT_EQ(KorvProcessSISO(noInput.state, in, 1, 0, &x, &y, &z), 0u);
    EXPECT_EQ(noInput->status, 42);
    EXPECT_EQ(g_calls, 0);
}

TEST(EndDrivers, MessageGoesFirstAndRepeatsAreReported)
{
    {
        Driven s;
        KorvSetError(s.state, 5, "failed");
        s->endPoint = scripted_end;
        g_ends = {9};
        EXPECT_EQ(KorvCallEnd(s.state), 9u);
        EXPECT_EQ(g_errorAtEnd, nullptr);
    }
    const struct {
        std::vector<uint32_t> script;
        uint32_t result;
        int calls;
    } cases[] = {{{kAgain, kAgain, 1}, kAgain, 3}, {{1}, 1, 1}, {{0}, 0, 1}, {{kAgain, 2}, 0, 2}};
    for (const auto &c : cases) {
        Driven s;
        s->endPoint = scripted_end;
        g_ends = c.script;
        EXPECT_EQ(KorvAbsoluteCallEnd(s.state), c.result);
        EXPECT_EQ(g_calls, c.calls);
    }
    // The default end entry frees the record (ASan sees a leak otherwise).
    KorvState *plain = nullptr;
    ASSERT_EQ(KorvAllocState(&plain, 300), 1u);
    KorvSetError(plain, 1, "text");
    EXPECT_EQ(KorvAbsoluteCallEnd(plain), 1u);
}

namespace {

std::vector<KorvArgWord> g_words;
KorvFuncDesc *g_desc;

uint32_t making_init(KorvArgWord *args, KorvState **state, KorvFuncDesc *desc)
{
    g_calls++;
    g_desc = desc;
    g_words.clear();
    for (size_t i = 0; g_words.empty() || g_words.back() != KORV_ARG_END; i++)
        g_words.push_back(args[i]);
    KorvAllocState(state, KORV_STATE_MIN_SIZE);
    return g_result;
}

} // namespace

TEST(InitDrivers, ResultBecomesTheStatus)
{
    g_calls = 0;
    KorvArgWord list[] = {KORV_ARG_END};
    KorvState *state = nullptr;
    EXPECT_EQ(KorvCallInit(nullptr, list, &state), 0u);
    EXPECT_EQ(KorvCallInit(making_init, nullptr, &state), 0u);
    EXPECT_EQ(KorvCallInit(making_init, list, nullptr), 0u);
    g_result = 5;
    EXPECT_EQ(KorvCallInit(making_init, list, &state), 5u);
    EXPECT_EQ(state->status, 5);
    EXPECT_EQ(g_desc, nullptr);
    KorvCallEnd(state);

    // The words up to the end marker are handed over as a new list.
    int32_t value = 4;
    state = nullptr;
    g_result = 1;
    EXPECT_EQ(KorvCallInitArgs(making_init, (KorvArgWord) "n:i", (KorvArgWord)&value,
                               KORV_ARG_END, &state),
              1u);
    EXPECT_EQ(g_words, (std::vector<KorvArgWord>{(KorvArgWord) "n:i", (KorvArgWord)&value,
                                                 KORV_ARG_END}));
    EXPECT_EQ(state->status, 1);
    KorvCallEnd(state);
    EXPECT_EQ(KorvCallInitArgs(nullptr, KORV_ARG_END, &state), 0u);
    EXPECT_EQ(KorvCallInitArgs(making_init, KORV_ARG_END, (KorvState **)nullptr), 0u);
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvCallInitArgs(making_init, KORV_ARG_END, &state), 0u);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(g_calls, 2);
}

// Drivers that find the init entry through a descriptor: its init text
// names an entry of the fixture library, which forwards to these hooks.
namespace {

struct Entry {
    std::string name;
    std::vector<KorvArgWord> values;
};
std::vector<Entry> g_entries;
std::vector<uint32_t> g_pixels; // of the "input:h" headers
bool g_makeState;

// Lists of scalar entries only: name, value words, NULL.
std::vector<Entry> entries_of(const KorvArgWord *args)
{
    std::vector<Entry> out;
    for (size_t i = 0; args[i] != KORV_ARG_END; i++) {
        Entry e{reinterpret_cast<const char *>(args[i++]), {}};
        for (; args[i]; i++)
            e.values.push_back(args[i]);
        out.push_back(e);
    }
    return out;
}

uint32_t hooked_init(KorvArgWord *args, KorvState **state, KorvFuncDesc *desc)
{
    g_calls++;
    g_desc = desc;
    g_entries = entries_of(args);
    g_pixels.clear();
    for (const Entry &e : g_entries)
        if (e.name == "input:h")
            for (auto **h = reinterpret_cast<KorvGenericHeader **>(e.values.at(0)); *h; h++)
                g_pixels.push_back((*h)->pixels);
    if (g_makeState)
        KorvAllocState(state, KORV_STATE_MIN_SIZE);
    return g_result;
}

// A host that logs what reaches it: its call, forward and message entries.
std::vector<std::string> g_host;

uint32_t host_call(KorvCompositeHost *, uint64_t id, int32_t blockSize, KorvBinArgDesc *block,
                   uint32_t n, uint32_t count, KorvCallPair *pairs)
{
    std::string c = std::to_string(id) + " " + std::to_string(blockSize) + " " + block[0].name +
                    "=" + std::to_string(*static_cast<int32_t *>(block[0].data)) + " " +
                    std::to_string(n);
    for (uint32_t i = 0; i < count; i++)
        c += " " + std::to_string(pairs[i].value) + "/" + std::to_string(pairs[i].n);
    g_host.push_back(c);
    return 60 + count;
}

uint32_t host_forward(KorvCompositeHost *, uintptr_t a, uintptr_t b, uintptr_t c, uintptr_t d)
{
    g_host.push_back("forward " + std::to_string(a + b * 10 + c * 100 + d * 1000));
    return 17;
}

void host_message(KorvCompositeHost *, const char *text)
{
    g_host.push_back(std::string("message ") + text);
}

KorvCompositeHost g_hostEntries = {host_call, host_forward, host_message};
int32_t g_x = 5;
double g_d = 1.5;
KorvArgWord g_xArgs[] = {(KorvArgWord) "x:i", (KorvArgWord)&g_x, 0, KORV_ARG_END};
KorvArgWord g_badArgs[] = {(KorvArgWord) "n:d", (KorvArgWord)&g_d, 0, KORV_ARG_END};
std::vector<uint32_t> g_bridgeResults;
KorvCompositeHost *g_hostSeen;
uintptr_t g_value;
bool g_failAllocations;

uint32_t composite_hook(KorvFuncDesc *desc, KorvArgWord *args, KorvCompositeBridge *bridge,
                        uintptr_t value)
{
    g_desc = desc;
    g_entries = entries_of(args);
    g_hostSeen = bridge->host;
    g_value = value;
    auto &r = g_bridgeResults;
    r.clear();
    g_host.clear();
    if (!bridge->callBin) // a caller's own empty bridge
        return 33;
    for (unsigned long n = 1; g_failAllocations; n++) { // each allocation in turn
        korv_testing_fail_alloc(n);
        r.push_back(bridge->callBin(bridge, 1, g_xArgs, 0, 1, (uint64_t)5, (uint32_t)6));
        bridge->message(bridge, "m%d", (int)n);
        g_failAllocations = korv_testing_alloc_count() >= n;
        korv_testing_fail_alloc(0);
    }
    if (!r.empty())
        return 33;
    KorvCallPair mine[1] = {{9, 10}};
    r.push_back(bridge->callBin(bridge, 42, g_xArgs, 3, 2, (uint64_t)1 << 40, (uint32_t)7,
                                (uint64_t)200, (uint32_t)8));
    r.push_back(bridge->callBin(bridge, 43, g_badArgs, 3, 0));
    r.push_back(bridge->callBinArray(bridge, 44, g_xArgs, 4, 1, mine));
    r.push_back(bridge->callBinArray(bridge, 45, g_badArgs, 4, 1, mine));
    r.push_back(bridge->forward(bridge, 1, 2, 3, 4));
    bridge->message(bridge, "frame %d of %s", 3, "x");
    return 33;
}

typedef void (*SetHooksFn)(KorvInitFn, KorvCompositeInitFn);

class ModuleCalls : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        void *set = nullptr;
        ASSERT_EQ(KorvRetrieveFunc(KV_CALLS_FIXTURE "!FixtureSetHooks", nullptr, &set), 1u);
        reinterpret_cast<SetHooksFn>(set)(hooked_init, composite_hook);
    }
    void SetUp() override
    {
        g_calls = 0;
        desc = KorvAllocFuncDesc();
        name("FixtureInit");
    }
    void TearDown() override
    {
        KorvFreeFuncDesc(desc);
        for (void *b : blocks)
            korv_internal_free(b);
    }
    void name(const char *entry)
    {
        korv_internal_free(desc->init);
        desc->init = entry ? KorvStrDup((std::string(KV_CALLS_FIXTURE "!") + entry).c_str())
                           : nullptr;
    }
    const void *bin_header(uint32_t pixels)
    {
        KorvGenericHeader **one = nullptr;
        KorvAllocHeaders(&one, 1, sizeof(KorvGenericHeader));
        one[0]->pixels = pixels;
        one[0]->dimensions = 1;
        void *block = nullptr;
        EXPECT_GT(KorvBinHdrFromHdr(one[0], 0, &block, 0), 0);
        KorvFreeSmartArray(reinterpret_cast<void **>(one));
        blocks.push_back(block);
        return block;
    }
    KorvBinArgDesc *level_block()
    {
        KorvBinArgDesc *block = nullptr;
        EXPECT_EQ(KorvBinArgFromArgs(levelArgs, &block), 1);
        blocks.push_back(block);
        return block;
    }

    KorvFuncDesc *desc = nullptr;
    std::vector<void *> blocks;
    int32_t level = 3;
    KorvArgWord levelArgs[4] = {(KorvArgWord) "level:i", (KorvArgWord)&level, 0, KORV_ARG_END};
};

} // namespace

TEST_F(ModuleCalls, InitThroughTheDescriptor)
{
    KorvState *state = nullptr;
    g_result = 6;
    g_makeState = true;
    EXPECT_EQ(KorvCallModuleInit(desc, levelArgs, &state), 6u);
    EXPECT_EQ(state->status, 6);
    EXPECT_EQ(g_desc, desc);
    EXPECT_EQ(g_entries.at(0).name, "level:i");
    KorvCallEnd(state);

    state = nullptr;
    EXPECT_EQ(KorvCallModuleInit(nullptr, levelArgs, &state), 0u);
    EXPECT_EQ(KorvCallModuleInit(desc, nullptr, &state), 0u);
    EXPECT_EQ(KorvCallModuleInit(desc, levelArgs, nullptr), 0u);
    name("NoSuchEntry"); // an init text that does not resolve: no init entry
    EXPECT_EQ(KorvCallModuleInit(desc, levelArgs, &state), 0u);
    name(nullptr);
    EXPECT_EQ(KorvCallModuleInit(desc, levelArgs, &state), 0u);
    EXPECT_EQ(g_calls, 1);
}

TEST_F(ModuleCalls, InitBinUnpacksArgumentsAndHeaders)
{
    KorvState *state = nullptr;
    g_result = 6;
    g_makeState = true;
    EXPECT_EQ(KorvCallModuleInitBin(desc, 1, level_block(), 0, nullptr, &state), 6u);
    ASSERT_EQ(g_entries.size(), 1u); // no "input:h" without headers
    EXPECT_EQ(*reinterpret_cast<int32_t *>(g_entries[0].values.at(0)), 3);
    EXPECT_EQ(g_desc, desc);
    EXPECT_EQ(state->status, 6);
    KorvCallEnd(state);

    const void *headers[] = {bin_header(10), bin_header(20)};
    g_result = 2;
    g_makeState = false;
    state = nullptr;
    EXPECT_EQ(KorvCallModuleInitBin(desc, 0, nullptr, 2, headers, &state), 2u);
    EXPECT_EQ(g_entries.at(0).name, "input:h");
    EXPECT_EQ(g_pixels, (std::vector<uint32_t>{10, 20}));

    // Failed conversions call nothing.
    char bad[600] = "XH";
    const void *broken[] = {headers[0], bad};
    EXPECT_EQ(KorvCallModuleInitBin(desc, 0, nullptr, 2, broken, &state), 0u);
    EXPECT_EQ(KorvCallModuleInitBin(desc, 0, nullptr, -1, headers, &state), 0u);
    EXPECT_EQ(KorvCallModuleInitBin(desc, 2, nullptr, 0, nullptr, &state), 0u);
    EXPECT_EQ(KorvCallModuleInitBin(desc, 0, nullptr, 0, nullptr, nullptr), 0u);
    EXPECT_EQ(KorvCallModuleInitBin(nullptr, 0, nullptr, 0, nullptr, &state), 0u);
    EXPECT_EQ(g_calls, 2);

    KorvBinArgDesc *block = level_block();
    for (unsigned long n = 1;; n++) {
        g_calls = 0;
        korv_testing_fail_alloc(n);
        uint32_t r = KorvCallModuleInitBin(desc, 1, block, 2, headers, &state);
        unsigned long used = korv_testing_alloc_count();
        korv_testing_fail_alloc(0);
        if (used < n) {
            EXPECT_EQ(r, 2u);
            break;
        }
        EXPECT_EQ(r, 0u) << "allocation " << n;
        EXPECT_EQ(g_calls, 0) << "allocation " << n;
    }
}

TEST_F(ModuleCalls, CompositeEntryAndItsBridge)
{
    name("FixtureCompositeInit");
    KorvCompositeBridge given{};
    EXPECT_EQ(KorvCallCompositeInit(desc, g_xArgs, &given, 77), 33u);
    EXPECT_EQ(g_value, 77u);
    EXPECT_EQ(KorvCallCompositeInit(desc, g_xArgs, nullptr, 77), 0u);
    EXPECT_EQ(KorvCallCompositeInit(nullptr, g_xArgs, &given, 77), 0u);

    const void *headers[] = {bin_header(1)};
    EXPECT_EQ(KorvCallCompositeInitBin(desc, 1, level_block(), 1, headers, &g_hostEntries), 33u);
    EXPECT_EQ(g_desc, desc);
    EXPECT_EQ(g_entries.size(), 2u); // the list and "input:h"
    EXPECT_EQ(g_hostSeen, &g_hostEntries);
    EXPECT_EQ(g_value, 0u);
    // callBin packs the list and collects the pairs; a list that cannot be
    // packed gives 0 and reaches nothing; callBinArray passes its array.
    EXPECT_EQ(g_bridgeResults, (std::vector<uint32_t>{62, 0, 61, 0, 17}));
    EXPECT_EQ(g_host, (std::vector<std::string>{"42 1 x:i=5 3 1099511627776/7 200/8",
                                                "44 1 x:i=5 4 9/10", "forward 4321",
                                                "message frame 3 of x"}));

    EXPECT_EQ(KorvCallCompositeInitBin(desc, 0, nullptr, 0, nullptr, nullptr), 33u);
    EXPECT_EQ(g_bridgeResults, (std::vector<uint32_t>{0, 0, 0, 0, 0})); // no host
    name("Missing");
    EXPECT_EQ(KorvCallCompositeInit(desc, g_xArgs, &given, 77), 0u);
    EXPECT_EQ(KorvCallCompositeInitBin(desc, 0, nullptr, 0, nullptr, &g_hostEntries), 0u);
}

TEST_F(ModuleCalls, BridgeAllocationFailures)
{
    name("FixtureCompositeInit");
    g_failAllocations = true;
    EXPECT_EQ(KorvCallCompositeInitBin(desc, 0, nullptr, 0, nullptr, &g_hostEntries), 33u);
    // Failed rounds give 0 and reach no host; a message whose text cannot be
    // made is dropped; the last round gets through whole.
    const auto &r = g_bridgeResults;
    size_t calls = 0, messages = 0;
    for (const std::string &line : g_host)
        (line.rfind("message", 0) == 0 ? messages : calls)++;
    EXPECT_GE(r.size(), 3u);
    EXPECT_EQ((size_t)std::count(r.begin(), r.end(), 61u), calls);
    EXPECT_EQ((size_t)std::count(r.begin(), r.end(), 0u) + calls, r.size());
    EXPECT_LT(messages, r.size());
    EXPECT_EQ(r.back(), 61u);
    EXPECT_EQ(g_host.back(), "message m" + std::to_string(r.size()));
}
