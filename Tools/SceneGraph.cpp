#include <Tools/SceneGraph.h>

#include <Tools/Output.h>

#include <LumvoData/LumvoData.h>

#include <array>
#include <unordered_set>
#include <utility>

namespace Lumvo {
namespace {

using namespace Kelvra;

class Holder
{
public:
    explicit Holder(const AObject& object) : m_Object(object) {}

    std::vector<Held> All()
    {
        As<ASceneNode>([this](const ASceneNode& node) {
            static constexpr std::array s_Roles = {Role::FaceStyle, Role::EdgeStyle, Role::TextStyle,
                                                   Role::HighlightStyle};
            static_assert(s_Roles.size() == ASceneNode::StyleCount, "a role for each slot");
            for (std::size_t slot = 0; slot < s_Roles.size(); ++slot)
                Add(s_Roles[slot], node.GetStyle(static_cast<AStyleIndex>(slot)));
        });
        As<AGroupSceneNode>([this](const AGroupSceneNode& node) { Add(Role::Child, node.GetChildNodes()); }) ||
            As<AEntitySceneNode>([this](const AEntitySceneNode& node) { Add(Role::Entity, node.GetEntity()); }) ||
            As<AGroupEntity>([this](const AGroupEntity& group) { Add(Role::Member, group.GetAll()); }) ||
            As<ATopoEntity>([this](const ATopoEntity& topo) {
                Add(Role::Faces, topo.GetFaces());
                Add(Role::Edges, topo.GetEdges());
            }) ||
            Items<AMeshListEntity>() || Items<AEdgeListEntity>() || Items<ATextListEntity>() ||
            Items<APolygonListEntity>() || Item<AMeshEntity>() || Item<AEdgeEntity>() || Item<APolygonEntity>() ||
            As<AFaceStyle>([this](const AFaceStyle& style) { Add(Role::Material, style.GetMaterial()); }) ||
            As<AMaterial>([this](const AMaterial& material) {
                Add(Role::DiffuseTexture, material.GetDiffuseTexture());
                Add(Role::ReflectionTexture, material.GetReflectionTexture());
            });
        return std::move(m_Held);
    }

private:
    template <class T, class Use> bool As(Use use)
    {
        const T* const typed = dynamic_cast<const T*>(&m_Object);
        if (typed != nullptr)
            use(*typed);
        return typed != nullptr;
    }
    template <class T> bool Items()
    {
        return As<T>([this](const T& list) { Add(Role::Item, list.GetItems()); });
    }
    template <class T> bool Item()
    {
        return As<T>([this](const T& entity) { Add(Role::Item, entity.GetItem()); });
    }

    template <class T> void Add(Role role, const std::shared_ptr<T>& object) { m_Held.push_back({role, object.get()}); }
    template <class T> void Add(Role role, const std::list<std::shared_ptr<T>>& objects)
    {
        m_Held.reserve(m_Held.size() + objects.size());
        for (const std::shared_ptr<T>& object : objects)
            Add(role, object);
    }

    const AObject& m_Object;
    std::vector<Held> m_Held;
};

/// What stands at one place of each of two scenes.
struct Place
{
    const AObject* a;
    const AObject* b;
};

std::string Differ(const std::wstring& className, const std::string& what)
{
    return "an " + Show(className) + " " + what;
}
} // namespace

const char* NameOf(Role role) noexcept
{
    static constexpr std::array s_Names = {
        "root",   "face style", "edge style", "text style", "highlight style", "child",           "entity",
        "member", "faces",      "edges",      "item",       "material",        "diffuse texture", "reflection texture"};
    return s_Names[static_cast<std::size_t>(role)];
}

std::vector<Held> HeldBy(const AObject& object)
{
    return Holder(object).All();
}

void ForEachNode(const Roots& roots, const std::function<void(ASceneNode&)>& use)
{
    std::unordered_set<const ASceneNode*> seen;
    std::vector<ASceneNode*> ahead; // the next one last
    const auto meet = [&](const auto& nodes) {
        for (auto node = nodes.rbegin(); node != nodes.rend(); ++node)
            if (*node)
                ahead.push_back(node->get());
    };
    meet(roots);
    while (!ahead.empty()) {
        ASceneNode& node = *ahead.back();
        ahead.pop_back();
        if (!seen.insert(&node).second)
            continue;
        use(node);
        if (const auto* const group = dynamic_cast<const AGroupSceneNode*>(&node))
            meet(group->GetChildNodes());
    }
}

SceneObjects::SceneObjects(const Roots& roots)
{
    const auto refer = [this](const AObject* object) {
        if (object != nullptr && ++references[object] == 1)
            objects.push_back(object);
    };
    for (const std::shared_ptr<ASceneNode>& root : roots)
        refer(root.get());
    for (std::size_t done = 0; done < objects.size(); ++done) // the vector grows while it is walked
        for (const Held& held : HeldBy(*objects[done]))
            refer(held.object);
}

std::string CompareSharing(const Roots& a, const Roots& b)
{
    if (a.size() != b.size())
        return "the scenes have " + Show(std::uint64_t{a.size()}) + " and " + Plural(b.size(), "root");
    std::vector<Place> places;
    for (std::size_t i = 0; i < a.size(); ++i)
        places.push_back({a[i].get(), b[i].get()});

    std::unordered_map<const AObject*, const AObject*> toB;
    std::unordered_map<const AObject*, const AObject*> toA;
    while (!places.empty()) {
        const Place place = places.back();
        places.pop_back();
        if (place.a == nullptr && place.b == nullptr)
            continue;
        if (place.a == nullptr || place.b == nullptr)
            return Differ((place.a != nullptr ? place.a : place.b)->GetRuntimeClassId().GetName(),
                          "stands in one scene where the other has nothing");
        const std::wstring& className = place.a->GetRuntimeClassId().GetName();
        if (className != place.b->GetRuntimeClassId().GetName())
            return Differ(className, "has become an " + Show(place.b->GetRuntimeClassId().GetName()));
        const bool newInA = toB.try_emplace(place.a, place.b).second;
        const bool newInB = toA.try_emplace(place.b, place.a).second;
        if (newInA != newInB || toB[place.a] != place.b || toA[place.b] != place.a)
            return Differ(className, "is shared in one scene and not in the other");
        if (!newInA)
            continue;
        const std::vector<Held> heldByA = HeldBy(*place.a);
        const std::vector<Held> heldByB = HeldBy(*place.b);
        if (heldByA.size() != heldByB.size())
            return Differ(className, "holds " + Show(std::uint64_t{heldByA.size()}) + " objects in one scene and " +
                                         Show(std::uint64_t{heldByB.size()}) + " in the other");
        for (std::size_t i = 0; i < heldByA.size(); ++i)
            places.push_back({heldByA[i].object, heldByB[i].object});
    }
    return {};
}
} // namespace Lumvo
