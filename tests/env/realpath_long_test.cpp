// Normal paths with long names asked for.
#include "env/env_test_util.h"

// A path that normalises to nothing is the current directory whether or not
// long names are asked for, and the normal form normalises to itself.
TEST(RealPathLong, EmptyResultIsCurrentDirectory)
{
    for (const char *in : {"./", ".", "a/..", ".//", "x/./.."}) {
        EXPECT_EQ(take(KorvRealPath(sep(in).c_str(), 0, 0)), ".") << in;
        EXPECT_EQ(take(KorvRealPath(sep(in).c_str(), 0, 1)), ".") << in;
    }
    EXPECT_EQ(take(KorvRealPath(".", 0, 1)), ".");
}
