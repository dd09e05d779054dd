#include <Formats/Support/Geometry.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace Formats {
namespace {

constexpr std::uint32_t s_None = std::numeric_limits<std::uint32_t>::max();

struct Point
{
    float x;
    float y;

    bool operator==(const Point& p) const noexcept { return x == p.x && y == p.y; }
};

/// Twice the area of a triangle: positive for a turn to the left.
double Turn(const Point& a, const Point& b, const Point& c) noexcept
{
    return (double{b.x} - a.x) * (double{c.y} - a.y) - (double{b.y} - a.y) * (double{c.x} - a.x);
}

/// Doubly linked rings of indices, each of which is initially alone.
class Rings
{
public:
    explicit Rings(std::size_t count) : m_Links(count)
    {
        for (std::uint32_t i = 0; i < count; ++i)
            m_Links[i] = {i, i};
    }

    [[nodiscard]] std::uint32_t Previous(std::uint32_t i) const noexcept { return m_Links[i].previous; }
    [[nodiscard]] std::uint32_t Next(std::uint32_t i) const noexcept { return m_Links[i].next; }
    [[nodiscard]] bool IsAlone(std::uint32_t i) const noexcept { return m_Links[i].next == i; }
    void TakeOut(std::uint32_t i) noexcept
    {
        Link(m_Links[i].previous, m_Links[i].next);
        Link(i, i);
    }
    /// Inserts an index that is alone into the ring of another.
    void PutAfter(std::uint32_t other, std::uint32_t i) noexcept
    {
        Link(i, m_Links[other].next);
        Link(other, i);
    }

private:
    struct Links
    {
        std::uint32_t previous;
        std::uint32_t next;
    };

    void Link(std::uint32_t i, std::uint32_t next) noexcept
    {
        m_Links[i].next = next;
        m_Links[next].previous = i;
    }

    std::vector<Links> m_Links;
};

/// A hierarchical bitset: one bit per index, and on each further level one bit per nonzero word of the level below.
/// Finding the next index takes logarithmic time.
class IndexSet
{
public:
    explicit IndexSet(std::size_t bound)
    {
        do {
            bound = (bound + s_Bits - 1) / s_Bits;
            m_Levels.emplace_back(bound);
        } while (bound > 1);
    }

    void Insert(std::uint32_t index) noexcept
    {
        for (std::vector<std::uint64_t>& words : m_Levels) {
            words[index / s_Bits] |= std::uint64_t{1} << index % s_Bits;
            index /= s_Bits;
        }
    }
    void Erase(std::uint32_t index) noexcept
    {
        for (std::vector<std::uint64_t>& words : m_Levels) {
            words[index / s_Bits] &= ~(std::uint64_t{1} << index % s_Bits);
            if (words[index / s_Bits] != 0)
                return;
            index /= s_Bits;
        }
    }
    /// The first index from `index` on, or else the first of all; s_None if the set is empty.
    [[nodiscard]] std::uint32_t NextFrom(std::uint32_t index) const noexcept
    {
        const std::uint32_t next = FirstFrom(index);
        return next != s_None ? next : FirstFrom(0);
    }

private:
    [[nodiscard]] std::uint32_t FirstFrom(std::uint32_t index) const noexcept
    {
        for (std::size_t level = 0; level < m_Levels.size(); ++level) {
            if (index / s_Bits == m_Levels[level].size())
                break;
            const std::uint64_t word = m_Levels[level][index / s_Bits] >> index % s_Bits;
            if (word != 0) {
                index += LowestBit(word);
                while (level-- > 0)
                    index = s_Bits * index + LowestBit(m_Levels[level][index]);
                return index;
            }
            index = index / s_Bits + 1;
        }
        return s_None;
    }
    static std::uint32_t LowestBit(std::uint64_t word) noexcept
    {
        std::uint32_t bit = 0;
        for (std::uint32_t half = s_Bits / 2; half > 0; half /= 2)
            if ((word & ((std::uint64_t{1} << half) - 1)) == 0) {
                word >>= half;
                bit += half;
            }
        return bit;
    }

    static constexpr std::uint32_t s_Bits = 64;

    std::vector<std::vector<std::uint64_t>> m_Levels;
};

struct Box
{
    Point low;
    Point high;
};

/// A triangle that turns left or is degenerate.
class Triangle
{
public:
    Triangle(const Point& a, const Point& b, const Point& c)
        : m_A(a), m_B(b), m_C(c), m_Turn(Turn(a, b, c)), m_Box{{std::min({a.x, b.x, c.x}), std::min({a.y, b.y, c.y})},
                                                               {std::max({a.x, b.x, c.x}), std::max({a.y, b.y, c.y})}}
    {}

    [[nodiscard]] double GetTurn() const noexcept { return m_Turn; }
    /// Whether a point is inside or on an edge, but not at a corner; for a degenerate triangle, on the line through it.
    [[nodiscard]] bool Holds(const Point& p) const noexcept
    {
        return Turn(m_A, m_B, p) >= 0 && Turn(m_B, m_C, p) >= 0 && Turn(m_C, m_A, p) >= 0 && !HasCornerAt(p);
    }
    /// Conservative: true only if it holds no point of the box.
    [[nodiscard]] bool Misses(const Box& box) const noexcept
    {
        return (m_Turn > 0 && IsBeside(box)) || IsRightOf(m_A, m_B, box) || IsRightOf(m_B, m_C, box) ||
               IsRightOf(m_C, m_A, box) || (box.low == box.high && HasCornerAt(box.low));
    }

private:
    [[nodiscard]] bool HasCornerAt(const Point& p) const noexcept { return p == m_A || p == m_B || p == m_C; }
    [[nodiscard]] bool IsBeside(const Box& box) const noexcept
    {
        return box.low.x > m_Box.high.x || box.high.x < m_Box.low.x || box.low.y > m_Box.high.y ||
               box.high.y < m_Box.low.y;
    }
    /// Tests the leftmost corner of the box by the formula for points, so that both round alike.
    static bool IsRightOf(const Point& from, const Point& to, const Box& box) noexcept
    {
        return Turn(from, to, {to.y > from.y ? box.low.x : box.high.x, to.x > from.x ? box.high.y : box.low.y}) < 0;
    }

    Point m_A;
    Point m_B;
    Point m_C;
    double m_Turn;
    Box m_Box;
};

/// A k-d tree of the corners that can lie inside an ear.
class Obstacles
{
public:
    Obstacles(const std::vector<Point>& points, const std::vector<std::uint32_t>& corners)
        : m_Places(points.size(), s_None)
    {
        m_Items.reserve(corners.size());
        for (const std::uint32_t corner : corners)
            m_Items.push_back({points[corner], corner});
        while (m_Items.size() / m_FirstLeaf > s_MostInLeaf)
            m_FirstLeaf *= 2;
        m_Nodes.resize(2 * m_FirstLeaf);
        Build(1, 0, m_Items.size());
        for (std::size_t i = 0; i < m_Items.size(); ++i)
            m_Places[m_Items[i].corner] = static_cast<std::uint32_t>(i);
    }

    /// Removes a corner if the tree has it.
    void Remove(std::uint32_t corner) noexcept
    {
        const std::uint32_t place = m_Places[corner];
        if (place == s_None)
            return;
        m_Items[place].corner = s_None;
        std::size_t first = 0, last = m_Items.size();
        for (std::size_t node = 1; node < m_Nodes.size();) {
            --m_Nodes[node].left;
            const std::size_t middle = (first + last) / 2;
            node = 2 * node + (place < middle ? 0 : 1);
            (place < middle ? last : first) = middle;
        }
    }

    /// Any corner that the triangle holds; s_None without one.
    [[nodiscard]] std::uint32_t FindIn(const Triangle& triangle) noexcept
    {
        return FindIn(triangle, 1, 0, m_Items.size());
    }
    /// How many nodes the searches visited.
    [[nodiscard]] std::size_t GetVisits() const noexcept { return m_Visits; }

private:
    struct Item
    {
        Point point;
        std::uint32_t corner; // s_None once it is removed
    };
    struct Node
    {
        Box box;
        std::uint32_t left; // corners that are not removed
    };

    void Build(std::size_t node, std::size_t first, std::size_t last)
    {
        Box box{m_Items[first].point, m_Items[first].point};
        for (std::size_t i = first; i < last; ++i) {
            const Point& p = m_Items[i].point;
            box.low = {std::min(box.low.x, p.x), std::min(box.low.y, p.y)};
            box.high = {std::max(box.high.x, p.x), std::max(box.high.y, p.y)};
        }
        m_Nodes[node] = {box, static_cast<std::uint32_t>(last - first)};
        if (node >= m_FirstLeaf)
            return;
        float Point::*const axis = box.high.x - box.low.x > box.high.y - box.low.y ? &Point::x : &Point::y;
        const std::size_t middle = (first + last) / 2;
        const auto at = [this](std::size_t i) { return m_Items.begin() + static_cast<std::ptrdiff_t>(i); };
        std::nth_element(at(first), at(middle), at(last),
                         [axis](const Item& a, const Item& b) { return a.point.*axis < b.point.*axis; });
        Build(2 * node, first, middle);
        Build(2 * node + 1, middle, last);
    }

    std::uint32_t FindIn(const Triangle& triangle, std::size_t node, std::size_t first, std::size_t last) noexcept
    {
        ++m_Visits;
        if (m_Nodes[node].left == 0 || triangle.Misses(m_Nodes[node].box))
            return s_None;
        if (node >= m_FirstLeaf) {
            for (std::size_t i = first; i < last; ++i)
                if (m_Items[i].corner != s_None && triangle.Holds(m_Items[i].point))
                    return m_Items[i].corner;
            return s_None;
        }
        // Alternating halves: a corner that lies in many ears must not be the one that all of them wait for.
        const std::size_t middle = (first + last) / 2;
        const bool upper = (m_Visits & 1U) != 0;
        const std::uint32_t found = FindInHalf(triangle, node, first, middle, last, upper);
        return found != s_None ? found : FindInHalf(triangle, node, first, middle, last, !upper);
    }
    std::uint32_t FindInHalf(const Triangle& triangle, std::size_t node, std::size_t first, std::size_t middle,
                             std::size_t last, bool upper) noexcept
    {
        return upper ? FindIn(triangle, 2 * node + 1, middle, last) : FindIn(triangle, 2 * node, first, middle);
    }

    static constexpr std::size_t s_MostInLeaf = 8;

    std::vector<Item> m_Items;           // by leaves
    std::vector<std::uint32_t> m_Places; // of the corners, in m_Items
    std::vector<Node> m_Nodes;           // the root is 1, the children of k are 2 k and 2 k + 1
    std::size_t m_FirstLeaf = 1;
    std::size_t m_Visits = 0;
};

/// Clips ears in the order of the corners.
///
/// A corner that is not an ear is tested again only if that can have changed: when a neighbour is clipped, or the corner
/// that was found inside the ear.
class EarClipper
{
public:
    EarClipper(const std::vector<Point>& points, const std::vector<std::uint32_t>& obstacles)
        : m_Points(points), m_Ring(points.size()), m_Waiting(2 * points.size()), m_Ahead(points.size()),
          m_Straight(points.size()), m_Obstacles(points, obstacles)
    {
        for (std::uint32_t i = 0; i < m_Points.size(); ++i) {
            m_Ahead.Insert(i);
            if (i > 0)
                m_Ring.PutAfter(i - 1, i);
        }
    }

    /// Clips ears until three corners are left, or there is no ear, and cuts the rest as a fan.
    void Clip(std::vector<std::uint32_t>& triangles)
    {
        std::uint32_t at = 0;
        std::size_t left = m_Points.size();
        for (; left > 3; --left) {
            const std::uint32_t ear = FindEar(at);
            if (ear == s_None)
                break;
            const std::uint32_t next = m_Ring.Next(ear);
            triangles.insert(triangles.end(), {m_Ring.Previous(ear), ear, next});
            at = m_Ring.Next(next); // leaving one out keeps the triangles from becoming slivers
            TakeOut(ear);
        }
        for (std::uint32_t middle = m_Ring.Next(at); left > 2; --left, middle = m_Ring.Next(middle))
            triangles.insert(triangles.end(), {at, middle, m_Ring.Next(middle)});
    }

private:
    /// The next ear from a corner on; a straight corner is one only if there is no other.
    std::uint32_t FindEar(std::uint32_t from)
    {
        while (m_Obstacles.GetVisits() < m_MostVisits) {
            std::uint32_t at = m_Ahead.NextFrom(from);
            const bool straight = at == s_None;
            if (straight)
                at = m_Straight.NextFrom(from);
            if (at == s_None)
                break;
            (straight ? m_Straight : m_Ahead).Erase(at);
            const Triangle ear(m_Points[m_Ring.Previous(at)], m_Points[at], m_Points[m_Ring.Next(at)]);
            if (ear.GetTurn() == 0 && !straight)
                m_Straight.Insert(at);
            if (ear.GetTurn() < 0 || (ear.GetTurn() == 0 && !straight))
                continue;
            const std::uint32_t inside = m_Obstacles.FindIn(ear);
            if (inside == s_None)
                return at;
            m_Waiting.PutAfter(WaitersFor(inside), at);
        }
        return s_None;
    }

    void TakeOut(std::uint32_t ear)
    {
        m_MostVisits += s_VisitsPerEar;
        m_Obstacles.Remove(ear);
        TestAgain(m_Ring.Previous(ear));
        TestAgain(m_Ring.Next(ear));
        while (!m_Waiting.IsAlone(WaitersFor(ear)))
            TestAgain(m_Waiting.Next(WaitersFor(ear)));
        m_Ring.TakeOut(ear);
    }
    void TestAgain(std::uint32_t corner)
    {
        m_Waiting.TakeOut(corner);
        m_Straight.Erase(corner);
        m_Ahead.Insert(corner);
    }
    [[nodiscard]] std::uint32_t WaitersFor(std::uint32_t corner) const noexcept
    {
        return static_cast<std::uint32_t>(m_Points.size()) + corner;
    }

    // Bound the time of crafted polygons: one that crosses itself has few ears and takes many searches.
    static constexpr std::size_t s_VisitsPerCorner = 50;
    static constexpr std::size_t s_VisitsPerEar = 400;

    const std::vector<Point>& m_Points;
    Rings m_Ring;
    Rings m_Waiting; // a ring of waiting corners for each corner; see WaitersFor
    IndexSet m_Ahead;
    IndexSet m_Straight; // tested after those ahead
    Obstacles m_Obstacles;
    std::size_t m_MostVisits = s_VisitsPerCorner * m_Points.size();
};

/// A polygon seen along its area vector, anticlockwise; empty if it has no area or too many corners for Rings.
std::vector<Point> Flattened(const std::vector<float>& points, const std::vector<std::uint32_t>& corners)
{
    const auto at = [&](std::size_t corner, std::size_t axis) {
        return points[3 * std::size_t{corners[corner]} + axis];
    };
    const std::size_t count = corners.size();
    // Newell's sum: twice the polygon's area as a vector.
    std::array<double, 3> area{};
    for (std::size_t i = 0, j = count - 1; i < count; j = i++)
        for (std::size_t axis = 0; axis < 3; ++axis)
            area[axis] += (double{at(j, (axis + 1) % 3)} - at(i, (axis + 1) % 3)) *
                          (double{at(j, (axis + 2) % 3)} + at(i, (axis + 2) % 3));
    std::size_t longest = 0;
    for (std::size_t axis = 1; axis < 3; ++axis)
        if (std::abs(area[axis]) > std::abs(area[longest]))
            longest = axis;
    std::vector<Point> flat;
    if (area[longest] == 0 || count > s_None / 2)
        return flat;
    flat.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const float x = at(i, (longest + 1) % 3);
        flat.push_back({area[longest] < 0 ? -x : x, at(i, (longest + 2) % 3)});
    }
    return flat;
}
} // namespace

void Triangulate(const std::vector<float>& points, const std::vector<std::uint32_t>& corners,
                 std::vector<std::uint32_t>& triangles)
{
    if (corners.size() == 3) {
        triangles.insert(triangles.end(), {0, 1, 2});
        return;
    }
    const std::vector<Point> flat = Flattened(points, corners);
    const auto count = static_cast<std::uint32_t>(flat.size());
    // Only a corner that turns right or not at all can lie inside an ear.
    std::vector<std::uint32_t> obstacles;
    for (std::uint32_t i = 0; i < count; ++i)
        if (Turn(flat[i == 0 ? count - 1 : i - 1], flat[i], flat[i == count - 1 ? 0 : i + 1]) <= 0)
            obstacles.push_back(i);
    if (!obstacles.empty()) {
        EarClipper(flat, obstacles).Clip(triangles);
        return;
    }
    // Convex polygons are triangulated as fans, and so are those without area.
    for (std::uint32_t i = 2; i < corners.size(); ++i)
        triangles.insert(triangles.end(), {0, i - 1, i});
}
} // namespace Formats
