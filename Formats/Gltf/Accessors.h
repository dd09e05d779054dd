#pragma once

#include <Formats/Gltf/Buffers.h>
#include <Formats/Gltf/Json.h>
#include <Formats/Support/Import.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Formats::Gltf {

/// Reads the arrays of numbers that accessors describe, each checked against its buffer before it is read.
///
/// - Errors: FormatError.
class Accessors
{
public:
    Accessors(Import& job, const JsonValue& document, Buffers& buffers)
        : m_Job(job), m_Buffers(buffers), m_Values(document.List("accessors"))
    {}

    /// The index that a value holds.
    [[nodiscard]] std::uint32_t IndexOf(const JsonValue& value) const
    {
        return value.AsIndex(m_Values.size(), "accessors");
    }
    /// How many elements an accessor has.
    [[nodiscard]] std::size_t GetCount(std::uint32_t accessor) const;
    [[nodiscard]] JsonValue GetValue(std::uint32_t accessor) const { return m_Values[accessor]; }

    /// Vectors of floats, or of integers that are converted; all finite.
    /// \param width how many components one has, 2 or 3.
    [[nodiscard]] std::vector<float> ReadVectors(std::uint32_t accessor, std::size_t width);
    /// Indices, all of them less than `vertices`.
    /// \param user the value that refers to the accessor.
    [[nodiscard]] std::vector<std::uint32_t> ReadIndices(const JsonValue& user, std::size_t vertices);

private:
    struct Layout;

    [[nodiscard]] Layout Describe(std::uint32_t accessor, const char* type, std::size_t width) const;
    void Place(Layout& layout, const JsonValue& value);
    template <class To> [[nodiscard]] std::vector<To> Read(const Layout& layout);
    template <class To> void Substitute(const Layout& layout, std::vector<To>& numbers);

    Import& m_Job;
    Buffers& m_Buffers;
    std::vector<JsonValue> m_Values;
};
} // namespace Formats::Gltf
