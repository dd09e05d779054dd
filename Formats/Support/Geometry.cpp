#include <Formats/Support/Geometry.h>

#include <Formats/Support/FormatError.h>
#include <Formats/Support/Words.h>

#include <LumvoData/Entity/AEdgeEntity.h>
#include <LumvoData/Entity/AEdgeListEntity.h>
#include <LumvoData/Entity/AEntityVisitor.h>
#include <LumvoData/Entity/AGroupEntity.h>
#include <LumvoData/Entity/AMeshEntity.h>
#include <LumvoData/Entity/AMeshListEntity.h>
#include <LumvoData/Entity/ASubText.h>
#include <LumvoData/Entity/ASubVertex.h>
#include <LumvoData/Entity/ATopoEntity.h>
#include <LumvoData/Scene/AGroupSceneNode.h>
#include <LumvoData/Scene/ATopoSceneNode.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <list>
#include <unordered_set>

namespace Formats {
namespace {

using namespace Kelvra;

constexpr std::uint64_t s_PlaceSize = 64;  // in the lists that lead to an entity
constexpr std::uint64_t s_PieceSize = 320; // of a mesh or an edge besides its numbers

// What a scene may show: a gigabyte in any case, and more where its pieces are used no more often than this on average.
constexpr std::uint64_t s_FreeNumbers = 250'000'000;
constexpr std::uint64_t s_MostUses = 1000;

std::uint64_t NumbersOf(const Placed& placed)
{
    if (placed.edge)
        return placed.edge->VertexBuffer().size();
    if (placed.polygon)
        return placed.polygon->VertexBuffer().size() + placed.polygon->TexCoordBuffer().size();
    const ASubMesh& mesh = *placed.mesh;
    return mesh.VertexBuffer().size() + mesh.NormalBuffer().size() + mesh.TexCoordBuffer().size() +
           mesh.IndexBuffer().size();
}

/// What a copy takes in memory; a polygon becomes a mesh first and is then moved.
std::uint64_t SizeOf(const Placed& placed)
{
    if (placed.polygon)
        return 2 * s_PieceSize + 8 * placed.polygon->VertexBuffer().size() * sizeof(float);
    return s_PieceSize + NumbersOf(placed) * sizeof(float);
}

template <class Piece> void FitBoxOf(Piece& piece)
{
    AMath::AxisAlignedBox box = BoxOf(piece.VertexBuffer());
    piece.SetBBox(box);
}

template <class List, class Piece> std::shared_ptr<List> MakeList(const std::vector<std::shared_ptr<Piece>>& pieces)
{
    const auto list = std::make_shared<List>();
    AMath::AxisAlignedBox box;
    for (const auto& piece : pieces) {
        list->AddItem(piece);
        box.merge(piece->GetBBox());
    }
    list->SetBBox(box);
    return list;
}

template <class Simple, class List, class Piece>
std::shared_ptr<AEntity> MakeSimpleOrList(const std::vector<std::shared_ptr<Piece>>& pieces)
{
    if (pieces.size() == 1) {
        const auto entity = std::make_shared<Simple>();
        entity->SetItem(pieces.front());
        entity->SetBBox(pieces.front()->GetBBox());
        return entity;
    }
    return MakeList<List>(pieces);
}

/// Walks the nodes of a scene and the entities that they hold.
class PlacedWalk : private AEntityVisitor
{
public:
    PlacedWalk(const Roots& roots, const std::function<void(const Placed&)>& visit) : m_Visit(visit)
    {
        SetFilter(EntityFilterFaces | EntityFilterEdges | EntityFilterTexts);
        const Placed nowhere{AMath::Matrix4::IDENTITY, {}, {}, {}, nullptr, nullptr, nullptr};
        for (const std::shared_ptr<ASceneNode>& root : roots) {
            if (root)
                Enter(*root, nowhere);
            while (!m_Open.empty()) {
                OpenGroup& group = m_Open.back();
                if (group.next == group.end)
                    m_Open.pop_back();
                else
                    Enter(**group.next++, group.place);
            }
        }
    }

    [[nodiscard]] const LeftOut& GetLeftOut() const noexcept { return m_LeftOut; }

private:
    using NodeIterator = std::list<std::shared_ptr<ASceneNode>>::const_iterator;

    /// A group some of whose nodes are still to be walked.
    struct OpenGroup
    {
        NodeIterator next;
        NodeIterator end;
        Placed place;
    };

    void Enter(ASceneNode& node, Placed place)
    {
        Count();
        if (!node.IsVisible()) {
            ++m_LeftOut.hiddenNodes;
            return;
        }
        if (node.GetTransform() != AMath::Matrix4::IDENTITY)
            place.toWorld = node.GetTransform().concatenate(place.toWorld);
        place.node = &node;
        if (auto* const style = dynamic_cast<AFaceStyle*>(node.GetStyle(StyleFace).get()))
            place.faceStyle = style;
        if (auto* const style = dynamic_cast<ALineStyle*>(node.GetStyle(StyleEdge).get()))
            place.lineStyle = style;
        if (const auto* const group = dynamic_cast<AGroupSceneNode*>(&node)) {
            m_Open.push_back({group->GetChildNodes().begin(), group->GetChildNodes().end(), place});
            return;
        }
        m_Place = place;
        if (const auto* const single = dynamic_cast<AEntitySceneNode*>(&node))
            Show(single->GetEntity().get());
        else if (const auto* const body = dynamic_cast<ATopoSceneNode*>(&node)) {
            Show(body->GetFaces().get());
            Show(body->GetEdges().get());
        }
    }

    /// Shows an entity; groups inside groups may lie deeper than any stack.
    void Show(AEntity* entity)
    {
        m_Entities.push_back(entity);
        while (!m_Entities.empty()) {
            AEntity* const next = m_Entities.back();
            m_Entities.pop_back();
            Count();
            if (next == nullptr)
                continue;
            if (const auto* const group = dynamic_cast<AGroupEntity*>(next)) {
                const auto& members = group->GetAll();
                for (auto member = members.rbegin(); member != members.rend(); ++member)
                    m_Entities.push_back(member->get());
            } else if (const auto* const body = dynamic_cast<ATopoEntity*>(next)) {
                m_Entities.push_back(body->GetEdges().get());
                m_Entities.push_back(body->GetFaces().get());
            } else
                next->Visit(*this);
        }
    }

    void Count()
    {
        if (++m_Places > MostPlaces)
            throw FormatError({}, "the scene shows more than " + std::to_string(MostPlaces) +
                                      " things when each use of what is shared counts");
    }
    template <class Piece> bool Hand(std::shared_ptr<Piece> Placed::*member, const std::shared_ptr<Piece>& piece)
    {
        if (!piece)
            return true;
        Count();
        Placed placed = m_Place;
        placed.*member = piece;
        m_Visit(placed);
        return true;
    }

    bool VisitMesh(const std::shared_ptr<ASubMesh>& mesh) override { return Hand(&Placed::mesh, mesh); }
    bool VisitEdge(const std::shared_ptr<ASubEdge>& edge) override { return Hand(&Placed::edge, edge); }
    bool VisitPolygon(const std::shared_ptr<ASubPolygon>& polygon) override { return Hand(&Placed::polygon, polygon); }
    bool VisitVertex(const std::shared_ptr<ASubVertex>& /*vertex*/) override { return true; }
    bool VisitText(const std::shared_ptr<ASubText>& /*text*/) override
    {
        ++m_LeftOut.texts;
        return true;
    }

    const std::function<void(const Placed&)>& m_Visit;
    std::vector<OpenGroup> m_Open; // the innermost last
    std::vector<AEntity*> m_Entities;
    Placed m_Place{}; // of the entity that is being walked
    std::uint64_t m_Places = 0;
    LeftOut m_LeftOut;
};

std::vector<float> MovedPoints(const std::vector<float>& points, const AMath::Matrix4& m)
{
    std::vector<float> moved(points.size());
    for (std::size_t i = 0; i + 2 < points.size(); i += 3)
        for (std::size_t axis = 0; axis < 3; ++axis)
            moved[i + axis] =
                ToFloat(points[i] * m[axis] + points[i + 1] * m[4 + axis] + points[i + 2] * m[8 + axis] + m[12 + axis]);
    if (!std::all_of(moved.begin(), moved.end(), [](float coordinate) { return std::isfinite(coordinate); }))
        throw FormatError({}, "a piece of geometry has a coordinate that is not finite where its transform puts it");
    return moved;
}

/// The cofactors of a transform's upper left 3 x 3 block: its inverse transpose times its determinant, which exists
/// where the inverse does not.
std::array<double, 9> Cofactors(const AMath::Matrix4& m)
{
    return {m[5] * m[10] - m[6] * m[9], m[6] * m[8] - m[4] * m[10], m[4] * m[9] - m[5] * m[8],
            m[2] * m[9] - m[1] * m[10], m[0] * m[10] - m[2] * m[8], m[1] * m[8] - m[0] * m[9],
            m[1] * m[6] - m[2] * m[5],  m[2] * m[4] - m[0] * m[6],  m[0] * m[5] - m[1] * m[4]};
}
} // namespace

AMath::AxisAlignedBox BoxOf(const std::vector<float>& points) noexcept
{
    if (points.size() < 3)
        return {};
    std::array<float, 3> low = {points[0], points[1], points[2]};
    std::array<float, 3> high = low;
    for (std::size_t i = 3; i + 2 < points.size(); i += 3)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], points[i + axis]);
            high[axis] = std::max(high[axis], points[i + axis]);
        }
    return {{low[0], low[1], low[2]}, {high[0], high[1], high[2]}};
}

void FitBox(ASubMesh& mesh)
{
    FitBoxOf(mesh);
}

void FitBox(ASubEdge& edge)
{
    FitBoxOf(edge);
}

void FitBox(ASubPolygon& polygon)
{
    FitBoxOf(polygon);
}

std::shared_ptr<AEntity> MakeEntity(const std::vector<std::shared_ptr<ASubMesh>>& meshes,
                                    const std::vector<std::shared_ptr<ASubEdge>>& edges)
{
    if (!meshes.empty() && !edges.empty()) {
        const auto body = std::make_shared<ATopoEntity>();
        body->SetFaces(MakeList<AMeshListEntity>(meshes));
        body->SetEdges(MakeList<AEdgeListEntity>(edges));
        return body;
    }
    if (!meshes.empty())
        return MakeSimpleOrList<AMeshEntity, AMeshListEntity>(meshes);
    return edges.empty() ? nullptr : MakeSimpleOrList<AEdgeEntity, AEdgeListEntity>(edges);
}

LeftOut ForEachPlaced(const Roots& roots, const std::function<void(const Placed&)>& visit)
{
    return PlacedWalk(roots, visit).GetLeftOut();
}

std::uint64_t CountNumbers(const Roots& roots)
{
    std::uint64_t shown = 0;
    std::uint64_t held = 0;
    std::unordered_set<const ASubEntity*> met;
    ForEachPlaced(roots, [&](const Placed& placed) {
        const std::uint64_t numbers = NumbersOf(placed);
        shown += numbers;
        held += met.insert(placed.GetPiece()).second ? numbers : 0;
    });
    if (shown > std::max(s_FreeNumbers, s_MostUses * held))
        throw FormatError({}, "all geometry, each use of what is shared counted, would take " +
                                  std::to_string(shown * sizeof(float) >> 20U) + " MB, out of proportion to the scene");
    return shown;
}

std::shared_ptr<AEntity> Flatten(const Roots& roots, std::uint64_t budget)
{
    std::vector<std::shared_ptr<ASubMesh>> meshes;
    std::vector<std::shared_ptr<ASubEdge>> edges;
    std::uint64_t taken = 0;
    ForEachPlaced(roots, [&](const Placed& placed) {
        const bool there = placed.toWorld == AMath::Matrix4::IDENTITY;
        taken += s_PlaceSize + (there && !placed.polygon ? 0 : SizeOf(placed));
        if (taken > budget)
            throw FormatError({}, "one piece of all geometry would take more than " + std::to_string(taken >> 20U) +
                                      " MB in memory, out of proportion to the file");
        if (placed.edge)
            edges.push_back(there ? placed.edge : Transformed(*placed.edge, placed.toWorld));
        else {
            const std::shared_ptr<ASubMesh> mesh = placed.mesh ? placed.mesh : ToMesh(*placed.polygon);
            meshes.push_back(there ? mesh : Transformed(*mesh, placed.toWorld));
        }
    });
    return MakeEntity(meshes, edges);
}

std::shared_ptr<ASubMesh> Transformed(const ASubMesh& mesh, const AMath::Matrix4& transform)
{
    auto moved = std::make_shared<ASubMesh>();
    moved->SetTag(mesh.GetTag());
    moved->VertexBuffer() = MovedPoints(mesh.VertexBuffer(), transform);
    moved->IndexBuffer() = mesh.IndexBuffer();
    moved->TexCoordBuffer() = mesh.TexCoordBuffer();

    std::array<double, 9> cofactors = Cofactors(transform);
    const double determinant = transform[0] * cofactors[0] + transform[1] * cofactors[1] + transform[2] * cofactors[2];
    if (determinant < 0) {
        std::vector<unsigned int>& indices = moved->IndexBuffer();
        for (std::size_t i = 0; i + 2 < indices.size(); i += 3)
            std::swap(indices[i + 1], indices[i + 2]);
        for (double& cofactor : cofactors)
            cofactor = -cofactor;
    }
    const std::vector<float>& from = mesh.NormalBuffer();
    std::vector<float>& normals = moved->NormalBuffer();
    normals.resize(from.size());
    for (std::size_t i = 0; i + 2 < from.size(); i += 3) {
        std::array<double, 3> n{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            n[axis] = from[i] * cofactors[axis] + from[i + 1] * cofactors[3 + axis] + from[i + 2] * cofactors[6 + axis];
        const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
        for (std::size_t axis = 0; axis < 3; ++axis)
            normals[i + axis] =
                length > 0 && std::isfinite(length) ? static_cast<float>(n[axis] / length) : from[i + axis];
    }
    FitBox(*moved);
    return moved;
}

std::shared_ptr<ASubEdge> Transformed(const ASubEdge& edge, const AMath::Matrix4& transform)
{
    auto moved = std::make_shared<ASubEdge>();
    moved->SetTag(edge.GetTag());
    moved->VertexBuffer() = MovedPoints(edge.VertexBuffer(), transform);
    FitBox(*moved);
    return moved;
}

std::shared_ptr<ASubMesh> ToMesh(const ASubPolygon& polygon)
{
    auto mesh = std::make_shared<ASubMesh>();
    mesh->SetTag(polygon.GetTag());
    mesh->VertexBuffer() = polygon.VertexBuffer();
    mesh->TexCoordBuffer() = polygon.TexCoordBuffer();
    const std::size_t count = polygon.VertexBuffer().size() / 3;
    std::vector<std::uint32_t> corners(count);
    for (std::size_t i = 0; i < count; ++i)
        corners[i] = static_cast<std::uint32_t>(i);
    if (count >= 3)
        Triangulate(polygon.VertexBuffer(), corners, mesh->IndexBuffer());
    const AMath::Vector3& normal = polygon.GetNormal();
    for (std::size_t i = 0; i < count; ++i)
        for (const double coordinate : {normal.x, normal.y, normal.z})
            mesh->NormalBuffer().push_back(static_cast<float>(coordinate));
    FitBox(*mesh);
    return mesh;
}
} // namespace Formats
