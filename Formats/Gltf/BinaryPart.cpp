#include <Formats/Gltf/BinaryPart.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace Formats::Gltf {
namespace {

constexpr std::size_t s_BlockSize = 12288; // numbers; a multiple of three
constexpr std::size_t s_MostShort = 65535; // vertices: the greatest number of two bytes is no index

struct Layout
{
    std::uint64_t size; // of a number
    std::size_t width;  // numbers of an element
    const char* element;
    const char* view;
};

/// By kind.
constexpr Layout s_Layouts[] = {
    {4, 3, R"("componentType":5126,"type":"VEC3")", R"("byteStride":12,"target":34962)"},
    {4, 3, R"("componentType":5126,"type":"VEC3")", R"("byteStride":12,"target":34962)"},
    {4, 2, R"("componentType":5126,"type":"VEC2")", R"("byteStride":8,"target":34962)"},
    {4, 1, R"("componentType":5125,"type":"SCALAR")", R"("target":34963)"},
    {2, 1, R"("componentType":5123,"type":"SCALAR")", R"("target":34963)"},
};

void MakeUnit(float* normal)
{
    const double x = normal[0], y = normal[1], z = normal[2];
    const double length = std::sqrt(x * x + y * y + z * z);
    if (std::fabs(length - 1) <= BinaryPart::s_NormalTolerance)
        return;
    normal[0] = length > 0 ? static_cast<float>(x / length) : 0.0F;
    normal[1] = length > 0 ? static_cast<float>(y / length) : 0.0F;
    normal[2] = length > 0 ? static_cast<float>(z / length) : 1.0F;
}

/// Writes numbers block by block and tells how many bytes are done.
class BlockWriter
{
public:
    BlockWriter(OutputStream& stream, Export& job, std::uint64_t size) : m_Stream(stream), m_Job(job), m_Size(size) {}

    /// Each block is changed by `change(block)`.
    template <class To, class From, class Change> void Write(const std::vector<From>& numbers, Change change)
    {
        std::vector<To> block;
        for (std::size_t first = 0; first < numbers.size(); first += s_BlockSize) {
            const std::size_t count = std::min(s_BlockSize, numbers.size() - first);
            block.resize(count);
            std::transform(numbers.data() + first, numbers.data() + first + count, block.data(),
                           [](From number) { return static_cast<To>(number); });
            change(block);
            m_Stream.Write(block.data(), count * sizeof(To));
            m_Job.Progress(m_Done += count * sizeof(To), m_Size);
        }
    }

private:
    OutputStream& m_Stream;
    Export& m_Job;
    std::uint64_t m_Size;
    std::uint64_t m_Done = 0;
};
} // namespace

JsonText& BinaryPart::AddAccessor(Kind kind, std::size_t count)
{
    Section& section = m_Sections[kind];
    if (!section.view) {
        section.view = static_cast<std::uint32_t>(m_Views.size());
        m_Views.push_back(kind);
    }
    JsonText& accessor = m_Accessors.Add();
    accessor << "{\"bufferView\":" << *section.view << ",\"byteOffset\":" << section.length << ","
             << s_Layouts[kind].element << ",\"count\":" << count / s_Layouts[kind].width;
    section.length += count * s_Layouts[kind].size;
    return accessor;
}

std::uint32_t BinaryPart::AddFloats(Kind kind, const std::vector<float>& numbers, std::string_view bounds)
{
    AddAccessor(kind, numbers.size()) << bounds << "}";
    m_Sections[kind].floats.push_back(&numbers);
    return m_Accessors.GetCount() - 1;
}

std::uint32_t BinaryPart::AddPositions(const std::vector<float>& positions)
{
    std::array<float, 3> low = {positions[0], positions[1], positions[2]};
    std::array<float, 3> high = low;
    for (std::size_t k = 0; k < positions.size(); k += 3)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], positions[k + axis]);
            high[axis] = std::max(high[axis], positions[k + axis]);
        }
    JsonText bounds;
    bounds << ",\"min\":";
    bounds.Array(low) << ",\"max\":";
    bounds.Array(high);
    return AddFloats(Positions, positions, bounds.Get());
}

std::uint32_t BinaryPart::AddIndices(const std::vector<unsigned int>& indices, std::size_t vertices)
{
    const Kind kind = vertices <= s_MostShort ? ShortIndices : LongIndices;
    AddAccessor(kind, indices.size()) << "}";
    m_Sections[kind].indices.push_back(&indices);
    return m_Accessors.GetCount() - 1;
}

std::uint64_t BinaryPart::GetSize() const noexcept
{
    std::uint64_t size = 0;
    for (const Section& section : m_Sections)
        size += section.length;
    return size;
}

void BinaryPart::AppendTo(OutputStream& document) const
{
    m_Accessors.AppendTo(document, "accessors");
    JsonArray views;
    for (const Kind kind : m_Views) {
        std::uint64_t offset = 0;
        for (std::size_t before = 0; before < kind; ++before)
            offset += m_Sections[before].length;
        views.Add() << "{\"buffer\":0,\"byteOffset\":" << offset << ",\"byteLength\":" << m_Sections[kind].length << ","
                    << s_Layouts[kind].view << "}";
    }
    views.AppendTo(document, "bufferViews");
}

void BinaryPart::WriteTo(OutputStream& stream, Export& job) const
{
    BlockWriter writer(stream, job, GetSize());
    const auto unchanged = [](const auto& /*block*/) {};
    for (std::size_t kind = 0; kind < KindCount; ++kind) {
        for (const std::vector<float>* const numbers : m_Sections[kind].floats) {
            if (kind == Normals)
                writer.Write<float>(*numbers, [](std::vector<float>& block) {
                    for (std::size_t k = 0; k + 2 < block.size(); k += 3)
                        MakeUnit(&block[k]);
                });
            else if (kind == TexCoords)
                writer.Write<float>(*numbers, [](std::vector<float>& block) {
                    for (std::size_t k = 1; k < block.size(); k += 2)
                        block[k] = 1 - block[k];
                });
            else
                writer.Write<float>(*numbers, unchanged);
        }
        for (const std::vector<unsigned int>* const indices : m_Sections[kind].indices) {
            if (kind == ShortIndices)
                writer.Write<std::uint16_t>(*indices, unchanged);
            else
                writer.Write<std::uint32_t>(*indices, unchanged);
        }
    }
}
} // namespace Formats::Gltf
