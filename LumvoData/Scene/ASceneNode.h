#pragma once

#include <LumvoData/Contracts/KelvraData/AObject.h>
#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/TScenePtrCollector.h>
#include <LumvoData/Style/ANodeStyle.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Kelvra {

class ASceneNodeVisitor;
class ASceneSerializeContext;

/// The style slots of a scene node; what each is for is the viewer's convention.
enum AStyleIndex : int
{
    StyleFace = 0,      ///< Faces: meshes and polygons.
    StyleEdge = 1,      ///< Edges.
    StyleText = 2,      ///< Texts.
    StyleHighlight = 3, ///< Whatever is selected.
};

/// The base of the scene graph: places what it holds, with id, transform, box, visibility and four styles.
///
/// - Units: the box is in the node's own coordinates, before its transform; the transform leads to the
///   coordinates of whatever holds the node, points being row vectors.
/// - Ownership: held by shared pointer; one node may sit in several groups at once. Shares its styles; a copy
///   shares the same ones.
/// - Record: id (32-bit integer), visible flag (1 byte), transform (128 bytes), box minimum and maximum (24
///   bytes each), the vector of styles.
/// - Errors: a count of styles other than four reads as ReadVector says; styles that cannot be read leave
///   their slots empty.
class KELVRA_API ASceneNode : public AObject
{
    KELVRA_DECLARE_CLASS_ID();

public:
    /// How many slots a node is made with. A damaged file can give it more, never fewer.
    static constexpr std::size_t StyleCount = 4;

    ASceneNode() = default;
    ASceneNode(const ASceneNode&) = default; // and no move, which would leave a node without its slots
    ASceneNode& operator=(const ASceneNode&) = default;

    /// The caller's identifier, -1 at first.
    [[nodiscard]] int GetId() const noexcept { return m_nId; }
    void SetId(int id) noexcept { m_nId = id; }
    [[nodiscard]] const AMath::Matrix4& GetTransform() const noexcept { return m_Transform; }
    void SetTransform(const AMath::Matrix4& transform) noexcept { m_Transform = transform; }
    [[nodiscard]] bool IsVisible() const noexcept { return m_bVisible; }
    void SetVisible(bool visible) noexcept { m_bVisible = visible; }
    [[nodiscard]] const AMath::AxisAlignedBox& GetBBox() const noexcept { return m_BBox; }
    void SetBBox(const AMath::AxisAlignedBox& box) noexcept { m_BBox = box; }
    /// The style in a slot, 0 to 3, which is not checked; empty where there is none.
    [[nodiscard]] const std::shared_ptr<ANodeStyle>& GetStyle(AStyleIndex index) const noexcept
    {
        return m_Styles[static_cast<std::size_t>(index)];
    }
    /// Replaces the style in a slot, 0 to 3, which is not checked.
    void SetStyle(AStyleIndex index, const std::shared_ptr<ANodeStyle>& style) noexcept
    {
        m_Styles[static_cast<std::size_t>(index)] = style;
    }
    /// The styles of all slots, followed by any that a damaged file added.
    [[nodiscard]] const std::vector<std::shared_ptr<ANodeStyle>>& GetStyles() const noexcept { return m_Styles; }
    /// Replaces all four slots. Any other number of styles is reported with "Size is incorrect!" and changes
    /// nothing.
    void SetStyles(const std::vector<std::shared_ptr<ANodeStyle>>& styles);

    using AObject::Serialize; // overriding one overload would hide the XML pair
    virtual void Serialize(ASceneSerializeContext& context);
    /// Calls the operation of the visitor, which must not be null, for the node's own class, once; children are
    /// not walked.
    virtual void Visit(ASceneNodeVisitor* visitor) = 0;

private:
    std::int32_t m_nId = -1;
    AMath::AxisAlignedBox m_BBox = AMath::AxisAlignedBox::BOX_NULL;
    AMath::Matrix4 m_Transform = AMath::Matrix4::IDENTITY;
    std::vector<std::shared_ptr<ANodeStyle>> m_Styles = std::vector<std::shared_ptr<ANodeStyle>>(StyleCount);
    bool m_bVisible = true;
};

KELVRA_EXTERN_TEMPLATE(TScenePtrCollector<std::shared_ptr<ASceneNode>>);
} // namespace Kelvra
