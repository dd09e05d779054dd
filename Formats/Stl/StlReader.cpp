#include <Formats/Stl/StlReader.h>

#include <Formats/Support/FormatError.h>
#include <Formats/Support/FormatServices.h>

#include <LumvoData/Scene/AGroupSceneNode.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Formats {

namespace {

using namespace Kelvra;

constexpr std::uint64_t s_HeaderSize = 80;
constexpr std::uint64_t s_FacetsBegin = 84; // behind the header and the count of facets
constexpr std::uint64_t s_FacetSize = 50;   // normal, three corners, 2 bytes of attributes
constexpr std::size_t s_BlockFacets = 8192; // about 400 KiB

bool IsOpposite(const StlFacet& facet) noexcept
{
    const std::array<float, 9>& c = facet.corners;
    const double ux = double{c[3]} - c[0], uy = double{c[4]} - c[1], uz = double{c[5]} - c[2];
    const double vx = double{c[6]} - c[0], vy = double{c[7]} - c[1], vz = double{c[8]} - c[2];
    return (uy * vz - uz * vy) * facet.normal[0] + (uz * vx - ux * vz) * facet.normal[1] +
               (ux * vy - uy * vx) * facet.normal[2] <
           0;
}

/// Whether all corners are finite: what is not makes no 0 of any sum of products with 0.
bool IsFinite(const std::array<float, 9>& corners) noexcept
{
    float sum = 0;
    for (const float coordinate : corners)
        sum += coordinate * 0;
    return sum == 0;
}

[[noreturn]] void ThrowNotFinite(const StlFacet& facet, std::uint64_t offset)
{
    std::size_t bad = 0;
    while (std::isfinite(facet.corners[bad]))
        ++bad;
    throw FormatError(AtByte(offset + sizeof(facet.normal) + bad * sizeof(float)), "a coordinate is not finite");
}

/// A binary file, whose size is that of the header at least.
std::shared_ptr<ASceneNode> ReadBinary(Import& import)
{
    InputFile& file = import.GetFile();
    std::array<char, s_FacetsBegin> head;
    file.ReadAt(0, head.data(), head.size());
    std::uint32_t count;
    std::memcpy(&count, &head[s_HeaderSize], sizeof(count));

    const std::uint64_t bytes = file.GetSize() - s_FacetsBegin;
    const std::uint64_t whole = bytes / s_FacetSize;
    // A rest of whole facets means that the count is wrong, any other that something else follows them.
    if (whole < count || (whole > count && bytes % s_FacetSize == 0))
        throw FormatError(AtByte(s_HeaderSize), std::to_string(count) + " facets should follow, " +
                                                    std::to_string(whole) +
                                                    (bytes % s_FacetSize == 0 ? "" : " and a part of one") + " do");
    import.Lose("bytes after the last facet", bytes - count * s_FacetSize);
    if (std::string_view(head.data(), s_HeaderSize).find("COLOR=") != std::string_view::npos)
        import.Lose("colour of the solid");

    StlSolid solid(count);
    std::uint64_t attributes = 0;
    std::vector<char> block(s_BlockFacets * s_FacetSize);
    std::vector<StlFacet> facets;
    for (std::uint64_t done = 0; done < count; done += facets.size()) {
        facets.resize(static_cast<std::size_t>(std::min<std::uint64_t>(s_BlockFacets, count - done)));
        const std::uint64_t offset = s_FacetsBegin + done * s_FacetSize;
        file.ReadAt(offset, block.data(), facets.size() * s_FacetSize);
        const char* record = block.data();
        for (StlFacet& facet : facets) {
            static_assert(sizeof(facet) == s_FacetSize - 2);
            std::memcpy(&facet, record, sizeof(facet));
            attributes += record[sizeof(facet)] != 0 || record[sizeof(facet) + 1] != 0 ? 1U : 0U;
            if (!IsFinite(facet.corners))
                ThrowNotFinite(facet, offset + static_cast<std::size_t>(record - block.data()));
            record += s_FacetSize;
        }
        solid.Add(facets.data(), facets.size());
        import.Progress(offset + facets.size() * s_FacetSize);
    }
    import.Lose("facet colours or attributes", attributes);
    if (solid.IsEmpty())
        return std::make_shared<AGroupSceneNode>();
    return solid.Finish(import);
}

/// Whether a file is text. Many binary files begin with "solid" as text does, but for the size of the file to fit a
/// count that is made of text, it would have to be gigabytes; and binary files that are cut or longer than their
/// count says have zero bytes, in the count at the latest.
bool IsText(InputFile& file)
{
    std::array<char, 1024> head{};
    const std::size_t size = static_cast<std::size_t>(std::min<std::uint64_t>(head.size(), file.GetSize()));
    file.ReadAt(0, head.data(), size);
    if (size >= s_FacetsBegin) {
        std::uint32_t count;
        std::memcpy(&count, &head[s_HeaderSize], sizeof(count));
        if (file.GetSize() == s_FacetsBegin + count * s_FacetSize)
            return false;
    }
    return std::memchr(head.data(), 0, size) == nullptr;
}

std::shared_ptr<ASceneNode> ReadStl(Import& import)
{
    InputFile& file = import.GetFile();
    if (IsText(file))
        return ReadStlText(import, file.ReadFrom());
    if (file.GetSize() < s_FacetsBegin)
        throw FormatError(AtByte(file.GetSize()),
                          "the file ends inside the header of " + std::to_string(s_FacetsBegin) + " bytes");
    return ReadBinary(import);
}

const FormatRegistration s_Reader({L"stl", L"STL", L"*.stl", ReadStl});
} // namespace

StlSolid::StlSolid(std::size_t facets)
    : m_Welder(3, facets / 2 + facets / 128) // surfaces have little more than half as many vertices as facets
{
    m_Indices.reserve(3 * facets);
}

void StlSolid::Add(const StlFacet* facets, std::size_t count)
{
    m_Corners.clear();
    for (const StlFacet* facet = facets; facet != facets + count; ++facet) {
        m_Disagreeing += IsOpposite(*facet) ? 1U : 0U;
        m_Corners.insert(m_Corners.end(), facet->corners.begin(), facet->corners.end());
    }
    const std::size_t before = m_Indices.size();
    m_Indices.resize(before + 3 * count);
    m_Welder.Add(m_Corners.data(), 3 * count, &m_Indices[before]);
}

std::shared_ptr<ASceneNode> StlSolid::Finish(Import& import)
{
    import.Lose("facet normals that disagree with the order of the corners", m_Disagreeing);
    const auto mesh = std::make_shared<ASubMesh>();
    mesh->VertexBuffer() = std::move(m_Welder.Vertices());
    mesh->IndexBuffer() = std::move(m_Indices);
    FitBox(*mesh);
    auto node = std::make_shared<AEntitySceneNode>();
    node->SetEntity(MakeEntity({mesh}, {}));
    return node;
}
} // namespace Formats
