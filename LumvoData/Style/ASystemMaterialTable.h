#pragma once

#include <LumvoData/Contracts/KelvraData/TSingleton.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Style/AMaterial.h>

#include <map>
#include <memory>
#include <string>

namespace Kelvra {

/// The catalogue of named materials: 24 built-in gems, metals, plastics and rubbers, and what callers add.
///
/// The table of the process is `TSingleton<ASystemMaterialTable>::Instance()`. Names are exact, in lower
/// case, with single spaces: "gold", "black plastic".
///
/// - Ownership: shares its materials with whoever fetched them; changing one changes the entry. A copy of the
///   table shares the same materials.
/// - Threads: may be read from several threads at once. Nothing is locked: AddMaterial, and changing a material of the
///   table, need that no other thread uses the table or a material that came from it.
class KELVRA_API ASystemMaterialTable
{
public:
    /// A table of the 24 built-in materials.
    ASystemMaterialTable();

    /// The table's own object under that name, or null.
    [[nodiscard]] std::shared_ptr<AMaterial> FindMaterial(const std::wstring& name) const;
    /// Puts a material under `name`, replacing the one that is there. A null pointer may be stored.
    void AddMaterial(const std::wstring& name, const std::shared_ptr<AMaterial>& material);

    /// The entries in the order of their names, each a pair of name and material.
    [[nodiscard]] auto begin() const noexcept { return m_Materials.begin(); }
    [[nodiscard]] auto end() const noexcept { return m_Materials.end(); }

private:
    void Initialize();

    std::map<std::wstring, std::shared_ptr<AMaterial>> m_Materials;
};

template <> KELVRA_API ASystemMaterialTable& TSingleton<ASystemMaterialTable>::Instance();
} // namespace Kelvra
