#include <Formats/Gltf/Container.h>

#include <Formats/Support/FormatError.h>

#include <string>

namespace Formats::Gltf {
namespace {

constexpr std::uint32_t s_Magic = 0x46546C67;       // "glTF"
constexpr std::uint32_t s_JsonChunk = 0x4E4F534A;   // "JSON"
constexpr std::uint32_t s_BinaryChunk = 0x004E4942; // "BIN"
constexpr std::uint64_t s_HeaderSize = 12;
constexpr std::uint64_t s_ChunkHeaderSize = 8;
} // namespace

Container::Container(Import& job)
{
    const std::uint64_t size = job.GetFile().GetSize();
    std::uint32_t magic = 0;
    if (size >= sizeof(magic))
        job.GetFile().ReadAt(0, &magic, sizeof(magic));
    if (magic == s_Magic)
        ReadChunks(job);
    else
        m_Document = std::make_unique<JsonDocument>(job.GetFile().ReadFrom(), 0);
}

void Container::ReadChunks(Import& job)
{
    InputFile& file = job.GetFile();
    std::uint32_t header[3]; // magic, version, length of the file
    file.ReadAt(0, header, sizeof(header));
    if (header[1] != 2)
        throw FormatError(AtByte(4), "version " + std::to_string(header[1]) + " of GLB is not read, only 2");
    const std::uint64_t end = header[2];
    if (end > file.GetSize())
        throw FormatError(AtByte(8), "the file should have " + std::to_string(end) + " bytes and has " +
                                         std::to_string(file.GetSize()));
    if (end < file.GetSize())
        job.Lose("bytes after the end of the GLB", file.GetSize() - end);

    for (std::uint64_t offset = s_HeaderSize; offset < end;) {
        const std::uint64_t left = end - offset;
        std::uint32_t chunk[2] = {}; // length, type
        if (left >= s_ChunkHeaderSize)
            file.ReadAt(offset, chunk, sizeof(chunk));
        if (left < s_ChunkHeaderSize || chunk[0] > left - s_ChunkHeaderSize)
            throw FormatError(AtByte(offset), "a chunk of " + std::to_string(chunk[0]) +
                                                  " bytes does not fit into the " + std::to_string(left) +
                                                  " that are left");
        const std::uint64_t contents = offset + s_ChunkHeaderSize;
        if (!m_Document) {
            if (chunk[1] != s_JsonChunk)
                throw FormatError(AtByte(offset + 4), "the first chunk should be JSON");
            std::string text(chunk[0], '\0');
            file.ReadAt(contents, text.data(), text.size());
            m_Document = std::make_unique<JsonDocument>(text, contents);
        } else if (chunk[1] == s_JsonChunk || (chunk[1] == s_BinaryChunk && m_Binary)) {
            throw FormatError(AtByte(offset + 4), "there is more than one chunk of this type");
        } else if (chunk[1] == s_BinaryChunk) {
            m_Binary = Chunk{contents, chunk[0]};
        } else {
            job.Lose("chunks of unknown types");
        }
        offset = contents + chunk[0];
    }
    if (!m_Document)
        throw FormatError(AtByte(s_HeaderSize), "the JSON chunk is missing");
}
} // namespace Formats::Gltf
