#include <Tools/SceneWalk.h>

#include <Tools/FileError.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/Scene/ASceneNode.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <system_error>
#include <utility>

namespace Lumvo {
namespace {

using Kelvra::ASceneSerializeContext;

constexpr std::size_t s_BlockSize = std::size_t{256} * 1024;

bool IsFinite(const AMath::Vector3& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

/// Whether a box holds another but for what float coordinates lose.
bool Covers(const AMath::AxisAlignedBox& box, const AMath::AxisAlignedBox& content)
{
    const auto covers = [](double low, double high, double contentLow, double contentHigh) {
        const double slack =
            1e-5 * std::max({std::abs(low), std::abs(high), std::abs(contentLow), std::abs(contentHigh)});
        return low <= contentLow + slack && high >= contentHigh - slack;
    };
    const AMath::Vector3& a = box.getMinimum();
    const AMath::Vector3& b = box.getMaximum();
    const AMath::Vector3& c = content.getMinimum();
    const AMath::Vector3& d = content.getMaximum();
    return covers(a.x, b.x, c.x, d.x) && covers(a.y, b.y, c.y, d.y) && covers(a.z, b.z, c.z, d.z);
}
} // namespace

SceneWalk::SceneWalk(const std::filesystem::path& file, Findings& findings) : m_File(file), m_Findings(findings)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error))
        throw FileError(ExitCannotRead, file, std::nullopt,
                        error ? "cannot be opened: " + error.message() : "is no regular file",
                        "Name a scene file that you may read.");
    errno = 0;
    m_Stream.open(file, std::ios::binary);
    m_Size = std::filesystem::file_size(file, error);
    if (!m_Stream || error)
        throw FileError(ExitCannotRead, file, std::nullopt,
                        "cannot be opened: " + std::error_code(errno, std::generic_category()).message(),
                        "Check that you may read the file.");
}

WalkEnd SceneWalk::Run(bool pastIdentifier)
{
    m_Open.emplace_back();
    m_Open.front().inReferences = true;
    WalkEnd end;
    try {
        ReadHeader(pastIdentifier);
        m_Open.front().completeEnd = m_Position;
        while (m_Open.size() > 1 || GetLeft() > 0)
            Step();
    } catch (const OutOfStep&) {
        end.inStep = false;
        end.open.assign(m_Open.begin(), m_Open.end());
    }
    end.offset = m_Position;
    end.objects = m_Objects;
    return end;
}

void SceneWalk::ReadHeader(bool pastIdentifier)
{
    if (m_Size < 8)
        Lose(FindingCode::HeaderShort, "header", m_Size,
             [&] { return "the file has " + Plural(m_Size, "byte") + ", the header alone takes 8"; });
    if (Read<std::int32_t>("header") != ASceneSerializeContext::FileIdentifier) {
        const auto describe = [] { return std::string("the first bytes should be DB 07 00 00"); };
        if (!pastIdentifier)
            Lose(FindingCode::HeaderIdentifier, "header", 0, describe);
        Find(FindingCode::HeaderIdentifier, "header", 0, describe);
    }
    const auto version = Read<std::int32_t>("header");
    if (version != ASceneSerializeContext::FormatVersion)
        Find(FindingCode::Version, "header", 4, [&] { return "the version is " + std::to_string(version); });
}

void SceneWalk::Step()
{
    Frame& frame = m_Open.back();
    if (frame.record == nullptr)
        return ReadReference(Family::Node);
    if (frame.field == frame.record->fields.size())
        return Close();
    const Field& field = frame.record->fields[frame.field];
    switch (field.kind) {
    case FieldKind::Reference:
    case FieldKind::List:
    case FieldKind::Vector:
        if (!frame.inReferences)
            BeginReferences(frame, field);
        if (frame.complete < frame.wanted)
            return ReadReference(field.family);
        frame.inReferences = false;
        break;
    default:
        ReadPlain(frame, field);
        break;
    }
    ++frame.field;
}

void SceneWalk::ReadPlain(Frame& frame, const Field& field)
{
    const std::uint64_t offset = m_Position;
    switch (field.kind) {
    case FieldKind::Flag:
        if (Read<std::uint8_t>(field.name) > 1)
            Find(FindingCode::FlagValue, field.name, offset, [] { return std::string("neither 0 nor 1"); });
        break;
    case FieldKind::Float:
        CheckFinite(Read<std::array<float, 1>>(field.name), offset, field);
        break;
    case FieldKind::Double:
        CheckFinite(Read<std::array<double, 1>>(field.name), offset, field);
        break;
    case FieldKind::Point:
        CheckFinite(Read<std::array<double, 3>>(field.name), offset, field);
        break;
    case FieldKind::Matrix: {
        const auto elements = Read<std::array<double, 16>>(field.name);
        CheckFinite(elements, offset, field);
        std::copy(elements.begin(), elements.end(), &frame.transform[0]);
        break;
    }
    case FieldKind::Colour: {
        const auto block = Read<std::array<float, 8>>(field.name);
        CheckFinite(std::array<float, 4>{block[0], block[1], block[2], block[3]}, offset, field);
        break;
    }
    case FieldKind::Box:
        ReadBox(frame, field);
        break;
    case FieldKind::Text:
        ReadText(field);
        break;
    case FieldKind::Floats:
        ReadFloats(frame, field);
        break;
    case FieldKind::Indices:
        ReadIndices(frame, field);
        break;
    default:
        Read<std::int32_t>(field.name);
        break;
    }
}

void SceneWalk::BeginReferences(Frame& frame, const Field& field)
{
    frame.countOffset = m_Position;
    frame.wanted = 1;
    frame.complete = 0;
    if (field.kind != FieldKind::Reference) {
        frame.wanted = ReadCount(field, 0);
        if (frame.wanted > GetLeft() / sizeof(std::int32_t))
            Find(FindingCode::BadCount, field.name, frame.countOffset, [&] {
                return Plural(frame.wanted, "reference") + " cannot stand in the " + Plural(GetLeft(), "byte") +
                       " that are left";
            });
    }
    if (field.kind == FieldKind::Vector) {
        if (frame.wanted != Kelvra::ASceneNode::StyleCount)
            Find(FindingCode::StyleCount, field.name, frame.countOffset,
                 [&] { return Plural(frame.wanted, "style") + " where a node has four"; });
        ReadVectorTag(field);
    }
    if (field.kind == FieldKind::List && frame.wanted == 0)
        Find(FindingCode::EmptyList, field.name, frame.countOffset, [] { return std::string("holds nothing"); });
    frame.inReferences = true;
    frame.completeEnd = m_Position;
}

void SceneWalk::ReadReference(Family family)
{
    const std::uint64_t start = m_Position;
    const auto key = Read<std::uint32_t>({});
    if (key == 0)
        return TakeReference(nullptr);
    KnownObjects& known = m_Known[static_cast<std::size_t>(family)];
    if (const Facts* const object = known.Find(key))
        return TakeReference(object);

    const std::uint64_t nameOffset = m_Position;
    const RecordDescription* const record = ReadClassName();
    if (m_Open.size() > static_cast<std::size_t>(ASceneSerializeContext::MaxNesting))
        Lose(FindingCode::TooDeep, {}, start, [&] {
            return "nested more than " + std::to_string(ASceneSerializeContext::MaxNesting) + " references deep";
        });
    if (record == nullptr)
        Lose(FindingCode::UnknownClass, {}, nameOffset, [&] {
            std::wstring name;
            Kelvra::KvText::FromUtf16(m_ClassName, name);
            return "nothing of the class \"" + Show(name, 60) + "\" can be made";
        });
    if (record->family != family)
        Lose(FindingCode::WrongFamily, {}, nameOffset, [&] {
            return "an " + std::string(record->className) + " cannot stand where an " + std::string(BaseOf(family)) +
                   " is read";
        });
    known.Begin(key);
    const bool faceStyle = m_Open.back().faceStyle;
    Frame& frame = m_Open.emplace_back();
    frame.record = record;
    frame.start = start;
    frame.key = key;
    frame.facts.record = record;
    frame.faceStyle = faceStyle;
}

void SceneWalk::TakeReference(const Facts* object)
{
    Frame& frame = m_Open.back();
    if (frame.record == nullptr) {
        if (object == nullptr)
            Find(FindingCode::EmptyRoot, {}, m_Position - 4, [] { return std::string("holds no node"); });
    } else
        TakeInto(frame, frame.record->fields[frame.field], object);
    ++frame.complete;
    frame.completeEnd = m_Position;
}

void SceneWalk::TakeInto(Frame& frame, const Field& field, const Facts* object)
{
    const std::uint64_t offset = frame.completeEnd;
    const bool kept = object != nullptr && (field.item.empty() || object->record->className == field.item);
    if (field.kind == FieldKind::List ||
        (field.kind == FieldKind::Vector && frame.wanted != Kelvra::ASceneNode::StyleCount)) {
        if (object == nullptr)
            Find(FindingCode::EmptyItem, field.name, offset, [] { return std::string("the reference is empty"); });
        else if (!kept)
            Find(FindingCode::WrongItem, field.name, offset, [&] {
                return "an " + std::string(object->record->className) + " where only an " + std::string(field.item) +
                       " is kept";
            });
    } else if (object != nullptr && !kept)
        Find(FindingCode::ItemDropped, field.name, offset, [&] {
            return "an " + std::string(object->record->className) + " where only an " + std::string(field.item) +
                   " is kept";
        });
    else if (object == nullptr && (field.family == Family::Entity || field.family == Family::Piece) &&
             frame.record->className != "ATopoEntity")
        Find(FindingCode::NothingHeld, field.name, offset, [] { return std::string("the reference is empty"); });
    if (!kept)
        return;
    if (field.kind == FieldKind::Vector) {
        static constexpr std::array<std::string_view, 2> s_Kinds = {"AFaceStyle", "ALineStyle"};
        frame.faceStyle = frame.faceStyle || frame.complete == 0;
        if (frame.complete < s_Kinds.size() && object->record->className != s_Kinds[frame.complete])
            Find(FindingCode::StyleKind, field.name, offset, [&] {
                return "an " + std::string(object->record->className) + " stands in the slot of an " +
                       std::string(s_Kinds[frame.complete]);
            });
        return;
    }
    frame.content.merge(object->box);
    frame.facts.faces = frame.facts.faces || object->faces;
}

void SceneWalk::Close()
{
    Frame& frame = m_Open.back();
    CheckContent(frame);
    ++m_Objects;
    Facts facts = frame.facts;
    if (facts.box == AMath::AxisAlignedBox({}, {})) // a box that held nothing is stored like this
        facts.box = {};
    if (facts.record->family == Family::Node)
        facts.box.transform(frame.transform);
    const std::uint32_t key = frame.key;
    const std::uint64_t start = frame.start;
    m_Open.pop_back();
    if (!m_Known[static_cast<std::size_t>(facts.record->family)].Record(key, facts))
        Find(FindingCode::KeyReused, {}, start,
             [&] { return "the key " + std::to_string(static_cast<std::int32_t>(key)) + " is used inside too"; });
    TakeReference(&facts);
}

/// What can be told when all of an object is known; its frame is still open.
void SceneWalk::CheckContent(Frame& frame)
{
    const std::string_view className = frame.record->className;
    if (className == "ASubMesh" || className == "ASubPolygon")
        frame.facts.faces = true;
    const AMath::AxisAlignedBox& box = frame.facts.box;
    const bool comparable = box.isFinite() && frame.content.isFinite() && IsFinite(frame.content.getMinimum()) &&
                            IsFinite(frame.content.getMaximum());
    if (comparable && !Covers(box, frame.content))
        Find(FindingCode::BoxTooSmall, "box", frame.boxOffset,
             [&] { return Show(box) + " does not cover " + Show(frame.content); });
    if (className == "AEntitySceneNode" && frame.facts.faces && !frame.faceStyle)
        Find(FindingCode::StyleMissing, "styles", frame.start,
             [] { return std::string("neither the node nor one that holds it has a face style"); });
}

void SceneWalk::ReadText(const Field& field)
{
    const std::uint64_t count = ReadCount(field, sizeof(char16_t));
    const std::uint64_t start = m_Position;
    bool high = false;
    bool lone = false;
    ReadElements<std::uint16_t>(count, field, [&](std::uint16_t unit, std::uint64_t, std::uint64_t) {
        const bool isLow = unit >= 0xDC00 && unit <= 0xDFFF;
        lone = lone || high != isLow;
        high = unit >= 0xD800 && unit <= 0xDBFF;
    });
    if (lone || high)
        Find(FindingCode::LoneSurrogate, field.name, start,
             [] { return std::string("a surrogate stands without its partner"); });
}

void SceneWalk::ReadVectorTag(const Field& field)
{
    static constexpr std::u16string_view s_Tag = u"vector";
    const std::uint64_t offset = m_Position;
    const std::uint64_t count = ReadCount(field, sizeof(char16_t));
    bool same = count == s_Tag.size();
    ReadElements<std::uint16_t>(count, field, [&](std::uint16_t unit, std::uint64_t index, std::uint64_t) {
        same = same && unit == s_Tag[static_cast<std::size_t>(index)];
    });
    if (!same)
        Find(FindingCode::VectorTag, field.name, offset, [] { return std::string("the text is another"); });
}

void SceneWalk::ReadFloats(Frame& frame, const Field& field)
{
    const std::uint64_t countOffset = m_Position;
    const std::uint64_t count = ReadCount(field, sizeof(float));
    const bool isVertices = field.name == "vertices";
    if (isVertices) {
        frame.vertices = count / 3;
        if (count % 3 != 0)
            Find(FindingCode::VertexCount, field.name, countOffset,
                 [&] { return Plural(count, "coordinate") + " where each vertex takes 3"; });
    } else if (count > 0) {
        const bool isNormals = field.name == "normals";
        const std::uint64_t width = isNormals ? 3 : 2;
        if (count != width * frame.vertices)
            Find(isNormals ? FindingCode::NormalCount : FindingCode::TexCoordCount, field.name, countOffset, [&] {
                return Plural(count, "number") + " where " + Plural(frame.vertices, "vertex", "vertices") + " take " +
                       Show(width * frame.vertices);
            });
    }
    std::array<float, 3> low{};
    std::array<float, 3> high{};
    low.fill(std::numeric_limits<float>::infinity());
    high.fill(-std::numeric_limits<float>::infinity());
    std::size_t axis = 0;
    ReadElements<float>(count, field, [&](float number, std::uint64_t index, std::uint64_t offset) {
        if (!std::isfinite(number))
            Find(FindingCode::NotFinite, field.name, offset,
                 [&] { return "number " + Show(index) + " is " + (std::isnan(number) ? "NaN" : "infinite"); });
        else if (isVertices) {
            low[axis] = std::min(low[axis], number);
            high[axis] = std::max(high[axis], number);
        }
        axis = axis == 2 ? 0 : axis + 1;
    });
    if (isVertices && low[0] <= high[0] && low[1] <= high[1] && low[2] <= high[2])
        frame.content.merge({{low[0], low[1], low[2]}, {high[0], high[1], high[2]}});
}

void SceneWalk::ReadIndices(Frame& frame, const Field& field)
{
    const std::uint64_t countOffset = m_Position;
    const std::uint64_t count = ReadCount(field, sizeof(std::uint32_t));
    if (count % 3 != 0)
        Find(FindingCode::IndexCount, field.name, countOffset,
             [&] { return Plural(count, "index", "indices") + " where each triangle takes 3"; });
    ReadElements<std::uint32_t>(count, field, [&](std::uint32_t vertex, std::uint64_t index, std::uint64_t offset) {
        if (vertex >= frame.vertices)
            Find(FindingCode::IndexRange, field.name, offset, [&] {
                return "index " + Show(index) + " is " + std::to_string(vertex) + " where there are " +
                       Plural(frame.vertices, "vertex", "vertices");
            });
    });
}

void SceneWalk::ReadBox(Frame& frame, const Field& field)
{
    const std::uint64_t offset = m_Position;
    frame.boxOffset = offset;
    const auto corners = Read<std::array<double, 6>>(field.name);
    CheckFinite(corners, offset, field);
    if (!std::all_of(corners.begin(), corners.end(), [](double number) { return std::isfinite(number); }))
        return;
    if (corners[0] > corners[3] || corners[1] > corners[4] || corners[2] > corners[5]) {
        Find(FindingCode::BoxTurned, field.name, offset,
             [] { return std::string("the minimum is beyond the maximum"); });
        return;
    }
    frame.facts.box = {{corners[0], corners[1], corners[2]}, {corners[3], corners[4], corners[5]}};
}

std::uint64_t SceneWalk::ReadCount(const Field& field, std::size_t elementSize)
{
    const std::uint64_t offset = m_Position;
    const auto count = Read<std::int32_t>(field.name);
    if (count < 0) {
        Find(FindingCode::NegativeCount, field.name, offset, [&] { return "the count is " + std::to_string(count); });
        return 0;
    }
    const auto wanted = static_cast<std::uint64_t>(count);
    if (elementSize > 0 && wanted > GetLeft() / elementSize)
        Lose(FindingCode::BadCount, field.name, offset, [&] {
            return Show(wanted) + " elements of " + Plural(elementSize, "byte") + " cannot stand in the " +
                   Plural(GetLeft(), "byte") + " that are left";
        });
    return wanted;
}

const RecordDescription* SceneWalk::ReadClassName()
{
    // A longer name is no class of ours, and what follows it would be out of step anyhow.
    static constexpr std::uint64_t s_MostRead = 100;
    const Field name{FieldKind::Text, {}};
    const std::uint64_t count = ReadCount(name, sizeof(char16_t));
    m_ClassName.resize(static_cast<std::size_t>(std::min(count, s_MostRead)));
    const char* const units = Take(2 * m_ClassName.size(), {});
    std::memcpy(m_ClassName.data(), units, 2 * m_ClassName.size());
    return FindRecord(m_ClassName);
}

template <class T, class Use> void SceneWalk::ReadElements(std::uint64_t count, const Field& field, Use use)
{
    for (std::uint64_t done = 0; done < count;) {
        const auto block = static_cast<std::size_t>(std::min<std::uint64_t>(count - done, s_BlockSize / sizeof(T)));
        const std::uint64_t start = m_Position;
        const char* const bytes = Take(block * sizeof(T), field.name);
        for (std::size_t i = 0; i < block; ++i) {
            T element{};
            std::memcpy(&element, bytes + i * sizeof(T), sizeof element);
            use(element, done + i, start + i * sizeof(T));
        }
        done += block;
    }
}

template <class T, std::size_t N>
void SceneWalk::CheckFinite(const std::array<T, N>& numbers, std::uint64_t offset, const Field& field)
{
    for (std::size_t i = 0; i < N; ++i)
        if (!std::isfinite(numbers[i]))
            Find(FindingCode::NotFinite, field.name, offset + i * sizeof(T),
                 [&] { return std::string("a number is ") + (std::isnan(numbers[i]) ? "NaN" : "infinite"); });
}

const char* SceneWalk::Take(std::size_t count, std::string_view member)
{
    if (count > GetLeft())
        Lose(FindingCode::Cut, member, m_Position,
             [&] { return Plural(count, "byte") + " should follow, " + Show(GetLeft()) + " did"; });
    if (count > m_BlockEnd - m_BlockAt)
        FillBlock(count);
    const char* const bytes = m_Block.data() + m_BlockAt;
    m_BlockAt += count;
    m_Position += count;
    return bytes;
}

void SceneWalk::FillBlock(std::size_t least)
{
    const std::size_t kept = m_BlockEnd - m_BlockAt;
    m_Block.resize(s_BlockSize);
    std::memmove(m_Block.data(), m_Block.data() + m_BlockAt, kept);
    m_Stream.read(m_Block.data() + kept, static_cast<std::streamsize>(s_BlockSize - kept));
    m_BlockAt = 0;
    m_BlockEnd = kept + static_cast<std::size_t>(m_Stream.gcount());
    if (m_BlockEnd < least)
        throw FileError(ExitCannotRead, m_File, m_Position, "cannot be read",
                        "Copy the file to another disk and try again.");
}

const SceneWalk::Facts* SceneWalk::KnownObjects::Find(std::uint32_t key) const
{
    if (key - 1 < m_Counted.size() && m_Counted[key - 1].record != nullptr)
        return &m_Counted[key - 1];
    const auto found = m_Others.find(key);
    return found == m_Others.end() ? nullptr : &found->second;
}

void SceneWalk::KnownObjects::Begin(std::uint32_t key)
{
    if (key == m_Counted.size() + 1)
        m_Counted.emplace_back();
}

bool SceneWalk::KnownObjects::Record(std::uint32_t key, const Facts& facts)
{
    const bool isNew = Find(key) == nullptr;
    (key - 1 < m_Counted.size() ? m_Counted[key - 1] : m_Others[key]) = facts;
    return isNew;
}

void SceneWalk::Find(FindingCode code, std::string_view member, std::uint64_t offset,
                     const std::function<std::string()>& detail)
{
    const Frame& frame = m_Open.back();
    m_Findings.Add(code, frame.record != nullptr ? frame.record->className : std::string_view(), member, offset,
                   [&] { return std::pair(PathOf(member), detail()); });
}

void SceneWalk::Lose(FindingCode code, std::string_view member, std::uint64_t offset,
                     const std::function<std::string()>& detail)
{
    Find(code, member, offset, detail);
    throw OutOfStep();
}

std::string SceneWalk::PathOf(std::string_view member) const
{
    // The innermost levels are enough to find the place with the offset, and deep scenes would fill lines.
    static constexpr std::size_t s_MostLevels = 20;
    if (member == "header")
        return "header";
    std::string path = "roots[" + std::to_string(m_Open.front().complete) + "]";
    const std::size_t left = m_Open.size() > s_MostLevels ? m_Open.size() - s_MostLevels : 1;
    if (left > 1)
        path += ".(" + std::to_string(left - 1) + " levels)";
    std::string_view last;
    for (std::size_t i = left; i < m_Open.size(); ++i) {
        const Frame& frame = m_Open[i];
        if (!frame.inReferences || frame.field >= frame.record->fields.size())
            continue;
        const Field& field = frame.record->fields[frame.field];
        path.append(".").append(field.name);
        if (field.kind != FieldKind::Reference)
            path += "[" + std::to_string(frame.complete) + "]";
        last = i + 1 == m_Open.size() ? field.name : std::string_view();
    }
    if (!member.empty() && member != last)
        path.append(".").append(member);
    return path;
}
} // namespace Lumvo
