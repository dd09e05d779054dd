#pragma once

#include <Formats/Gltf/Json.h>
#include <Formats/Support/Import.h>

#include <cstdint>
#include <memory>
#include <optional>

namespace Formats::Gltf {

/// The parts of a .gltf or of a .glb file, told apart by their first bytes.
///
/// - Errors: FormatError.
class Container
{
public:
    /// A run of bytes in the file.
    struct Chunk
    {
        std::uint64_t offset;
        std::uint64_t length;
    };

    explicit Container(Import& job);

    [[nodiscard]] const JsonDocument& GetDocument() const noexcept { return *m_Document; }
    /// The binary chunk of a .glb file.
    [[nodiscard]] const std::optional<Chunk>& GetBinary() const noexcept { return m_Binary; }

private:
    void ReadChunks(Import& job);

    std::unique_ptr<JsonDocument> m_Document;
    std::optional<Chunk> m_Binary;
};
} // namespace Formats::Gltf
