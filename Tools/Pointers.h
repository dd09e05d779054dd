#pragma once

#include <LumvoData/LumvoData.h>

#include <memory>

namespace Lumvo {

/// Lets `edit` replace what an object holds: it is called as edit(pointer) with a copy of each shared pointer that is
/// not empty, in the order of HeldBy, and answers with a pointer to the same class, which takes its place. The
/// object's own values, its box among them, stay as they are.
template <class Edit> void EditPointers(Kelvra::AObject& object, Edit edit);

namespace PointersDetail {

using namespace Kelvra;

/// Calls `set` where `edit` answers with another pointer.
template <class T, class Edit, class Set> void EditOne(const std::shared_ptr<T>& held, Edit& edit, Set set)
{
    if (!held)
        return;
    const std::shared_ptr<T> old = held; // `held` may be a reference to what is set
    const std::shared_ptr<T> edited = edit(old);
    if (edited != old)
        set(edited);
}

template <class List, class Edit> bool EditItems(AObject& object, Edit& edit)
{
    auto* const list = dynamic_cast<List*>(&object);
    if (list != nullptr)
        for (auto& item : list->GetItems())
            EditOne(item, edit, [&](const auto& edited) { item = edited; });
    return list != nullptr;
}

template <class Simple, class Edit> bool EditItem(AObject& object, Edit& edit)
{
    auto* const entity = dynamic_cast<Simple*>(&object);
    if (entity != nullptr)
        EditOne(entity->GetItem(), edit, [&](const auto& edited) { entity->SetItem(edited); });
    return entity != nullptr;
}

template <class Edit> void EditNode(ASceneNode& node, Edit& edit)
{
    for (const AStyleIndex slot : {StyleFace, StyleEdge, StyleText, StyleHighlight})
        EditOne(node.GetStyle(slot), edit, [&](const auto& edited) { node.SetStyle(slot, edited); });
    const AMath::AxisAlignedBox box = node.GetBBox();
    if (auto* const group = dynamic_cast<AGroupSceneNode*>(&node)) {
        const auto children = group->GetChildNodes();
        group->ClearChildren();
        for (std::shared_ptr<ASceneNode> child : children) {
            EditOne(child, edit, [&](const auto& edited) { child = edited; });
            group->AddChildNode(child);
        }
    } else if (auto* const single = dynamic_cast<AEntitySceneNode*>(&node))
        EditOne(single->GetEntity(), edit, [&](const auto& edited) { single->SetEntity(edited); });
    node.SetBBox(box);
}

template <class Edit> void EditGroup(AGroupEntity& group, Edit& edit)
{
    const auto members = group.GetAll();
    const AMath::AxisAlignedBox box = group.GetBBox();
    const int tag = group.GetTag();
    group = AGroupEntity();
    for (std::shared_ptr<AEntity> member : members) {
        EditOne(member, edit, [&](const auto& edited) { member = edited; });
        group.AddEntity(member);
    }
    group.SetBBox(box);
    group.SetTag(tag);
}

template <class Edit> void EditBody(ATopoEntity& body, Edit& edit)
{
    const AMath::AxisAlignedBox box = body.GetBBox();
    EditOne(body.GetFaces(), edit, [&](const auto& edited) { body.SetFaces(edited); });
    EditOne(body.GetEdges(), edit, [&](const auto& edited) { body.SetEdges(edited); });
    body.SetBBox(box);
}

template <class Edit> void EditMaterial(AMaterial& material, Edit& edit)
{
    EditOne(material.GetDiffuseTexture(), edit, [&](const auto& edited) { material.SetDiffuseTexture(edited); });
    EditOne(material.GetReflectionTexture(), edit, [&](const auto& edited) { material.SetReflectionTexture(edited); });
}
} // namespace PointersDetail

template <class Edit> void EditPointers(Kelvra::AObject& object, Edit edit)
{
    using namespace PointersDetail;
    if (auto* const node = dynamic_cast<ASceneNode*>(&object))
        EditNode(*node, edit);
    else if (auto* const group = dynamic_cast<AGroupEntity*>(&object))
        EditGroup(*group, edit);
    else if (auto* const body = dynamic_cast<ATopoEntity*>(&object))
        EditBody(*body, edit);
    else if (auto* const style = dynamic_cast<AFaceStyle*>(&object))
        EditOne(style->GetMaterial(), edit, [&](const auto& edited) { style->SetMaterial(edited); });
    else if (auto* const material = dynamic_cast<AMaterial*>(&object))
        EditMaterial(*material, edit);
    else
        static_cast<void>(EditItems<AMeshListEntity>(object, edit) || EditItems<AEdgeListEntity>(object, edit) ||
                          EditItems<ATextListEntity>(object, edit) || EditItems<APolygonListEntity>(object, edit) ||
                          EditItem<AMeshEntity>(object, edit) || EditItem<AEdgeEntity>(object, edit) ||
                          EditItem<APolygonEntity>(object, edit));
}
} // namespace Lumvo
