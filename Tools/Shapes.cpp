#include <Tools/Shapes.h>

#include <array>
#include <cmath>
#include <cstddef>

namespace Lumvo {
namespace {

using namespace AMath;
using namespace Kelvra;

constexpr double s_FullTurn = 6.283185307179586;

void Append(std::vector<float>& buffer, const Vector3& v)
{
    for (const double coordinate : {v.x, v.y, v.z})
        buffer.push_back(static_cast<float>(coordinate));
}

void Append(std::vector<float>& buffer, const Vector2& v)
{
    buffer.push_back(static_cast<float>(v.x));
    buffer.push_back(static_cast<float>(v.y));
}

struct Corner
{
    Vector3 position;
    Vector2 texture;
};

/// Adds a flat face, its corners anticlockwise as seen from outside.
void AddFace(ASubMesh& mesh, const std::vector<Corner>& corners)
{
    const Vector3 origin = corners[0].position;
    Vector3 normal = (corners[1].position - origin).crossProduct(corners[2].position - origin);
    normal.normalise();
    const auto first = static_cast<unsigned>(mesh.VertexBuffer().size() / 3);
    for (const Corner& corner : corners) {
        Append(mesh.VertexBuffer(), corner.position);
        Append(mesh.NormalBuffer(), normal);
        Append(mesh.TexCoordBuffer(), corner.texture);
    }
    for (unsigned k = 2; k < corners.size(); ++k)
        for (const unsigned index : {0U, k - 1, k})
            mesh.IndexBuffer().push_back(first + index);
}

template <class Piece> std::shared_ptr<Piece> WithBox(std::shared_ptr<Piece> piece)
{
    AxisAlignedBox box = BoxOf(piece->VertexBuffer());
    piece->SetBBox(box);
    return piece;
}

/// Corner 0 to 7 of a box: bit 0 takes the greater x, bit 1 the greater y, bit 2 the greater z.
Vector3 CornerOf(const AxisAlignedBox& box, unsigned corner)
{
    const Vector3& low = box.getMinimum();
    const Vector3& high = box.getMaximum();
    return {(corner & 1U) != 0 ? high.x : low.x, (corner & 2U) != 0 ? high.y : low.y,
            (corner & 4U) != 0 ? high.z : low.z};
}
} // namespace

AxisAlignedBox BoxOf(const std::vector<float>& points)
{
    AxisAlignedBox box;
    for (std::size_t i = 0; i + 2 < points.size(); i += 3) {
        const Vector3 point(static_cast<double>(points[i]), static_cast<double>(points[i + 1]),
                            static_cast<double>(points[i + 2]));
        box.merge(AxisAlignedBox(point, point));
    }
    return box;
}

std::shared_ptr<ASubMesh> Revolve(const std::vector<Vector2>& outline, int segments)
{
    const auto mesh = std::make_shared<ASubMesh>();
    const auto corner = [&](std::size_t k, int segment) {
        const double turn = s_FullTurn * (segment % segments) / segments; // the last meets the first exactly
        const Vector2& point = outline[k % outline.size()];
        return Corner{
            {point.x * std::cos(turn), point.x * std::sin(turn), point.y},
            {static_cast<double>(segment) / segments, static_cast<double>(k) / static_cast<double>(outline.size())}};
    };
    for (std::size_t k = 0; k < outline.size(); ++k) {
        const bool startsOnAxis = outline[k].x == 0;
        const bool endsOnAxis = outline[(k + 1) % outline.size()].x == 0;
        if (startsOnAxis && endsOnAxis)
            continue;
        for (int s = 0; s < segments; ++s) {
            std::vector<Corner> face{corner(k, s), corner(k, s + 1), corner(k + 1, s + 1), corner(k + 1, s)};
            if (startsOnAxis || endsOnAxis)
                face.erase(face.begin() + (startsOnAxis ? 1 : 2)); // its twin is the same point
            AddFace(*mesh, face);
        }
    }
    return WithBox(mesh);
}

std::shared_ptr<ASubMesh> Cylinder(double radius, double bottom, double top, int segments)
{
    return Revolve({{0, bottom}, {radius, bottom}, {radius, top}, {0, top}}, segments);
}

std::vector<std::shared_ptr<ASubMesh>> BoxFaces(const AxisAlignedBox& box)
{
    static constexpr std::array<std::array<unsigned, 4>, 6> s_Faces = {
        {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}}};
    std::vector<std::shared_ptr<ASubMesh>> faces;
    for (const auto& corners : s_Faces) {
        const auto mesh = std::make_shared<ASubMesh>();
        AddFace(*mesh, {{CornerOf(box, corners[0]), {0, 0}},
                        {CornerOf(box, corners[1]), {1, 0}},
                        {CornerOf(box, corners[2]), {1, 1}},
                        {CornerOf(box, corners[3]), {0, 1}}});
        faces.push_back(WithBox(mesh));
    }
    return faces;
}

std::vector<std::shared_ptr<ASubEdge>> BoxEdges(const AxisAlignedBox& box)
{
    std::vector<std::shared_ptr<ASubEdge>> edges;
    for (const unsigned axis : {1U, 2U, 4U})
        for (unsigned corner = 0; corner < 8; ++corner)
            if ((corner & axis) == 0)
                edges.push_back(Line({CornerOf(box, corner), CornerOf(box, corner | axis)}));
    return edges;
}

std::shared_ptr<ASubEdge> Line(const std::vector<Vector3>& points)
{
    const auto edge = std::make_shared<ASubEdge>();
    for (const Vector3& point : points)
        Append(edge->VertexBuffer(), point);
    return WithBox(edge);
}

std::shared_ptr<ASubEdge> Circle(double radius, double z, int segments)
{
    std::vector<Vector3> points;
    for (int s = 0; s <= segments; ++s) {
        const double turn = s_FullTurn * (s % segments) / segments;
        points.emplace_back(radius * std::cos(turn), radius * std::sin(turn), z);
    }
    return Line(points);
}

std::shared_ptr<ASubPolygon> Plate(const Vector3& corner, double width, double depth)
{
    const auto polygon = std::make_shared<ASubPolygon>();
    for (const Vector2& at : {Vector2(0, 0), Vector2(1, 0), Vector2(1, 1), Vector2(0, 1)}) {
        Append(polygon->VertexBuffer(), corner + Vector3(at.x * width, at.y * depth, 0));
        Append(polygon->TexCoordBuffer(), at);
    }
    polygon->SetNormal(Vector3::UNIT_Z);
    return WithBox(polygon);
}
} // namespace Lumvo
