#include <Tests/Support/SceneFileTest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

using namespace Kelvra;

namespace {

constexpr int s_Threads = 4;
constexpr int s_Rounds = 50;

void InThreads(const std::function<void(int thread, int round)>& run)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < s_Threads; ++thread)
        threads.emplace_back([&, thread] {
            for (int round = 0; round < s_Rounds; ++round)
                run(thread, round);
        });
    for (std::thread& thread : threads)
        thread.join();
}

/// Nodes that share a golden style and show two entities by turns.
std::shared_ptr<AGroupSceneNode> MakeScene(int nodes)
{
    const auto style = std::make_shared<AFaceStyle>();
    style->SetMaterial(TSingleton<ASystemMaterialTable>::Instance().FindMaterial(L"gold"));
    const std::shared_ptr<AEntity> entities[] = {std::make_shared<AMeshEntity>(), std::make_shared<ATextListEntity>()};
    auto scene = std::make_shared<AGroupSceneNode>();
    for (int id = 0; id < nodes; ++id) {
        const auto node = std::make_shared<AEntitySceneNode>();
        node->SetId(id);
        node->SetEntity(entities[id % 2]);
        node->SetStyle(StyleFace, style);
        scene->AddChildNode(node);
    }
    return scene;
}

void SaveScene(const std::shared_ptr<ASceneNode>& scene, const std::wstring& fileName)
{
    ASceneSerializeContext context(fileName, true);
    EXPECT_TRUE(context.Begin());
    context.Collector().WritePtr(scene, context);
    context.End();
}

std::shared_ptr<AGroupSceneNode> LoadScene(const std::wstring& fileName)
{
    ASceneSerializeContext context(fileName, false);
    EXPECT_TRUE(context.Begin());
    std::shared_ptr<ASceneNode> scene;
    context.Collector().ReadPtr(scene, context);
    context.End();
    return std::dynamic_pointer_cast<AGroupSceneNode>(scene);
}

using Threads = SceneFileTest;

// A scene that no thread changes is read by all; the scenes that they load are their own.
TEST_F(Threads, SaveOneSceneAndLoadTheirOwn)
{
    const auto scene = MakeScene(30);
    InThreads([&](int thread, int) {
        SaveScene(scene, FileName(std::to_string(thread)));
        const auto loaded = LoadScene(FileName(std::to_string(thread)));
        ASSERT_EQ(loaded->GetChildCount(), scene->GetChildCount());
        EXPECT_EQ(loaded->GetChildNodes().back()->GetStyle(StyleFace).use_count(), 30);
    });
}

// Each thread receives the reports of its own file, and the process those of threads without a scope.
TEST_F(Threads, ReceiveTheirOwnReports)
{
    WriteFile(Bytes::Header().Int(1).Text(u"AGhost")); // not created, and then not a node: two reports
    std::atomic<int> others{0};
    const KvAssert::Handler count = [&](const KvReport&) { ++others; };
    const KvAssert::Handler former = KvAssert::SetHandler(count);
    InThreads([&](int, int) {
        KvAssert::SetHandler(count);
        EXPECT_EQ(LoadScene(FileName()), nullptr);
        int reports = 0;
        const KvAssertScope scope([&](const KvReport&) { ++reports; });
        EXPECT_EQ(LoadScene(FileName()), nullptr);
        EXPECT_EQ(reports, 2);
    });
    KvAssert::SetHandler(former);
    EXPECT_EQ(others, 2 * s_Threads * s_Rounds);
}

TEST_F(Threads, ReleasePartsOfOneScene)
{
    SaveScene(MakeScene(1000), FileName());
    std::vector<std::shared_ptr<ASceneNode>> nodes[s_Threads];
    const auto scene = LoadScene(FileName());
    for (const auto& node : scene->GetChildNodes())
        nodes[node->GetId() % s_Threads].push_back(node);
    scene->ClearChildren();
    InThreads([&](int thread, int) { nodes[thread].resize(nodes[thread].size() * 9 / 10); });
}

class TestService : public AMeshFileService
{
    std::shared_ptr<AEntity> OnLoadFile(const std::wstring&) override
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1)); // others load the same name meanwhile
        return std::make_shared<AGroupEntity>();
    }
};

TEST_F(Threads, GetOneObjectForOneNameFromAService)
{
    TestService service;
    std::vector<std::shared_ptr<AEntity>> loaded[s_Threads];
    InThreads([&](int thread, int round) { loaded[thread].push_back(service.LoadFile(std::to_wstring(round))); });
    for (const auto& objects : loaded)
        EXPECT_EQ(objects, loaded[0]);
}

TEST_F(Threads, ShareTheRegistries)
{
    auto& services = TSingleton<AMeshFileServiceManager>::Instance();
    auto& collectors = TSingleton<AScenePtrCollectorFactory>::Instance();
    using Collector = TScenePtrCollector<std::shared_ptr<AMaterial>>;
    SaveScene(MakeScene(30), FileName());
    InThreads([&](int thread, int) {
        const std::wstring name = std::to_wstring(thread);
        const auto service = std::make_shared<TestService>();
        service->SetName(name);
        EXPECT_TRUE(services.AddObject(service));
        collectors.RegisterObject(
            name, std::make_shared<TObjectCreator<Collector, TObjectCreatorBase<AScenePtrCollector>>>());
        EXPECT_NE(LoadScene(FileName()), nullptr);
        EXPECT_EQ(services.GetObject(name), service);
        for (const auto& [key, object] : services.GetObjects())
            EXPECT_EQ(object->GetName(), key);
        services.RemoveObject(name);
        EXPECT_TRUE(collectors.UnRegisterObject(name));
    });
    EXPECT_EQ(services.size(), 0);
}
} // namespace
