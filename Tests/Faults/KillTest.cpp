#include <Tests/Support/SceneFileTest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>

using namespace Kelvra;

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

class Kill : public SceneFileTest
{
protected:
    /// Starts `lumvo convert in.scene OUT`.
    [[nodiscard]] pid_t StartConverting(const std::string& out) const
    {
        std::string words[] = {LUMVO_PROGRAM, "convert", "--quiet", PathOf("in.scene"), PathOf(out)};
        char* arguments[] = {words[0].data(), words[1].data(), words[2].data(),
                             words[3].data(), words[4].data(), nullptr};
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        pid_t process = 0;
        EXPECT_EQ(posix_spawn(&process, LUMVO_PROGRAM, &files, nullptr, arguments, environ), 0);
        posix_spawn_file_actions_destroy(&files);
        return process;
    }
};

// Whenever the command is killed, the file is the old one or the new one, whole, and no file but one that is clearly
// half done lies beside it.
TEST_F(Kill, LeavesTheOldFileOrTheNewOne)
{
    const auto mesh = std::make_shared<AMeshEntity>();
    mesh->SetItem(std::make_shared<ASubMesh>());
    mesh->GetItem()->VertexBuffer().assign(1'000'000, 1.0F);
    const std::shared_ptr<ASceneNode> node = std::make_shared<AEntitySceneNode>();
    std::static_pointer_cast<AEntitySceneNode>(node)->SetEntity(mesh);
    WriteFile(Bytes::Header().Add(StoreReference(node)), "in.scene");
    std::filesystem::remove(PathOf("test.scene"));

    const Clock::time_point started = Clock::now();
    int status = 0;
    waitpid(StartConverting("new.scene"), &status, 0);
    const Clock::duration whole = Clock::now() - started;
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const Bytes converted = ReadFile("new.scene");
    ASSERT_GT(converted.Size(), 4'000'000U);

    const Bytes old("what was there before");
    constexpr int kills = 40;
    int olds = 0, halves = 0;
    for (int i = 0; i < kills; ++i) {
        WriteFile(old, "out.scene");
        const pid_t process = StartConverting("out.scene");
        std::this_thread::sleep_for(whole * i / kills);
        kill(process, SIGKILL);
        waitpid(process, &status, 0);
        const Bytes left = ReadFile("out.scene");
        olds += left == old ? 1 : 0;
        EXPECT_TRUE(left == old || left == converted) << left.Size() << " bytes after " << i << " of " << kills;
        for (const auto& entry : std::filesystem::directory_iterator(PathOf(""))) {
            const std::string name = entry.path().filename();
            if (name == "in.scene" || name == "new.scene" || name == "out.scene")
                continue;
            EXPECT_TRUE(name.rfind(".lumvo-", 0) == 0 && entry.path().extension() == ".tmp") << name;
            std::filesystem::remove(entry.path());
            ++halves;
        }
    }
    EXPECT_GT(olds, 0);
    EXPECT_GT(halves, 0) << "no kill met the writing";
}
} // namespace
