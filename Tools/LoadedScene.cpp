#include <Tools/LoadedScene.h>

#include <Tools/FileError.h>
#include <Tools/Output.h>
#include <Tools/SceneGraph.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/Serialize/ASceneReports.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>

#include <array>
#include <cstring>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace Lumvo {
namespace {

using namespace Kelvra;

/// A loading context that remembers where the file first had fewer bytes than were asked for.
class LoadContext : public ASceneSerializeContext
{
public:
    LoadContext(const std::filesystem::path& file, const std::function<void(std::uint64_t)>& progress)
        : ASceneSerializeContext(KvText::FromPath(file), false), m_Progress(progress)
    {}

    using ASceneSerializeContext::Read;
    void Read(void* data, int count) override
    {
        if (!m_EarlyEnd && count > 0 && static_cast<std::uint64_t>(count) > GetBytesLeft())
            m_EarlyEnd = EarlyEnd{GetPosition(), static_cast<std::uint64_t>(count), GetBytesLeft()};
        ASceneSerializeContext::Read(data, count);
        if (m_Progress && GetPosition() >= m_Told + s_Step) {
            m_Told = GetPosition();
            m_Progress(m_Told);
        }
    }

    [[nodiscard]] const std::optional<EarlyEnd>& GetEarlyEnd() const noexcept { return m_EarlyEnd; }

private:
    static constexpr std::uint64_t s_Step = 1 << 20;

    std::optional<EarlyEnd> m_EarlyEnd;
    const std::function<void(std::uint64_t)>& m_Progress;
    std::uint64_t m_Told = 0;
};

/// The bytes of an integer as they stand in the file, in hexadecimal.
std::string ShowBytes(std::int32_t value)
{
    static constexpr std::string_view s_Digits = "0123456789ABCDEF";
    std::array<unsigned char, sizeof value> bytes{};
    std::memcpy(bytes.data(), &value, sizeof value);
    std::string shown;
    for (const unsigned char byte : bytes) {
        shown += shown.empty() ? "" : " ";
        shown += s_Digits[byte >> 4];
        shown += s_Digits[byte & 15];
    }
    return shown;
}

[[noreturn]] void FailToOpen(const std::filesystem::path& file, const std::error_code& reason)
{
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(file, ignored);
    if (std::filesystem::is_directory(status))
        throw FileError(ExitCannotRead, file, std::nullopt, "is a folder, not a file", "Name a file inside it.");
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw FileError(ExitCannotRead, file, std::nullopt, "is a pipe or a device, not a regular file",
                        "Copy its contents into a file and name that one.");
    throw FileError(ExitCannotRead, file, std::nullopt, "cannot be opened: " + reason.message(),
                    "Check the name and that you may read the file.");
}

/// Says why a file that could be opened is no scene file.
[[noreturn]] void FailToBegin(const LoadContext& context, const std::filesystem::path& file)
{
    static constexpr std::uint64_t s_HeaderSize = 8;
    const std::uint64_t size = context.GetPosition();
    if (size >= sizeof(std::int32_t) && context.GetIdentifier() != ASceneSerializeContext::FileIdentifier)
        throw FileError(
            ExitCannotRead, file, std::optional<std::uint64_t>(0),
            "not a scene file: it begins with the bytes " + ShowBytes(context.GetIdentifier()) +
                " where a scene file has " + ShowBytes(ASceneSerializeContext::FileIdentifier),
            "Check that this is the file you mean; 'lumvo formats' lists the other formats that can be read.");
    throw FileError(ExitCannotRead, file, size,
                    "ends inside the header: it has " + Plural(size, "byte") + ", the header alone takes " +
                        Show(s_HeaderSize),
                    "Get a complete copy of the file.");
}

/// Says what ended a load, and what went wrong before it, which is often the reason.
[[noreturn]] void FailToLoad(const LoadContext& context, const LoadedScene& scene, std::string problem,
                             std::string advice)
{
    if (scene.messages.GetCount() > 0) {
        const Messages::Message& first = scene.messages.GetAll().front();
        advice += "\n       Trouble began at byte " + std::to_string(first.offset.value_or(0)) + ": " + first.text;
    }
    throw FileError(ExitCannotRead, scene.file, context.GetPosition(), std::move(problem), std::move(advice));
}

/// True for the one report that each reference gives which cannot be read.
bool IsFailedReference(const KvReport& report)
{
    const auto is = [&](const ASceneReport& other) {
        return report.line == other.line && std::string_view(report.source) == other.source;
    };
    return is(SceneReports::ObjectOfOtherType) || is(SceneReports::ReadTooDeep);
}

void LoadRoots(LoadContext& context, LoadedScene& scene)
{
    const KvAssertScope collecting([&](const KvReport& report) {
        scene.messages.Add(report, context.GetPosition());
        if (IsFailedReference(report))
            scene.statistics.OnFailedReference();
    });
    context.SetObserver(&scene.statistics);
    while (context.GetBytesLeft() > 0) {
        std::shared_ptr<ASceneNode> root;
        context.Collector().ReadPtr(root, context);
        ++scene.rootReferences;
        if (root) // a file of zeros holds very many empty ones
            scene.roots.push_back(std::move(root));
    }
}
} // namespace

std::string LoadedScene::GetFormat() const
{
    return origin ? Show(origin->title) : "scene file";
}

Json ToJson(const std::vector<Loss>& losses)
{
    Json all = Json::array();
    for (const Loss& loss : losses)
        all.push_back({{"what", loss.what}, {"count", loss.count}});
    return all;
}

bool IsSceneFile(const std::filesystem::path& file)
{
    ASceneSerializeContext context(KvText::FromPath(file), false);
    static_cast<void>(context.Begin());
    return context.GetIdentifier() == ASceneSerializeContext::FileIdentifier;
}

LoadedScene LoadScene(const std::filesystem::path& file, const std::function<void(std::uint64_t)>& progress)
{
    LoadedScene scene;
    scene.file = file;
    LoadContext context(file, progress);
    try {
        if (!context.Begin()) {
            if (context.GetError())
                FailToOpen(file, context.GetError());
            FailToBegin(context, file);
        }
        scene.version = context.GetVersion();
        LoadRoots(context, scene);
    } catch (const std::system_error& error) {
        FailToLoad(context, scene, "cannot be read: " + error.code().message(),
                   "Copy the file to another disk and try again.");
    } catch (const std::length_error&) {
        FailToLoad(context, scene, "the count before this byte reaches far beyond the end of the file",
                   "The file is damaged or incomplete: get another copy.");
    } catch (const std::bad_alloc&) {
        FailToLoad(context, scene, "not enough memory to load what follows",
                   "Free some memory; if there is plenty, the file is damaged.");
    }
    scene.size = context.GetPosition();
    scene.earlyEnd = context.GetEarlyEnd();
    context.End();
    KeepFourStyles(scene);
    return scene;
}

void KeepFourStyles(LoadedScene& scene)
{
    std::uint64_t others = 0;
    ForEachNode(scene.roots, [&](ASceneNode& node) {
        if (node.GetStyles().size() == ASceneNode::StyleCount)
            return;
        std::vector<std::shared_ptr<ANodeStyle>> styles = node.GetStyles();
        others += styles.size() - ASceneNode::StyleCount;
        styles.resize(ASceneNode::StyleCount);
        node.SetStyles(styles);
    });
    if (others > 0)
        scene.losses.push_back({"styles beyond the four of a node", others});
}

void PrintEarlyEnd(const LoadedScene& scene)
{
    if (scene.earlyEnd)
        std::cerr << "lumvo: " << ShowPath(scene.file) << ": note: at byte " << scene.earlyEnd->offset
                  << ": the file ends early: " << Plural(scene.earlyEnd->wanted, "byte") << " should follow, "
                  << Show(scene.earlyEnd->present) << " did; what is missing was left at its defaults\n";
}

void PrintLoadReport(const LoadedScene& scene)
{
    const std::string name = "lumvo: " + ShowPath(scene.file) + ": ";
    PrintEarlyEnd(scene);
    for (const Loss& loss : scene.losses)
        std::cerr << name << "note: left out, because a scene has no place for it: " << Show(loss.count) << " x "
                  << loss.what << '\n';
    if (scene.messages.GetCount() > 0)
        std::cerr << name << "loading reported " << Plural(scene.messages.GetCount(), "message") << ":\n";
    scene.messages.Print(std::cerr, "       ");
}

Json InputToJson(const LoadedScene& scene)
{
    return {{"file", PathToJson(scene.file)},  {"bytes", scene.size},
            {"format", scene.GetFormat()},     {"endsEarly", ToJson(scene.earlyEnd)},
            {"leftOut", ToJson(scene.losses)}, {"messages", scene.messages.ToJson()}};
}

Json ToJson(const std::optional<EarlyEnd>& earlyEnd)
{
    if (!earlyEnd)
        return nullptr;
    return {{"offset", earlyEnd->offset}, {"wanted", earlyEnd->wanted}, {"present", earlyEnd->present}};
}
} // namespace Lumvo
