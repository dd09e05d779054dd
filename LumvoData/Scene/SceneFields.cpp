#include <LumvoData/Scene/SceneFields.h>

#include <LumvoData/Entity/AEntity.h>
#include <LumvoData/Entity/ASubEntity.h>
#include <LumvoData/Scene/ASceneNode.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>
#include <LumvoData/Style/AMaterial.h>
#include <LumvoData/Style/ANodeStyle.h>
#include <LumvoData/Style/ATexture.h>

#include <type_traits>

namespace Kelvra {
namespace {

template <class Base, class Object, class Use> bool UseAs(Object& object, Use use)
{
    using Wanted = std::conditional_t<std::is_const_v<Object>, const Base, Base>;
    auto* const typed = dynamic_cast<Wanted*>(&object);
    if (typed != nullptr)
        use(*typed);
    return typed != nullptr;
}

/// Calls `use` with the object as the base class whose collector stores it.
/// \returns false where there is none.
template <class Object, class Use> bool UseAsStored(Object& object, Use use)
{
    return UseAs<ASceneNode>(object, use) || UseAs<AEntity>(object, use) || UseAs<ASubEntity>(object, use) ||
           UseAs<ANodeStyle>(object, use) || UseAs<AMaterial>(object, use) || UseAs<ATexture>(object, use);
}
} // namespace

bool VisitFields(AObject& object, ASceneFieldVisitor& visitor)
{
    ASceneSerializeContext context(visitor);
    return UseAsStored(object, [&](auto& stored) { stored.Serialize(context); });
}

const AClassId* FindCollectorClass(const AObject& object)
{
    const AClassId* collector = nullptr;
    UseAsStored(object, [&](const auto& stored) { collector = &stored.GetClassId(); });
    return collector;
}
} // namespace Kelvra
