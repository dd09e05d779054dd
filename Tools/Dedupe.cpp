#include <Tools/Dedupe.h>

#include <Tools/Output.h>
#include <Tools/SceneGraph.h>
#include <Tools/SceneRecords.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/LumvoData.h>

#include <xxhash.h>

#include <map>
#include <memory>
#include <new>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Lumvo {
namespace {

using namespace Kelvra;

struct StateDeleter
{
    void operator()(XXH3_state_t* state) const noexcept { XXH3_freeState(state); }
};

/// The hash and the size of a record.
using Digest = std::pair<std::uint64_t, std::uint64_t>;

/// Takes in the records of objects, as a digest or, for the few that seem equal, as they are.
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

    template <class T> Digest DigestOf(T& object)
    {
        m_Size = 0;
        XXH3_64bits_reset(m_State.get());
        object.Serialize(*this);
        return {XXH3_64bits_digest(m_State.get()), m_Size};
    }
    /// The class and the record.
    template <class T> std::string BytesOf(T& object)
    {
        std::string bytes = KvText::ToUtf8(object.GetRuntimeClassId().GetName()) + '\0';
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
        if (m_Bytes != nullptr) {
            m_Bytes->append(static_cast<const char*>(data), count);
            return;
        }
        XXH3_64bits_update(m_State.get(), data, count);
        m_Size += count;
    }

    std::unique_ptr<XXH3_state_t, StateDeleter> m_State{XXH3_createState()};
    std::uint64_t m_Size = 0;
    std::string* m_Bytes = nullptr;
    bool m_Ignoring = false;
};

/// Objects of which no two are equal.
///
/// A file can be made whose records all have one hash. It costs little more than another: an object whose digest is
/// taken is compared with the one that took it, of the same size, and then found in order among all such.
template <class T> class DistinctObjects
{
public:
    explicit DistinctObjects(RecordReader& reader) : m_Reader(reader) {}

    /// The equal object that is there; the object itself, which is added, where there is none.
    std::shared_ptr<T> FindOrAdd(const std::shared_ptr<T>& object)
    {
        const auto [same, fresh] = m_ByDigest.emplace(m_Reader.DigestOf(*object), object);
        if (fresh)
            return object;
        std::string bytes = m_Reader.BytesOf(*object);
        if (m_Reader.BytesOf(*same->second) == bytes)
            return same->second;
        return m_ByBytes.emplace(std::move(bytes), object).first->second;
    }

private:
    RecordReader& m_Reader;
    std::map<Digest, std::shared_ptr<T>> m_ByDigest;
    std::map<std::string, std::shared_ptr<T>> m_ByBytes; // those whose digest another has
};

/// Calls edit(pointer) for each reference of a visited object that is not null; it may replace the pointer.
template <class Edit> class ReferenceEditor : public ASceneFieldVisitor
{
public:
    explicit ReferenceEditor(Edit edit) : m_Edit(edit) {}

private:
    void OnReference(const ASceneReferenceField& /*field*/, std::shared_ptr<AObject>& object) override
    {
        if (object)
            m_Edit(object);
    }

    Edit m_Edit;
};

class Sharer
{
public:
    explicit Sharer(const Roots& roots)
    {
        for (const auto& root : roots)
            Collect(root);
        ReferenceEditor collector([this](const std::shared_ptr<AObject>& object) { Collect(object); });
        for (std::size_t i = 0; i < m_Objects.size(); ++i) // grows while it is walked
            VisitFields(*m_Objects[i], collector);
    }

    /// Shares the equal objects of one kind; what they hold has had its turn.
    template <class T> std::uint64_t Share(bool (*isOfKind)(const T&))
    {
        DistinctObjects<T> distinct(m_Reader);
        std::uint64_t replaced = 0;
        for (const std::shared_ptr<AObject>& any : m_Objects) {
            const auto object = std::dynamic_pointer_cast<T>(any);
            if (!object || !isOfKind(*object))
                continue;
            Redirect(*object);
            const std::shared_ptr<T> equal = distinct.FindOrAdd(object);
            if (equal == object) {
                m_Reader.Know(object);
            } else {
                m_Replacements[object.get()] = equal;
                ++replaced;
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

    void Redirect(AObject& object)
    {
        ReferenceEditor redirector([this](std::shared_ptr<AObject>& held) {
            if (const std::shared_ptr<AObject>& replacement = m_Replacements.at(held.get()))
                held = replacement;
        });
        VisitFields(object, redirector);
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
