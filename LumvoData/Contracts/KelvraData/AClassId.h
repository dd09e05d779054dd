#pragma once

#include <string>

namespace Kelvra {

/// The identity of a class at run time: its name, as scene files and factories carry it.
class AClassId
{
public:
    explicit AClassId(const std::wstring& name) : m_szName(name) {}
    [[nodiscard]] const std::wstring& GetName() const noexcept { return m_szName; }

private:
    std::wstring m_szName;
};
} // namespace Kelvra
