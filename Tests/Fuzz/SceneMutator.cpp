#include <Tests/Fuzz/SceneParts.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using namespace Fuzz;

constexpr std::array<std::int32_t, 16> s_MagicIntegers = {
    0,   1,    -1,   2,    3,     4,         7,          8,
    127, 1023, 1024, 1025, 16384, 0x8000000, 0x7FFFFFFF, std::numeric_limits<std::int32_t>::min()};

/// Changes a scene file here and there, in terms of what stands where.
class Mutation
{
public:
    Mutation(std::string_view file, unsigned seed) : m_File(file), m_Scene(file), m_Random(seed) {}

    /// \returns false where nothing could be changed.
    bool Run()
    {
        switch (m_Random() % 13) {
        case 0:
            return ChangeInteger(PartKind::Key);
        case 1:
            return CopyKey();
        case 2:
            return ChangeInteger(PartKind::Count);
        case 3:
            return ChangeClass();
        case 4:
            return ChangeBytes(PartKind::Number);
        case 5:
            return ChangeBytes(PartKind::Elements);
        case 6:
            return ChangeInteger(PartKind::Header);
        case 7:
            return PutReference(CopyOfReference());
        case 8:
            return PutReference(NewReference());
        case 9:
            return MoveReference();
        case 10:
            return RemoveReference();
        case 11:
            return Nest();
        default:
            return Cut();
        }
    }

    /// Puts a reference of `other` into this file.
    bool Splice(std::string_view other)
    {
        const SceneParts from(other);
        if (from.references.empty())
            return false;
        const Reference& taken = from.references[m_Random() % from.references.size()];
        return PutReference({taken.family, std::string(other.substr(taken.begin, taken.end - taken.begin))});
    }

    [[nodiscard]] const std::string& GetFile() const noexcept { return m_File; }

private:
    struct Piece
    {
        Lumvo::Family family;
        std::string bytes;
    };

    const Part* PickPart(PartKind kind)
    {
        std::vector<const Part*> candidates;
        for (const Part& part : m_Scene.parts)
            if (part.kind == kind && part.size > 0)
                candidates.push_back(&part);
        return candidates.empty() ? nullptr : candidates[m_Random() % candidates.size()];
    }

    const Reference* PickReference(std::optional<Lumvo::Family> family = std::nullopt)
    {
        std::vector<const Reference*> candidates;
        for (const Reference& reference : m_Scene.references)
            if (!family || reference.family == *family)
                candidates.push_back(&reference);
        return candidates.empty() ? nullptr : candidates[m_Random() % candidates.size()];
    }

    void PutInteger(std::size_t offset, std::int32_t value) { std::memcpy(m_File.data() + offset, &value, 4); }
    [[nodiscard]] std::int32_t GetInteger(std::size_t offset) const
    {
        std::int32_t value = 0;
        std::memcpy(&value, m_File.data() + offset, sizeof value);
        return value;
    }

    bool ChangeInteger(PartKind kind)
    {
        const Part* const part = PickPart(kind);
        if (part == nullptr)
            return false;
        const bool nudge = m_Random() % 2 == 0;
        const std::uint32_t step = m_Random() % 2 == 0 ? 1 : ~std::uint32_t{0};
        PutInteger(part->offset,
                   nudge ? static_cast<std::int32_t>(static_cast<std::uint32_t>(GetInteger(part->offset)) + step)
                         : s_MagicIntegers[m_Random() % s_MagicIntegers.size()]);
        return true;
    }

    /// A reference becomes one to an object that stands elsewhere, before, behind or around it.
    bool CopyKey()
    {
        const Part* const to = PickPart(PartKind::Key);
        const Part* const from = PickPart(PartKind::Key);
        if (to == nullptr)
            return false;
        PutInteger(to->offset, GetInteger(from->offset));
        return true;
    }

    bool ChangeClass()
    {
        const Part* const part = PickPart(PartKind::ClassName);
        if (part == nullptr)
            return false;
        static constexpr std::array<std::u16string_view, 6> s_Others = {
            u"AEntity", u"ASubVertex", u"AEdgeListEntity", u"ANodeStyle", u"", u"A\xD800"};
        const auto& records = Lumvo::AllRecords();
        const std::size_t index = m_Random() % (records.size() + s_Others.size());
        const std::u16string name =
            index < records.size() ? std::u16string(records[index].className.begin(), records[index].className.end())
                                   : std::u16string(s_Others[index - records.size()]);
        m_File.replace(part->offset, part->size, Bytes().Text(name).Data());
        return true;
    }

    bool ChangeBytes(PartKind kind)
    {
        const Part* const part = PickPart(kind);
        if (part == nullptr)
            return false;
        std::string bytes = m_File.substr(part->offset, part->size);
        static_cast<void>(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size(), bytes.size()));
        m_File.replace(part->offset, part->size, bytes);
        return true;
    }

    Piece CopyOfReference()
    {
        const Reference* const taken = PickReference();
        return taken == nullptr ? NewReference()
                                : Piece{taken->family, m_File.substr(taken->begin, taken->end - taken->begin)};
    }

    Piece NewReference()
    {
        const auto family = static_cast<Lumvo::Family>(m_Random() % Lumvo::FamilyCount);
        return {family, MakeReference(family, static_cast<int>(1 + m_Random() % 3), m_Random).Data()};
    }

    /// In place of one of its family, or in front of it; a list that it comes into mostly counts it.
    bool PutReference(const Piece& piece)
    {
        const Reference* const place = PickReference(piece.family);
        if (place == nullptr) {
            m_File += piece.bytes;
            return true;
        }
        const bool replaces = m_Random() % 2 == 0;
        m_File.replace(place->begin, replaces ? place->end - place->begin : 0, piece.bytes);
        if (!replaces && place->count != 0 && m_Random() % 4 != 0)
            PutInteger(place->count, GetInteger(place->count) + 1);
        return true;
    }

    bool MoveReference()
    {
        const Reference* const from = PickReference();
        const Reference* const to = from == nullptr ? nullptr : PickReference(from->family);
        if (to == nullptr || (to->begin < from->end && from->begin < to->end))
            return false;
        // They change places, the later one first.
        const Reference& early = from->begin < to->begin ? *from : *to;
        const Reference& late = from->begin < to->begin ? *to : *from;
        const std::string first = m_File.substr(early.begin, early.end - early.begin);
        const std::string second = m_File.substr(late.begin, late.end - late.begin);
        m_File.replace(late.begin, second.size(), first);
        m_File.replace(early.begin, first.size(), second);
        return true;
    }

    bool RemoveReference()
    {
        const Reference* const removed = PickReference();
        if (removed == nullptr)
            return false;
        if (removed->count != 0 && m_Random() % 4 != 0)
            PutInteger(removed->count, GetInteger(removed->count) - 1);
        m_File.erase(removed->begin, removed->end - removed->begin);
        return true;
    }

    bool Nest()
    {
        const Reference* const inner = PickReference(Lumvo::Family::Entity);
        if (inner == nullptr)
            return false;
        const int levels =
            m_Random() % 16 == 0 ? 1015 + static_cast<int>(m_Random() % 16) : 1 + static_cast<int>(m_Random() % 3);
        const std::size_t size = inner->end - inner->begin;
        m_File.replace(inner->begin, size,
                       WrapInGroups(Bytes(m_File.substr(inner->begin, size)), levels, m_Random).Data());
        return true;
    }

    bool Cut()
    {
        if (m_Scene.parts.empty())
            return false;
        const Part& part = m_Scene.parts[m_Random() % m_Scene.parts.size()];
        m_File.resize(part.offset + m_Random() % (part.size + 1));
        return true;
    }

    std::string m_File;
    SceneParts m_Scene;
    Random m_Random;
};

std::string_view View(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

std::size_t Mutate(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed)
{
    if (seed % 4 != 0) {
        Mutation mutation(View(data, size), seed);
        if (mutation.Run() && mutation.GetFile().size() <= maxSize) {
            std::copy(mutation.GetFile().begin(), mutation.GetFile().end(), data);
            return mutation.GetFile().size();
        }
    }
    return LLVMFuzzerMutate(data, size, maxSize);
}

/// Makes the text or buffer that is not in the file short, or too long to be made at all.
/// \returns false where there is none, or it is as it should be.
bool LimitLastElements(std::uint8_t* data, std::size_t size, Random& random)
{
    constexpr std::int32_t shortest = 1 << 12, longest = 1 << 24;
    const SceneParts scene(View(data, size));
    if (scene.parts.empty() || scene.parts.back().kind != PartKind::Count)
        return false;
    std::uint8_t* const place = data + scene.parts.back().offset;
    std::int32_t count = 0;
    std::memcpy(&count, place, sizeof count);
    if (count < shortest || count >= longest)
        return false;
    count = random() % 2 == 0 ? count % shortest : count + longest;
    std::memcpy(place, &count, sizeof count);
    return true;
}

/// A text or a buffer that is not in the file is made as long as its count says, up to 16 MiB. That takes nearly all of
/// the time, so only a few inputs keep such a count.
void LimitMissingElements(std::uint8_t* data, std::size_t size, unsigned seed)
{
    Random random(seed);
    if (random() % 4096 == 0)
        return;
    while (LimitLastElements(data, size, random)) { // a short one may be in the file, and one behind it not
    }
}
} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed)
{
    const std::size_t mutated = Mutate(data, size, maxSize, seed);
    LimitMissingElements(data, mutated, seed);
    return mutated;
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* data1, std::size_t size1,
                                                 const std::uint8_t* data2, std::size_t size2, std::uint8_t* out,
                                                 std::size_t maxOutSize, unsigned seed)
{
    Mutation mutation(View(data1, size1), seed);
    if (!mutation.Splice(View(data2, size2)) || mutation.GetFile().size() > maxOutSize)
        return 0;
    std::copy(mutation.GetFile().begin(), mutation.GetFile().end(), out);
    LimitMissingElements(out, mutation.GetFile().size(), seed);
    return mutation.GetFile().size();
}
