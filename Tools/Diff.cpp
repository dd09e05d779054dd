#include <Tools/Json.h>
#include <Tools/Models.h>
#include <Tools/Output.h>
#include <Tools/RecordTable.h>
#include <Tools/SceneGraph.h>
#include <Tools/SceneRecords.h>
#include <Tools/Verbs.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/LumvoData.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Lumvo {
namespace {

using namespace Kelvra;

constexpr const char* s_Footer =
    "Both are walked side by side from their roots, so that objects are held against each other that stand at the\n"
    "same place. What differs in one member of one class is told once, with the path of the first and how often it\n"
    "differs. An object that is shared in one scene must be shared at the same places in the other.\n"
    "Two coordinates, colours or other numbers with fractions are alike when they differ by no more than --tolerance,\n"
    "or than that part of the greater of them; two NaN are alike. Objects of a module's own classes are compared by\n"
    "the bytes of their records.\n"
    "Exit codes: 0 alike, 1 they differ or one was not loaded whole, 3 a file cannot be read.\n"
    "JSON: {a, b, same, differences: [{kind, class, member, path, a, b, count}], in: [{file, bytes, format, "
    "endsEarly,\n"
    "       leftOut, messages}]}; kind is value, record, class, count, presence or sharing; same is null where "
    "nothing\n"
    "       differs in what was loaded, but not all was.\n"
    "Example: lumvo diff --tolerance 1e-5 before.scene after.scene";

struct Options
{
    std::string a;
    std::string b;
    ModelOptions model;
    double tolerance = 0;
    std::uint64_t most = 100;
    bool json = false;
};

struct Difference
{
    const char* kind;
    std::string className;
    std::string member;
    std::string path;
    std::string a;
    std::string b;
    std::uint64_t count = 1;
};

/// The records of a scene's objects, each by itself, what it holds as keys alone.
class Records : public RecordContext
{
public:
    explicit Records(const Roots& roots)
    {
        // One by one, because some may be nested too deeply to be stored with the roots; known ones take no time.
        for (const AObject* const object : SceneObjects(roots).objects)
            WithBase(*object, [this](auto& typed) {
                using T = std::decay_t<decltype(typed)>;
                Collector().WritePtr(std::shared_ptr<T>(std::shared_ptr<void>(), &typed), *this); // not owned
            });
    }
    /// The bytes, which stay until the next call.
    const std::string& Of(const AObject& object)
    {
        m_Bytes.clear();
        m_Taking = true;
        WithBase(object, [this](auto& typed) { typed.Serialize(*this); });
        m_Taking = false;
        return m_Bytes;
    }
    /// The objects of one kind by their keys, which count from 1 in the order of the scene; empty beyond the last.
    template <class T> std::shared_ptr<T> Find(long key) { return Collector().GetCollector<T>()->Find(key); }

private:
    /// Calls `use` with the object as what its collector keeps. Storing changes nothing; one function serves both
    /// directions, hence the cast.
    template <class Use> static void WithBase(const AObject& object, Use use)
    {
        static_cast<void>(WithBaseOf<ASceneNode>(object, use) || WithBaseOf<AEntity>(object, use) ||
                          WithBaseOf<ASubEntity>(object, use) || WithBaseOf<ANodeStyle>(object, use) ||
                          WithBaseOf<AMaterial>(object, use) || WithBaseOf<ATexture>(object, use));
    }
    template <class T, class Use> static bool WithBaseOf(const AObject& object, Use use)
    {
        const T* const typed = dynamic_cast<const T*>(&object);
        if (typed != nullptr)
            use(const_cast<T&>(*typed));
        return typed != nullptr;
    }
    void Put(const void* data, std::size_t count) override
    {
        if (m_Taking)
            m_Bytes.append(static_cast<const char*>(data), count);
    }

    std::string m_Bytes;
    bool m_Taking = false;
};

/// Takes a record apart, field by field.
class FieldReader
{
public:
    explicit FieldReader(const std::string& bytes) : m_Bytes(bytes) {}

    template <class T> T Take()
    {
        T value{};
        if (m_Bytes.size() - m_At >= sizeof value)
            std::memcpy(&value, m_Bytes.data() + m_At, sizeof value);
        Skip(sizeof value);
        return value;
    }
    void Skip(std::size_t count) { m_At = std::min(m_Bytes.size(), m_At + count); }
    /// The count of elements of so many bytes that follow.
    std::size_t TakeCount(std::size_t size)
    {
        const auto count = static_cast<std::size_t>(std::max(0, Take<std::int32_t>()));
        return std::min(count, (m_Bytes.size() - m_At) / size);
    }
    [[nodiscard]] std::size_t GetPosition() const noexcept { return m_At; }

private:
    const std::string& m_Bytes;
    std::size_t m_At = 0;
};

/// The member of a record that holds a reference.
struct Member
{
    std::string_view name;
    bool many = false; ///< It holds several.
};

/// \param record of the class; null for a module's own.
Member MemberOf(Role role, const RecordDescription* record)
{
    switch (role) {
    case Role::FaceStyle:
    case Role::EdgeStyle:
    case Role::TextStyle:
    case Role::HighlightStyle:
        return {"styles", true};
    case Role::Child:
        return {"children", true};
    case Role::Member:
        return {"members", true};
    case Role::Item: // of a list, or the only one of a simple entity
        return record != nullptr && record->fields.back().kind == FieldKind::Pointer ? Member{"item"}
                                                                                     : Member{"items", true};
    case Role::DiffuseTexture:
        return {"diffuseTexture"};
    case Role::ReflectionTexture:
        return {"reflectionTexture"};
    default: // called like their members
        return {NameOf(role)};
    }
}

class Comparison
{
public:
    Comparison(const Roots& a, const Roots& b, double tolerance) : m_RecordsA(a), m_RecordsB(b), m_Tolerance(tolerance)
    {
        m_Steps.push_back({});
        const std::size_t common = std::min(a.size(), b.size());
        for (std::size_t i = common; i-- > 0;)
            m_Ahead.push_back({a[i].get(), b[i].get(), 0, "roots", i});
        if (a.size() != b.size())
            Tell("count", {}, "roots", {}, Plural(a.size(), "root"), Plural(b.size(), "root"));
        CompareAhead();
        // Only objects of a module's own classes can hold others unseen. They pair by their keys, which mean the same
        // in both scenes as long as those are made alike.
        if (!m_SameStructure)
            return;
        CompareUnseen<ASceneNode>("ASceneNode");
        CompareUnseen<AEntity>("AEntity");
        CompareUnseen<ASubEntity>("ASubEntity");
        CompareUnseen<ANodeStyle>("ANodeStyle");
        CompareUnseen<AMaterial>("AMaterial");
        CompareUnseen<ATexture>("ATexture");
    }

    [[nodiscard]] const std::vector<Difference>& GetDifferences() const noexcept { return m_Differences; }

private:
    /// Two references at the same place.
    struct Pair
    {
        const AObject* a;
        const AObject* b;
        std::size_t holder; // in m_Steps
        std::string_view member;
        std::size_t index; // in a list or a vector
    };
    /// How an object was reached.
    struct Step
    {
        std::size_t holder = 0;
        std::string_view member;
        std::size_t index = 0;
    };
    static constexpr std::size_t s_Single = std::numeric_limits<std::size_t>::max();

    void CompareAhead()
    {
        while (!m_Ahead.empty()) {
            const Pair next = m_Ahead.back();
            m_Ahead.pop_back();
            Compare(next);
        }
    }

    template <class T> void CompareUnseen(std::string_view kind)
    {
        for (long key = 1;; ++key) {
            const std::shared_ptr<T> a = m_RecordsA.Find<T>(key);
            const std::shared_ptr<T> b = m_RecordsB.Find<T>(key);
            if (!a || !b)
                return;
            if (m_ToB.count(a.get()) > 0 || m_ToA.count(b.get()) > 0)
                continue;
            m_Ahead.push_back({a.get(), b.get(), 0, kind, static_cast<std::size_t>(key - 1)});
            CompareAhead();
        }
    }

    void Compare(const Pair& pair)
    {
        const auto className = [](const AObject& object) { return Show(object.GetRuntimeClassId().GetName()); };
        if (pair.a == nullptr || pair.b == nullptr) {
            if (pair.a != pair.b)
                Tell("presence", {}, std::string(pair.member), pair, pair.a != nullptr ? className(*pair.a) : "none",
                     pair.b != nullptr ? className(*pair.b) : "none");
            return;
        }
        const auto [toB, isNewA] = m_ToB.try_emplace(pair.a, pair.b);
        const auto [toA, isNewB] = m_ToA.try_emplace(pair.b, pair.a);
        if (!isNewA || !isNewB) {
            if (toB->second != pair.b || toA->second != pair.a)
                Tell("sharing", className(*pair.a), {}, pair,
                     isNewA ? "an object of its own" : "shared with another place",
                     isNewB ? "an object of its own" : "shared with another place");
            return;
        }
        if (pair.a->GetRuntimeClassId().GetName() != pair.b->GetRuntimeClassId().GetName())
            return Tell("class", {}, std::string(pair.member), pair, className(*pair.a), className(*pair.b));
        CompareRecords(pair);
        CompareHeld(pair);
    }

    void CompareHeld(const Pair& pair)
    {
        const RecordDescription* const record = FindRecord(pair.a->GetRuntimeClassId().GetName());
        const std::vector<Held> a = HeldBy(*pair.a);
        const std::vector<Held> b = HeldBy(*pair.b);
        m_Steps.push_back({pair.holder, pair.member, pair.index});
        std::vector<Pair> next;
        std::size_t first = 0; // of the member
        for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
            const Member member = MemberOf(a[i].role, record);
            first = member.name == MemberOf(a[first].role, record).name ? first : i;
            next.push_back(
                {a[i].object, b[i].object, m_Steps.size() - 1, member.name, member.many ? i - first : s_Single});
        }
        m_Ahead.insert(m_Ahead.end(), next.rbegin(), next.rend());
        if (a.size() == b.size())
            return;
        const Role list = (a.size() > b.size() ? a : b).back().role; // lists are last
        const auto countOf = [&](const std::vector<Held>& held) {
            return static_cast<std::uint64_t>(
                std::count_if(held.begin(), held.end(), [&](const Held& one) { return one.role == list; }));
        };
        Tell("count", Show(pair.a->GetRuntimeClassId().GetName()), std::string(MemberOf(list, record).name), pair,
             Plural(countOf(a), "reference"), Plural(countOf(b), "reference"));
    }

    /// Compares field by field what the record table knows, and the bytes of everything else: the records of a module's
    /// classes, and what those that go by the name of their base class add to its record.
    void CompareRecords(const Pair& pair)
    {
        const std::string& bytesA = m_RecordsA.Of(*pair.a);
        const std::string& bytesB = m_RecordsB.Of(*pair.b);
        if (bytesA == bytesB)
            return;
        FieldReader a(bytesA);
        FieldReader b(bytesB);
        if (const RecordDescription* const record = FindRecord(pair.a->GetRuntimeClassId().GetName()))
            for (const Field& field : record->fields)
                CompareField(pair, field, a, b);
        CompareBytes(pair, bytesA, a.GetPosition(), bytesB, b.GetPosition());
    }

    void CompareBytes(const Pair& pair, const std::string& a, std::size_t fromA, const std::string& b,
                      std::size_t fromB)
    {
        const auto begin = [](const std::string& bytes, std::size_t at) {
            return bytes.begin() + static_cast<std::ptrdiff_t>(at);
        };
        const auto [inA, inB] = std::mismatch(begin(a, fromA), a.end(), begin(b, fromB), b.end());
        if (inA == a.end() && inB == b.end())
            return;
        const auto describe = [](const std::string& bytes, std::string::const_iterator at) {
            const std::string size = Plural(bytes.size(), "byte");
            return at == bytes.end() ? size
                                     : size + ", " + std::to_string(static_cast<unsigned char>(*at)) + " at [" +
                                           std::to_string(at - bytes.begin()) + "]";
        };
        Tell("record", Show(pair.a->GetRuntimeClassId().GetName()), {}, pair, describe(a, inA), describe(b, inB));
    }

    void CompareField(const Pair& pair, const Field& field, FieldReader& a, FieldReader& b)
    {
        switch (field.kind) {
        case FieldKind::Integer:
            return CompareNumbers<std::int32_t>(pair, field, a, 1, b, 1);
        case FieldKind::Float:
            return CompareNumbers<float>(pair, field, a, 1, b, 1);
        case FieldKind::Flag:
            return CompareNumbers<std::uint8_t>(pair, field, a, 1, b, 1);
        case FieldKind::Point:
        case FieldKind::Matrix:
        case FieldKind::Box: {
            const std::size_t count = FixedSizeOf(field.kind) / sizeof(double);
            return CompareNumbers<double>(pair, field, a, count, b, count);
        }
        case FieldKind::Colour:
            CompareNumbers<float>(pair, field, a, 4, b, 4);
            a.Skip(16);
            return b.Skip(16);
        case FieldKind::Floats: {
            const std::size_t countA = a.TakeCount(sizeof(float));
            return CompareNumbers<float>(pair, field, a, countA, b, b.TakeCount(sizeof(float)));
        }
        case FieldKind::Indices: {
            const std::size_t countA = a.TakeCount(sizeof(std::uint32_t));
            return CompareNumbers<std::uint32_t>(pair, field, a, countA, b, b.TakeCount(sizeof(std::uint32_t)));
        }
        case FieldKind::Text: {
            const std::wstring textA = TakeText(a);
            const std::wstring textB = TakeText(b);
            if (textA != textB)
                TellField(pair, field, '"' + Show(textA, 60) + '"', '"' + Show(textB, 60) + '"');
            return;
        }
        case FieldKind::Vector: // references are compared as such; their keys mean nothing here
            for (FieldReader* const reader : {&a, &b}) {
                const std::size_t count = reader->TakeCount(4);
                reader->Skip(2 * reader->TakeCount(2));
                reader->Skip(4 * count);
            }
            return;
        case FieldKind::List:
            a.Skip(4 * a.TakeCount(4));
            return b.Skip(4 * b.TakeCount(4));
        case FieldKind::Pointer:
            a.Skip(4);
            return b.Skip(4);
        }
    }

    template <class T>
    void CompareNumbers(const Pair& pair, const Field& field, FieldReader& a, std::size_t countA, FieldReader& b,
                        std::size_t countB)
    {
        std::uint64_t different = 0;
        std::string firstA;
        std::string firstB;
        const std::size_t common = std::min(countA, countB);
        for (std::size_t i = 0; i < common; ++i) {
            const T numberA = a.Take<T>();
            const T numberB = b.Take<T>();
            if (AreAlike(numberA, numberB) || different++ > 0)
                continue;
            const std::string where = common > 1 ? " at [" + std::to_string(i) + "]" : "";
            firstA = NumberOf(numberA) + where;
            firstB = NumberOf(numberB) + where;
        }
        a.Skip((countA - common) * sizeof(T));
        b.Skip((countB - common) * sizeof(T));
        if (countA != countB)
            TellField(pair, field, Plural(countA, "number"), Plural(countB, "number"));
        else if (different > 0) {
            const std::string more = different > 1 ? ", the first of " + Show(different) : "";
            TellField(pair, field, firstA + more, firstB + more);
        }
    }
    /// With all its digits; JSON has no NaN and no infinity.
    template <class T> static std::string NumberOf(T number)
    {
        if constexpr (std::is_floating_point_v<T>)
            if (!std::isfinite(number))
                return Show(static_cast<double>(number));
        if constexpr (std::is_same_v<T, float>)
            return ToJson(number).dump();
        return Json(number).dump();
    }
    template <class T> [[nodiscard]] bool AreAlike(T a, T b) const
    {
        if constexpr (std::is_floating_point_v<T>) {
            if (std::isnan(a) && std::isnan(b))
                return true;
            const auto wideA = static_cast<double>(a);
            const auto wideB = static_cast<double>(b);
            if (std::isfinite(a) && std::isfinite(b))
                return std::abs(wideA - wideB) <= m_Tolerance * std::max({1.0, std::abs(wideA), std::abs(wideB)});
        }
        return a == b;
    }
    static std::wstring TakeText(FieldReader& reader)
    {
        std::u16string units(reader.TakeCount(sizeof(char16_t)), u'\0');
        for (char16_t& unit : units)
            unit = reader.Take<char16_t>();
        std::wstring text;
        KvText::FromUtf16(units, text);
        return text;
    }

    void TellField(const Pair& pair, const Field& field, const std::string& a, const std::string& b)
    {
        Tell("value", Show(pair.a->GetRuntimeClassId().GetName()), std::string(field.name), pair, a, b);
    }
    void Tell(const char* kind, const std::string& className, const std::string& member, const Pair& pair,
              const std::string& a, const std::string& b)
    {
        const std::string_view is = kind;
        m_SameStructure = m_SameStructure && (is == "value" || is == "record");
        const auto [known, isNew] = m_Known.try_emplace({kind, className, member}, m_Differences.size());
        if (isNew)
            m_Differences.push_back({kind, className, member, PathOf(pair), a, b});
        else
            ++m_Differences[known->second].count;
    }
    [[nodiscard]] std::string PathOf(const Pair& pair) const
    {
        // The outermost and the innermost levels show the place; a deep scene would fill lines.
        static constexpr std::size_t s_MostLevels = 20;
        std::vector<std::string> levels;
        Step step{pair.holder, pair.member, pair.index};
        std::size_t skipped = 0;
        while (!step.member.empty()) {
            if (levels.size() < s_MostLevels)
                levels.push_back(std::string(step.member) +
                                 (step.index == s_Single ? "" : "[" + std::to_string(step.index) + "]"));
            else
                ++skipped;
            step = m_Steps[step.holder];
        }
        std::string path = skipped > 0 ? "(" + std::to_string(skipped) + " levels)" : "";
        for (auto level = levels.rbegin(); level != levels.rend(); ++level)
            path += (path.empty() ? "" : ".") + *level;
        return path;
    }

    Records m_RecordsA;
    Records m_RecordsB;
    double m_Tolerance;
    std::vector<Pair> m_Ahead; // the next pair last
    std::vector<Step> m_Steps;
    std::unordered_map<const AObject*, const AObject*> m_ToB;
    std::unordered_map<const AObject*, const AObject*> m_ToA;
    std::map<std::tuple<std::string, std::string, std::string>, std::size_t> m_Known; // index in m_Differences
    std::vector<Difference> m_Differences;
    bool m_SameStructure = true; // so far
};

void Print(const Options& options, const std::vector<Difference>& differences, bool whole)
{
    const Screen screen = Screen::OfStandardOutput();
    std::uint64_t left = options.most == 0 ? differences.size() : options.most;
    for (const Difference& difference : differences) {
        if (left-- == 0)
            break;
        std::cout << screen.Paint(Screen::Strong, difference.kind) << ' '
                  << (difference.path.empty() ? difference.member : difference.path);
        if (!difference.className.empty())
            std::cout << ": " << difference.className << (difference.member.empty() ? "" : ".") << difference.member;
        std::cout << "\n  a  " << difference.a << "\n  b  " << difference.b << '\n';
        if (difference.count > 1)
            std::cout << "  " << Show(difference.count) << " times\n";
    }
    if (options.most != 0 && differences.size() > options.most)
        std::cout << "... " << Plural(differences.size() - options.most, "more difference")
                  << " (--max-issues 0 shows all)\n";
    std::cout << ShowPath(options.a) << " and " << ShowPath(options.b) << ": "
              << screen.Paint(Screen::Strong, !differences.empty() ? "they differ"
                                              : whole              ? "alike"
                                                                   : "no differences in what could be loaded")
              << '\n';
}

std::vector<Difference> Compare(const Roots& a, const Roots& b, double tolerance)
{
    const KvAssertScope quiet([](const KvReport&) {}); // of objects that are nested too deeply to be stored
    return Comparison(a, b, tolerance).GetDifferences();
}

ExitCode RunDiff(const Options& options)
{
    ModelLoader loader(options.model);
    const LoadedScene a = loader.Load(options.a);
    const LoadedScene b = loader.Load(options.b);
    const bool whole = a.IsWhole() && b.IsWhole();
    const std::vector<Difference> differences = Compare(a.roots, b.roots, options.tolerance);
    if (options.json) {
        Json all = Json::array();
        for (const Difference& difference : differences)
            all.push_back({{"kind", difference.kind},
                           {"class", difference.className},
                           {"member", difference.member},
                           {"path", difference.path},
                           {"a", difference.a},
                           {"b", difference.b},
                           {"count", difference.count}});
        PrintJson(Json{{"a", PathToJson(options.a)},
                       {"b", PathToJson(options.b)},
                       {"same", differences.empty() && !whole ? Json(nullptr) : Json(differences.empty())},
                       {"differences", std::move(all)},
                       {"in", {InputToJson(a), InputToJson(b)}}});
    } else
        Print(options, differences, whole);
    std::cout.flush(); // keeps its place before the notes
    PrintLoadReport(a);
    PrintLoadReport(b);
    return differences.empty() && whole ? ExitFine : ExitFindings;
}
} // namespace

void AddDiff(CLI::App& app, Run& run)
{
    CLI::App* const verb = app.add_subcommand("diff", "Compare two scenes or models by structure, content and sharing");
    const auto options = std::make_shared<Options>();
    verb->footer(s_Footer);
    verb->add_option("A", options->a, "A scene file, a model, or - for standard input")->required()->type_name("");
    verb->add_option("B", options->b, "What to hold it against")->required()->type_name("");
    options->model.AddTo(*verb);
    verb->add_option("--tolerance", options->tolerance, "By how much numbers may differ [0]")
        ->check(CLI::NonNegativeNumber)
        ->type_name("T");
    verb->add_option("--max-issues", options->most, "Show this many differences, 0 for all [100]")
        ->check(CLI::NonNegativeNumber)
        ->type_name("N");
    verb->add_flag("--json", options->json, "Print one JSON document");
    verb->callback([options, &run] { run = [options] { return RunDiff(*options); }; });
}
} // namespace Lumvo
