#include <LumvoData/Contracts/KelvraMath/Vector3.h>

#include <algorithm>

namespace AMath {
namespace {

/// Brings the largest component of a finite vector between 1 and 2 by a power of two, which is exact.
/// \returns the exponent that undoes it; 0, with `v` as it was, for a vector that is zero or not finite.
int ScaleToUnit(Vector3& v) noexcept
{
    const double largest = std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)});
    if (largest == 0 || !std::isfinite(v.x) || !std::isfinite(v.y) || !std::isfinite(v.z))
        return 0;
    const int exponent = std::ilogb(largest);
    v = {std::scalbn(v.x, -exponent), std::scalbn(v.y, -exponent), std::scalbn(v.z, -exponent)};
    return exponent;
}
} // namespace

double Vector3::ScaledLength() const noexcept
{
    Vector3 scaled = *this;
    const int exponent = ScaleToUnit(scaled);
    return std::scalbn(std::sqrt(scaled.dotProduct(scaled)), exponent);
}

double Vector3::ScaledNormalise() noexcept
{
    const int exponent = ScaleToUnit(*this);
    const double scaled = std::sqrt(dotProduct(*this));
    if (scaled != 0) {
        x /= scaled;
        y /= scaled;
        z /= scaled;
    }
    return std::scalbn(scaled, exponent);
}
} // namespace AMath
