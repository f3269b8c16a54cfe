#include <gtest/gtest.h>
#include <string>
#include <kvsup.h>
#include "core/alloc_testing.h"
#include "core/engine_internal.h"

namespace {

std::string g_order;
int g_refusals = 0;

int32_t record(uintptr_t arg)
{
    g_order += (char)arg;
    return 1;
}

int32_t refuse_then_done(uintptr_t arg)
{
    g_order += (char)arg;
    return g_refusals-- > 0 ? 2 : 1;
}

int32_t stop_here(uintptr_t arg)
{
    g_order += (char)arg;
    return 0;
}

// The library is loaded, so the engine runs with a count of 1 when a test
// starts; every test leaves it that way.
class Engine : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_order.clear();
        g_refusals = 0;
    }
    void TearDown() override { EXPECT_EQ(KorvaneCleanup(), 1u); }
};

} // namespace

TEST_F(Engine, CountedInitAndEnd)
{
    ASSERT_EQ(KorvaneRegisterCleanup(1, record, 'A'), 1u);
    EXPECT_EQ(KorvaneInit(), 1u);
    EXPECT_EQ(KorvaneEnd(), 1u); // back to 1: nothing runs
    EXPECT_EQ(g_order, "");

    EXPECT_EQ(KorvaneEnd(), 1u); // last end runs the registry
    EXPECT_EQ(g_order, "A");
    EXPECT_EQ(KorvaneEnd(), 0u); // not initialised
    EXPECT_EQ(KorvaneLock(KORV_KEY('H', 'D', 'R', 'M')), 0u); // no locks now
    EXPECT_EQ(KorvaneInit(), 1u);
    EXPECT_EQ(KorvaneLock(KORV_KEY('H', 'D', 'R', 'M')), 1u);
    EXPECT_EQ(KorvaneUnlock(KORV_KEY('H', 'D', 'R', 'M')), 1u);
}

TEST_F(Engine, EndRunsNewestFirstAndKeepsWhenZeroEntries)
{
    KorvaneRegisterCleanupFunc(record, 'z'); // when 0: only KorvaneCleanup
    KorvaneRegisterCleanup(1, record, 'A');
    KorvaneRegisterCleanup(1, record, 'B');
    KorvaneRegisterCleanup(7, record, 'C');
    EXPECT_EQ(KorvaneEnd(), 1u);
    EXPECT_EQ(g_order, "CBA");
    KorvaneInit();
    EXPECT_EQ(KorvaneCleanup(), 1u);
    EXPECT_EQ(g_order, "CBAz");
}

TEST_F(Engine, RefusedShutdownStaysInitialisedAndRetries)
{
    KorvaneRegisterCleanup(1, record, 'A');
    KorvaneRegisterCleanup(1, refuse_then_done, 'R');
    g_refusals = 1;
    EXPECT_EQ(KorvaneEnd(), 2u);
    EXPECT_EQ(g_order, "R");
    // Count is 1 again: the next end asks the refusing entry first.
    EXPECT_EQ(KorvaneEnd(), 1u);
    EXPECT_EQ(g_order, "RRA");
    KorvaneInit();
}

TEST_F(Engine, AbsoluteEndRetriesAtOnceAndStopsOnZero)
{
    KorvaneRegisterCleanup(1, record, 'A');
    KorvaneRegisterCleanup(1, refuse_then_done, 'R');
    g_refusals = 3;
    EXPECT_EQ(KorvaneAbsoluteEnd(), 1u);
    EXPECT_EQ(g_order, "RRRRA");
    KorvaneInit();

    g_order.clear();
    KorvaneRegisterCleanup(1, record, 'A');
    KorvaneRegisterCleanup(1, stop_here, 'S');
    EXPECT_EQ(KorvaneAbsoluteEnd(), 0u);
    EXPECT_EQ(g_order, "S"); // removed, but the shutdown stopped
    EXPECT_EQ(KorvaneEnd(), 1u); // still initialised with count 1
    EXPECT_EQ(g_order, "SA");
    KorvaneInit();

    // With another init outstanding, the absolute end only decrements.
    KorvaneInit();
    KorvaneRegisterCleanup(1, record, 'B');
    EXPECT_EQ(KorvaneAbsoluteEnd(), 1u);
    EXPECT_EQ(g_order, "SA");
    EXPECT_EQ(KorvaneCleanup(), 1u);
}

TEST_F(Engine, CleanupWalkCodes)
{
    KorvaneRegisterCleanup(1, record, 'A');
    KorvaneRegisterCleanupFunc(refuse_then_done, 'R');
    g_refusals = 1;
    EXPECT_EQ(KorvaneCleanup(), 2u); // kept at the head
    EXPECT_EQ(KorvaneCleanup(), 1u);
    EXPECT_EQ(g_order, "RRA");

    g_order.clear();
    KorvaneRegisterCleanupFunc(record, 'A');
    KorvaneRegisterCleanupFunc(stop_here, 'S');
    EXPECT_EQ(KorvaneCleanup(), 0u); // removed, then stopped
    EXPECT_EQ(KorvaneCleanup(), 1u);
    EXPECT_EQ(g_order, "SA");
}

TEST_F(Engine, RegistrationFailures)
{
    EXPECT_EQ(KorvaneRegisterCleanup(1, nullptr, 0), 0u);
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvaneRegisterCleanup(1, record, 'A'), 0u);
    korv_testing_fail_alloc(0);
}

TEST(EngineLocks, KeysMapToSlotsAndAreReentrant)
{
    EXPECT_EQ(korv::global_lock_slot(KORV_KEY('H', 'D', 'R', 'M')), 1u);
    EXPECT_EQ(korv::global_lock_slot(KORV_KEY('S', 'H', 'R', 'D')), 4u);
    EXPECT_EQ(korv::global_lock_slot(KORV_KEY('E', 'N', 'V', 'V')), 4u);
    EXPECT_EQ(korv::global_lock_slot(KORV_KEY('W', 'S', 'A', 'K')), 6u);
    EXPECT_EQ(korv::global_lock_slot(KORV_KEY('W', 'K', 'P', 'L')), 7u);
    EXPECT_EQ(korv::global_lock_slot(KORV_KEY('L', 'O', 'C', 'L')), 3u);
    EXPECT_EQ(korv::global_lock('S' << 24 | 'H' << 16 | 'R' << 8 | 'D'),
              korv::global_lock(KORV_KEY('E', 'N', 'V', 'V')));

    // A holder of 'SHRD' may register a clean-up, which takes slot 4 too.
    ASSERT_EQ(KorvaneLock(KORV_KEY('S', 'H', 'R', 'D')), 1u);
    EXPECT_EQ(KorvaneRegisterCleanupFunc(record, 'x'), 1u);
    EXPECT_EQ(KorvaneUnlock(KORV_KEY('S', 'H', 'R', 'D')), 1u);
    EXPECT_EQ(KorvaneCleanup(), 1u);
}
