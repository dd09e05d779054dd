#include <Formats/Gltf/WriteGltf.h>

#include <Formats/Gltf/BinaryPart.h>
#include <Formats/Gltf/JsonText.h>
#include <Formats/Gltf/MaterialList.h>
#include <Formats/Gltf/Uri.h>
#include <Formats/Support/FormatError.h>
#include <Formats/Support/Geometry.h>
#include <Formats/Support/Words.h>

#include <LumvoData/Entity/AEntityVisitor.h>
#include <LumvoData/Entity/AGroupEntity.h>
#include <LumvoData/Entity/ASubPolygon.h>
#include <LumvoData/Entity/ATopoEntity.h>
#include <LumvoData/Scene/AEntitySceneNode.h>
#include <LumvoData/Scene/AGroupSceneNode.h>
#include <LumvoData/Scene/ATopoSceneNode.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Formats::Gltf {
namespace {

using namespace Kelvra;

constexpr std::uint64_t s_HeaderSize = 12;
constexpr std::uint64_t s_ChunkHeaderSize = 8;
constexpr double s_ShearTolerance = 1e-4;

/// Bounds the walk of what holds itself, or shares much many times over.
class PlaceCount
{
public:
    void Add()
    {
        if (++m_Count > MostPlaces)
            throw FormatError({}, "the scene shows more than " + std::to_string(MostPlaces) +
                                      " things when each use of what is shared counts");
    }

private:
    std::uint64_t m_Count = 0;
};

/// Collects the pieces of geometry of one node.
class Pieces : private AEntityVisitor
{
public:
    Pieces(Export& job, PlaceCount& places) : m_Job(job), m_Places(places)
    {
        SetFilter(EntityFilterFaces | EntityFilterEdges | EntityFilterTexts);
    }

    void Collect(const std::vector<AEntity*>& entities)
    {
        m_Meshes.clear();
        m_Edges.clear();
        // Groups inside groups may lie deeper than any stack.
        std::vector<AEntity*> ahead(entities.rbegin(), entities.rend());
        while (!ahead.empty()) {
            AEntity* const next = ahead.back();
            ahead.pop_back();
            m_Places.Add();
            if (const auto* const group = dynamic_cast<AGroupEntity*>(next)) {
                for (auto member = group->GetAll().rbegin(); member != group->GetAll().rend(); ++member)
                    ahead.push_back(member->get());
            } else if (const auto* const body = dynamic_cast<ATopoEntity*>(next)) {
                ahead.push_back(body->GetEdges().get());
                ahead.push_back(body->GetFaces().get());
            } else if (next != nullptr) {
                next->Visit(*this);
            }
        }
    }

    [[nodiscard]] const std::vector<const ASubMesh*>& GetMeshes() const noexcept { return m_Meshes; }
    [[nodiscard]] const std::vector<const ASubEdge*>& GetEdges() const noexcept { return m_Edges; }

private:
    bool VisitMesh(const std::shared_ptr<ASubMesh>& mesh) override
    {
        m_Places.Add();
        if (mesh && (!mesh->VertexBuffer().empty() || !mesh->IndexBuffer().empty()))
            m_Meshes.push_back(mesh.get());
        return true;
    }
    bool VisitEdge(const std::shared_ptr<ASubEdge>& edge) override
    {
        m_Places.Add();
        if (edge && edge->VertexBuffer().size() == 3)
            m_Job.Lose("edges of one point");
        else if (edge && !edge->VertexBuffer().empty())
            m_Edges.push_back(edge.get());
        return true;
    }
    bool VisitPolygon(const std::shared_ptr<ASubPolygon>& polygon) override
    {
        m_Places.Add();
        if (!polygon || polygon->VertexBuffer().size() < 9)
            return true;
        m_Job.Lose("polygons, written as triangles");
        std::shared_ptr<ASubMesh>& mesh = m_OfPolygons[polygon.get()];
        if (!mesh)
            mesh = ToMesh(*polygon);
        m_Meshes.push_back(mesh.get());
        return true;
    }
    bool VisitText(const std::shared_ptr<ASubText>& /*text*/) override
    {
        m_Job.Lose("texts");
        return true;
    }
    bool VisitVertex(const std::shared_ptr<ASubVertex>& /*vertex*/) override { return true; }

    Export& m_Job;
    PlaceCount& m_Places;
    std::vector<const ASubMesh*> m_Meshes;
    std::vector<const ASubEdge*> m_Edges;
    std::unordered_map<const ASubPolygon*, std::shared_ptr<ASubMesh>> m_OfPolygons;
};

/// The document of a scene, and its numbers.
class Document
{
public:
    explicit Document(Export& job) : m_Job(job), m_Materials(job), m_Pieces(job, m_Places)
    {
        CountNodes();
        for (const std::shared_ptr<ASceneNode>& root : job.GetRoots())
            if (root)
                Append({root.get(), nullptr, nullptr});
        m_RootCount = m_Ahead.size();
        // Nodes are numbered in the order in which they are met, so that a node's children follow one another.
        for (; !m_Ahead.empty(); m_Ahead.pop_front())
            WriteNode(m_Ahead.front());
    }

    [[nodiscard]] const BinaryPart& GetBinary() const noexcept { return m_Binary; }

    /// The JSON text.
    /// \param uri where the binary part is; empty for the same file.
    [[nodiscard]] std::string GetText(const std::string& uri) const
    {
        JsonText text;
        text << R"({"asset":{"version":"2.0","generator":"LumvoData"})";
        if (m_Hidden)
            text << ",\n\"extensionsUsed\":[\"KHR_node_visibility\"]";
        text << ",\n\"scene\":0,\n\"scenes\":[{";
        if (m_RootCount > 0)
            AppendRange(text, "nodes", 0, m_RootCount);
        text << "}]";
        m_Nodes.AppendTo(text, "nodes");
        m_Meshes.AppendTo(text, "meshes");
        m_Materials.AppendTo(text);
        m_Binary.AppendTo(text);
        if (m_Binary.GetSize() > 0) {
            text << ",\n\"buffers\":[{\"byteLength\":" << m_Binary.GetSize();
            if (!uri.empty())
                (text << ",\"uri\":").Quoted(uri);
            text << "}]";
        }
        text << "}\n";
        return text.Get();
    }

private:
    struct Ahead
    {
        const ASceneNode* node;
        const ANodeStyle* faceStyle; // of whatever holds the node
        const ANodeStyle* lineStyle;
    };

    /// Counts the nodes before any is kept: depth first, which takes little memory however many they are.
    void CountNodes()
    {
        std::vector<const ASceneNode*> ahead;
        const auto add = [&](const std::shared_ptr<ASceneNode>& node) {
            if (node)
                ahead.push_back(node.get());
        };
        std::for_each(m_Job.GetRoots().begin(), m_Job.GetRoots().end(), add);
        while (!ahead.empty()) {
            const auto* const group = dynamic_cast<const AGroupSceneNode*>(ahead.back());
            ahead.pop_back();
            m_Places.Add();
            if (group != nullptr)
                std::for_each(group->GetChildNodes().begin(), group->GetChildNodes().end(), add);
        }
    }

    static void AppendRange(JsonText& text, const char* name, std::uint64_t first, std::uint64_t last)
    {
        text << "\"" << name << "\":[" << first;
        while (++first < last)
            text << "," << first;
        text << "]";
    }

    void Append(const Ahead& ahead)
    {
        if (!m_Met.insert(ahead.node).second)
            m_Job.Lose("further uses of shared nodes, written as copies");
        m_Ahead.push_back(ahead);
        ++m_Numbered;
    }

    void WriteNode(Ahead at)
    {
        const ASceneNode& node = *at.node;
        if (node.GetStyle(StyleFace))
            at.faceStyle = node.GetStyle(StyleFace).get();
        if (node.GetStyle(StyleEdge))
            at.lineStyle = node.GetStyle(StyleEdge).get();
        if (node.GetId() != -1)
            m_Job.Lose("ids of nodes");

        m_Place = "nodes[" + std::to_string(m_Nodes.GetCount()) + "]";
        std::vector<JsonText> members;
        if (node.GetTransform() != AMath::Matrix4::IDENTITY)
            WriteTransform(members.emplace_back(), node.GetTransform());
        if (const std::optional<std::uint32_t> mesh = MeshOf(at))
            members.emplace_back() << "\"mesh\":" << *mesh;
        if (const auto* const group = dynamic_cast<const AGroupSceneNode*>(&node)) {
            const std::uint64_t first = m_Numbered;
            for (const std::shared_ptr<ASceneNode>& child : group->GetChildNodes())
                if (child)
                    Append({child.get(), at.faceStyle, at.lineStyle});
            if (m_Numbered > first)
                AppendRange(members.emplace_back(), "children", first, m_Numbered);
        }
        if (!node.IsVisible()) {
            m_Hidden = true;
            members.emplace_back() << R"("extensions":{"KHR_node_visibility":{"visible":false}})";
        }

        JsonText& text = m_Nodes.Add();
        const char* before = "{";
        for (const JsonText& member : members) {
            text << before << std::string_view(member.Get());
            before = ",";
        }
        text << (members.empty() ? "{}" : "}");
    }

    void WriteTransform(JsonText& text, const AMath::Matrix4& m)
    {
        std::vector<double> elements;
        for (std::size_t k = 0; k < 16; ++k) {
            if (!std::isfinite(ToFloat(m[k])))
                throw FormatError(m_Place, "the transform has a number that is not finite or that no float can hold");
            elements.push_back(m[k]);
        }
        if (m[3] != 0 || m[7] != 0 || m[11] != 0 || m[15] != 1)
            throw FormatError(m_Place, "the transform has a perspective part, which glTF cannot hold");
        const AMath::Vector3 axes[] = {{m[0], m[1], m[2]}, {m[4], m[5], m[6]}, {m[8], m[9], m[10]}};
        const auto sheared = [&](const AMath::Vector3& a, const AMath::Vector3& b) {
            return std::fabs(a.dotProduct(b)) > s_ShearTolerance * a.length() * b.length();
        };
        if (sheared(axes[0], axes[1]) || sheared(axes[1], axes[2]) || sheared(axes[2], axes[0]))
            m_Job.Lose("transforms with shear, which glTF does not promise to keep");
        (text << "\"matrix\":").Array(elements);
    }

    /// The index of the mesh that a node shows; nothing where there is nothing to show.
    std::optional<std::uint32_t> MeshOf(const Ahead& at)
    {
        std::vector<AEntity*> entities;
        if (const auto* const single = dynamic_cast<const AEntitySceneNode*>(at.node))
            entities = {single->GetEntity().get()};
        else if (const auto* const body = dynamic_cast<const ATopoSceneNode*>(at.node))
            entities = {body->GetFaces().get(), body->GetEdges().get()};
        else
            return std::nullopt;
        const auto [mesh, first] =
            m_MeshIndices.emplace(std::tuple(entities, at.faceStyle, at.lineStyle), std::nullopt);
        if (first) {
            m_Pieces.Collect(entities);
            if (!m_Pieces.GetMeshes().empty() || !m_Pieces.GetEdges().empty()) {
                mesh->second = m_Meshes.GetCount();
                WriteMesh(at);
            }
        }
        return mesh->second;
    }

    void WriteMesh(const Ahead& at)
    {
        JsonText& text = m_Meshes.Add();
        const char* before = "{\"primitives\":[";
        const auto add = [&](const std::string& primitive, const ANodeStyle* style, bool placed) {
            text << before << std::string_view(primitive);
            if (style != nullptr)
                text << ",\"material\":" << m_Materials.Add(*style, placed);
            text << "}";
            before = ",";
        };
        for (const ASubMesh* const mesh : m_Pieces.GetMeshes())
            add(PrimitiveOf(*mesh), at.faceStyle, !mesh->TexCoordBuffer().empty());
        for (const ASubEdge* const edge : m_Pieces.GetEdges())
            add(PrimitiveOf(*edge), at.lineStyle, false);
        text << "]}";
    }

    /// A primitive of the document, up to its material.
    const std::string& PrimitiveOf(const ASubMesh& mesh)
    {
        std::string& primitive = m_Primitives[&mesh];
        if (!primitive.empty())
            return primitive;
        const std::vector<unsigned int>& indices = mesh.IndexBuffer();
        const std::size_t count = CheckPositions(mesh.VertexBuffer());
        CheckAttribute("normals", mesh.NormalBuffer(), 3, count);
        CheckAttribute("texture coordinates", mesh.TexCoordBuffer(), 2, count);
        if (indices.size() % 3 != 0)
            throw FormatError(m_Place, "a mesh has " + std::to_string(indices.size()) +
                                           " indices, which make no whole triangles");
        const auto bad = std::find_if(indices.begin(), indices.end(), [&](auto index) { return index >= count; });
        if (bad != indices.end())
            throw FormatError(m_Place, "index " + std::to_string(bad - indices.begin()) + " of a mesh is " +
                                           std::to_string(*bad) + ", it has " + std::to_string(count) + " vertices");
        JsonText text;
        text << "{\"attributes\":{\"POSITION\":" << m_Binary.AddPositions(mesh.VertexBuffer());
        if (!mesh.NormalBuffer().empty()) {
            CountNormals(mesh.NormalBuffer());
            text << ",\"NORMAL\":" << m_Binary.AddNormals(mesh.NormalBuffer());
        }
        if (!mesh.TexCoordBuffer().empty())
            text << ",\"TEXCOORD_0\":" << m_Binary.AddTexCoords(mesh.TexCoordBuffer());
        text << "}";
        if (indices.empty())
            text << ",\"mode\":0";
        else
            text << ",\"indices\":" << m_Binary.AddIndices(indices, count);
        return primitive = text.Get();
    }

    const std::string& PrimitiveOf(const ASubEdge& edge)
    {
        std::string& primitive = m_Primitives[&edge];
        if (!primitive.empty())
            return primitive;
        CheckPositions(edge.VertexBuffer());
        JsonText text;
        text << "{\"attributes\":{\"POSITION\":" << m_Binary.AddPositions(edge.VertexBuffer()) << "},\"mode\":3";
        return primitive = text.Get();
    }

    void CheckFinite(const char* what, const std::vector<float>& numbers) const
    {
        if (!std::all_of(numbers.begin(), numbers.end(), [](float number) { return std::isfinite(number); }))
            throw FormatError(m_Place, std::string(what) + " are not all finite");
    }

    /// \returns how many there are.
    std::size_t CheckPositions(const std::vector<float>& positions) const
    {
        if (positions.empty() || positions.size() % 3 != 0)
            throw FormatError(m_Place, std::to_string(positions.size()) + " numbers make no positions");
        CheckFinite("positions", positions);
        return positions.size() / 3;
    }

    void CheckAttribute(const char* what, const std::vector<float>& numbers, std::size_t width,
                        std::size_t vertices) const
    {
        if (!numbers.empty() && numbers.size() != width * vertices)
            throw FormatError(m_Place, std::to_string(numbers.size()) + " numbers make no " + what + " for " +
                                           std::to_string(vertices) + " vertices");
        CheckFinite(what, numbers);
    }

    void CountNormals(const std::vector<float>& normals)
    {
        std::uint64_t changed = 0;
        for (std::size_t k = 0; k < normals.size(); k += 3) {
            const double x = normals[k], y = normals[k + 1], z = normals[k + 2];
            if (std::fabs(std::sqrt(x * x + y * y + z * z) - 1) > BinaryPart::s_NormalTolerance)
                ++changed;
        }
        if (changed > 0)
            m_Job.Lose("lengths of normals other than 1", changed);
    }

    Export& m_Job;
    PlaceCount m_Places;
    MaterialList m_Materials;
    BinaryPart m_Binary;
    Pieces m_Pieces;
    JsonArray m_Nodes;
    JsonArray m_Meshes;
    std::deque<Ahead> m_Ahead;
    std::uint64_t m_Numbered = 0; // nodes that are ahead or written
    std::uint64_t m_RootCount = 0;
    std::string m_Place; // of the node that is being written, in the new file
    bool m_Hidden = false;
    std::unordered_set<const ASceneNode*> m_Met;
    std::map<std::tuple<std::vector<AEntity*>, const ANodeStyle*, const ANodeStyle*>, std::optional<std::uint32_t>>
        m_MeshIndices;
    std::unordered_map<const ASubEntity*, std::string> m_Primitives;
};

void WriteNumber(OutputStream& stream, std::uint64_t number)
{
    const auto bits = static_cast<std::uint32_t>(number);
    stream.Write(&bits, sizeof(bits));
}

std::uint64_t Padding(std::uint64_t size)
{
    return (4 - size % 4) % 4;
}
} // namespace

void WriteGlb(Export& job)
{
    const Document document(job);
    std::string text = document.GetText({});
    text.append(static_cast<std::size_t>(Padding(text.size())), ' ');
    const std::uint64_t binary = document.GetBinary().GetSize();
    const std::uint64_t padding = Padding(binary);
    const std::uint64_t binaryChunk = binary > 0 ? s_ChunkHeaderSize + binary + padding : 0;
    const std::uint64_t size = s_HeaderSize + s_ChunkHeaderSize + text.size() + binaryChunk;
    if (size > std::numeric_limits<std::uint32_t>::max())
        throw FormatError({}, "the file would have " + std::to_string(size) + " bytes, a GLB has at most 4294967295");

    OutputStream& stream = job.Open(job.GetPath());
    stream.Write("glTF");
    WriteNumber(stream, 2);
    WriteNumber(stream, size);
    WriteNumber(stream, text.size());
    stream.Write("JSON");
    stream.Write(text);
    if (binary > 0) {
        WriteNumber(stream, binary + padding);
        stream.Write(std::string_view("BIN\0", 4));
        document.GetBinary().WriteTo(stream, job);
        stream.Write(std::string_view("\0\0\0", static_cast<std::size_t>(padding)));
    }
}

void WriteGltf(Export& job)
{
    const Document document(job);
    const auto uriOf = [](const std::filesystem::path& name) { return EncodePercent(name.u8string()); };
    std::filesystem::path numbers = job.GetPath();
    numbers.replace_extension(".bin");
    if (document.GetBinary().GetSize() > 0) {
        numbers = job.ReserveCompanion(numbers, [&](const auto& name) { return '"' + uriOf(name) + '"'; });
        document.GetBinary().WriteTo(job.Open(numbers), job);
    }
    job.Open(job.GetPath()).Write(document.GetText(uriOf(numbers.filename())));
}
} // namespace Formats::Gltf
