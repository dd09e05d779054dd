#include <Tools/Dedupe.h>

#include <Tools/Output.h>
#include <Tools/Pointers.h>
#include <Tools/SceneRecords.h>

#include <xxhash.h>

#include <memory>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

namespace Lumvo {
namespace {

using namespace Kelvra;

struct StateDeleter
{
    void operator()(XXH3_state_t* state) const noexcept { XXH3_freeState(state); }
};

/// Takes in the records of objects, as a hash or, for the few that seem equal, as they are.
///
/// An object that was stored as a whole is a key in the records of its holders, so that one pass over the bytes of a
/// scene is enough.
class RecordReader : public RecordContext
{
public:
    RecordReader()
    {
        if (!m_State)
            throw std::bad_alloc();
    }

    template <class T> std::uint64_t HashOf(T& object)
    {
        XXH3_64bits_reset(m_State.get());
        object.Serialize(*this);
        return XXH3_64bits_digest(m_State.get());
    }
    template <class T> std::string BytesOf(T& object)
    {
        std::string bytes;
        m_Bytes = &bytes;
        object.Serialize(*this);
        m_Bytes = nullptr;
        return bytes;
    }
    /// Makes the object a key from here on.
    template <class T> void Know(const std::shared_ptr<T>& object)
    {
        m_Ignoring = true;
        Collector().WritePtr(object, *this);
        m_Ignoring = false;
    }

private:
    void Put(const void* data, std::size_t count) override
    {
        if (m_Ignoring)
            return;
        if (m_Bytes != nullptr)
            m_Bytes->append(static_cast<const char*>(data), count);
        else
            XXH3_64bits_update(m_State.get(), data, count);
    }

    std::unique_ptr<XXH3_state_t, StateDeleter> m_State{XXH3_createState()};
    std::string* m_Bytes = nullptr;
    bool m_Ignoring = false;
};

class Sharer
{
public:
    explicit Sharer(const Roots& roots)
    {
        for (const auto& root : roots)
            Collect(root);
        for (std::size_t i = 0; i < m_Objects.size(); ++i) // grows while it is walked
            EditPointers(*m_Objects[i], [this](const auto& held) {
                Collect(held);
                return held;
            });
    }

    /// Shares the equal objects of one kind; what they hold has had its turn.
    template <class T> std::uint64_t Share(bool (*isOfKind)(const T&))
    {
        std::unordered_multimap<std::uint64_t, std::shared_ptr<T>> known;
        std::uint64_t replaced = 0;
        for (const std::shared_ptr<AObject>& any : m_Objects) {
            const auto object = std::dynamic_pointer_cast<T>(any);
            if (!object || !isOfKind(*object))
                continue;
            Redirect(*object);
            const std::uint64_t hash = m_Reader.HashOf(*object);
            if (const std::shared_ptr<T> equal = FindEqual(known, hash, *object)) {
                m_Replacements[object.get()] = equal;
                ++replaced;
            } else {
                known.emplace(hash, object);
                m_Reader.Know(object);
            }
        }
        return replaced;
    }

    /// Lets everything that is left hold what stays.
    void RedirectOthers()
    {
        for (const std::shared_ptr<AObject>& object : m_Objects)
            if (dynamic_cast<ASceneNode*>(object.get()) != nullptr ||
                dynamic_cast<AGroupEntity*>(object.get()) != nullptr)
                Redirect(*object);
    }

private:
    void Collect(const std::shared_ptr<AObject>& object)
    {
        if (object && m_Replacements.emplace(object.get(), nullptr).second)
            m_Objects.push_back(object);
    }

    template <class T>
    std::shared_ptr<T> FindEqual(const std::unordered_multimap<std::uint64_t, std::shared_ptr<T>>& known,
                                 std::uint64_t hash, T& object)
    {
        const auto [begin, end] = known.equal_range(hash);
        if (begin == end)
            return nullptr;
        const std::string bytes = m_Reader.BytesOf(object);
        for (auto at = begin; at != end; ++at)
            if (at->second->GetRuntimeClassId().GetName() == object.GetRuntimeClassId().GetName() &&
                m_Reader.BytesOf(*at->second) == bytes)
                return at->second;
        return nullptr;
    }

    void Redirect(AObject& object)
    {
        EditPointers(object, [this](const auto& held) {
            using T = typename std::decay_t<decltype(held)>::element_type;
            const std::shared_ptr<AObject>& replacement = m_Replacements.at(held.get());
            return replacement ? std::dynamic_pointer_cast<T>(replacement) : held;
        });
    }

    RecordReader m_Reader;
    std::vector<std::shared_ptr<AObject>> m_Objects;                             // each once
    std::unordered_map<const AObject*, std::shared_ptr<AObject>> m_Replacements; // empty for what stays
};
} // namespace

std::string Show(const Duplicates& duplicates)
{
    return Show(duplicates.Together()) +
           " replaced by equal ones: " + Plural(duplicates.pieces, "mesh or other piece", "meshes and other pieces") +
           ", " + Plural(duplicates.entities, "entity", "entities") + ", " + Plural(duplicates.textures, "texture") +
           ", " + Plural(duplicates.materials, "material") + ", " + Plural(duplicates.styles, "style");
}

Json ToJson(const Duplicates& duplicates)
{
    return {{"textures", duplicates.textures},
            {"materials", duplicates.materials},
            {"styles", duplicates.styles},
            {"pieces", duplicates.pieces},
            {"entities", duplicates.entities}};
}

Duplicates ShareEqualObjects(const Roots& roots)
{
    Sharer sharer(roots);
    Duplicates duplicates;
    duplicates.textures = sharer.Share<ATexture>([](const ATexture&) { return true; });
    duplicates.materials = sharer.Share<AMaterial>([](const AMaterial&) { return true; });
    duplicates.styles = sharer.Share<ANodeStyle>([](const ANodeStyle&) { return true; });
    duplicates.pieces = sharer.Share<ASubEntity>([](const ASubEntity&) { return true; });
    duplicates.entities = sharer.Share<AEntity>([](const AEntity& entity) {
        return dynamic_cast<const ATopoEntity*>(&entity) == nullptr &&
               dynamic_cast<const AGroupEntity*>(&entity) == nullptr;
    });
    duplicates.entities += sharer.Share<AEntity>(
        [](const AEntity& entity) { return dynamic_cast<const ATopoEntity*>(&entity) != nullptr; });
    sharer.RedirectOthers();
    return duplicates;
}
} // namespace Lumvo
