#include <Formats/Gltf/Meshes.h>

#include <Formats/Support/Geometry.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <numeric>
#include <string>
#include <tuple>
#include <utility>

namespace Formats::Gltf {
namespace {

using namespace Kelvra;

constexpr const char* s_Draco = "KHR_draco_mesh_compression";
constexpr std::uint32_t s_None = std::numeric_limits<std::uint32_t>::max();
// What edges and places in lists take besides the numbers.
constexpr std::uint64_t s_EdgeSize = 240;
constexpr std::uint64_t s_ItemSize = 48;

enum Mode : std::uint32_t
{
    Points = 0,
    Lines = 1,
    LineLoop = 2,
    LineStrip = 3,
    Triangles = 4,
    TriangleStrip = 5,
    TriangleFan = 6,
};

bool IsLines(std::uint32_t mode) noexcept
{
    return mode == Lines || mode == LineLoop || mode == LineStrip;
}

bool Begins(const std::string& text, const char* with)
{
    return text.rfind(with, 0) == 0;
}

void AppendElement(std::vector<float>& to, const std::vector<float>& from, std::size_t element, std::size_t width)
{
    const auto first = from.begin() + static_cast<std::ptrdiff_t>(element * width);
    to.insert(to.end(), first, first + static_cast<std::ptrdiff_t>(width));
}
} // namespace

bool Meshes::Source::operator<(const Source& other) const noexcept
{
    const auto all = [](const Source& s) { return std::tie(s.positions, s.normals, s.texCoords, s.indices, s.mode); };
    return all(*this) < all(other);
}

Meshes::Meshes(Import& job, const JsonValue& document, Buffers& buffers, Materials& materials)
    : m_Job(job), m_Materials(materials), m_Accessors(job, document, buffers)
{
    for (const JsonValue& value : document.List("meshes")) {
        Mesh& mesh = m_Meshes.emplace_back();
        for (const JsonValue& primitive : value.At("primitives").AsList())
            AddPrimitive(mesh, primitive);
        if (!value.Text("name").empty())
            m_Job.Lose("names of meshes");
    }
}

void Meshes::AddPrimitive(Mesh& mesh, const JsonValue& value)
{
    const JsonValue attributes = value.At("attributes");
    CheckCompression(value, attributes);
    const auto accessor = [&](const JsonValue& holder, const std::string& name) {
        const auto index = holder.Find(name);
        return index ? m_Accessors.IndexOf(*index) : s_None;
    };
    Primitive primitive{value, {s_None, s_None, s_None, accessor(value, "indices"), Triangles}, std::nullopt};
    if (const auto material = value.Find("material"))
        primitive.material = m_Materials.IndexOf(*material);
    Source& source = primitive.source;
    const std::uint64_t mode = value.Integer("mode", Triangles);
    if (mode > TriangleFan)
        value.At("mode").Fail("is " + std::to_string(mode) + ", which is no mode of primitives");
    source.mode = static_cast<std::uint32_t>(mode);
    const std::string texCoords =
        "TEXCOORD_" + std::to_string(primitive.material ? m_Materials.GetTexCoordSet(*primitive.material) : 0);
    source.positions = accessor(attributes, "POSITION");
    if (!IsLines(source.mode)) {
        source.normals = accessor(attributes, "NORMAL");
        source.texCoords = accessor(attributes, texCoords);
    }
    CountLosses(value, texCoords, IsLines(source.mode));
    if (source.positions == s_None) {
        m_Job.Lose("primitives without positions");
        return;
    }
    const std::size_t count = m_Accessors.GetCount(source.positions);
    for (const JsonValue& attribute : attributes.AsMembers())
        if (m_Accessors.GetCount(m_Accessors.IndexOf(attribute)) != count)
            attribute.Fail("has " + std::to_string(m_Accessors.GetCount(m_Accessors.IndexOf(attribute))) +
                           " elements, POSITION has " + std::to_string(count));

    const auto [user, first] = m_Users.emplace(source.positions, source);
    if (!first && user->second && (*user->second < source || source < *user->second))
        user->second.reset();
    mesh.primitives.push_back(primitive);
}

/// The numbers of a compressed primitive may be there a second time, for readers without the extension.
void Meshes::CheckCompression(const JsonValue& primitive, const JsonValue& attributes) const
{
    if (!primitive.FindExtension(s_Draco))
        return;
    std::vector<JsonValue> users = attributes.AsMembers();
    if (const auto indices = primitive.Find("indices"))
        users.push_back(*indices);
    for (const JsonValue& user : users)
        if (!m_Accessors.GetValue(m_Accessors.IndexOf(user)).Find("bufferView"))
            primitive.Fail(std::string("is compressed by ") + s_Draco + ", which is not read");
}

void Meshes::CountLosses(const JsonValue& primitive, const std::string& texCoords, bool lines)
{
    for (const JsonValue& attribute : primitive.At("attributes").AsMembers()) {
        const std::string& name = attribute.GetName();
        if (lines && (name == "NORMAL" || name == texCoords))
            m_Job.Lose("normals and texture coordinates of lines");
        else if (name == "POSITION" || name == "NORMAL" || name == texCoords)
            continue;
        else if (Begins(name, "TEXCOORD_"))
            m_Job.Lose("further texture coordinates");
        else if (Begins(name, "COLOR_"))
            m_Job.Lose("vertex colours");
        else if (name == "TANGENT")
            m_Job.Lose("tangents");
        else if (Begins(name, "JOINTS_") || Begins(name, "WEIGHTS_"))
            m_Job.Lose("joints and weights of vertices");
        else
            m_Job.Lose("vertex attribute " + Plain(name));
    }
    const std::size_t targets = primitive.List("targets").size();
    if (targets > 0)
        m_Job.Lose("morph targets", targets);
}

std::size_t Meshes::CountUnused() const noexcept
{
    return static_cast<std::size_t>(
        std::count_if(m_Meshes.begin(), m_Meshes.end(), [](const Mesh& mesh) { return !mesh.parts; }));
}

const std::vector<Meshes::Part>& Meshes::Get(std::uint32_t mesh)
{
    Mesh& found = m_Meshes[mesh];
    if (!found.parts)
        found.parts = MakeParts(found);
    return *found.parts;
}

std::vector<Meshes::Part> Meshes::MakeParts(const Mesh& mesh)
{
    struct Pieces
    {
        std::optional<std::uint32_t> material;
        std::vector<const Geometry*> geometries;
    };
    struct Look
    {
        std::vector<Pieces> parts; // in the order of their first primitives
        std::map<std::optional<std::uint32_t>, std::size_t> places;
    };
    Look faces;
    Look lines;
    for (const Primitive& primitive : mesh.primitives) {
        const Geometry& geometry = GetGeometry(primitive);
        if (!geometry.mesh && geometry.edges.empty())
            continue;
        Look& look = geometry.mesh ? faces : lines;
        const auto [place, first] = look.places.emplace(primitive.material, look.parts.size());
        if (first)
            look.parts.push_back({primitive.material, {}});
        look.parts[place->second].geometries.push_back(&geometry);
    }

    std::vector<Part> parts;
    if (faces.parts.size() == 1 && lines.parts.size() == 1) {
        std::vector<const Geometry*> all = faces.parts[0].geometries;
        all.insert(all.end(), lines.parts[0].geometries.begin(), lines.parts[0].geometries.end());
        parts.push_back({MakeEntityOf(all), faces.parts[0].material, lines.parts[0].material});
        return parts;
    }
    for (const Pieces& pieces : faces.parts)
        parts.push_back({MakeEntityOf(pieces.geometries), pieces.material, std::nullopt});
    for (const Pieces& pieces : lines.parts)
        parts.push_back({MakeEntityOf(pieces.geometries), std::nullopt, pieces.material});
    return parts;
}

std::shared_ptr<AEntity> Meshes::MakeEntityOf(const std::vector<const Geometry*>& pieces)
{
    std::vector<std::uint32_t> ids;
    ids.reserve(pieces.size());
    for (const Geometry* const piece : pieces)
        ids.push_back(piece->id);
    std::shared_ptr<AEntity>& entity = m_Entities[ids];
    if (entity)
        return entity;
    std::vector<std::shared_ptr<ASubMesh>> meshes;
    std::vector<std::shared_ptr<ASubEdge>> edges;
    for (const Geometry* const piece : pieces) {
        m_Job.Spend(s_ItemSize * std::max<std::size_t>(piece->edges.size(), 1));
        if (piece->mesh)
            meshes.push_back(piece->mesh);
        edges.insert(edges.end(), piece->edges.begin(), piece->edges.end());
    }
    entity = MakeEntity(meshes, edges);
    return entity;
}

const Meshes::Geometry& Meshes::GetGeometry(const Primitive& primitive)
{
    const auto [place, first] =
        m_Geometries.try_emplace(primitive.source, Geometry{static_cast<std::uint32_t>(m_Geometries.size()), {}, {}});
    if (first && IsLines(primitive.source.mode))
        place->second.edges = MakeEdges(primitive);
    else if (first)
        place->second.mesh = MakeMesh(primitive);
    return place->second;
}

/// The vertices that a primitive refers to. Many primitives may refer to one set in turn, which is read once then.
Meshes::Vertices& Meshes::GetVertices(const Primitive& primitive)
{
    const Source& source = primitive.source;
    const std::array<std::uint32_t, 3> accessors = {source.positions, source.normals, source.texCoords};
    if (m_VerticesSource == accessors)
        return m_Vertices;
    m_VerticesSource.reset();
    m_Vertices = {};
    m_Picked.clear();
    m_Vertices.positions = m_Accessors.ReadVectors(source.positions, 3);
    if (source.normals != s_None)
        m_Vertices.normals = m_Accessors.ReadVectors(source.normals, 3);
    if (source.texCoords != s_None)
        m_Vertices.texCoords = m_Accessors.ReadVectors(source.texCoords, 2);
    for (std::size_t k = 1; k < m_Vertices.texCoords.size(); k += 2)
        m_Vertices.texCoords[k] = 1 - m_Vertices.texCoords[k];
    m_VerticesSource = accessors;
    return m_Vertices;
}

std::shared_ptr<ASubMesh> Meshes::MakeMesh(const Primitive& primitive)
{
    const Source& source = primitive.source;
    Vertices& vertices = GetVertices(primitive);
    std::vector<std::uint32_t> indices;
    const bool indexed = source.indices != s_None;
    if (indexed) {
        indices = m_Accessors.ReadIndices(primitive.value.At("indices"), vertices.GetCount());
    } else if (source.mode != Points) {
        m_Job.Spend(vertices.GetCount() * sizeof(std::uint32_t));
        indices.resize(vertices.GetCount());
        std::iota(indices.begin(), indices.end(), 0U);
    }
    if (source.mode != Points) {
        indices = MakeTriangles(std::move(indices), source.mode);
        if (indices.empty())
            return nullptr;
    }

    const bool shared = !m_Users.at(source.positions);
    Vertices own;
    if (indexed && (shared || source.mode == Points)) {
        Pick(own, indices);
    } else if (shared) {
        m_Job.Spend(vertices.GetCount() * 8 * sizeof(float));
        own = vertices;
    } else {
        own = std::move(vertices);
        m_VerticesSource.reset();
    }
    auto mesh = std::make_shared<ASubMesh>();
    mesh->VertexBuffer() = std::move(own.positions);
    mesh->NormalBuffer() = std::move(own.normals);
    mesh->TexCoordBuffer() = std::move(own.texCoords);
    if (source.mode != Points)
        mesh->IndexBuffer() = std::move(indices);
    FitBox(*mesh);
    return mesh;
}

/// Copies those vertices that indices refer to, and makes the indices refer to the copies.
void Meshes::Pick(Vertices& picked, std::vector<std::uint32_t>& indices)
{
    m_Picked.resize(m_Vertices.GetCount(), s_None);
    std::vector<std::uint32_t> from;
    for (std::uint32_t& index : indices) {
        std::uint32_t& place = m_Picked[index];
        if (place == s_None) {
            place = static_cast<std::uint32_t>(from.size());
            from.push_back(index);
        }
        index = place;
    }
    m_Job.Spend(from.size() * 8 * sizeof(float));
    picked.positions.reserve(from.size() * 3);
    picked.normals.reserve(m_Vertices.normals.empty() ? 0 : from.size() * 3);
    picked.texCoords.reserve(m_Vertices.texCoords.empty() ? 0 : from.size() * 2);
    for (const std::uint32_t vertex : from) {
        AppendElement(picked.positions, m_Vertices.positions, vertex, 3);
        if (!m_Vertices.normals.empty())
            AppendElement(picked.normals, m_Vertices.normals, vertex, 3);
        if (!m_Vertices.texCoords.empty())
            AppendElement(picked.texCoords, m_Vertices.texCoords, vertex, 2);
        m_Picked[vertex] = s_None;
    }
}

std::vector<std::uint32_t> Meshes::MakeTriangles(std::vector<std::uint32_t> corners, std::uint32_t mode)
{
    if (mode == Triangles || corners.size() < 3) {
        const std::size_t rest = corners.size() % 3;
        if (rest != 0) {
            m_Job.Lose("corners of incomplete triangles", rest);
            corners.resize(corners.size() - rest);
        }
        return corners;
    }
    m_Job.Spend(corners.size() * 3 * sizeof(std::uint32_t));
    std::vector<std::uint32_t> triangles;
    triangles.reserve((corners.size() - 2) * 3);
    for (std::size_t k = 0; k + 2 < corners.size(); ++k) {
        const std::size_t odd = k % 2;
        const std::array<std::uint32_t, 3> triangle =
            mode == TriangleFan ? std::array{corners[k + 1], corners[k + 2], corners[0]}
                                : std::array{corners[k], corners[k + 1 + odd], corners[k + 2 - odd]};
        // Strips go from one place to another by triangles without area.
        if (triangle[0] != triangle[1] && triangle[1] != triangle[2] && triangle[2] != triangle[0])
            triangles.insert(triangles.end(), triangle.begin(), triangle.end());
    }
    return triangles;
}

std::vector<std::shared_ptr<ASubEdge>> Meshes::MakeEdges(const Primitive& primitive)
{
    const Source& source = primitive.source;
    const Vertices& vertices = GetVertices(primitive);
    std::vector<std::uint32_t> ends;
    if (source.indices != s_None) {
        ends = m_Accessors.ReadIndices(primitive.value.At("indices"), vertices.GetCount());
    } else {
        m_Job.Spend(vertices.GetCount() * sizeof(std::uint32_t));
        ends.resize(vertices.GetCount());
        std::iota(ends.begin(), ends.end(), 0U);
    }
    const bool segments = source.mode == Lines;
    const std::size_t rest = segments ? ends.size() % 2 : ends.size() < 2 ? 1 : 0;
    if (rest != 0) {
        m_Job.Lose("ends of incomplete lines", rest);
        ends.resize(ends.size() - rest);
    }
    if (source.mode == LineLoop && !ends.empty())
        ends.push_back(ends.front());

    std::vector<std::shared_ptr<ASubEdge>> edges;
    const auto point = [&](std::size_t end) { return vertices.positions.data() + 3 * std::size_t{ends[end]}; };
    const auto same = [&](std::size_t a, std::size_t b) { return std::equal(point(a), point(a) + 3, point(b)); };
    for (std::size_t first = 0; first < ends.size();) {
        std::vector<float> points(point(first), point(first) + 3);
        std::size_t next = first + 1;
        for (; next < ends.size(); ++next) {
            // Segments that begin where the one before ends go on with its edge.
            if (segments && (next - first) % 2 == 0) {
                if (!same(next, next - 1))
                    break;
            } else {
                points.insert(points.end(), point(next), point(next) + 3);
            }
        }
        m_Job.Spend(s_EdgeSize + points.size() * sizeof(float));
        edges.push_back(std::make_shared<ASubEdge>());
        edges.back()->VertexBuffer() = std::move(points);
        FitBox(*edges.back());
        first = next;
    }
    return edges;
}
} // namespace Formats::Gltf
