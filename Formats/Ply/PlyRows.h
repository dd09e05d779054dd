#pragma once

#include <Formats/Ply/PlyHeader.h>
#include <Formats/Support/Import.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Formats {

/// The values of a row, whatever their types: a double holds them all.
class PlyRow
{
public:
    void Clear() noexcept
    {
        m_Values.clear();
        m_Ends.clear();
    }
    void AddValue(double value) { m_Values.push_back(value); }
    void EndProperty() { m_Ends.push_back(m_Values.size()); }

    /// The first value of the property at that position in its element.
    [[nodiscard]] const double* GetValues(std::size_t property) const noexcept
    {
        return m_Values.data() + (property == 0 ? 0 : m_Ends[property - 1]);
    }
    /// How many values it has: one, or as many as are in its list, or none where it is not wanted.
    [[nodiscard]] std::size_t GetCount(std::size_t property) const noexcept
    {
        return m_Ends[property] - (property == 0 ? 0 : m_Ends[property - 1]);
    }

private:
    std::vector<double> m_Values;
    std::vector<std::size_t> m_Ends;
};

/// The rows of a file, from the first to the last.
///
/// - Errors: FormatError for a file that ends early and for values that do not fit their property.
class PlyRows
{
public:
    PlyRows() = default;
    PlyRows(const PlyRows&) = delete;
    PlyRows& operator=(const PlyRows&) = delete;
    virtual ~PlyRows();

    /// Reads the next row, which is one of the element's.
    virtual void Read(const PlyElement& element, PlyRow& row) = 0;
    /// Passes over all rows of the element.
    virtual void Skip(const PlyElement& element) = 0;
    /// Goes back to the first row of the file.
    virtual void Restart() = 0;
    /// To be called behind the last row.
    virtual void Finish() = 0;
    /// The place of the row that was read last.
    [[nodiscard]] virtual std::string GetPlace() const = 0;

    [[nodiscard]] static std::unique_ptr<PlyRows> Create(Import& import, const PlyHeader& header);
};
} // namespace Formats
