#pragma once

#include <Formats/Gltf/JsonText.h>
#include <Formats/Support/ExportService.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace Formats::Gltf {

/// The numbers of a scene, as accessors of one buffer. They are not copied: first their sizes make the document, then
/// they go straight into the file.
///
/// - Ownership: refers to the vectors that it is given, which must not change.
class BinaryPart
{
public:
    // The indices of the new accessors. None may be empty, and positions must be finite.
    std::uint32_t AddPositions(const std::vector<float>& positions);
    std::uint32_t AddNormals(const std::vector<float>& normals) { return AddFloats(Normals, normals, ""); }
    std::uint32_t AddTexCoords(const std::vector<float>& texCoords) { return AddFloats(TexCoords, texCoords, ""); }
    /// \param vertices how many there are, which tells how many bytes an index takes.
    std::uint32_t AddIndices(const std::vector<unsigned int>& indices, std::size_t vertices);

    [[nodiscard]] std::uint64_t GetSize() const noexcept;
    /// Accessors and buffer views, as members of the document.
    void AppendTo(OutputStream& document) const;
    void WriteTo(OutputStream& stream, Export& job) const;

    /// How much the length of a normal may differ from 1; others are made unit length, and those without length
    /// become (0, 0, 1).
    static constexpr double s_NormalTolerance = 0.005;

private:
    enum Kind : std::size_t
    {
        Positions,
        Normals,
        TexCoords,
        LongIndices,
        ShortIndices, // last, so that all others begin at multiples of four bytes
        KindCount,
    };
    struct Section
    {
        std::optional<std::uint32_t> view; // its index
        std::uint64_t length = 0;
        std::vector<const std::vector<float>*> floats;
        std::vector<const std::vector<unsigned int>*> indices;
    };

    /// Begins an accessor in a section, which is going to have a buffer view.
    JsonText& AddAccessor(Kind kind, std::size_t count);
    std::uint32_t AddFloats(Kind kind, const std::vector<float>& numbers, std::string_view bounds);

    std::array<Section, KindCount> m_Sections;
    std::vector<Kind> m_Views; // in the order of their indices
    JsonArray m_Accessors;
};
} // namespace Formats::Gltf
