#include <Formats/Obj/MaterialLibrary.h>
#include <Formats/Obj/Statements.h>
#include <Formats/Support/FormatServices.h>
#include <Formats/Support/Geometry.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/Scene/AEntitySceneNode.h>
#include <LumvoData/Scene/AGroupSceneNode.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <map>
#include <tuple>
#include <unordered_map>

namespace Formats::Obj {
namespace {

using namespace Kelvra;

constexpr std::uint32_t s_None = std::numeric_limits<std::uint32_t>::max();
// What things take in memory, at their peak.
constexpr std::uint64_t s_PieceSize = 960; // a node with its entity and mesh, and what they are made of
constexpr std::uint64_t s_EdgeSize = 288;
constexpr std::uint64_t s_NameSize = 160;
constexpr std::uint64_t s_TriangleSize = 96;
constexpr std::uint64_t s_CornerSize = 64; // of a polygon that is cut, a line, or a point

/// Positions in the file's lists of positions, texture coordinates and normals, from 0; s_None where there is none.
struct Corner
{
    std::uint32_t position = s_None;
    std::uint32_t texCoord = s_None;
    std::uint32_t normal = s_None;

    bool operator<(const Corner& c) const noexcept
    {
        return std::tie(position, texCoord, normal) < std::tie(c.position, c.texCoord, c.normal);
    }
    bool operator==(const Corner& c) const noexcept
    {
        return position == c.position && texCoord == c.texCoord && normal == c.normal;
    }
};

/// What the corners of a piece are, as bits.
enum PieceKind : unsigned
{
    WithTexCoords = 1,
    WithNormals = 2,
    Points = 4,
    Lines = 8,
};

/// Geometry of one group, one material and one kind: what becomes one mesh, or several edges.
struct Piece
{
    std::vector<Corner> corners; // three to a triangle, or one to a point
    std::vector<std::shared_ptr<ASubEdge>> edges;
};

struct PieceKey
{
    std::size_t group;
    std::size_t material;
    unsigned kind;

    bool operator<(const PieceKey& key) const noexcept
    {
        return std::tie(group, material, kind) < std::tie(key.group, key.material, key.kind);
    }
};

/// A list of vectors that corners refer to.
struct VectorList
{
    const char* name;
    std::size_t width;
    std::vector<float> numbers;

    [[nodiscard]] std::size_t GetCount() const noexcept { return numbers.size() / width; }
    void CopyTo(std::vector<float>& buffer, std::uint32_t index) const
    {
        const auto from = numbers.begin() + static_cast<std::ptrdiff_t>(index * width);
        buffer.insert(buffer.end(), from, from + static_cast<std::ptrdiff_t>(width));
    }
};

class ObjReader
{
public:
    explicit ObjReader(Import& job) : m_Job(job), m_Statements(job.GetFile()), m_Library(job) {}

    std::shared_ptr<ASceneNode> Read()
    {
        for (std::uint64_t count = 0; m_Statements.Next(); ++count) {
            if (count % s_StatementsPerReport == 0)
                m_Job.Progress(m_Statements.GetPosition());
            ReadStatement();
        }
        if (!m_AnyKnown && !m_FirstUnknown.empty())
            throw FormatError(m_FirstUnknownPlace,
                              Quote(m_FirstUnknown) + " is no OBJ statement, and no other line is");
        if (m_Pieces.empty())
            AddAllPoints();
        return MakeScene();
    }

private:
    static constexpr std::uint64_t s_StatementsPerReport = 10'000;

    using Handler = void (ObjReader::*)();
    static const std::unordered_map<std::string_view, Handler>& Handlers();
    static const std::unordered_map<std::string_view, const char*>& KnownLosses();

    void ReadStatement()
    {
        const std::string_view keyword = m_Statements.GetKeyword();
        if (const auto handler = Handlers().find(keyword); handler != Handlers().end())
            (this->*handler->second)();
        else if (const auto loss = KnownLosses().find(keyword); loss != KnownLosses().end()) {
            if (loss->second != nullptr)
                m_Job.Lose(loss->second);
        } else {
            m_Job.Lose("statements of unknown kind");
            if (m_FirstUnknown.empty()) {
                m_FirstUnknown = keyword;
                m_FirstUnknownPlace = AtLine(m_Statements.GetLine());
            }
            return;
        }
        m_AnyKnown = true;
    }

    // Vertices

    void ReadPosition()
    {
        const std::size_t count = m_Statements.TakeNumbers(3, 7);
        if (count == 5)
            m_Statements.Fail("3, 4, 6 or 7 numbers should follow, 5 do");
        if (count >= 6)
            m_Job.Lose("vertex colours");
        if (count % 3 == 1 && m_Statements.GetNumber(3) != 1)
            m_Job.Lose(count == 4 ? "weights of vertices" : "fourth numbers of vertex colours");
        Append(m_Positions);
    }
    void ReadTexCoord()
    {
        const std::size_t count = m_Statements.TakeNumbers(1, 3);
        if (count == 3 && m_Statements.GetNumber(2) != 0)
            m_Job.Lose("third texture coordinates");
        Append(m_TexCoords, count);
    }
    void ReadNormal()
    {
        m_Statements.TakeNumbers(3, 3);
        Append(m_Normals);
    }
    void Append(VectorList& list, std::size_t given = 3)
    {
        if (list.GetCount() == s_None)
            m_Statements.Fail("there are more than " + std::to_string(s_None) + ' ' + list.name + "s");
        for (std::size_t i = 0; i < list.width; ++i)
            list.numbers.push_back(i < given ? m_Statements.GetNumber(i) : 0);
    }

    // Elements

    /// Takes the corners of an element.
    /// \returns of WithTexCoords and WithNormals those that all corners have; what only some have is removed.
    unsigned TakeCorners(std::size_t fewest)
    {
        m_Corners.clear();
        std::size_t texCoords = 0, normals = 0;
        for (std::string_view word; m_Statements.NextWord(word);) {
            const Corner corner = ParseCorner(word);
            texCoords += corner.texCoord != s_None ? 1 : 0;
            normals += corner.normal != s_None ? 1 : 0;
            m_Corners.push_back(corner);
        }
        const std::size_t count = m_Corners.size();
        if (count < fewest)
            m_Statements.Fail(std::to_string(fewest) + " or more vertices should follow, " + std::to_string(count) +
                              (count == 1 ? " does" : " do"));
        if (texCoords != 0 && texCoords != count) {
            m_Job.Lose("texture coordinates that only some corners of an element have", texCoords);
            Remove(&Corner::texCoord);
        }
        if (normals != 0 && normals != count) {
            m_Job.Lose("normals that only some corners of an element have", normals);
            Remove(&Corner::normal);
        }
        return (texCoords == count ? WithTexCoords : 0U) | (normals == count ? WithNormals : 0U);
    }
    void Remove(std::uint32_t Corner::*what)
    {
        for (Corner& corner : m_Corners)
            corner.*what = s_None;
    }

    /// v, v/vt, v//vn or v/vt/vn
    Corner ParseCorner(std::string_view word) const
    {
        Corner corner;
        std::string_view rest = word;
        bool good = TakeIndex(rest, m_Positions, corner.position);
        if (good && TakeSlash(rest)) {
            const bool texCoord = TakeIndex(rest, m_TexCoords, corner.texCoord);
            if (TakeSlash(rest))
                good = TakeIndex(rest, m_Normals, corner.normal);
            else
                good = texCoord;
        }
        if (!good || !rest.empty())
            m_Statements.Fail(Quote(std::string(word)) + " is no corner such as 1, 1/2, 1//3 or 1/2/3");
        return corner;
    }
    static bool TakeSlash(std::string_view& text) noexcept
    {
        const bool there = !text.empty() && text.front() == '/';
        text.remove_prefix(there ? 1 : 0);
        return there;
    }
    /// Takes an index, which counts from 1, or from -1 backwards.
    /// \returns false when there is none.
    bool TakeIndex(std::string_view& text, const VectorList& list, std::uint32_t& index) const
    {
        std::int64_t number = 0;
        const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
        if (result.ec == std::errc::invalid_argument)
            return false;
        const std::string_view digits = text.substr(0, static_cast<std::size_t>(result.ptr - text.data()));
        const auto count = static_cast<std::int64_t>(list.GetCount());
        if (result.ec != std::errc() || number > count || number < -count || number == 0)
            m_Statements.Fail("there is no " + std::string(list.name) + ' ' + Unquoted(digits) +
                              (number == 0 && result.ec == std::errc()
                                   ? ": they are counted from 1"
                                   : ", " + std::to_string(count) + (count == 1 ? " comes" : " come") + " before"));
        index = static_cast<std::uint32_t>(number > 0 ? number - 1 : count + number);
        text.remove_prefix(digits.size());
        return true;
    }
    /// Digits without end are shortened.
    static std::string Unquoted(std::string_view digits)
    {
        const std::string quoted = Quote(std::string(digits));
        return quoted.substr(1, quoted.size() - 2);
    }

    Piece& GetPiece(unsigned kind)
    {
        const auto [place, fresh] = m_Pieces.try_emplace({m_Group, m_Material, kind});
        if (fresh)
            m_Job.Spend(s_PieceSize);
        return place->second;
    }

    void ReadFace()
    {
        Piece& piece = GetPiece(TakeCorners(3));
        m_Job.Spend(m_Corners.size() == 3 ? s_TriangleSize : (s_TriangleSize + s_CornerSize) * m_Corners.size());
        m_Polygon.clear();
        for (const Corner& corner : m_Corners)
            m_Polygon.push_back(corner.position);
        m_Triangles.clear();
        Triangulate(m_Positions.numbers, m_Polygon, m_Triangles);
        for (const std::uint32_t corner : m_Triangles)
            piece.corners.push_back(m_Corners[corner]);
    }
    void ReadPoints()
    {
        Piece& piece = GetPiece(Points | TakeCorners(1));
        m_Job.Spend(s_CornerSize * m_Corners.size());
        piece.corners.insert(piece.corners.end(), m_Corners.begin(), m_Corners.end());
    }
    void ReadLine()
    {
        const unsigned kind = TakeCorners(2);
        if (kind != 0)
            m_Job.Lose("texture coordinates and normals of lines", m_Corners.size());
        m_Job.Spend(s_EdgeSize + s_CornerSize * m_Corners.size());
        const auto edge = std::make_shared<ASubEdge>();
        edge->VertexBuffer().reserve(3 * m_Corners.size());
        for (const Corner& corner : m_Corners)
            m_Positions.CopyTo(edge->VertexBuffer(), corner.position);
        FitBox(*edge);
        GetPiece(Lines).edges.push_back(edge);
    }
    /// A file of vertices alone is a cloud of points; as many normals are theirs.
    void AddAllPoints()
    {
        const bool normals = m_Normals.GetCount() == m_Positions.GetCount();
        const auto count = static_cast<std::uint32_t>(m_Positions.GetCount());
        if (count == 0)
            return;
        Piece& piece = GetPiece(Points | (normals ? WithNormals : 0U));
        for (std::uint32_t i = 0; i < count; ++i)
            piece.corners.push_back({i, s_None, normals ? i : s_None});
    }

    // States

    /// A group goes on where its name comes again, within one object.
    void StartGroup()
    {
        const std::string name(m_Statements.GetRest());
        const auto [place, fresh] = m_GroupsOfObject.emplace(name, m_Named.size());
        if (fresh) {
            m_Job.Spend(s_NameSize);
            m_Named.push_back(!name.empty());
        }
        m_Group = place->second;
    }
    void StartObject()
    {
        m_GroupsOfObject.clear();
        m_Named.push_back(!m_Statements.GetRest().empty());
        m_Group = m_Named.size() - 1;
    }
    void UseMaterial()
    {
        const auto [place, fresh] = m_Materials.emplace(m_Statements.GetRest(), m_MaterialNames.size());
        if (fresh) {
            m_Job.Spend(s_NameSize);
            m_MaterialNames.push_back(place->first);
        }
        m_Material = place->second;
    }
    void LoadMaterials() { m_Library.Load(m_Statements.GetRest()); }
    void SetSmoothing()
    {
        std::string_view group;
        if (m_Statements.NextWord(group) && group != "off" && group != "0")
            m_Job.Lose("smoothing groups");
    }

    // The scene

    std::shared_ptr<ASceneNode> MakeScene()
    {
        const auto root = std::make_shared<AGroupSceneNode>();
        while (!m_Pieces.empty()) {
            const std::size_t group = m_Pieces.begin()->first.group;
            std::vector<std::shared_ptr<ASceneNode>> nodes; // one for each material
            while (!m_Pieces.empty() && m_Pieces.begin()->first.group == group)
                nodes.push_back(TakeNode());
            if (m_Named[group])
                m_Job.Lose("names of groups");
            if (nodes.size() == 1)
                root->AddChildNode(nodes.front());
            else {
                const auto parent = std::make_shared<AGroupSceneNode>();
                for (const auto& node : nodes)
                    parent->AddChildNode(node);
                root->AddChildNode(parent);
            }
        }
        return root;
    }

    /// The node of the first pieces with one group and material, which are removed.
    std::shared_ptr<ASceneNode> TakeNode()
    {
        const PieceKey first = m_Pieces.begin()->first;
        std::vector<std::shared_ptr<ASubMesh>> meshes;
        std::vector<std::shared_ptr<ASubEdge>> edges;
        while (!m_Pieces.empty() && m_Pieces.begin()->first.group == first.group &&
               m_Pieces.begin()->first.material == first.material) {
            const auto piece = m_Pieces.extract(m_Pieces.begin());
            if (piece.key().kind == Lines)
                edges = std::move(piece.mapped().edges);
            else
                meshes.push_back(MakeMesh(piece.key().kind, piece.mapped().corners));
        }
        const auto node = std::make_shared<AEntitySceneNode>();
        node->SetEntity(MakeEntity(meshes, edges));
        if (const Styles* const styles = StylesOf(first.material)) {
            if (!meshes.empty())
                node->SetStyle(StyleFace, styles->faces);
            if (!edges.empty())
                node->SetStyle(StyleEdge, styles->lines);
        }
        return node;
    }

    const Styles* StylesOf(std::size_t material)
    {
        const std::string& name = m_MaterialNames[material];
        const Styles* const styles = m_Library.Find(name);
        if (styles == nullptr && !name.empty())
            m_Job.Lose("uses of materials that no file defines: " + Quote(KvText::ToUtf8(WideName(name))));
        return styles;
    }

    /// Vertices keep the order of the file.
    std::shared_ptr<ASubMesh> MakeMesh(unsigned kind, const std::vector<Corner>& corners) const
    {
        auto mesh = std::make_shared<ASubMesh>();
        if ((kind & Points) != 0)
            CopyVertices(kind, corners, *mesh);
        else {
            std::vector<Corner> vertices = corners;
            std::sort(vertices.begin(), vertices.end());
            vertices.erase(std::unique(vertices.begin(), vertices.end()), vertices.end());
            CopyVertices(kind, vertices, *mesh);
            mesh->IndexBuffer().reserve(corners.size());
            for (const Corner& corner : corners) {
                const auto vertex = std::lower_bound(vertices.begin(), vertices.end(), corner);
                mesh->IndexBuffer().push_back(static_cast<unsigned int>(vertex - vertices.begin()));
            }
        }
        FitBox(*mesh);
        return mesh;
    }
    void CopyVertices(unsigned kind, const std::vector<Corner>& vertices, ASubMesh& mesh) const
    {
        const auto copy = [&](const VectorList& list, std::uint32_t Corner::*index, std::vector<float>& buffer) {
            buffer.reserve(list.width * vertices.size());
            for (const Corner& vertex : vertices)
                list.CopyTo(buffer, vertex.*index);
        };
        copy(m_Positions, &Corner::position, mesh.VertexBuffer());
        if ((kind & WithTexCoords) != 0)
            copy(m_TexCoords, &Corner::texCoord, mesh.TexCoordBuffer());
        if ((kind & WithNormals) != 0)
            copy(m_Normals, &Corner::normal, mesh.NormalBuffer());
    }

    Import& m_Job;
    Statements m_Statements;
    MaterialLibrary m_Library;

    VectorList m_Positions{"vertex", 3, {}};
    VectorList m_TexCoords{"texture coordinate", 2, {}};
    VectorList m_Normals{"normal", 3, {}};
    std::map<PieceKey, Piece> m_Pieces;

    std::vector<bool> m_Named = {false}; // of every group, whether it has a name; the first begins with the file
    std::map<std::string, std::size_t> m_GroupsOfObject;
    std::size_t m_Group = 0;
    std::map<std::string, std::size_t, std::less<>> m_Materials = {{"", 0}};
    std::vector<std::string> m_MaterialNames = {""};
    std::size_t m_Material = 0;
    bool m_AnyKnown = false;
    std::string m_FirstUnknown;
    std::string m_FirstUnknownPlace;

    // Of the element that is being read.
    std::vector<Corner> m_Corners;
    std::vector<std::uint32_t> m_Polygon;
    std::vector<std::uint32_t> m_Triangles;
};

const std::unordered_map<std::string_view, ObjReader::Handler>& ObjReader::Handlers()
{
    static const std::unordered_map<std::string_view, Handler> s_Handlers = {
        {"v", &ObjReader::ReadPosition}, {"vt", &ObjReader::ReadTexCoord},    {"vn", &ObjReader::ReadNormal},
        {"f", &ObjReader::ReadFace},     {"fo", &ObjReader::ReadFace}, // as files of version 2 say
        {"l", &ObjReader::ReadLine},     {"p", &ObjReader::ReadPoints},       {"g", &ObjReader::StartGroup},
        {"o", &ObjReader::StartObject},  {"usemtl", &ObjReader::UseMaterial}, {"mtllib", &ObjReader::LoadMaterials},
        {"s", &ObjReader::SetSmoothing},
    };
    return s_Handlers;
}

/// Statements with no place in a scene, and how they are counted; null for those that are parts of others.
const std::unordered_map<std::string_view, const char*>& ObjReader::KnownLosses()
{
    static const std::unordered_map<std::string_view, const char*> s_Losses = {
        {"curv", "free-form curves"},
        {"curv2", "free-form curves"},
        {"surf", "free-form surfaces"},
        {"vp", "vertices in parameter space"},
        {"cstype", nullptr},
        {"deg", nullptr},
        {"bmat", nullptr},
        {"step", nullptr},
        {"parm", nullptr},
        {"trim", nullptr},
        {"hole", nullptr},
        {"scrv", nullptr},
        {"sp", nullptr},
        {"end", nullptr},
        {"con", nullptr},
        {"mg", "merging groups"},
        {"bevel", "display attributes"},
        {"c_interp", "display attributes"},
        {"d_interp", "display attributes"},
        {"lod", "display attributes"},
        {"ctech", "display attributes"},
        {"stech", "display attributes"},
        {"shadow_obj", "shadow and tracing objects"},
        {"trace_obj", "shadow and tracing objects"},
        {"maplib", "texture map statements"},
        {"usemap", "texture map statements"},
        {"call", "calls of other files and programs"},
        {"csh", "calls of other files and programs"},
    };
    return s_Losses;
}

const FormatRegistration s_Reader({L"obj", L"Wavefront OBJ", L"*.obj",
                                   [](Import& job) { return ObjReader(job).Read(); }});
} // namespace
} // namespace Formats::Obj
