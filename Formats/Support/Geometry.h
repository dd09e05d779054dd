#pragma once

#include <Formats/Support/ExportService.h>
#include <Formats/Support/FormatExport.h>

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Entity/AEntity.h>
#include <LumvoData/Entity/ASubEdge.h>
#include <LumvoData/Entity/ASubMesh.h>
#include <LumvoData/Entity/ASubPolygon.h>
#include <LumvoData/Scene/AEntitySceneNode.h>
#include <LumvoData/Style/AFaceStyle.h>
#include <LumvoData/Style/ALineStyle.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

/// \file
/// What readers and writers of geometry share.
///
/// Conventions of all modules: positions and normals take three floats per vertex, texture coordinates two with the
/// origin at the image's lower left corner; three indices make a triangle, anticlockwise seen from outside. A mesh
/// with vertices and no indices is a cloud of points. An edge with n points is a polyline of n - 1 segments. A face
/// style stands in the slot StyleFace, a line style in StyleEdge.
namespace Formats {

/// The box around points of three floats each; null for none.
[[nodiscard]] FORMATS_API AMath::AxisAlignedBox BoxOf(const std::vector<float>& points) noexcept;

/// Sets the box of a piece from its vertices.
FORMATS_API void FitBox(Kelvra::ASubMesh& mesh);
FORMATS_API void FitBox(Kelvra::ASubEdge& edge);
FORMATS_API void FitBox(Kelvra::ASubPolygon& polygon);

/// The entity that fits the pieces, which have their boxes: one mesh or one edge gives a simple entity, several a
/// list, both kinds a topology entity; none gives an empty pointer.
[[nodiscard]] FORMATS_API std::shared_ptr<Kelvra::AEntity>
MakeEntity(const std::vector<std::shared_ptr<Kelvra::ASubMesh>>& meshes,
           const std::vector<std::shared_ptr<Kelvra::ASubEdge>>& edges);

/// A piece of geometry at the place where a scene shows it.
struct Placed
{
    AMath::Matrix4 toWorld;
    // One of these.
    std::shared_ptr<Kelvra::ASubMesh> mesh;
    std::shared_ptr<Kelvra::ASubEdge> edge;
    std::shared_ptr<Kelvra::ASubPolygon> polygon;
    const Kelvra::ASceneNode* node; ///< That holds it.
    Kelvra::AFaceStyle* faceStyle;  ///< Of the node, or the nearest node above that has one; null for none.
    Kelvra::ALineStyle* lineStyle;  ///< The same.

    [[nodiscard]] const Kelvra::ASubEntity* GetPiece() const noexcept
    {
        if (mesh)
            return mesh.get();
        return edge ? static_cast<const Kelvra::ASubEntity*>(edge.get()) : polygon.get();
    }
};

/// What a walk left out.
struct LeftOut
{
    std::uint64_t texts = 0;
    std::uint64_t hiddenNodes = 0;
};

/// Calls `visit` for every mesh, edge and polygon of the visible nodes, once for each place where it is shown, in
/// the order of the scene. Never recurses.
///
/// - Errors: FormatError when there are more than MostPlaces, which shared groups inside shared groups can make of
///   a small scene.
FORMATS_API LeftOut ForEachPlaced(const Roots& roots, const std::function<void(const Placed&)>& visit);
inline constexpr std::uint64_t MostPlaces = 10'000'000;

/// How many coordinates and indices the visible nodes show, each use of a shared piece counted: what a writer that
/// copies them has before it.
///
/// - Errors: FormatError when they are many, and out of proportion to those that the scene holds, and as
///   ForEachPlaced.
[[nodiscard]] FORMATS_API std::uint64_t CountNumbers(const Roots& roots);

/// All meshes, edges and polygons of a scene in world coordinates, as one entity made by MakeEntity; polygons become
/// meshes. A piece that stands where its own coordinates put it is shared, any other copied.
/// \param budget how many bytes the result may take: a piece that is shown many times is copied as often.
/// \returns an empty pointer where there are none.
///
/// - Errors: FormatError when it takes more, and what Transformed throws.
[[nodiscard]] FORMATS_API std::shared_ptr<Kelvra::AEntity> Flatten(const Roots& roots, std::uint64_t budget);

/// Copies of a piece, moved. Normals are mapped by the inverse transpose and made unit length; a transform that
/// mirrors turns the triangles round.
///
/// - Errors: FormatError when a coordinate is not finite at its new place.
[[nodiscard]] FORMATS_API std::shared_ptr<Kelvra::ASubMesh> Transformed(const Kelvra::ASubMesh& mesh,
                                                                        const AMath::Matrix4& transform);
[[nodiscard]] FORMATS_API std::shared_ptr<Kelvra::ASubEdge> Transformed(const Kelvra::ASubEdge& edge,
                                                                        const AMath::Matrix4& transform);
/// The polygon as triangles, with its normal at every corner.
[[nodiscard]] FORMATS_API std::shared_ptr<Kelvra::ASubMesh> ToMesh(const Kelvra::ASubPolygon& polygon);

/// Cuts a polygon into triangles by clipping ears, in the plane of its area vector (the sum of the cross products of
/// neighbouring corners), so that concave ones come out whole. A polygon that cannot be clipped, because it
/// crosses itself or has no area, is cut as a fan, and so is the rest of one with several hundred thousand corners whose
/// ears all reach across it. The time is nearly linear.
/// \param points all points, three floats each.
/// \param corners indices of the polygon's points, at least three, all inside `points`.
/// \param triangles receives 3 (n - 2) positions in `corners`, 0 to n - 1.
FORMATS_API void Triangulate(const std::vector<float>& points, const std::vector<std::uint32_t>& corners,
                             std::vector<std::uint32_t>& triangles);

/// Gives equal vertices one index, in the order in which they first come; vertices are equal when all their floats
/// compare equal, so that 0 and -0 are the same.
///
/// - Units: memory is 8 to 16 bytes per distinct vertex besides the vertices themselves.
class FORMATS_API Welder
{
public:
    /// \param width floats per vertex, 1 to 8.
    /// \param expected how many distinct vertices there may be, as a hint.
    explicit Welder(std::size_t width, std::size_t expected = 0);

    /// The index of that vertex, which is added if it is new. No float may be NaN.
    std::uint32_t Add(const float* vertex);
    /// The same for `count` vertices back to back, in less time than one by one.
    void Add(const float* vertices, std::size_t count, std::uint32_t* indices);
    [[nodiscard]] std::size_t GetCount() const noexcept { return m_Vertices.size() / m_Width; }
    /// The distinct vertices back to back.
    [[nodiscard]] std::vector<float>& Vertices() noexcept { return m_Vertices; }

private:
    [[nodiscard]] std::uint32_t Add(const float* vertex, std::size_t hash);
    void Grow();
    [[nodiscard]] std::size_t SlotOf(const float* vertex, std::size_t hash) const noexcept;

    std::size_t m_Width;
    std::vector<float> m_Vertices;
    std::vector<std::uint32_t> m_Slots; // index + 1, 0 for an empty one; a power of two of them
};
} // namespace Formats
