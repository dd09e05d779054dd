#include <Tools/SceneGraph.h>

#include <Tools/Output.h>

#include <LumvoData/LumvoData.h>

#include <array>
#include <map>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace Lumvo {
namespace {

using namespace Kelvra;

/// Collects the references of one object.
class ReferenceList : public ASceneFieldVisitor
{
public:
    std::vector<Reference> references;

private:
    void OnReferences(const ASceneReferenceField& /*field*/, std::size_t count) override
    {
        references.reserve(references.size() + count);
        m_Index = 0;
    }
    void OnReference(const ASceneReferenceField& field, std::shared_ptr<AObject>& object) override
    {
        references.push_back({field, m_Index++, object.get()});
    }

    std::size_t m_Index = 0;
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

std::string RoleOf(const Reference& reference)
{
    static const std::map<std::string_view, std::string_view> s_Singular = {
        {"children", "child"}, {"items", "item"}, {"members", "member"}};
    static constexpr std::array s_Styles = {"face style", "edge style", "text style", "highlight style"};
    const std::string_view field = reference.field.name;
    if (field == "styles" && reference.index < s_Styles.size())
        return s_Styles[reference.index];
    if (const auto singular = s_Singular.find(field); singular != s_Singular.end())
        return std::string(singular->second);
    std::string words; // "diffuseTexture" becomes "diffuse texture"
    for (const char letter : field)
        if (letter >= 'A' && letter <= 'Z')
            (words += ' ') += static_cast<char>(letter - 'A' + 'a');
        else
            words += letter;
    return words;
}

Reference RootReference(const AObject* root, std::size_t index)
{
    return {{"root", ASceneFieldKind::List, &ASceneNode::GetClassId(), &ASceneNode::GetClassId()}, index, root};
}

std::vector<Reference> ReferencesOf(const AObject& object)
{
    ReferenceList list;
    VisitFields(const_cast<AObject&>(object), list); // which changes nothing
    return std::move(list.references);
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
        for (const Reference& reference : ReferencesOf(*objects[done]))
            refer(reference.object);
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
        const std::vector<Reference> heldByA = ReferencesOf(*place.a);
        const std::vector<Reference> heldByB = ReferencesOf(*place.b);
        if (heldByA.size() != heldByB.size())
            return Differ(className, "holds " + Show(std::uint64_t{heldByA.size()}) + " objects in one scene and " +
                                         Show(std::uint64_t{heldByB.size()}) + " in the other");
        for (std::size_t i = 0; i < heldByA.size(); ++i)
            places.push_back({heldByA[i].object, heldByB[i].object});
    }
    return {};
}
} // namespace Lumvo
