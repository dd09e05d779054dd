#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace AMath;
using Kelvra::AWorkingPlane;

namespace {

TEST(WorkingPlane, DividesWhatItCovers)
{
    AWorkingPlane plane;
    EXPECT_TRUE(std::signbit(plane.GetStartPos().z));
    EXPECT_EQ(plane.GetCellCount(), Vector3(10, 10, 0));
    EXPECT_EQ(plane.GetInnerCellSize(), Vector3(20, 20, 1));
    plane.SetCellCount({50, 80, 1}); // a size, in spite of its name
    plane.SetInnerCellCount({4, 5, 0});
    EXPECT_EQ(plane.GetCellCount(), Vector3(20, 12.5, 0));
    EXPECT_EQ(plane.GetInnerCellSize(), Vector3(12.5, 16, HUGE_VAL));
}

TEST(WorkingPlane, MovesOnlyEdgesThatDoNotCover)
{
    AWorkingPlane plane;
    plane.SetCellCount({1, 1, 1});
    const Vector3 steps[][4] = {{{-500, -500, -9}, {500, 500, 9}, {-500, -500, 0}, {500, 500, 0}}, // on the edges
                                {{0, 0, 0}, {600, 1, 1}, {-500, -500, 0}, {700, 500, 0}},
                                {{0, 0, 0}, {650, 1, 1}, {-500, -500, 0}, {700, 500, 0}},
                                {{-800, -500.5, 0}, {-700, 900, 1}, {-900, -600.5, 0}, {700, 1000, 0}}};
    for (const auto& [low, high, start, end] : steps) {
        plane.AdjustPlane({low, high});
        EXPECT_EQ(plane.GetStartPos(), start);
        EXPECT_EQ(plane.GetStartPos() + plane.GetCellCount(), end);
    }
    AxisAlignedBox notFinite({-9000, -9000, 0}, {9000, 9000, 0});
    notFinite.setNull();
    plane.AdjustPlane(notFinite);
    notFinite.setInfinite();
    plane.AdjustPlane(notFinite);
    EXPECT_EQ(plane.GetCellCount(), Vector3(1600, 1600.5, 0));
}
} // namespace
