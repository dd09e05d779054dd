#pragma once

#include <LumvoData/Contracts/KelvraData/AObject.h>
#include <LumvoData/Scene/ASceneNode.h>
#include <LumvoData/Serialize/ASceneFieldVisitor.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

/// \file
/// The objects of a scene as a graph: who holds whom. Nothing here recurses, since shared objects can make a
/// graph deeper than any stack and give it more paths than could ever be walked.
namespace Lumvo {

/// A reference that an object or the file itself holds.
struct Reference
{
    Kelvra::ASceneReferenceField field;
    std::size_t index;             ///< In a list or a vector.
    const Kelvra::AObject* object; ///< Null where the reference is empty.
};
/// What a user calls the object from its holder's side, such as "child" or "face style".
[[nodiscard]] std::string RoleOf(const Reference& reference);
/// The reference by which a file holds a root.
[[nodiscard]] Reference RootReference(const Kelvra::AObject* root, std::size_t index);

/// What an object's record refers to, in the order of the record.
[[nodiscard]] std::vector<Reference> ReferencesOf(const Kelvra::AObject& object);

using Roots = std::vector<std::shared_ptr<Kelvra::ASceneNode>>;

/// Calls `use` with each node that roots lead to, once, in the order of the scene: a group before its children.
void ForEachNode(const Roots& roots, const std::function<void(Kelvra::ASceneNode&)>& use);

/// All objects that roots lead to, and how often each is referred to.
struct SceneObjects
{
    std::vector<const Kelvra::AObject*> objects; ///< Each once.
    std::unordered_map<const Kelvra::AObject*, std::uint64_t> references;

    explicit SceneObjects(const Roots& roots);
    [[nodiscard]] bool IsShared(const Kelvra::AObject& object) const { return references.at(&object) > 1; }
};

/// Walks two scenes side by side and pairs the objects met at the same place.
/// \returns what differs: classes, numbers of references, or an object that is shared in one scene only;
/// empty where both are made alike. What the objects hold besides references is not compared.
[[nodiscard]] std::string CompareSharing(const Roots& a, const Roots& b);
} // namespace Lumvo
