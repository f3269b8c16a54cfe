#include <gtest/gtest.h>
#include <kvsup.h>
#include "core/alloc_testing.h"

TEST(Alloc, InjectedFailureHitsTheChosenAllocation)
{
    korv_testing_fail_alloc(2);
    void *a = korv_internal_malloc(16);
    void *b = korv_internal_malloc(16);
    void *c = korv_internal_calloc(2, 8);
    EXPECT_NE(a, nullptr);
    EXPECT_EQ(b, nullptr);
    EXPECT_NE(c, nullptr);
    EXPECT_EQ(korv_testing_alloc_count(), 3u);
    korv_internal_free(a);
    korv_internal_free(c);
    korv_testing_fail_alloc(0);
}
