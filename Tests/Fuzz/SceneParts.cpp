#include <Tests/Fuzz/SceneParts.h>

#include <LumvoData/Serialize/ASceneSerializeContext.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <set>

namespace Fuzz {
namespace {

using namespace Lumvo;

class Parser
{
public:
    Parser(std::string_view file, SceneParts& found) : m_File(file), m_Found(found) {}

    void Run()
    {
        if (Take(PartKind::Header, 4) && Take(PartKind::Header, 4))
            while (m_Position < m_File.size() && ReadReference(Family::Node, 0, 0)) {
            }
    }

private:
    // Each of these answers false where the file ends first.

    bool ReadReference(Family family, std::size_t count, int depth)
    {
        const std::size_t index = m_Found.references.size();
        m_Found.references.push_back({family, m_Position, m_File.size(), count});
        const bool whole = ReadObject(family, depth);
        m_Found.references[index].end = m_Position;
        return whole;
    }

    bool ReadObject(Family family, int depth)
    {
        std::set<std::int32_t>& known = m_Known[static_cast<std::size_t>(family)];
        if (!Take(PartKind::Key, 4))
            return false;
        const std::int32_t key = LastInt();
        if (key == 0 || known.count(key) > 0)
            return true;
        const std::size_t start = m_Position;
        if (!TakeElements(2))
            return false;
        m_Found.parts.erase(m_Found.parts.end() - 2, m_Found.parts.end());
        m_Found.parts.push_back({PartKind::ClassName, start, m_Position - start});
        std::u16string name((m_Position - start - 4) / 2, u' ');
        std::memcpy(name.data(), m_File.data() + start + 4, 2 * name.size());
        const RecordDescription* const record = FindRecord(name);
        if (record == nullptr || record->family != family || depth == Kelvra::ASceneSerializeContext::MaxNesting)
            return true;
        for (const Field& field : record->fields)
            if (!ReadField(field, depth))
                return false;
        known.insert(key);
        return true;
    }

    bool ReadField(const Field& field, int depth)
    {
        switch (field.kind) {
        case FieldKind::Text:
            return TakeElements(2);
        case FieldKind::Floats:
        case FieldKind::Indices:
            return TakeElements(4);
        case FieldKind::Reference:
            return ReadReference(field.family, 0, depth + 1);
        case FieldKind::List:
        case FieldKind::Vector: {
            const std::size_t countOffset = m_Position;
            if (!Take(PartKind::Count, 4))
                return false;
            const std::int32_t count = LastInt();
            if (field.kind == FieldKind::Vector && !TakeElements(2))
                return false;
            for (std::int32_t i = 0; i < count; ++i)
                if (!ReadReference(field.family, countOffset, depth + 1))
                    return false;
            return true;
        }
        default:
            return Take(PartKind::Number, FixedSizeOf(field.kind));
        }
    }

    bool TakeElements(std::size_t size)
    {
        if (!Take(PartKind::Count, 4))
            return false;
        const std::int32_t count = LastInt();
        return Take(PartKind::Elements, count > 0 ? size * static_cast<std::size_t>(count) : 0);
    }

    bool Take(PartKind kind, std::size_t size)
    {
        if (size > m_File.size() - m_Position)
            return false;
        m_Found.parts.push_back({kind, m_Position, size});
        m_Position += size;
        return true;
    }

    [[nodiscard]] std::int32_t LastInt() const
    {
        std::int32_t value = 0;
        std::memcpy(&value, m_File.data() + m_Position - sizeof value, sizeof value);
        return value;
    }

    std::string_view m_File;
    SceneParts& m_Found;
    std::size_t m_Position = 0;
    std::array<std::set<std::int32_t>, FamilyCount> m_Known;
};

Bytes BeginReference(const RecordDescription& record, Random& random)
{
    return Bytes()
        .Int(static_cast<std::int64_t>(random()))
        .Text(std::u16string(record.className.begin(), record.className.end()));
}

Bytes MakeFieldReference(const Field& field, int depth, Random& random)
{
    if (depth == 0)
        return Bytes().Int(0);
    if (field.item.empty())
        return MakeReference(field.family, depth, random);
    for (const RecordDescription& record : AllRecords())
        if (record.className == field.item)
            return MakeReference(record, depth, random);
    return Bytes().Int(0);
}

void AddField(Bytes& bytes, const Field& field, int depth, Random& random)
{
    switch (field.kind) {
    case FieldKind::Integer:
        bytes.Int(static_cast<std::int64_t>(random() % 8));
        break;
    case FieldKind::Float:
        bytes.Float(static_cast<float>(random() % 100) / 8);
        break;
    case FieldKind::Double:
        bytes.Double(static_cast<double>(random() % 100) / 8);
        break;
    case FieldKind::Flag:
        bytes.Byte(static_cast<unsigned>(random() % 2));
        break;
    case FieldKind::Point:
        bytes.Double(0).Double(0).Double(1);
        break;
    case FieldKind::Matrix:
        for (int i = 0; i < 16; ++i)
            bytes.Double(i % 5 == 0 ? 1 : 0);
        break;
    case FieldKind::Box:
        bytes.Double(0).Double(0).Double(0).Double(1).Double(1).Double(1);
        break;
    case FieldKind::Colour:
        bytes.Colour(1, 0.5F, 0.25F, 1);
        break;
    case FieldKind::Text:
        bytes.Text(std::u16string(random() % 4, u'\u00E4'));
        break;
    case FieldKind::Floats:
        bytes.Int(9);
        for (int i = 0; i < 9; ++i)
            bytes.Float(static_cast<float>(i % 4 == 0));
        break;
    case FieldKind::Indices:
        bytes.Int(3).Int(0).Int(1).Int(2);
        break;
    case FieldKind::Reference:
        bytes.Add(MakeFieldReference(field, depth, random));
        break;
    case FieldKind::List: {
        const std::size_t count = depth == 0 ? 0 : 1 + random() % 2;
        bytes.Int(static_cast<std::int64_t>(count));
        for (std::size_t i = 0; i < count; ++i)
            bytes.Add(MakeFieldReference(field, depth, random));
        break;
    }
    case FieldKind::Vector:
        bytes.Int(4).Text(u"vector");
        for (int i = 0; i < 4; ++i)
            bytes.Add(MakeFieldReference(field, random() % 4 == 0 ? depth : 0, random));
        break;
    }
}
} // namespace

SceneParts::SceneParts(std::string_view file)
{
    Parser(file, *this).Run();
}

Bytes MakeReference(const RecordDescription& record, int depth, Random& random)
{
    Bytes bytes = BeginReference(record, random);
    for (const Field& field : record.fields)
        AddField(bytes, field, depth - 1, random);
    return bytes;
}

Bytes MakeReference(Family family, int depth, Random& random)
{
    std::vector<const RecordDescription*> candidates;
    for (const RecordDescription& record : AllRecords())
        if (record.family == family)
            candidates.push_back(&record);
    return MakeReference(*candidates[random() % candidates.size()], depth, random);
}

Bytes WrapInGroups(const Bytes& inner, int levels, Random& random)
{
    const RecordDescription& group = *FindRecord(std::u16string_view(u"AGroupEntity"));
    Bytes wrapped;
    for (int i = 0; i < levels; ++i)
        wrapped.Add(BeginReference(group, random)).EntityHeader(0).Int(1);
    return wrapped.Add(inner);
}
} // namespace Fuzz
