#include <Formats/Support/Geometry.h>

#include <array>
#include <cmath>

namespace Formats {
namespace {

/// A polygon seen along its area vector, anticlockwise, from which ears are clipped.
class EarClipper
{
public:
    EarClipper(const std::vector<float>& points, const std::vector<std::uint32_t>& corners)
        : m_Flat(corners.size()), m_Previous(corners.size()), m_Next(corners.size())
    {
        const auto at = [&](std::size_t corner, std::size_t axis) {
            return static_cast<double>(points[3 * std::size_t{corners[corner]} + axis]);
        };
        const std::size_t count = corners.size();
        // Newell's sum: twice the polygon's area as a vector.
        std::array<double, 3> area{};
        for (std::size_t i = 0, j = count - 1; i < count; j = i++)
            for (std::size_t axis = 0; axis < 3; ++axis)
                area[axis] +=
                    (at(j, (axis + 1) % 3) - at(i, (axis + 1) % 3)) * (at(j, (axis + 2) % 3) + at(i, (axis + 2) % 3));
        std::size_t longest = 0;
        for (std::size_t axis = 1; axis < 3; ++axis)
            if (std::abs(area[axis]) > std::abs(area[longest]))
                longest = axis;
        const bool mirrored = area[longest] < 0;
        m_HasArea = area[longest] != 0;
        for (std::size_t i = 0; i < count; ++i) {
            m_Flat[i] = {at(i, (longest + 1) % 3), at(i, (longest + 2) % 3)};
            if (mirrored)
                m_Flat[i].x = -m_Flat[i].x;
            m_Previous[i] = (i + count - 1) % count;
            m_Next[i] = (i + 1) % count;
        }
        if (m_HasArea)
            for (std::size_t i = 0; i < count; ++i)
                if (Turn(m_Previous[i], i, m_Next[i]) <= 0)
                    m_Blocking.push_back(i);
        m_TestsLeft = s_TestsPerCorner * count;
    }

    void Clip(std::vector<std::uint32_t>& triangles)
    {
        const auto put = [&](std::size_t a, std::size_t b, std::size_t c) {
            for (const std::size_t corner : {a, b, c})
                triangles.push_back(static_cast<std::uint32_t>(corner));
        };
        std::size_t left = m_Flat.size();
        std::size_t at = 0;
        // A polygon that turns one way only is cut as the fan that everybody expects.
        for (std::size_t refused = 0; !m_Blocking.empty() && left > 3 && refused < 2 * left && m_TestsLeft > 0;) {
            // Corners in a straight line make no ear while there is another.
            if (!IsEar(at, refused >= left)) {
                at = m_Next[at];
                ++refused;
                continue;
            }
            put(m_Previous[at], at, m_Next[at]);
            m_Next[m_Previous[at]] = m_Next[at];
            m_Previous[m_Next[at]] = m_Previous[at];
            at = m_Next[m_Next[at]]; // leaving one out keeps the triangles from becoming slivers
            --left;
            refused = 0;
        }
        for (; left > 2; --left) {
            const std::size_t middle = m_Next[at];
            put(at, middle, m_Next[middle]);
            m_Next[at] = m_Next[middle];
        }
    }

private:
    struct Point
    {
        double x;
        double y;
    };

    /// Twice the area of a triangle: positive for a turn to the left.
    [[nodiscard]] double Turn(std::size_t a, std::size_t b, std::size_t c) const
    {
        return (m_Flat[b].x - m_Flat[a].x) * (m_Flat[c].y - m_Flat[a].y) -
               (m_Flat[b].y - m_Flat[a].y) * (m_Flat[c].x - m_Flat[a].x);
    }
    [[nodiscard]] bool SamePlace(std::size_t a, std::size_t b) const
    {
        return m_Flat[a].x == m_Flat[b].x && m_Flat[a].y == m_Flat[b].y;
    }
    [[nodiscard]] bool IsEar(std::size_t at, bool straightToo)
    {
        const std::size_t a = m_Previous[at];
        const std::size_t c = m_Next[at];
        const double turn = Turn(a, at, c);
        if (turn < 0 || (turn == 0 && !straightToo))
            return false;
        // A corner that turned right or not at all when the clipping began is the only kind that can lie inside.
        for (const std::size_t p : m_Blocking) {
            if (m_TestsLeft > 0)
                --m_TestsLeft;
            if (p == a || p == at || p == c || IsClipped(p) || SamePlace(p, a) || SamePlace(p, at) || SamePlace(p, c))
                continue;
            if (Turn(a, at, p) >= 0 && Turn(at, c, p) >= 0 && Turn(c, a, p) >= 0)
                return false;
        }
        return true;
    }
    [[nodiscard]] bool IsClipped(std::size_t corner) const { return m_Next[m_Previous[corner]] != corner; }

    // Bounds the time that a crafted polygon can take.
    static constexpr std::size_t s_TestsPerCorner = 2000;

    std::vector<Point> m_Flat;
    std::vector<std::size_t> m_Previous;
    std::vector<std::size_t> m_Next;
    std::vector<std::size_t> m_Blocking;
    std::size_t m_TestsLeft = 0;
    bool m_HasArea = false;
};
} // namespace

void Triangulate(const std::vector<float>& points, const std::vector<std::uint32_t>& corners,
                 std::vector<std::uint32_t>& triangles)
{
    if (corners.size() == 3) {
        triangles.insert(triangles.end(), {0, 1, 2});
        return;
    }
    EarClipper(points, corners).Clip(triangles);
}
} // namespace Formats
