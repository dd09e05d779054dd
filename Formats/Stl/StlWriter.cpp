#include <Formats/Support/ExportService.h>
#include <Formats/Support/FormatError.h>
#include <Formats/Support/Geometry.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <set>
#include <unordered_map>

namespace Formats {

namespace {

using namespace Kelvra;

/// Writes the triangles of a scene in world space: one walk tells whether they are too many, another counts them,
/// since the count stands in front of them, and the last one writes them.
class StlWriter
{
public:
    explicit StlWriter(Export& job) : m_Job(job) {}

    void Write()
    {
        static_cast<void>(CountNumbers(m_Job.GetRoots()));
        const LeftOut leftOut = ForEachPlaced(m_Job.GetRoots(), [this](const Placed& placed) { Count(placed); });
        if (m_Count > std::numeric_limits<std::uint32_t>::max())
            throw FormatError({}, "STL holds at most 4294967295 triangles, the scene shows " + std::to_string(m_Count));
        m_Job.Lose("texts", leftOut.texts);
        m_Job.Lose("hidden nodes", leftOut.hiddenNodes);

        m_Out = &m_Job.Open(m_Job.GetPath());
        std::array<char, 84> head{"Binary STL"}; // must not begin with "solid", as files of text do
        const auto count = static_cast<std::uint32_t>(m_Count);
        std::memcpy(&head[80], &count, sizeof(count));
        m_Out->Write(head.data(), head.size());
        ForEachPlaced(m_Job.GetRoots(), [this](const Placed& placed) { WritePiece(placed); });
    }

private:
    void Count(const Placed& placed)
    {
        if (placed.edge) {
            m_Job.Lose("edges");
            return;
        }
        m_Job.Lose("materials and styles", placed.faceStyle != nullptr ? 1 : 0);
        if (placed.polygon) {
            const std::size_t corners = placed.polygon->VertexBuffer().size() / 3;
            m_Count += corners < 3 ? 0 : corners - 2;
            m_Job.Lose("texture coordinates", placed.polygon->TexCoordBuffer().size() / 2);
            return;
        }
        const ASubMesh& mesh = *placed.mesh;
        if (mesh.IndexBuffer().empty()) {
            m_Job.Lose("point clouds", mesh.VertexBuffer().empty() ? 0 : 1);
            return;
        }
        if (mesh.IndexBuffer().size() % 3 != 0)
            throw FormatError({}, "a mesh of the scene has " + std::to_string(mesh.IndexBuffer().size()) +
                                      " indices, which is no multiple of 3");
        m_Count += mesh.IndexBuffer().size() / 3;
        m_Job.Lose("normals of vertices", mesh.NormalBuffer().size() / 3);
        m_Job.Lose("texture coordinates", mesh.TexCoordBuffer().size() / 2);
        m_Job.Lose("sharing of meshes", m_Meshes.insert(&mesh).second ? 0 : 1);
    }

    void WritePiece(const Placed& placed)
    {
        if (placed.edge)
            return;
        std::shared_ptr<const ASubMesh> mesh = placed.mesh ? placed.mesh : MeshOf(*placed.polygon);
        if (placed.toWorld != AMath::Matrix4::IDENTITY)
            mesh = Transformed(*mesh, placed.toWorld);
        const std::vector<unsigned int>& indices = mesh->IndexBuffer();
        for (std::size_t i = 0; i + 2 < indices.size(); i += 3)
            WriteFacet(mesh->VertexBuffer(), &indices[i]);
    }

    /// The triangles of a polygon; those of a large one, which can take long to find, are found once.
    std::shared_ptr<const ASubMesh> MeshOf(const ASubPolygon& polygon)
    {
        if (polygon.VertexBuffer().size() < s_LargePolygon)
            return ToMesh(polygon);
        std::shared_ptr<const ASubMesh>& mesh = m_LargePolygons[&polygon];
        if (!mesh)
            mesh = ToMesh(polygon);
        return mesh;
    }

    void WriteFacet(const std::vector<float>& points, const unsigned int* corners)
    {
        std::array<float, 12> facet; // normal and corners
        for (std::size_t corner = 0; corner < 3; ++corner) {
            if (corners[corner] >= points.size() / 3)
                throw FormatError({}, "a mesh of the scene has the index " + std::to_string(corners[corner]) + " and " +
                                          std::to_string(points.size() / 3) + " vertices");
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const float coordinate = points[3 * std::size_t{corners[corner]} + axis];
                if (!std::isfinite(coordinate))
                    throw FormatError({}, "a mesh of the scene has a coordinate that is not finite");
                facet[3 + 3 * corner + axis] = coordinate;
            }
        }
        PutNormal(facet);
        static constexpr std::array<char, 2> s_NoAttributes{};
        m_Out->Write(facet.data(), sizeof(facet));
        m_Out->Write(s_NoAttributes.data(), s_NoAttributes.size());
        if (++m_Written % 65'536 == 0)
            m_Job.Progress(m_Written, m_Count);
    }

    /// The unit normal that follows from the corners; 0 for a triangle without area.
    static void PutNormal(std::array<float, 12>& facet)
    {
        std::array<double, 3> u, v;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            u[axis] = double{facet[6 + axis]} - facet[3 + axis];
            v[axis] = double{facet[9 + axis]} - facet[3 + axis];
        }
        const std::array<double, 3> n = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                                         u[0] * v[1] - u[1] * v[0]};
        const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
        for (std::size_t axis = 0; axis < 3; ++axis)
            facet[axis] = length > 0 ? static_cast<float>(n[axis] / length) + 0.0F : 0.0F; // 0 for -0
    }

    static constexpr std::size_t s_LargePolygon = 300; // coordinates

    Export& m_Job;
    OutputStream* m_Out = nullptr;
    std::set<const ASubMesh*> m_Meshes;
    std::unordered_map<const ASubPolygon*, std::shared_ptr<const ASubMesh>> m_LargePolygons;
    std::uint64_t m_Count = 0;
    std::uint64_t m_Written = 0;
};

const ExportRegistration s_Writer(L"stl", L"STL", L"*.stl", [](Export& job) { StlWriter(job).Write(); });
} // namespace
} // namespace Formats
