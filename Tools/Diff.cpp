#include <Tools/Json.h>
#include <Tools/Models.h>
#include <Tools/Output.h>
#include <Tools/SceneGraph.h>
#include <Tools/Verbs.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/LumvoData.h>

#include <algorithm>
#include <cmath>
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
#include <variant>
#include <vector>

namespace Lumvo {
namespace {

using namespace Kelvra;

constexpr const char* s_Footer =
    "Both are walked side by side from their roots, so that objects are held against each other that stand at the\n"
    "same place. What differs in one member of one class is told once, with the path of the first and how often it\n"
    "differs. An object that is shared in one scene must be shared at the same places in the other.\n"
    "Two coordinates, colours or other numbers with fractions are alike when they differ by no more than --tolerance,\n"
    "or than that part of the greater of them; two NaN are alike. What a module's class\n"
    "stores without a name is compared byte by byte.\n"
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

/// The fields of one object, copied.
class Fields : public ASceneFieldVisitor
{
public:
    using Value = std::variant<std::int32_t, float, double, bool, AMath::Vector3, AMath::Matrix4, AMath::AxisAlignedBox,
                               AMath::ColourValue, std::wstring, std::vector<float>, std::vector<std::uint32_t>>;
    struct Plain
    {
        const char* name;
        Value value;
    };
    struct References
    {
        ASceneReferenceField field;
        std::vector<const AObject*> objects;
    };

    std::vector<Plain> plain;
    std::vector<References> references;
    std::string unnamed; ///< Bytes that the class stores without a name.

    explicit Fields(const AObject& object)
    {
        VisitFields(const_cast<AObject&>(object), *this); // which changes nothing
    }

private:
    void OnField(const ASceneField& field) override
    {
        plain.push_back({field.name, std::visit([](const auto* value) { return Value(*value); }, field.value)});
    }
    void OnReferences(const ASceneReferenceField& field, std::size_t count) override
    {
        references.push_back({field, {}});
        references.back().objects.reserve(count);
    }
    void OnReference(const ASceneReferenceField& /*field*/, std::shared_ptr<AObject>& object) override
    {
        references.back().objects.push_back(object.get());
    }
    void OnBytes(const void* data, std::size_t count) override
    {
        unnamed.append(static_cast<const char*>(data), count);
    }
};

/// The numbers that a value consists of.
template <class T> struct Numbers
{
    const T* first;
    std::size_t count;
};
template <class T> Numbers<T> NumbersOf(const T& number)
{
    return {&number, 1};
}
template <class T> Numbers<T> NumbersOf(const std::vector<T>& numbers)
{
    return {numbers.data(), numbers.size()};
}
Numbers<double> NumbersOf(const AMath::Vector3& point)
{
    return {&point.x, 3};
}
Numbers<double> NumbersOf(const AMath::Matrix4& matrix)
{
    return {&matrix[0], 16};
}
Numbers<float> NumbersOf(const AMath::ColourValue& colour)
{
    return {&colour.r, 4};
}

class Comparison
{
public:
    Comparison(const Roots& a, const Roots& b, double tolerance) : m_Tolerance(tolerance)
    {
        m_Steps.push_back({});
        const std::size_t common = std::min(a.size(), b.size());
        for (std::size_t i = common; i-- > 0;)
            m_Ahead.push_back({a[i].get(), b[i].get(), 0, "roots", i});
        if (a.size() != b.size())
            Tell("count", {}, "roots", {}, Plural(a.size(), "root"), Plural(b.size(), "root"));
        while (!m_Ahead.empty()) {
            const Pair next = m_Ahead.back();
            m_Ahead.pop_back();
            Compare(next);
        }
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
        const Fields a(*pair.a);
        const Fields b(*pair.b);
        CompareValues(pair, a, b);
        CompareReferences(pair, a, b);
    }

    void CompareReferences(const Pair& pair, const Fields& a, const Fields& b)
    {
        m_Steps.push_back({pair.holder, pair.member, pair.index});
        std::vector<Pair> next;
        for (std::size_t k = 0; k < std::min(a.references.size(), b.references.size()); ++k) {
            const auto& [field, objectsA] = a.references[k];
            const char* const name = *field.name != '\0' ? field.name : "reference"; // a module's, without a name
            const std::vector<const AObject*>& objectsB = b.references[k].objects;
            for (std::size_t i = 0; i < std::min(objectsA.size(), objectsB.size()); ++i)
                next.push_back({objectsA[i], objectsB[i], m_Steps.size() - 1, name,
                                field.kind == ASceneFieldKind::Reference ? s_Single : i});
            if (objectsA.size() != objectsB.size())
                Tell("count", Show(pair.a->GetRuntimeClassId().GetName()), name, pair,
                     Plural(objectsA.size(), "reference"), Plural(objectsB.size(), "reference"));
        }
        m_Ahead.insert(m_Ahead.end(), next.rbegin(), next.rend());
    }

    void CompareValues(const Pair& pair, const Fields& a, const Fields& b)
    {
        for (std::size_t k = 0; k < std::min(a.plain.size(), b.plain.size()); ++k) {
            const auto compare = [&](const auto& valueA) {
                using T = std::decay_t<decltype(valueA)>;
                if (const T* const valueB = std::get_if<T>(&b.plain[k].value))
                    CompareValue(pair, a.plain[k].name, valueA, *valueB);
            };
            std::visit(compare, a.plain[k].value);
        }
        CompareBytes(pair, a.unnamed, b.unnamed);
    }

    void CompareBytes(const Pair& pair, const std::string& a, const std::string& b)
    {
        const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
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

    template <class T> void CompareValue(const Pair& pair, const char* name, const T& a, const T& b)
    {
        CompareNumbers(pair, name, NumbersOf(a), NumbersOf(b));
    }
    void CompareValue(const Pair& pair, const char* name, const AMath::AxisAlignedBox& a,
                      const AMath::AxisAlignedBox& b)
    {
        const AMath::Vector3 cornersA[] = {a.getMinimum(), a.getMaximum()};
        const AMath::Vector3 cornersB[] = {b.getMinimum(), b.getMaximum()};
        CompareNumbers<double>(pair, name, {&cornersA[0].x, 6}, {&cornersB[0].x, 6});
    }
    void CompareValue(const Pair& pair, const char* name, const std::wstring& a, const std::wstring& b)
    {
        if (a != b)
            TellValue(pair, name, '"' + Show(a, 60) + '"', '"' + Show(b, 60) + '"');
    }

    template <class T> void CompareNumbers(const Pair& pair, const char* name, Numbers<T> a, Numbers<T> b)
    {
        if (a.count != b.count)
            return TellValue(pair, name, Plural(a.count, "number"), Plural(b.count, "number"));
        std::uint64_t different = 0;
        std::size_t first = 0;
        for (std::size_t i = 0; i < a.count; ++i)
            if (!AreAlike(a.first[i], b.first[i]) && different++ == 0)
                first = i;
        if (different == 0)
            return;
        const std::string where = (a.count > 1 ? " at [" + std::to_string(first) + "]" : "") +
                                  (different > 1 ? ", the first of " + Show(different) : "");
        TellValue(pair, name, NumberOf(a.first[first]) + where, NumberOf(b.first[first]) + where);
    }
    /// With all its digits; JSON has no NaN and no infinity.
    template <class T> static std::string NumberOf(T number)
    {
        if constexpr (std::is_floating_point_v<T>)
            if (!std::isfinite(number))
                return Show(static_cast<double>(number));
        if constexpr (std::is_same_v<T, bool>)
            return number ? "1" : "0";
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
    void TellValue(const Pair& pair, const char* name, const std::string& a, const std::string& b)
    {
        Tell("value", Show(pair.a->GetRuntimeClassId().GetName()), name, pair, a, b);
    }
    void Tell(const char* kind, const std::string& className, const std::string& member, const Pair& pair,
              const std::string& a, const std::string& b)
    {
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

    double m_Tolerance;
    std::vector<Pair> m_Ahead; // the next pair last
    std::vector<Step> m_Steps;
    std::unordered_map<const AObject*, const AObject*> m_ToB;
    std::unordered_map<const AObject*, const AObject*> m_ToA;
    std::map<std::tuple<std::string, std::string, std::string>, std::size_t> m_Known; // index in m_Differences
    std::vector<Difference> m_Differences;
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

ExitCode RunDiff(const Options& options)
{
    ModelLoader loader(options.model);
    const LoadedScene a = loader.Load(options.a);
    const LoadedScene b = loader.Load(options.b);
    const bool whole = a.IsWhole() && b.IsWhole();
    const Comparison comparison(a.roots, b.roots, options.tolerance);
    const std::vector<Difference>& differences = comparison.GetDifferences();
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
