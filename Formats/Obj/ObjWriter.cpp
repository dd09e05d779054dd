#include <Formats/Support/ExportService.h>
#include <Formats/Support/FormatError.h>
#include <Formats/Support/Geometry.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <unordered_set>
#include <utility>

namespace Formats::Obj {
namespace {

using namespace Kelvra;
using AMath::ColourValue;

void AppendNumber(std::string& text, float number)
{
    char digits[32];
    text.append(digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr);
}

/// Whether a name, as the last of a line, is read as it is: blanks around it are not a part of it, and behind a
/// backslash the line goes on.
bool EndsLine(const std::string& name)
{
    constexpr std::string_view blanks = " \t";
    return !name.empty() && name.find_first_of("\r\n") == std::string::npos &&
           blanks.find(name.front()) == std::string_view::npos && blanks.find(name.back()) == std::string_view::npos &&
           name.back() != '\\';
}

/// A material of the MTL file from each style.
class MtlWriter
{
public:
    explicit MtlWriter(Export& job) : m_Job(job) {}

    /// The name of the material that stands for a style; empty for none.
    std::string NameOf(const AFaceStyle* style)
    {
        return NameOf(style, [&] {
            const AMaterial* const material = style->IsUseMaterial() ? style->GetMaterial().get() : nullptr;
            const ColourValue& colour = material != nullptr ? material->GetDiffuse() : style->GetColor();
            if (material != nullptr)
                Put(*material);
            else
                Put("Kd", colour);
            PutOpacity(colour.a);
            if (style->IsTransparent() != (colour.a < 1))
                m_Job.Lose("transparency that alpha does not tell");
            if (style->GetColor() != colour)
                m_Job.Lose("colours of face styles that have a material");
        });
    }
    std::string NameOf(const ALineStyle* style)
    {
        return NameOf(style, [&] {
            Put("Kd", style->GetColor());
            PutOpacity(style->GetColor().a);
            if (style->GetLineWidth() != 1)
                m_Job.Lose("widths of lines");
        });
    }

    [[nodiscard]] const std::string& GetText() const noexcept { return m_Text; }

private:
    template <class Put> std::string NameOf(const ANodeStyle* style, Put put)
    {
        if (style == nullptr)
            return {};
        const auto [place, fresh] = m_Names.emplace(style, "material" + std::to_string(m_Names.size() + 1));
        if (fresh) {
            m_Text += "newmtl " + place->second + '\n';
            put();
            m_Text += '\n';
        }
        return place->second;
    }

    void Put(const AMaterial& material)
    {
        Put("Ka", material.GetAmbient());
        Put("Kd", material.GetDiffuse());
        Put("Ks", material.GetSpecular());
        Put("Ke", material.GetEmission());
        if (material.GetAmbient().a != 1 || material.GetSpecular().a != 1 || material.GetEmission().a != 1)
            m_Job.Lose("alpha of ambient, specular and emitted colours");
        Put("Ns", {material.GetShininess()});
        Put("map_Kd", material.GetDiffuseTexture().get());
        Put("refl -type sphere", material.GetReflectionTexture().get());
    }
    void Put(const char* keyword, const ColourValue& colour) { Put(keyword, {colour.r, colour.g, colour.b}); }
    void PutOpacity(float opacity)
    {
        if (opacity != 1)
            Put("d", {opacity});
    }
    void Put(const char* keyword, std::initializer_list<float> numbers)
    {
        if (!std::all_of(numbers.begin(), numbers.end(), [](float number) { return std::isfinite(number); })) {
            m_Job.Lose("material numbers that are not finite");
            return;
        }
        m_Text += keyword;
        for (const float number : numbers) {
            m_Text += ' ';
            AppendNumber(m_Text, number);
        }
        m_Text += '\n';
    }
    void Put(const char* keyword, const ATexture* texture)
    {
        if (texture == nullptr)
            return;
        const std::wstring& file = texture->GetFileName();
        const std::string name = KvText::ToUtf8(file);
        if (!EndsLine(name)) {
            m_Job.Lose("textures without a file name that fits on a line");
            return;
        }
        // What begins with a hyphen is an option.
        m_Text += std::string(keyword) + (name.front() == '-' ? " ./" : " ") + name + '\n';
        const std::wstring base = file.substr(file.find_last_of(L"/\\") + 1);
        if (texture->GetName() != base.substr(0, base.rfind(L'.')))
            m_Job.Lose("names of textures");
        if (texture->IsEnableMask())
            m_Job.Lose("masks of textures");
    }

    Export& m_Job;
    std::map<const ANodeStyle*, std::string> m_Names;
    std::string m_Text;
};

class ObjWriter
{
public:
    explicit ObjWriter(Export& job)
        : m_Job(job), m_Total(CountNumbers(job.GetRoots())), m_Materials(job), m_Out(job.Open(job.GetPath()))
    {}

    void Write()
    {
        const LeftOut leftOut = ForEachPlaced(m_Job.GetRoots(), [&](const Placed& placed) {
            StartNode(placed);
            if (placed.mesh)
                WriteMesh(placed);
            else if (placed.edge)
                WriteEdge(placed);
            else
                WritePolygon(placed);
            m_Out.Write(std::exchange(m_Text, {}));
        });
        if (m_Nodes == 0)
            m_Out.Write("# a scene without geometry\n"); // an empty file is not an OBJ file
        m_Job.Progress(m_Total, m_Total);
        if (leftOut.texts > 0)
            m_Job.Lose("texts", leftOut.texts);
        if (leftOut.hiddenNodes > 0)
            m_Job.Lose("hidden nodes", leftOut.hiddenNodes);
        if (!m_MaterialFile.empty())
            m_Job.Open(m_MaterialFile).Write(m_Materials.GetText());
    }

private:
    static std::filesystem::path MaterialFileOf(const std::filesystem::path& file)
    {
        std::filesystem::path materials = file;
        materials.replace_extension(".mtl");
        if (materials == file)
            materials += ".mtl";
        return materials;
    }

    static std::string LibraryStatement(const std::filesystem::path& name)
    {
        const std::string line = KvText::ToUtf8(KvText::FromPath(name));
        if (!EndsLine(line) || line.find('\\') != std::string::npos || std::filesystem::u8path(line) != name)
            throw FormatError({}, "the name of the material file, " + Quote(line) + ", cannot stand in the file");
        return "mtllib " + line + '\n';
    }

    void StartNode(const Placed& placed)
    {
        if (placed.node != m_Node || placed.toWorld != m_ToWorld) {
            m_Node = placed.node;
            m_ToWorld = placed.toWorld;
            m_Text += "o node" + std::to_string(++m_Nodes) + '\n';
            m_SharingTold = false;
        }
        if (!m_Written.insert(placed.GetPiece()).second && !std::exchange(m_SharingTold, true))
            m_Job.Lose("references to shared entities written as copies");
        UseMaterial(placed.edge ? m_Materials.NameOf(placed.lineStyle) : m_Materials.NameOf(placed.faceStyle));
    }

    void UseMaterial(const std::string& name)
    {
        if (name == m_Material)
            return;
        if (m_MaterialFile.empty()) {
            m_MaterialFile = m_Job.ReserveCompanion(MaterialFileOf(m_Job.GetPath()), LibraryStatement);
            m_Text += LibraryStatement(m_MaterialFile.filename());
        }
        m_Text += "usemtl" + (name.empty() ? "" : ' ' + name) + '\n'; // without a name: no material from here on
        m_Material = name;
    }

    void WriteMesh(const Placed& placed)
    {
        const bool moved = placed.toWorld != AMath::Matrix4::IDENTITY;
        const std::shared_ptr<ASubMesh> mesh = moved ? Transformed(*placed.mesh, placed.toWorld) : placed.mesh;
        const std::vector<unsigned int>& indices = mesh->IndexBuffer();
        const std::size_t count = PutPositions(mesh->VertexBuffer());
        if (indices.empty()) {
            if (!mesh->NormalBuffer().empty() || !mesh->TexCoordBuffer().empty())
                m_Job.Lose("normals and texture coordinates of points", count);
            PutElements("p", count, s_PointsPerLine);
            m_Positions += count;
            return;
        }
        if (indices.size() % 3 != 0)
            throw FormatError({},
                              "a mesh has " + std::to_string(indices.size()) + " indices, which is no multiple of 3");
        const bool texCoords = PutTexCoords(mesh->TexCoordBuffer(), count);
        const bool normals = PutNormals(mesh->NormalBuffer(), count);
        for (std::size_t i = 0; i < indices.size(); i += 3) {
            m_Text += 'f';
            for (std::size_t k = i; k < i + 3; ++k) {
                if (indices[k] >= count)
                    throw FormatError({}, "a mesh of " + std::to_string(count) + " vertices has the index " +
                                              std::to_string(indices[k]));
                PutCorner(indices[k], texCoords, normals, indices[k]);
            }
            m_Text += '\n';
            m_Done += 3;
            Flush();
        }
        Advance(count, texCoords, normals ? count : 0);
    }

    void WriteEdge(const Placed& placed)
    {
        const bool moved = placed.toWorld != AMath::Matrix4::IDENTITY;
        const std::shared_ptr<ASubEdge> edge = moved ? Transformed(*placed.edge, placed.toWorld) : placed.edge;
        const std::size_t count = PutPositions(edge->VertexBuffer());
        if (count < 2)
            m_Job.Lose("edges of fewer than two points");
        else
            PutElements("l", count, count);
        m_Positions += count;
    }

    void WritePolygon(const Placed& placed)
    {
        const ASubPolygon& polygon = *placed.polygon;
        if (polygon.VertexBuffer().size() < 9) {
            m_Job.Lose("polygons of fewer than three corners");
            return;
        }
        // A mesh of its corners, its normal and one triangle, which tells whether it is turned.
        auto mesh = std::make_shared<ASubMesh>();
        mesh->VertexBuffer() = polygon.VertexBuffer();
        mesh->TexCoordBuffer() = polygon.TexCoordBuffer();
        for (const double coordinate : {polygon.GetNormal().x, polygon.GetNormal().y, polygon.GetNormal().z})
            mesh->NormalBuffer().push_back(static_cast<float>(coordinate));
        mesh->IndexBuffer() = {0, 1, 2};
        if (placed.toWorld != AMath::Matrix4::IDENTITY)
            mesh = Transformed(*mesh, placed.toWorld);
        const bool turned = mesh->IndexBuffer()[1] != 1; // by a transform that mirrors
        const std::size_t count = PutPositions(mesh->VertexBuffer());
        const bool texCoords = PutTexCoords(mesh->TexCoordBuffer(), count);
        PutNormals(mesh->NormalBuffer(), 1);
        m_Text += 'f';
        for (std::size_t i = 0; i < count; ++i)
            PutCorner(turned ? count - 1 - i : i, texCoords, true, 0);
        m_Text += '\n';
        Advance(count, texCoords, 1);
    }

    // Parts of statements

    /// Returns how many there are.
    std::size_t PutPositions(const std::vector<float>& positions)
    {
        if (positions.size() % 3 != 0)
            throw FormatError({}, "a piece of geometry has " + std::to_string(positions.size()) +
                                      " coordinates, which is no multiple of 3");
        PutVectors("v", positions, 3);
        return positions.size() / 3;
    }
    bool PutTexCoords(const std::vector<float>& texCoords, std::size_t count)
    {
        return PutIfWhole("vt", texCoords, 2, count, "texture coordinates of meshes that have too few or too many");
    }
    bool PutNormals(const std::vector<float>& normals, std::size_t count)
    {
        return PutIfWhole("vn", normals, 3, count, "normals of meshes that have too few or too many");
    }
    bool PutIfWhole(const char* keyword, const std::vector<float>& vectors, std::size_t width, std::size_t count,
                    const char* loss)
    {
        if (vectors.empty())
            return false;
        if (vectors.size() != width * count) {
            m_Job.Lose(loss);
            return false;
        }
        PutVectors(keyword, vectors, width);
        return true;
    }
    void PutVectors(const char* keyword, const std::vector<float>& numbers, std::size_t width)
    {
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            if (!std::isfinite(numbers[i]))
                throw FormatError({}, "a piece of geometry has a coordinate that is not finite");
            if (i % width == 0)
                m_Text += keyword;
            m_Text += ' ';
            AppendNumber(m_Text, numbers[i]);
            if (i % width == width - 1)
                m_Text += '\n';
            ++m_Done;
            Flush();
        }
    }
    /// Statements of the next `count` positions, at most `most` in each.
    void PutElements(const char* keyword, std::size_t count, std::size_t most)
    {
        for (std::size_t i = 0; i < count; ++i) {
            if (i % most == 0)
                m_Text += keyword;
            m_Text += ' ' + std::to_string(m_Positions + i + 1);
            if (i % most == most - 1 || i == count - 1)
                m_Text += '\n';
            Flush();
        }
    }
    void PutCorner(std::size_t position, bool texCoord, bool normal, std::size_t normalIndex)
    {
        m_Text += ' ' + std::to_string(m_Positions + position + 1);
        if (texCoord)
            m_Text += '/' + std::to_string(m_TexCoords + position + 1);
        if (normal)
            m_Text += (texCoord ? "/" : "//") + std::to_string(m_Normals + normalIndex + 1);
    }
    void Advance(std::size_t positions, bool texCoords, std::size_t normals)
    {
        m_Positions += positions;
        m_TexCoords += texCoords ? positions : 0;
        m_Normals += normals;
    }
    void Flush()
    {
        if (m_Text.size() < s_FlushAt)
            return;
        m_Out.Write(m_Text);
        m_Text.clear();
        m_Job.Progress(m_Done, m_Total);
    }

    static constexpr std::size_t s_PointsPerLine = 16;
    static constexpr std::size_t s_FlushAt = 1 << 16;

    Export& m_Job;
    std::uint64_t m_Total; // of numbers, as the progress counts them
    MtlWriter m_Materials;
    std::filesystem::path m_MaterialFile; // empty until the file names it
    OutputStream& m_Out;
    std::string m_Text; // on its way into the file
    std::uint64_t m_Done = 0;

    const ASceneNode* m_Node = nullptr;
    AMath::Matrix4 m_ToWorld;
    std::uint64_t m_Nodes = 0;
    std::unordered_set<const ASubEntity*> m_Written;
    bool m_SharingTold = false;
    std::string m_Material;

    // How many of each the file has.
    std::uint64_t m_Positions = 0;
    std::uint64_t m_TexCoords = 0;
    std::uint64_t m_Normals = 0;
};

const ExportRegistration s_Writer(L"obj", L"Wavefront OBJ", L"*.obj", [](Export& job) { ObjWriter(job).Write(); });
} // namespace
} // namespace Formats::Obj
