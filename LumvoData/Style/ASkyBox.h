#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Style/ATexture.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Kelvra {

/// The six-sided background of a scene: a name and one texture for each side. A new one names a default set of
/// images, which the viewer resolves.
///
/// - Ownership: shares its textures; a copy shares the same ones.
/// - Errors: none. A side, 0 to 5, is not checked.
class KELVRA_API ASkyBox
{
public:
    enum SkyBoxSide : std::int32_t
    {
        SkyBoxFront = 0,
        SkyBoxBack = 1,
        SkyBoxLeft = 2,
        SkyBoxRight = 3,
        SkyBoxUp = 4,
        SkyBoxDown = 5,
    };
    static constexpr std::size_t SideCount = 6;

    ASkyBox();
    ASkyBox(const ASkyBox&) = default;
    ASkyBox& operator=(const ASkyBox&) = default;
    virtual ~ASkyBox();

    [[nodiscard]] const std::wstring& GetName() const noexcept { return m_szName; }
    void SetName(const std::wstring& name) { m_szName = name; }
    /// The six textures, by side.
    [[nodiscard]] const std::vector<std::shared_ptr<ATexture>>& GetTextures() const noexcept { return m_Textures; }
    [[nodiscard]] const std::shared_ptr<ATexture>& GetTexture(SkyBoxSide side) const noexcept
    {
        return m_Textures[static_cast<std::size_t>(side)];
    }
    void SetTexture(SkyBoxSide side, const std::shared_ptr<ATexture>& texture) noexcept
    {
        m_Textures[static_cast<std::size_t>(side)] = texture;
    }
    /// Leaves the side without a texture.
    void SetTexture(SkyBoxSide side, std::nullptr_t) noexcept { SetTexture(side, std::shared_ptr<ATexture>()); }
    /// Gives the side a new texture whose name and file name are both `fileName`.
    void SetTexture(SkyBoxSide side, const std::wstring& fileName);

private:
    std::wstring m_szName;
    std::vector<std::shared_ptr<ATexture>> m_Textures = std::vector<std::shared_ptr<ATexture>>(SideCount);
};
} // namespace Kelvra
