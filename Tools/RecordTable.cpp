#include <Tools/RecordTable.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/LumvoData.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>

namespace Lumvo {
namespace {

using namespace Kelvra;

std::optional<Family> FamilyOf(const AClassId* collector)
{
    for (int family = 0; family < FamilyCount && collector != nullptr; ++family)
        if (KvText::ToUtf8(collector->GetName()) == BaseOf(static_cast<Family>(family)))
            return static_cast<Family>(family);
    return std::nullopt;
}

/// Lists the fields of an object, unless some have no names or hold references of other collectors.
class FieldList : public ASceneFieldVisitor
{
public:
    static std::optional<std::vector<Field>> Of(AObject& object)
    {
        FieldList list;
        return VisitFields(object, list) && list.m_IsComplete ? std::optional(std::move(list.m_Fields)) : std::nullopt;
    }

private:
    void OnField(const ASceneField& field) override { m_Fields.push_back({field.GetKind(), field.name}); }
    void OnReferences(const ASceneReferenceField& field, std::size_t /*count*/) override
    {
        const std::optional<Family> family = FamilyOf(field.collector);
        m_IsComplete = m_IsComplete && family && *field.name != '\0';
        const bool isWhole = field.kept == field.collector;
        m_Fields.push_back({field.kind, field.name, family.value_or(Family::Node),
                            isWhole ? std::string() : KvText::ToUtf8(field.kept->GetName())});
    }
    void OnBytes(const void* /*data*/, std::size_t /*count*/) override { m_IsComplete = false; }

    std::vector<Field> m_Fields;
    bool m_IsComplete = true;
};

std::vector<RecordDescription> MakeRecords()
{
    std::vector<RecordDescription> records;
    for (const auto& [name, creator] : TSingleton<AClassFactory>::Instance()) {
        const std::unique_ptr<AObject> object(creator->Create());
        const std::optional<Family> family = FamilyOf(FindCollectorClass(*object));
        if (std::optional<std::vector<Field>> fields = FieldList::Of(*object); fields && family)
            records.push_back({KvText::ToUtf8(name), *family, std::move(*fields)});
    }
    return records;
}
} // namespace

std::string_view BaseOf(Family family) noexcept
{
    static constexpr std::array<std::string_view, FamilyCount> s_Names = {"ASceneNode", "AEntity",   "ASubEntity",
                                                                          "ANodeStyle", "AMaterial", "ATexture"};
    return s_Names[static_cast<std::size_t>(family)];
}

const std::vector<RecordDescription>& AllRecords()
{
    static const std::vector<RecordDescription> s_Records = MakeRecords();
    return s_Records;
}

const RecordDescription* FindRecord(std::u16string_view className)
{
    std::wstring wide;
    KvText::FromUtf16(className, wide);
    const std::string name = KvText::ToUtf8(wide);
    const auto& records = AllRecords();
    const auto found = std::find_if(records.begin(), records.end(),
                                    [&](const RecordDescription& record) { return record.className == name; });
    return found == records.end() ? nullptr : &*found;
}

std::size_t FixedSizeOf(FieldKind kind) noexcept
{
    switch (kind) {
    case FieldKind::Integer:
    case FieldKind::Float:
        return 4;
    case FieldKind::Double:
        return 8;
    case FieldKind::Flag:
        return 1;
    case FieldKind::Point:
        return 24;
    case FieldKind::Matrix:
        return 128;
    case FieldKind::Box:
        return 48;
    case FieldKind::Colour:
        return 32;
    default:
        return 0;
    }
}
} // namespace Lumvo
