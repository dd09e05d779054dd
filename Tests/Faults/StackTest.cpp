#include <Tests/Support/SceneFileTest.h>

#include <pthread.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>

using namespace Kelvra;

namespace {

constexpr std::size_t s_KiB = 1024;
#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t s_Most = 4096 * s_KiB; // the sanitizers put spaces between variables
#elif defined(NDEBUG)
constexpr std::size_t s_Most = 512 * s_KiB;
#else
constexpr std::size_t s_Most = 1024 * s_KiB;
#endif

/// Runs on a thread with a stack of that size, behind which the memory ends.
/// \returns how many bytes of the stack were used.
std::size_t RunOnStack(std::size_t size, std::function<void()> run)
{
    constexpr std::size_t guard = 64 * 1024;
    constexpr unsigned char unused = 0xA5;
    void* const memory = mmap(nullptr, guard + size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(memory, MAP_FAILED);
    EXPECT_EQ(mprotect(memory, guard, PROT_NONE), 0);
    unsigned char* const stack = static_cast<unsigned char*>(memory) + guard;
    std::fill_n(stack, size, unused);

    pthread_attr_t attributes;
    pthread_t thread;
    pthread_attr_init(&attributes);
    EXPECT_EQ(pthread_attr_setstack(&attributes, stack, size), 0);
    const auto start = [](void* function) -> void* {
        (*static_cast<std::function<void()>*>(function))();
        return nullptr;
    };
    EXPECT_EQ(pthread_create(&thread, &attributes, start, &run), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    const auto left = std::find_if(stack, stack + size, [](unsigned char byte) { return byte != unused; });
    const auto used = static_cast<std::size_t>(stack + size - left);
    munmap(memory, guard + size);
    return used;
}

using Stack = SceneFileTest;

/// References of `levels` objects of that class, each the only child of the one before.
Bytes Nested(const char16_t* name, const Bytes& fields, int levels)
{
    Bytes file;
    for (int key = 1; key <= levels; ++key)
        file.Int(key).Text(name).Add(fields).Int(key < levels ? 1 : 0);
    return file;
}

// Loading and storing as deep as references may nest, and meeting one that is too deep, takes no more stack than a
// small thread has: half of one MiB in a release.
TEST_F(Stack, HoldsTheDeepestNesting)
{
    const int levels = ASceneSerializeContext::MaxNesting;
    const Bytes entities = Nested(u"AGroupEntity", Bytes().EntityHeader(0), levels + 1);
    const Bytes nodes = Nested(u"AGroupSceneNode", Bytes().NodeFields(0).Fill(16), levels + 1);
    std::shared_ptr<AEntity> entity;
    std::shared_ptr<ASceneNode> node;
    const auto measure = [&](const char* what, const std::function<void()>& run) {
        int reports = 0;
        const std::size_t used = RunOnStack(2 * s_Most, [&] {
            const KvAssertScope counting([&](const KvReport&) {
                ++reports;
                CountReport();
            });
            run();
        });
        RecordProperty(what, static_cast<int>(used));
        EXPECT_LT(used, s_Most);
        EXPECT_GT(reports, 0) << "the deepest reference is too deep";
    };
    measure("LoadEntities", [&] { entity = LoadReference<AEntity>(entities); });
    measure("LoadNodes", [&] { node = LoadReference<ASceneNode>(nodes); });

    const auto outerEntity = std::make_shared<AGroupEntity>();
    outerEntity->AddEntity(entity);
    const auto outerNode = std::make_shared<AGroupSceneNode>();
    outerNode->AddChildNode(node);
    measure("StoreEntities", [&] { StoreReference<AEntity>(outerEntity); });
    measure("StoreNodes", [&] { StoreReference<ASceneNode>(outerNode); });
}
} // namespace
