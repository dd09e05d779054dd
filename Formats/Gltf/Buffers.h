#pragma once

#include <Formats/Gltf/Container.h>
#include <Formats/Gltf/Json.h>
#include <Formats/Support/Import.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Formats::Gltf {

/// The bytes that a document refers to: in its file, in its text, or in files beside it.
///
/// - Errors: FormatError.
class Buffers
{
public:
    Buffers(Import& job, const Container& container);

    /// A run of bytes in one buffer.
    struct View
    {
        std::uint32_t buffer;
        std::uint64_t offset;
        std::uint64_t length;
        std::uint64_t stride; // 0 where the view says nothing
    };
    /// A buffer view that lies inside its buffer, by a member that holds its index.
    [[nodiscard]] View GetView(const JsonValue& index);
    /// Reads bytes of a view, which the caller has checked to be inside it.
    void Read(const View& view, std::uint64_t offset, void* data, std::size_t count);

private:
    struct Buffer
    {
        std::uint64_t length = 0;
        std::uint64_t offset = 0;                  // in the file
        std::optional<std::string> bytes;          // of a data URI
        std::optional<std::filesystem::path> path; // of another file
        bool known = false;
    };

    Buffer& GetBuffer(const JsonValue& index);
    void Locate(std::uint32_t index, Buffer& buffer);
    InputFile& OpenBeside(const std::filesystem::path& path);

    Import& m_Job;
    std::optional<Container::Chunk> m_Binary;
    std::vector<JsonValue> m_BufferValues;
    std::vector<JsonValue> m_ViewValues;
    std::vector<Buffer> m_Buffers;
    std::unique_ptr<InputFile> m_Beside;     // the one read last, so that many buffers need no more than one open file
    std::set<std::filesystem::path> m_Known; // files beside this one
    std::uint64_t m_Total;                   // of bytes to be read, in all files
    std::uint64_t m_Read = 0;
};
} // namespace Formats::Gltf
