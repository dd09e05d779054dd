#include <Formats/Ply/PlyHeader.h>
#include <Formats/Ply/PlyRows.h>
#include <Formats/Support/FormatError.h>
#include <Formats/Support/FormatServices.h>
#include <Formats/Support/Geometry.h>
#include <Formats/Support/Words.h>

#include <LumvoData/Scene/AGroupSceneNode.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <utility>

namespace Formats {

namespace {

using namespace Kelvra;

constexpr std::size_t s_None = PlyElement::None;
// What things take in memory, at their peak.
constexpr std::uint64_t s_EdgeSize = 320;
constexpr std::uint64_t s_EdgePointSize = 24;
constexpr std::uint64_t s_TriangleSize = 36;
constexpr std::uint64_t s_OwnVerticesSize = 180; // of a triangle whose corners have texture coordinates of their own
constexpr std::uint64_t s_CornerSize = 64;       // of a polygon that is cut
constexpr double s_StripEnd = -1;                // among the indices of a strip

bool IsColour(std::string_view property)
{
    const std::size_t last = property.rfind('_');
    const std::string_view channel = last == property.npos ? property : property.substr(last + 1);
    static constexpr std::array<std::string_view, 4> s_Channels = {"red", "green", "blue", "alpha"};
    return std::find(s_Channels.begin(), s_Channels.end(), channel) != s_Channels.end();
}

/// One file on its way into a scene.
class PlyReader
{
public:
    explicit PlyReader(Import& import)
        : m_Import(import), m_Header(ReadPlyHeader(import)), m_Rows(PlyRows::Create(import, m_Header))
    {}

    std::shared_ptr<ASceneNode> Read()
    {
        // Faces need the vertices, whatever stands first.
        PlyElement* const vertices = m_Header.Find("vertex");
        if (vertices != nullptr) {
            for (PlyElement* element = m_Header.elements.data(); element != vertices; ++element)
                m_Rows->Skip(*element);
            ReadVertices(*vertices);
            if (vertices != m_Header.elements.data())
                m_Rows->Restart();
        }
        for (PlyElement& element : m_Header.elements) {
            if (&element != vertices)
                ReadElement(element);
            else if (vertices != m_Header.elements.data())
                m_Rows->Skip(element);
        }
        m_Rows->Finish();
        return Finish();
    }

private:
    using Columns = std::vector<std::size_t>; // positions of properties

    void ReadElement(PlyElement& element)
    {
        if (element.count == 0 || element.properties.empty()) // rows of nothing, however many
            return;
        if (element.name == "face")
            ReadFaces(element);
        else if (element.name == "tristrips")
            ReadStrips(element);
        else if (element.name == "edge")
            ReadEdges(element);
        else {
            m_Import.Lose("rows of element " + Quote(element.name), element.count);
            m_Rows->Skip(element);
        }
    }

    void ReadVertices(PlyElement& element)
    {
        if (element.count == 0)
            return;
        Columns columns = FindAll(element, {"x", "y", "z"});
        if (columns.empty())
            throw FormatError(AtLine(element.line), "vertices should have the properties x, y and z");
        const Columns normal = FindAll(element, {"nx", "ny", "nz"});
        Columns texCoord;
        for (const auto& [u, v] : {std::pair("s", "t"), std::pair("u", "v"), std::pair("texture_u", "texture_v"),
                                   std::pair("texture_s", "texture_t"), std::pair("texcoord_u", "texcoord_v"),
                                   std::pair("texcoord_s", "texcoord_t"), std::pair("texcoord_x", "texcoord_y")})
            if (texCoord.empty())
                texCoord = FindAll(element, {u, v});
        LoseDoubles(element, columns);
        columns.insert(columns.end(), normal.begin(), normal.end());
        columns.insert(columns.end(), texCoord.begin(), texCoord.end());
        LoseOthers(element);

        const auto count = static_cast<std::size_t>(element.count);
        m_Positions.reserve(3 * count);
        m_Normals.reserve(normal.size() * count);
        m_TexCoords.reserve(texCoord.size() * count);
        for (std::size_t i = 0; i < count; ++i) {
            m_Rows->Read(element, m_Row);
            for (std::size_t k = 0; k < columns.size(); ++k) {
                const float value = ToFinite(*m_Row.GetValues(columns[k]), element, columns[k]);
                (k < 3 ? m_Positions : k < 3 + normal.size() ? m_Normals : m_TexCoords).push_back(value);
            }
        }
    }

    void ReadFaces(PlyElement& element)
    {
        const std::size_t indices = FindIndices(element);
        const std::size_t texCoords = element.Find("texcoord");
        m_CornersHaveTexCoords =
            texCoords != s_None && element.properties[texCoords].isList && m_Header.Find("tristrips") == nullptr;
        if (m_CornersHaveTexCoords) {
            element.properties[texCoords].isWanted = true;
            m_Import.Lose("texture coordinates of vertices whose faces have others", m_TexCoords.size() / 2);
            m_TexCoords.clear();
        }
        LoseOthers(element);
        m_Corners.reserve(3 * static_cast<std::size_t>(element.count));

        Indices face;
        Indices triangles;
        std::uint64_t flat = 0;
        for (std::uint64_t i = 0; i < element.count; ++i) {
            m_Rows->Read(element, m_Row);
            face.clear();
            const double* const values = m_Row.GetValues(indices);
            for (std::size_t k = 0; k < m_Row.GetCount(indices); ++k)
                face.push_back(ToIndex(values[k]));
            if (m_CornersHaveTexCoords && m_Row.GetCount(texCoords) != 2 * face.size())
                throw Wrong(std::to_string(face.size()) + " corners should have " + std::to_string(2 * face.size()) +
                            " texture coordinates, there are " + std::to_string(m_Row.GetCount(texCoords)));
            triangles.clear();
            const std::uint64_t triangleSize = s_TriangleSize + (m_CornersHaveTexCoords ? s_OwnVerticesSize : 0);
            m_Import.Spend(face.size() == 3 ? triangleSize : (triangleSize + s_CornerSize) * face.size());
            if (face.size() == 3)
                triangles = {0, 1, 2};
            else if (face.size() > 3)
                Triangulate(m_Positions, face, triangles);
            else
                ++flat;
            for (const std::uint32_t corner : triangles) {
                m_Corners.push_back(face[corner]);
                for (std::size_t axis = 0; axis < 2 && m_CornersHaveTexCoords; ++axis)
                    m_TexCoords.push_back(ToFinite(m_Row.GetValues(texCoords)[2 * corner + axis], element, texCoords));
            }
        }
        m_Import.Lose("faces with fewer than three corners", flat);
    }

    /// Strips, each of which ends at -1 or with its row. Every second triangle turns round; those with equal corners
    /// only lead to the next ones.
    void ReadStrips(PlyElement& element)
    {
        const std::size_t indices = FindIndices(element);
        LoseOthers(element);
        for (std::uint64_t i = 0; i < element.count; ++i) {
            m_Rows->Read(element, m_Row);
            std::array<std::uint32_t, 3> last{};
            std::size_t length = 0;
            for (std::size_t k = 0; k < m_Row.GetCount(indices); ++k) {
                const double value = m_Row.GetValues(indices)[k];
                if (value == s_StripEnd) {
                    length = 0;
                    continue;
                }
                last = {last[1], last[2], ToIndex(value)};
                ++length;
                if (length < 3 || last[0] == last[1] || last[1] == last[2] || last[0] == last[2])
                    continue;
                m_Import.Spend(s_TriangleSize);
                const bool turned = length % 2 == 0;
                m_Corners.insert(m_Corners.end(), {last[0], last[turned ? 2 : 1], last[turned ? 1 : 2]});
            }
        }
    }

    /// Edges, of which each that begins where the one in front of it ends goes on with it.
    void ReadEdges(PlyElement& element)
    {
        const Columns columns = FindAll(element, {"vertex1", "vertex2"});
        if (columns.empty())
            throw FormatError(AtLine(element.line), "edges should have the properties vertex1 and vertex2");
        LoseOthers(element);
        for (std::uint64_t i = 0; i < element.count; ++i) {
            m_Rows->Read(element, m_Row);
            const std::uint32_t from = ToIndex(*m_Row.GetValues(columns[0]));
            const std::uint32_t to = ToIndex(*m_Row.GetValues(columns[1]));
            if (m_Edges.empty() || m_Edges.back().back() != from) {
                m_Import.Spend(s_EdgeSize);
                m_Edges.push_back({from});
            }
            m_Import.Spend(s_EdgePointSize);
            m_Edges.back().push_back(to);
        }
    }

    /// The positions of single numbers; empty unless all are there.
    static Columns FindAll(PlyElement& element, std::initializer_list<const char*> names)
    {
        Columns columns;
        for (const char* const name : names) {
            columns.push_back(element.Find(name));
            if (columns.back() == s_None || element.properties[columns.back()].isList)
                return {};
        }
        for (const std::size_t column : columns)
            element.properties[column].isWanted = true;
        return columns;
    }

    static std::size_t FindIndices(PlyElement& element)
    {
        for (const char* const name : {"vertex_indices", "vertex_index"}) {
            const std::size_t column = element.Find(name);
            if (column != s_None && element.properties[column].isList) {
                element.properties[column].isWanted = true;
                return column;
            }
        }
        throw FormatError(AtLine(element.line),
                          "element " + Quote(element.name) + " should have a list vertex_indices or vertex_index");
    }

    void LoseOthers(const PlyElement& element)
    {
        bool hasColours = false;
        for (const PlyProperty& property : element.properties) {
            if (property.isWanted)
                continue;
            if (IsColour(property.name))
                hasColours = true;
            else
                m_Import.Lose("property " + Quote(property.name) + " of " + element.name, element.count);
        }
        if (hasColours)
            m_Import.Lose(element.name + " colours", element.count);
    }

    void LoseDoubles(const PlyElement& element, const Columns& columns)
    {
        if (std::any_of(columns.begin(), columns.end(),
                        [&](std::size_t column) { return element.properties[column].type == PlyType::Float64; }))
            m_Import.Lose("double precision of vertices", element.count);
    }

    float ToFinite(double value, const PlyElement& element, std::size_t column) const
    {
        const float number = ToFloat(value);
        if (!std::isfinite(number))
            throw Wrong("a value of " + Quote(element.properties[column].name) + " is not finite");
        return number;
    }

    std::uint32_t ToIndex(double value) const
    {
        const std::size_t count = m_Positions.size() / 3;
        const double most = std::min(static_cast<double>(count) - 1, s_MostIndex);
        if (!(value >= 0 && value <= most) || value != std::floor(value)) {
            std::array<char, 32> text{};
            std::to_chars(text.data(), text.data() + text.size(), value);
            throw Wrong(std::string("there is no vertex ") + text.data() + ", the file has " + std::to_string(count));
        }
        return static_cast<std::uint32_t>(value);
    }

    [[nodiscard]] FormatError Wrong(const std::string& problem) const { return {m_Rows->GetPlace(), problem}; }

    std::shared_ptr<ASceneNode> Finish()
    {
        if (m_Positions.empty())
            return std::make_shared<AGroupSceneNode>();
        std::vector<bool> used(m_Positions.size() / 3, m_Corners.empty() && m_Edges.empty());
        for (const std::uint32_t corner : m_Corners)
            used[corner] = true;
        std::vector<std::shared_ptr<ASubEdge>> edges;
        for (const Indices& line : m_Edges) {
            edges.push_back(std::make_shared<ASubEdge>());
            std::vector<float>& points = edges.back()->VertexBuffer();
            points.reserve(3 * line.size());
            for (const std::uint32_t index : line) {
                used[index] = true;
                points.insert(points.end(), &m_Positions[3 * std::size_t{index}],
                              &m_Positions[3 * std::size_t{index}] + 3);
            }
            FitBox(*edges.back());
        }
        m_Import.Lose("vertices that no face or edge uses",
                      static_cast<std::uint64_t>(std::count(used.begin(), used.end(), false)));
        std::vector<std::shared_ptr<ASubMesh>> meshes;
        if (!m_Corners.empty() || edges.empty())
            meshes.push_back(MakeMesh());
        auto node = std::make_shared<AEntitySceneNode>();
        node->SetEntity(MakeEntity(meshes, edges));
        return node;
    }

    /// The faces, or all vertices as a cloud.
    std::shared_ptr<ASubMesh> MakeMesh()
    {
        if (!m_Corners.empty())
            Weld();
        auto mesh = std::make_shared<ASubMesh>();
        mesh->VertexBuffer() = std::move(m_Positions);
        mesh->NormalBuffer() = std::move(m_Normals);
        mesh->TexCoordBuffer() = std::move(m_TexCoords);
        mesh->IndexBuffer() = std::move(m_Corners);
        FitBox(*mesh);
        return mesh;
    }

    /// Gives equal vertices one index and leaves out those that no face uses.
    void Weld()
    {
        const std::size_t normal = 3; // behind the position
        const std::size_t texCoord = normal + (m_Normals.empty() ? 0 : 3);
        const std::size_t width = texCoord + (m_TexCoords.empty() ? 0 : 2);
        std::vector<float> all; // the floats of each vertex together
        const auto append = [&](std::size_t vertex, std::size_t texCoordOf) {
            all.insert(all.end(), &m_Positions[3 * vertex], &m_Positions[3 * vertex] + 3);
            if (texCoord > normal)
                all.insert(all.end(), &m_Normals[3 * vertex], &m_Normals[3 * vertex] + 3);
            if (width > texCoord)
                all.insert(all.end(), &m_TexCoords[2 * texCoordOf], &m_TexCoords[2 * texCoordOf] + 2);
        };
        Indices used; // 1 for vertices that faces use, 0 for others; then their new indices
        if (m_CornersHaveTexCoords) {
            all.reserve(width * m_Corners.size());
            for (std::size_t i = 0; i < m_Corners.size(); ++i)
                append(m_Corners[i], i);
        } else {
            used.resize(m_Positions.size() / 3);
            for (const std::uint32_t corner : m_Corners)
                used[corner] = 1;
            all.reserve(width * used.size());
            for (std::size_t i = 0; i < used.size(); ++i)
                if (used[i] != 0)
                    append(i, i);
        }
        m_Positions = {};
        m_Normals = {};
        m_TexCoords = {};

        Welder welder(width, std::min(used.size(), all.size() / width));
        if (m_CornersHaveTexCoords)
            welder.Add(all.data(), m_Corners.size(), m_Corners.data());
        else {
            Indices welded(all.size() / width);
            welder.Add(all.data(), welded.size(), welded.data());
            auto next = welded.begin();
            for (std::uint32_t& index : used)
                index = index != 0 ? *next++ : 0;
            for (std::uint32_t& corner : m_Corners)
                corner = used[corner];
        }
        all = {};

        const std::vector<float>& vertices = welder.Vertices();
        const auto take = [&](std::vector<float>& buffer, std::size_t from, std::size_t end) {
            buffer.reserve((end - from) * welder.GetCount());
            for (std::size_t i = 0; i < vertices.size() && from < end; i += width)
                buffer.insert(buffer.end(), &vertices[i + from], &vertices[i] + end);
        };
        take(m_Positions, 0, normal);
        take(m_Normals, normal, texCoord);
        take(m_TexCoords, texCoord, width);
    }

    using Indices = std::vector<std::uint32_t>;
    static constexpr double s_MostIndex = std::numeric_limits<std::uint32_t>::max() - 1.0;

    Import& m_Import;
    PlyHeader m_Header;
    std::unique_ptr<PlyRows> m_Rows;
    PlyRow m_Row;
    std::vector<float> m_Positions;
    std::vector<float> m_Normals;
    std::vector<float> m_TexCoords; // of the vertices, or of the corners
    bool m_CornersHaveTexCoords = false;
    Indices m_Corners; // three to a triangle
    std::vector<Indices> m_Edges;
};

std::shared_ptr<ASceneNode> ReadPly(Import& import)
{
    return PlyReader(import).Read();
}

const FormatRegistration s_Reader({L"ply", L"PLY (Polygon File Format)", L"*.ply", ReadPly});
} // namespace
} // namespace Formats
