// Names in a tree compare as the library's string routines compare them.
#include <gtest/gtest.h>

#include <kvsup.h>

TEST(CMNames, CompareWithTheLibraryCaseTable)
{
    // The case table of the string routines takes '[' and '{' as the same
    // letter; a lookup by name agrees with them.
    ASSERT_EQ(KorvStrCaseCmp("k[", "K{"), 0);
    KorvCMNode *root = KorvSetParam(nullptr, "Obj[", "Sec", "k[", "1", 1);
    ASSERT_NE(root, nullptr);
    KorvCMNode *label = KorvGetUserCMData(root, "OBJ{", "sEC", "K{");
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(std::string(label->text, label->length), "k[");
    EXPECT_STREQ(KorvGetParam(root, "obj{", "sec", "K["), "1");
    // Other bytes stay apart, and lengths must agree.
    EXPECT_EQ(KorvGetUserCMData(root, "Obj[", "Sec", "k\\"), nullptr);
    EXPECT_EQ(KorvGetUserCMData(root, "Obj[", "Sec", "k[ "), nullptr);
    KorvDeleteParam(root, "OBJ{", "SEC", "K{");
    EXPECT_EQ(KorvGetUserCMData(root, "Obj[", "Sec", "k["), nullptr);
    KorvFreeUserCMData(root);
}
