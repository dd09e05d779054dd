#include <Formats/Gltf/Buffers.h>

#include <Formats/Gltf/Uri.h>
#include <Formats/Support/FormatError.h>

#include <cstring>
#include <utility>

namespace Formats::Gltf {
namespace {

constexpr const char* s_Meshopt = "EXT_meshopt_compression";

std::string Bytes(std::uint64_t count)
{
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}
} // namespace

Buffers::Buffers(Import& job, const Container& container)
    : m_Job(job), m_Binary(container.GetBinary()), m_BufferValues(container.GetDocument().GetRoot().List("buffers")),
      m_ViewValues(container.GetDocument().GetRoot().List("bufferViews")), m_Buffers(m_BufferValues.size()),
      m_Total(job.GetFile().GetSize())
{
    for (const JsonValue& buffer : m_BufferValues)
        if (const auto uri = buffer.Find("uri"); uri && !IsDataUri(uri->AsText()))
            m_Total += buffer.Integer("byteLength", 0);
}

Buffers::View Buffers::GetView(const JsonValue& index)
{
    const JsonValue value = m_ViewValues[index.AsIndex(m_ViewValues.size(), "buffer views")];
    const JsonValue bufferIndex = value.At("buffer");
    const JsonValue bufferValue = m_BufferValues[bufferIndex.AsIndex(m_BufferValues.size(), "buffers")];
    if (value.FindExtension(s_Meshopt) && bufferValue.FindExtension(s_Meshopt) && !bufferValue.Find("uri"))
        value.Fail(std::string("is compressed by ") + s_Meshopt + ", which is not read");
    const Buffer& buffer = GetBuffer(bufferIndex);
    View view{};
    view.buffer = static_cast<std::uint32_t>(&buffer - m_Buffers.data());
    view.offset = value.Integer("byteOffset", 0);
    view.length = value.At("byteLength").AsInteger();
    view.stride = value.Integer("byteStride", 0);
    if (view.length == 0)
        value.Fail("has no bytes");
    if (view.offset > buffer.length || view.length > buffer.length - view.offset)
        value.Fail(Bytes(view.length) + " from byte " + std::to_string(view.offset) + " on do not fit into " +
                   m_BufferValues[view.buffer].GetPath() + ", which has " + std::to_string(buffer.length));
    if (value.Find("byteStride") && (view.stride < 4 || view.stride > 252 || view.stride % 4 != 0))
        value.At("byteStride")
            .Fail("is " + std::to_string(view.stride) + " and should be a multiple of 4 from 4 to 252");
    return view;
}

Buffers::Buffer& Buffers::GetBuffer(const JsonValue& index)
{
    const std::uint32_t number = index.AsIndex(m_Buffers.size(), "buffers");
    Buffer& buffer = m_Buffers[number];
    if (!buffer.known) {
        Locate(number, buffer);
        buffer.known = true;
    }
    return buffer;
}

void Buffers::Locate(std::uint32_t index, Buffer& buffer)
{
    const JsonValue value = m_BufferValues[index];
    buffer.length = value.At("byteLength").AsInteger();
    std::uint64_t present = 0;
    const std::optional<JsonValue> uri = value.Find("uri");
    if (!uri) {
        if (index != 0 || !m_Binary)
            value.Fail(index == 0 ? "has no URI, and the file has no binary chunk" : "has no URI");
        buffer.offset = m_Binary->offset;
        present = m_Binary->length;
    } else if (IsDataUri(uri->AsText())) {
        std::optional<DataUri> data = DecodeDataUri(uri->AsText());
        if (!data)
            uri->Fail("is no valid data URI");
        buffer.bytes = std::move(data->bytes);
        present = buffer.bytes->size();
    } else {
        const std::string& text = uri->AsText();
        const std::string name = DecodePercent(text);
        if (HasScheme(text) || HasScheme(name))
            uri->Fail("does not lead to a file in the folder: " + Quote(name));
        try {
            buffer.path = m_Job.FindCompanion(std::filesystem::u8path(name));
            present = OpenBeside(*buffer.path).GetSize();
        } catch (const FormatError& error) {
            uri->Fail("the file " + Quote(name) + " " + error.GetProblem());
        }
        if (m_Known.insert(*buffer.path).second)
            m_Job.CountFile(present);
    }
    if (present < buffer.length)
        value.Fail("should have " + Bytes(buffer.length) + ", " + std::to_string(present) + " are there");
}

InputFile& Buffers::OpenBeside(const std::filesystem::path& path)
{
    if (!m_Beside || m_Beside->GetPath() != path) {
        m_Beside.reset();
        m_Beside = std::make_unique<InputFile>(path);
    }
    return *m_Beside;
}

void Buffers::Read(const View& view, std::uint64_t offset, void* data, std::size_t count)
{
    const Buffer& buffer = m_Buffers[view.buffer];
    offset += view.offset;
    if (buffer.bytes)
        std::memcpy(data, buffer.bytes->data() + offset, count);
    else if (buffer.path)
        OpenBeside(*buffer.path).ReadAt(offset, data, count);
    else
        m_Job.GetFile().ReadAt(buffer.offset + offset, data, count);
    m_Read += count;
    m_Job.Progress(m_Read, m_Total);
}
} // namespace Formats::Gltf
