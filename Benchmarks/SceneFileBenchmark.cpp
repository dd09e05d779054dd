/// \file
/// Saves and loads three kinds of scene, and beside each measures what to compare with: the same bytes moved as one
/// block, and the same objects made in memory without a file.
///
/// What is saved and loaded is checked outside the timed part; a scene that comes back wrong ends the program
/// with exit status 1.

#include <LumvoData/LumvoData.h>

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace {

using namespace Kelvra;
using Node = std::shared_ptr<ASceneNode>;
namespace fs = std::filesystem;

void Require(bool condition, const std::string& what)
{
    if (!condition)
        throw std::runtime_error(what);
}

/// A folder for the files of one run, removed with all that is in it.
class TemporaryFolder
{
public:
    TemporaryFolder()
        : m_Path(fs::temp_directory_path() / ("lumvodata-benchmark-" + std::to_string(std::random_device()())))
    {
        Require(fs::create_directory(m_Path), m_Path.string() + ": exists already");
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        fs::remove_all(m_Path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const fs::path& Path() const noexcept { return m_Path; }

private:
    fs::path m_Path;
};

// --- Files -----------------------------------------------------------------------------------------------

void Save(Node root, const fs::path& path)
{
    ASceneSerializeContext context(path.wstring(), true);
    Require(context.Begin(), path.string() + ": cannot be created");
    context.Collector().WritePtr<ASceneNode>(root, context);
    context.End();
}

Node Load(const fs::path& path)
{
    ASceneSerializeContext context(path.wstring(), false);
    Require(context.Begin(), path.string() + ": is no scene file");
    Node root;
    context.Collector().ReadPtr<ASceneNode>(root, context);
    Require(context.GetBytesLeft() == 0, path.string() + ": not read to its end");
    context.End();
    return root;
}

struct Block
{
    std::unique_ptr<char[]> bytes; // not a vector, which would fill them with zeros first
    std::size_t size;
};

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File OpenUnbuffered(const fs::path& path, const char* mode)
{
    File file(std::fopen(path.string().c_str(), mode), &std::fclose);
    Require(file != nullptr, path.string() + ": cannot be opened");
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

Block ReadBlock(const fs::path& path)
{
    const auto size = static_cast<std::size_t>(fs::file_size(path));
    Block block{std::unique_ptr<char[]>(new char[size]), size};
    const File file = OpenUnbuffered(path, "rb");
    Require(std::fread(block.bytes.get(), 1, size, file.get()) == size, path.string() + ": cannot be read");
    return block;
}

void WriteBlock(const Block& block, const fs::path& path)
{
    File file = OpenUnbuffered(path, "wb");
    Require(std::fwrite(block.bytes.get(), 1, block.size, file.get()) == block.size && std::fclose(file.release()) == 0,
            path.string() + ": cannot be written");
}

// --- Scenes ----------------------------------------------------------------------------------------------

AMath::Matrix4 Translation(double x, double y, double z)
{
    AMath::Matrix4 matrix = AMath::Matrix4::IDENTITY;
    matrix[12] = x;
    matrix[13] = y;
    matrix[14] = z;
    return matrix;
}

/// Meshes of 100,000 vertices with normals, texture coordinates and 200,000 triangles, one to a node.
Node MakeMeshes(int count)
{
    constexpr std::size_t vertices = 100'000;
    constexpr std::size_t indices = 600'000;
    auto root = std::make_shared<AGroupSceneNode>();
    for (int i = 0; i < count; ++i) {
        auto mesh = std::make_shared<ASubMesh>();
        const auto fill = [i](std::vector<float>& buffer, std::size_t size) {
            buffer.resize(size);
            for (std::size_t k = 0; k < size; ++k)
                buffer[k] = static_cast<float>(k) + static_cast<float>(i) * 0.25F;
        };
        fill(mesh->VertexBuffer(), 3 * vertices);
        fill(mesh->NormalBuffer(), 3 * vertices);
        fill(mesh->TexCoordBuffer(), 2 * vertices);
        mesh->IndexBuffer().resize(indices);
        for (std::size_t k = 0; k < indices; ++k)
            mesh->IndexBuffer()[k] = static_cast<unsigned>((k + static_cast<std::size_t>(i)) % vertices);
        auto entity = std::make_shared<AMeshEntity>();
        entity->SetItem(mesh);
        auto node = std::make_shared<AEntitySceneNode>();
        node->SetId(i);
        node->SetEntity(entity);
        root->AddChildNode(node);
    }
    return root;
}

const ASubMesh& MeshOf(const Node& node)
{
    const auto entityNode = std::dynamic_pointer_cast<AEntitySceneNode>(node);
    Require(entityNode != nullptr, "an entity node was lost");
    const auto entity = std::dynamic_pointer_cast<AMeshEntity>(entityNode->GetEntity());
    Require(entity && entity->GetItem(), "a mesh was lost");
    return *entity->GetItem();
}

const AGroupSceneNode& AsGroup(const Node& node)
{
    const auto* const group = dynamic_cast<const AGroupSceneNode*>(node.get());
    Require(group != nullptr, "a group was lost");
    return *group;
}

void CheckMeshes(const Node& made, const Node& loaded, int count)
{
    const auto& expected = AsGroup(made).GetChildNodes();
    const auto& found = AsGroup(loaded).GetChildNodes();
    Require(AsGroup(loaded).GetChildCount() == count, "meshes: another number came back");
    for (auto e = expected.begin(), f = found.begin(); e != expected.end(); ++e, ++f) {
        const ASubMesh& a = MeshOf(*e);
        const ASubMesh& b = MeshOf(*f);
        Require(a.VertexBuffer() == b.VertexBuffer() && a.IndexBuffer() == b.IndexBuffer() &&
                    a.NormalBuffer() == b.NormalBuffer() && a.TexCoordBuffer() == b.TexCoordBuffer(),
                "meshes: a buffer came back changed");
    }
}

constexpr int NodesOfGroup = 200;
constexpr int SharedStyles = 16;
constexpr int SharedMeshes = 500;

/// Entity nodes, 200 to a group, each with its own transform and box, that share 16 styles and 500 cubes.
Node MakeNodes(int count)
{
    std::vector<std::shared_ptr<ANodeStyle>> styles;
    for (int i = 0; i < SharedStyles / 2; ++i) {
        styles.push_back(std::make_shared<AFaceStyle>());
        styles.push_back(std::make_shared<ALineStyle>(static_cast<float>(i), AMath::ColourValue::Red));
    }
    std::vector<std::shared_ptr<AMeshEntity>> entities;
    for (int i = 0; i < SharedMeshes; ++i) {
        auto cube = std::make_shared<ASubMesh>();
        cube->VertexBuffer().assign(8 * 3, static_cast<float>(i));
        cube->IndexBuffer().assign(12 * 3, 7U);
        entities.push_back(std::make_shared<AMeshEntity>());
        entities.back()->SetItem(cube);
        entities.back()->SetBBox({AMath::Vector3::ZERO, {1.0, 1.0, static_cast<double>(i)}});
    }
    auto root = std::make_shared<AGroupSceneNode>();
    for (int i = 0; i < count;) {
        auto group = std::make_shared<AGroupSceneNode>();
        for (const int end = i + NodesOfGroup; i < end; ++i) {
            auto node = std::make_shared<AEntitySceneNode>();
            node->SetId(i);
            node->SetTransform(Translation(i, 2.0 * i, 3.0 * i));
            node->SetEntity(entities[static_cast<std::size_t>(i % SharedMeshes)]);
            node->SetStyle(StyleFace, styles[static_cast<std::size_t>(2 * i % SharedStyles)]);
            node->SetStyle(StyleEdge, styles[static_cast<std::size_t>((2 * i + 1) % SharedStyles)]);
            group->AddChildNode(node);
        }
        root->AddChildNode(group);
    }
    return root;
}

void CheckNodes(const Node&, const Node& loaded, int count)
{
    std::map<int, const void*> styles;   // by the number that the scene was made with
    std::map<int, const void*> entities; // likewise
    std::set<const void*> distinct;
    int next = 0;
    const auto same = [&](std::map<int, const void*>& known, int number, const void* object) {
        distinct.insert(object);
        return object != nullptr && known.emplace(number, object).first->second == object;
    };
    for (const Node& group : AsGroup(loaded).GetChildNodes()) {
        for (const Node& child : AsGroup(group).GetChildNodes()) {
            const auto* const node = dynamic_cast<const AEntitySceneNode*>(child.get());
            Require(node != nullptr && node->GetId() == next, "nodes: lost or out of order");
            Require(node->GetTransform()[14] == 3.0 * next, "nodes: a transform came back changed");
            Require(same(entities, next % SharedMeshes, node->GetEntity().get()) &&
                        same(styles, 2 * next % SharedStyles, node->GetStyle(StyleFace).get()) &&
                        same(styles, (2 * next + 1) % SharedStyles, node->GetStyle(StyleEdge).get()),
                    "nodes: what was shared is not shared any more");
            ++next;
        }
    }
    Require(next == count, "nodes: another number came back");
    Require(distinct.size() == SharedStyles + SharedMeshes, "nodes: other objects are shared than were");
}

/// Texts of 24 characters in one list.
Node MakeTexts(int count)
{
    auto list = std::make_shared<ATextListEntity>();
    for (int i = 0; i < count; ++i) {
        auto text = std::make_shared<ASubText>();
        const std::wstring number = std::to_wstring(i);
        text->SetText(std::wstring(24 - number.size(), L'#') + number);
        text->SetPosition({1.0 * i, 2.0 * i, 3.0 * i});
        list->AddItem(text);
    }
    auto root = std::make_shared<AEntitySceneNode>();
    root->SetEntity(list);
    return root;
}

const ATextListEntity& TextsOf(const Node& root)
{
    const auto* const node = dynamic_cast<const AEntitySceneNode*>(root.get());
    const auto* const list = node == nullptr ? nullptr : dynamic_cast<const ATextListEntity*>(node->GetEntity().get());
    Require(list != nullptr, "the list of texts was lost");
    return *list;
}

void CheckTexts(const Node& made, const Node& loaded, int count)
{
    const auto& expected = TextsOf(made).GetItems();
    const auto& found = TextsOf(loaded).GetItems();
    Require(found.size() == static_cast<std::size_t>(count), "texts: another number came back");
    for (auto e = expected.begin(), f = found.begin(); e != expected.end(); ++e, ++f)
        Require((*e)->GetText() == (*f)->GetText() && (*e)->GetPosition() == (*f)->GetPosition(),
                "texts: one came back changed");
}

// --- Benchmarks ------------------------------------------------------------------------------------------

struct Kind
{
    const char* name;
    int small;
    int large;
    Node (*make)(int count);
    void (*check)(const Node& made, const Node& loaded, int count);
    std::int64_t (*objects)(int count); // how many a file holds
};

const Kind s_Kinds[] = {
    {"Meshes", 1, 64, MakeMeshes, CheckMeshes, [](int count) { return std::int64_t{1} + 3 * count; }},
    {"Nodes", 2'000, 200'000, MakeNodes, CheckNodes,
     [](int count) { return std::int64_t{1} + count / NodesOfGroup + count + SharedStyles + 2 * SharedMeshes; }},
    {"Texts", 2'000, 200'000, MakeTexts, CheckTexts, [](int count) { return std::int64_t{2} + count; }},
};

/// A scene and the file that it was saved into.
struct Scene
{
    const Kind& kind;
    int count;
    Node root;
    fs::path file;
    std::int64_t bytes;
};

/// The scene of that kind and size, made, saved and checked on first use and kept for the rest of the run.
const Scene& SceneOf(const Kind& kind, int count, const fs::path& folder)
{
    static std::map<std::string, Scene> s_Scenes;
    const std::string name = std::string(kind.name) + std::to_string(count);
    const auto known = s_Scenes.find(name);
    if (known != s_Scenes.end())
        return known->second;
    Scene scene{kind, count, kind.make(count), folder / (name + ".scene"), 0};
    Save(scene.root, scene.file);
    kind.check(scene.root, Load(scene.file), count);
    scene.bytes = static_cast<std::int64_t>(fs::file_size(scene.file));
    return s_Scenes.emplace(name, std::move(scene)).first->second;
}

void CountFile(benchmark::State& state, const Scene& scene)
{
    state.SetBytesProcessed(state.iterations() * scene.bytes);
    state.SetItemsProcessed(state.iterations() * scene.kind.objects(scene.count));
}

/// Times `write`, which makes the file anew each time, and compares the last file with the scene's own.
void TimeWriting(benchmark::State& state, const Scene& scene, const std::function<void(const fs::path&)>& write)
{
    const fs::path file = scene.file.parent_path() / "written.scene";
    for ([[maybe_unused]] auto iteration : state) {
        state.PauseTiming();
        fs::remove(file);
        state.ResumeTiming();
        write(file);
    }
    const Block expected = ReadBlock(scene.file);
    const Block written = ReadBlock(file);
    Require(std::string_view(expected.bytes.get(), expected.size) ==
                std::string_view(written.bytes.get(), written.size),
            "the same scene gave other bytes");
    fs::remove(file);
    CountFile(state, scene);
}

/// Times `make`, without the time that it takes to free what was made, and hands the last result to `check`.
template <class Make, class Check> void TimeMaking(benchmark::State& state, const Scene& scene, Make make, Check check)
{
    decltype(make()) made{};
    for ([[maybe_unused]] auto iteration : state) {
        state.PauseTiming();
        made = {};
        state.ResumeTiming();
        made = make();
        benchmark::DoNotOptimize(made);
    }
    check(made);
    CountFile(state, scene);
}

void Register(const Kind& kind, int count, const fs::path& folder)
{
    const auto add = [&](const char* what, auto run) {
        const std::string name = std::string(what) + '/' + kind.name + '/' + std::to_string(count);
        const auto timed = [&kind, count, folder, run](benchmark::State& state) {
            run(state, SceneOf(kind, count, folder));
        };
        benchmark::RegisterBenchmark(name.c_str(), timed)->UseRealTime()->Unit(benchmark::kMillisecond);
    };
    add("Save", [](benchmark::State& state, const Scene& scene) {
        TimeWriting(state, scene, [&](const fs::path& file) { Save(scene.root, file); });
    });
    add("SaveLimitWriteBlock", [](benchmark::State& state, const Scene& scene) {
        const Block block = ReadBlock(scene.file);
        TimeWriting(state, scene, [&](const fs::path& file) { WriteBlock(block, file); });
    });
    add("Load", [](benchmark::State& state, const Scene& scene) {
        TimeMaking(
            state, scene, [&] { return Load(scene.file); },
            [&](const Node& loaded) { scene.kind.check(scene.root, loaded, scene.count); });
    });
    add("LoadLimitReadBlock", [](benchmark::State& state, const Scene& scene) {
        TimeMaking(
            state, scene, [&] { return ReadBlock(scene.file); },
            [&](const Block& block) { Require(block.size > 0, "nothing was read"); });
    });
    if (kind.make == MakeMeshes)
        return; // a few large objects: the bytes are the limit
    add("LoadLimitMakeObjects", [](benchmark::State& state, const Scene& scene) {
        TimeMaking(
            state, scene, [&] { return scene.kind.make(scene.count); },
            [&](const Node& made) { scene.kind.check(scene.root, made, scene.count); });
    });
}
} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    try {
        const TemporaryFolder folder;
        const KvAssertScope strict([](const KvReport& report) {
            throw std::runtime_error("reported while loading: " + KvText::ToUtf8(report.message));
        });
        for (const Kind& kind : s_Kinds) {
            Register(kind, kind.small, folder.Path());
            Register(kind, kind.large, folder.Path());
        }
        return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
