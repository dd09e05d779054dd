#include <LumvoData/View/GrphBoxes.h>

using AMath::AxisAlignedBox;
using AMath::Vector3;

namespace GrphUtil {

void SubBox2(const AxisAlignedBox& box, AxisAlignedBox* out)
{
    const Vector3 half = box.getHalfSize();
    double Vector3::*axis = &Vector3::z;
    if (half.x > half.y && half.x > half.z)
        axis = &Vector3::x;
    else if (half.y > half.x && half.y > half.z)
        axis = &Vector3::y;

    const Vector3 minimum = box.getMinimum();
    const Vector3 maximum = box.getMaximum();
    Vector3 lowerEnd = maximum;
    Vector3 upperStart = minimum;
    lowerEnd.*axis = upperStart.*axis = minimum.*axis + half.*axis;
    out[0].setExtents(minimum, lowerEnd);
    out[1].setExtents(upperStart, maximum);
}

void SubBox8(const AxisAlignedBox& box, AxisAlignedBox* out)
{
    struct Octant
    {
        bool x, y, z; // in the upper half
    };
    static constexpr Octant s_Octants[] = {{false, false, false}, {true, true, true},  {true, false, false},
                                           {false, true, false},  {true, true, false}, {true, false, true},
                                           {false, true, true},   {false, false, true}};
    const Vector3 minimum = box.getMinimum();
    const Vector3 centre = box.getCenter();
    const Vector3 half = box.getHalfSize();
    for (const Octant& octant : s_Octants) {
        const Vector3 shift{octant.x ? half.x : 0, octant.y ? half.y : 0, octant.z ? half.z : 0};
        (out++)->setExtents(minimum + shift, centre + shift);
    }
}
} // namespace GrphUtil
