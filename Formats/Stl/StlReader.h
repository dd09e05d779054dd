#pragma once

#include <Formats/Support/Geometry.h>
#include <Formats/Support/Import.h>

#include <LumvoData/Scene/ASceneNode.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Formats {

/// A facet as both kinds of files state it.
struct StlFacet
{
    std::array<float, 3> normal;
    std::array<float, 9> corners;
};

/// A solid that is being read: its facets become one mesh, whose corners are shared by position.
///
/// The normals of a file are not kept: the order of the corners gives them. That they contradict it is counted.
class StlSolid
{
public:
    /// \param facets how many there may be, as a hint.
    explicit StlSolid(std::size_t facets = 0);

    void Add(const StlFacet* facets, std::size_t count);
    [[nodiscard]] bool IsEmpty() const noexcept { return m_Indices.empty(); }
    /// A node with the mesh, which leaves nothing here.
    [[nodiscard]] std::shared_ptr<Kelvra::ASceneNode> Finish(Import& import);

private:
    Welder m_Welder;
    std::vector<float> m_Corners; // of the facets that are being added
    std::vector<unsigned int> m_Indices;
    std::uint64_t m_Disagreeing = 0;
};

/// Reads the text of a whole file.
[[nodiscard]] std::shared_ptr<Kelvra::ASceneNode> ReadStlText(Import& import, const std::string& text);
} // namespace Formats
