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
#include <array>
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

/// Counts what is written.
class Counter : public OutputStream
{
public:
    void Write(const void* /*data*/, std::size_t count) override { m_Size += count; }
    using OutputStream::Write;
    [[nodiscard]] std::uint64_t GetSize() const noexcept { return m_Size; }

private:
    std::uint64_t m_Size = 0;
};

/// The document of a scene, and its numbers. The text of its nodes, of which a scene that shares them can have very
/// many, is made when it is written.
class Document
{
public:
    explicit Document(Export& job) : m_Job(job), m_Materials(job), m_Pieces(job, m_Places)
    {
        CountNodes();
        m_RootCount = job.GetRoots().size() -
                      static_cast<std::uint64_t>(std::count(job.GetRoots().begin(), job.GetRoots().end(), nullptr));
        ForEachNode([this](const NodeInFile& at) { AddNode(at); });
    }

    [[nodiscard]] const BinaryPart& GetBinary() const noexcept { return m_Binary; }

    /// Writes the JSON text.
    /// \param uri where the binary part is; empty for the same file.
    void WriteTo(OutputStream& stream, const std::string& uri) const
    {
        stream.Write(R"({"asset":{"version":"2.0","generator":"LumvoData"})");
        if (m_Hidden)
            stream.Write(",\n\"extensionsUsed\":[\"KHR_node_visibility\"]");
        JsonText scene;
        scene << ",\n\"scene\":0,\n\"scenes\":[{";
        if (m_RootCount > 0)
            AppendRange(scene, "nodes", 0, m_RootCount);
        stream.Write((scene << "}]").Get());
        if (m_NodeCount > 0) {
            const char* before = ",\n\"nodes\":[\n";
            ForEachNode([&](const NodeInFile& at) {
                stream.Write(std::exchange(before, ",\n"));
                stream.Write(TextOf(at));
            });
            stream.Write("]");
        }
        m_Meshes.AppendTo(stream, "meshes");
        m_Materials.AppendTo(stream);
        m_Binary.AppendTo(stream);
        JsonText buffers;
        if (m_Binary.GetSize() > 0) {
            buffers << ",\n\"buffers\":[{\"byteLength\":" << m_Binary.GetSize();
            if (!uri.empty())
                (buffers << ",\"uri\":").Quoted(uri);
            buffers << "}]";
        }
        stream.Write((buffers << "}\n").Get());
    }

private:
    using MeshKey = std::tuple<std::vector<AEntity*>, const ANodeStyle*, const ANodeStyle*>;

    struct Ahead
    {
        const ASceneNode* node;
        const ANodeStyle* faceStyle; // of whatever holds the node
        const ANodeStyle* lineStyle;
    };
    /// A node with the styles that it has or inherits, and the numbers of its children.
    struct NodeInFile
    {
        const ASceneNode* node;
        const ANodeStyle* faceStyle;
        const ANodeStyle* lineStyle;
        std::uint64_t firstChild;
        std::uint64_t endOfChildren;
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

    /// Nodes are numbered in the order in which they are met, so that a node's children follow one another.
    template <class Visit> void ForEachNode(Visit visit) const
    {
        std::deque<Ahead> ahead;
        std::uint64_t numbered = 0; // that are ahead or done
        const auto add = [&](const std::shared_ptr<ASceneNode>& node, const Ahead& above) {
            if (!node)
                return;
            ahead.push_back({node.get(), above.faceStyle, above.lineStyle});
            ++numbered;
        };
        for (const std::shared_ptr<ASceneNode>& root : m_Job.GetRoots())
            add(root, {});
        for (; !ahead.empty(); ahead.pop_front()) {
            Ahead at = ahead.front();
            if (at.node->GetStyle(StyleFace))
                at.faceStyle = at.node->GetStyle(StyleFace).get();
            if (at.node->GetStyle(StyleEdge))
                at.lineStyle = at.node->GetStyle(StyleEdge).get();
            const std::uint64_t first = numbered;
            if (const auto* const group = dynamic_cast<const AGroupSceneNode*>(at.node))
                for (const std::shared_ptr<ASceneNode>& child : group->GetChildNodes())
                    add(child, at);
            visit(NodeInFile{at.node, at.faceStyle, at.lineStyle, first, numbered});
        }
    }

    /// Checks a node and adds what it shows.
    void AddNode(const NodeInFile& at)
    {
        m_Place = "nodes[" + std::to_string(m_NodeCount++) + "]";
        if (!m_Met.insert(at.node).second)
            m_Job.Lose("further uses of shared nodes, written as copies");
        if (at.node->GetId() != -1)
            m_Job.Lose("ids of nodes");
        CheckTransform(at.node->GetTransform());
        m_Hidden = m_Hidden || !at.node->IsVisible();

        const std::vector<AEntity*> entities = EntitiesOf(*at.node);
        const auto [mesh, first] = m_MeshIndices.emplace(MeshKey(entities, at.faceStyle, at.lineStyle), std::nullopt);
        if (!first)
            return;
        m_Pieces.Collect(entities);
        if (!m_Pieces.GetMeshes().empty() || !m_Pieces.GetEdges().empty()) {
            mesh->second = m_Meshes.GetCount();
            WriteMesh(at);
        }
    }

    [[nodiscard]] std::string TextOf(const NodeInFile& at) const
    {
        JsonText text;
        const char* before = "{";
        const auto begin = [&](const char* name) -> JsonText& { return text << std::exchange(before, ",") << name; };
        if (at.node->GetTransform() != AMath::Matrix4::IDENTITY) {
            std::array<double, 16> elements;
            for (std::size_t k = 0; k < elements.size(); ++k)
                elements[k] = at.node->GetTransform()[k];
            begin("\"matrix\":").Array(elements);
        }
        const auto mesh = m_MeshIndices.find(MeshKey(EntitiesOf(*at.node), at.faceStyle, at.lineStyle));
        if (mesh->second)
            begin("\"mesh\":") << *mesh->second;
        if (at.endOfChildren > at.firstChild)
            AppendRange(begin(""), "children", at.firstChild, at.endOfChildren);
        if (!at.node->IsVisible())
            begin(R"("extensions":{"KHR_node_visibility":{"visible":false}})");
        text << (*before == '{' ? "{}" : "}");
        return text.Get();
    }

    void CheckTransform(const AMath::Matrix4& m)
    {
        for (std::size_t k = 0; k < 16; ++k)
            if (!std::isfinite(ToFloat(m[k])))
                throw FormatError(m_Place, "the transform has a number that is not finite or that no float can hold");
        if (m[3] != 0 || m[7] != 0 || m[11] != 0 || m[15] != 1)
            throw FormatError(m_Place, "the transform has a perspective part, which glTF cannot hold");
        const AMath::Vector3 axes[] = {{m[0], m[1], m[2]}, {m[4], m[5], m[6]}, {m[8], m[9], m[10]}};
        const auto sheared = [&](const AMath::Vector3& a, const AMath::Vector3& b) {
            return std::fabs(a.dotProduct(b)) > s_ShearTolerance * a.length() * b.length();
        };
        if (sheared(axes[0], axes[1]) || sheared(axes[1], axes[2]) || sheared(axes[2], axes[0]))
            m_Job.Lose("transforms with shear, which glTF does not promise to keep");
    }

    static std::vector<AEntity*> EntitiesOf(const ASceneNode& node)
    {
        if (const auto* const single = dynamic_cast<const AEntitySceneNode*>(&node))
            return {single->GetEntity().get()};
        if (const auto* const body = dynamic_cast<const ATopoSceneNode*>(&node))
            return {body->GetFaces().get(), body->GetEdges().get()};
        return {};
    }

    void WriteMesh(const NodeInFile& at)
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
    JsonArray m_Meshes;
    std::uint64_t m_NodeCount = 0;
    std::uint64_t m_RootCount = 0;
    std::string m_Place; // of the node that is being written, in the new file
    bool m_Hidden = false;
    std::unordered_set<const ASceneNode*> m_Met;
    std::map<MeshKey, std::optional<std::uint32_t>> m_MeshIndices; // none where there is nothing to show
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
    Counter text;
    document.WriteTo(text, {});
    const std::uint64_t textPadding = Padding(text.GetSize());
    const std::uint64_t textChunk = text.GetSize() + textPadding;
    const std::uint64_t binary = document.GetBinary().GetSize();
    const std::uint64_t padding = Padding(binary);
    const std::uint64_t binaryChunk = binary > 0 ? s_ChunkHeaderSize + binary + padding : 0;
    const std::uint64_t size = s_HeaderSize + s_ChunkHeaderSize + textChunk + binaryChunk;
    if (size > std::numeric_limits<std::uint32_t>::max())
        throw FormatError({}, "the file would have " + std::to_string(size) + " bytes, a GLB has at most 4294967295");

    OutputStream& stream = job.Open(job.GetPath());
    stream.Write("glTF");
    WriteNumber(stream, 2);
    WriteNumber(stream, size);
    WriteNumber(stream, textChunk);
    stream.Write("JSON");
    document.WriteTo(stream, {});
    stream.Write(std::string_view("   ", static_cast<std::size_t>(textPadding)));
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
    document.WriteTo(job.Open(job.GetPath()), uriOf(numbers.filename()));
}
} // namespace Formats::Gltf
