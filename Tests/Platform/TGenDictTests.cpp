#include "Platform/TGenDict.h"

#include <gtest/gtest.h>

TEST(TGenDict, IntegerAndStringKeysLiveSideBySide)
{
    TGenDict seeds;
    seeds.SetValueForKey(int64_t(5), 2);
    seeds.SetValueForKey(int64_t(9), "Seeds_StyleGraphGlobalToMerged");
    EXPECT_EQ(seeds.IntegerForKey(2), 5);
    EXPECT_EQ(seeds.IntegerForKey("Seeds_StyleGraphGlobalToMerged"), 9);
    EXPECT_FALSE(seeds.HasKey("2"));
    EXPECT_EQ(seeds.IntegerForKey(3, -1), -1);
}
