#include <Tests/View/RandomView.h>

#include <gtest/gtest.h>

using namespace AMath;

namespace {

TEST(Boxes, AreHalvedAcrossTheLongestAxis)
{
    const Vector3 rows[][4] = {{{1, 2, 3}, {6, 6, 5}, {6, 2, 3}, {11, 6, 5}},
                               {{0, 0, 0}, {4, 5, 2}, {0, 5, 0}, {4, 10, 2}},
                               {{0, 0, 0}, {10, 10, 1}, {0, 0, 1}, {10, 10, 2}}, // of equally long ones across z
                               {{0, 0, 0}, {8, 2, 4}, {0, 0, 4}, {8, 2, 8}},
                               {{0, 0, 0}, {2, 8, 4}, {0, 0, 4}, {2, 8, 8}}};
    for (const auto& [low, lowerEnd, upperStart, high] : rows) {
        AxisAlignedBox halves[2];
        GrphUtil::SubBox2({low, high}, halves);
        EXPECT_TRUE(halves[0] == AxisAlignedBox(low, lowerEnd));
        EXPECT_TRUE(halves[1] == AxisAlignedBox(upperStart, high));
    }
}

TEST(Boxes, AreDividedIntoOctantsInOrder)
{
    const Vector3 low(1, 2, 3), centre(6, 12, 18), high(11, 22, 33);
    AxisAlignedBox octants[8];
    GrphUtil::SubBox8({low, high}, octants);
    const AxisAlignedBox* octant = octants;
    for (const int i : {0, 7, 1, 2, 3, 5, 6, 4}) // x counts 1, y 2 and z 4 where the octant is in the upper half
        EXPECT_TRUE(*octant++ == AxisAlignedBox(Corner({low, centre}, i), Corner({centre, high}, i))) << i;
}
} // namespace
