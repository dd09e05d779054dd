#pragma once

#include <LumvoData/Contracts/KelvraData/AObject.h>
#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/TScenePtrCollector.h>

#include <cstdint>
#include <memory>

namespace Kelvra {

class ASceneSerializeContext;

/// The base of the pieces of geometry that entities hold: a bounding box and a tag.
///
/// - Units: the box is in the owning entity's coordinates. It is kept by whoever builds the piece; a new one
///   is null.
/// - Ownership: shared by the entities that hold it.
/// - Record: tag (32-bit integer), box minimum and maximum (24 bytes each).
/// - Errors: none of its own. If a file ends early, the remaining members keep their values, except that the box
///   becomes finite.
class KELVRA_API ASubEntity : public AObject
{
    KELVRA_DECLARE_CLASS_ID();

public:
    [[nodiscard]] const AMath::AxisAlignedBox& GetBBox() const noexcept { return m_BBox; }
    /// Copies the box; the argument is not changed.
    void SetBBox(AMath::AxisAlignedBox& box) noexcept { m_BBox = box; }
    /// User-defined tag; initially -1.
    [[nodiscard]] int GetTag() const noexcept { return m_nTag; }
    void SetTag(int tag) noexcept { m_nTag = tag; }

    using AObject::Serialize; // overriding one overload would hide the XML pair
    virtual void Serialize(ASceneSerializeContext& context);

private:
    AMath::AxisAlignedBox m_BBox;
    std::int32_t m_nTag = -1;
};

KELVRA_EXTERN_TEMPLATE(TScenePtrCollector<std::shared_ptr<ASubEntity>>);
} // namespace Kelvra
