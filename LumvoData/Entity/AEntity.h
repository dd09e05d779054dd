#pragma once

#include <LumvoData/Contracts/KelvraData/AObject.h>
#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/TScenePtrCollector.h>

#include <cstdint>
#include <memory>

namespace Kelvra {

class AEntityVisitor;
class ASceneSerializeContext;

/// The base of everything that a scene node can show: a bounding box and a tag.
///
/// - Units: the box is in the entity's own coordinates. It is kept by whoever builds the entity; a new one is
///   null.
/// - Ownership: held by shared pointer wherever one object refers to another.
/// - Record: tag (32-bit integer), box minimum and maximum (24 bytes each).
/// - Errors: none of its own. If a file ends early, the remaining members keep their values, except that the box
///   becomes finite.
class KELVRA_API AEntity : public AObject
{
    KELVRA_DECLARE_CLASS_ID();

public:
    [[nodiscard]] const AMath::AxisAlignedBox& GetBBox() const noexcept { return m_BBox; }
    void SetBBox(const AMath::AxisAlignedBox& box) noexcept { m_BBox = box; }
    /// User-defined tag; initially -1.
    [[nodiscard]] int GetTag() const noexcept { return m_nTag; }
    void SetTag(int tag) noexcept { m_nTag = tag; }

    using AObject::Serialize; // overriding one overload would hide the XML pair
    virtual void Serialize(ASceneSerializeContext& context);
    /// Passes the pieces of geometry that the visitor's filter asks for to the visitor.
    /// \returns false when the walk is to stop.
    virtual bool Visit(AEntityVisitor& visitor) = 0;

private:
    AMath::AxisAlignedBox m_BBox;
    std::int32_t m_nTag = -1;
};

KELVRA_EXTERN_TEMPLATE(TScenePtrCollector<std::shared_ptr<AEntity>>);
} // namespace Kelvra
