#include <Tests/Faults/Faults.h>
#include <Tests/Support/SceneFileTest.h>
#include <Tests/Support/TestRow.h>
#include <Tools/FileError.h>
#include <Tools/Modules.h>
#include <Tools/Temporaries.h>

#include <CLI/CLI.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// The names and contents of files.
using Files = std::map<std::string, Bytes>;

struct Interruption : TestRow
{
    std::string out;
    bool replacing;
    Fault::Kind kind;
    int images = 3;
    std::size_t step = 1; ///< From one call that is interrupted to the next.
};

/// Interrupts `lumvo convert --images` at each call that changes a folder.
class Interrupted : public SceneFileTest, public testing::WithParamInterface<Interruption>
{
protected:
    static constexpr int s_Uninterrupted = 100;

    Interrupted() : SceneFileTest(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : fs::temp_directory_path())
    {
        static const Lumvo::Modules s_Loaded({MODULE_FOLDER}); // what a child would take long to load
        fs::create_directory(PathOf("out"));
        WriteFile(Model('A'), "old.gltf");
        WriteFile(Model('B'), "new.gltf");
    }
    /// A model whose geometry, colour and images are made of one digit of base64.
    [[nodiscard]] static Bytes Model(char digit)
    {
        const std::string uri = R"("uri":"data:image/png;base64,)";
        std::string text = R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],"accessors":)"
                           R"([{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"},)"
                           R"({"bufferView":0,"componentType":5126,"count":3,"type":"VEC2"}],)"
                           R"("bufferViews":[{"buffer":0,"byteLength":36}],"buffers":[{"byteLength":36,)" +
                           uri + std::string(48, digit) + "\"}]";
        const auto add = [&](const std::string& start, const std::string& item) { // with a number for the #
            const std::size_t mark = item.find('#');
            for (int i = 0; i < GetParam().images; ++i) {
                text += i > 0 ? "," : start;
                text += mark == std::string::npos ? item : std::string(item).replace(mark, 1, std::to_string(i));
            }
        };
        add(",\"images\":[", R"({"name":"skin#",)" + uri + std::string(8, digit) + "\"}");
        add("],\"textures\":[", R"({"source":#})");
        add("],\"materials\":[", R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":#},"baseColorFactor":[1,1,)" +
                                     std::to_string(digit - 'A') + ",1]}}");
        add("],\"meshes\":[{\"primitives\":[", R"({"attributes":{"POSITION":0,"TEXCOORD_0":1},"material":#})");
        return Bytes(text + "]}]}");
    }
    /// Runs the command in a process of its own.
    /// \returns how it ended, as waitpid tells; a call that does not come makes it s_Uninterrupted.
    [[nodiscard]] int Convert(const std::string& in, const std::string& out, std::size_t call = SIZE_MAX) const
    {
        int status = 0;
        std::fflush(stdout); // or the child would print it again
        const pid_t child = fork();
        if (child == 0) {
            static_cast<void>(std::freopen("/dev/null", "w", stdout));
            Lumvo::WatchSignals();
            CLI::App app;
            Lumvo::Run run;
            Lumvo::AddConvert(app, run);
            app.parse({PathOf(out), PathOf(in), "--images", "-q", MODULE_FOLDER, "--plugins", "convert"});
            Fault fault(GetParam().kind, call);
            int code = 0;
            try {
                code = run();
            } catch (const Lumvo::FileError& error) {
                code = error.GetExitCode();
            }
            _exit(fault.Stop() ? code : s_Uninterrupted);
        }
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return status;
    }
    [[nodiscard]] Files FilesOfOut() const
    {
        Files files;
        for (const auto& entry : fs::directory_iterator(PathOf("out")))
            files.emplace(entry.path().filename(), ReadFile("out/" + entry.path().filename().string()));
        return files;
    }
    /// Whether the file and all that belongs to it are there.
    [[nodiscard]] static bool Holds(const Files& files, const Files& wanted)
    {
        return files.count(GetParam().out) == wanted.count(GetParam().out) &&
               std::all_of(wanted.begin(), wanted.end(), [&](const auto& file) {
                   const auto found = files.find(file.first);
                   return found != files.end() && found->second == file.second;
               });
    }
};

// The old files or the new ones are there whenever the command is killed, and exactly these if it is not.
TEST_P(Interrupted, LeavesTheOldFilesOrTheNewOnes)
{
    const std::string out = "out/" + GetParam().out;
    if (GetParam().replacing) {
        ASSERT_EQ(WEXITSTATUS(Convert("old.gltf", out)), s_Uninterrupted);
        ASSERT_EQ(WEXITSTATUS(Convert(out, "check.scene")), s_Uninterrupted);
    }
    const Files old = FilesOfOut();
    ASSERT_EQ(WEXITSTATUS(Convert("new.gltf", out)), s_Uninterrupted);
    ASSERT_EQ(WEXITSTATUS(Convert(out, "check.scene")), s_Uninterrupted);
    const Files whole = FilesOfOut();
    int olds = 0, news = 0, status = 0;
    for (std::size_t call = 1; WEXITSTATUS(status) != s_Uninterrupted && !HasFailure(); call += GetParam().step) {
        SCOPED_TRACE(call);
        fs::remove_all(PathOf("out"));
        fs::create_directory(PathOf("out"));
        for (const auto& [name, bytes] : old)
            WriteFile(bytes, "out/" + name);
        status = Convert("new.gltf", out, call);
        const Files left = FilesOfOut();
        const bool isOld = Holds(left, old);
        ++(isOld ? olds : news);
        EXPECT_TRUE(isOld || Holds(left, whole));
        if (WIFSIGNALED(status))
            EXPECT_EQ(WTERMSIG(status), GetParam().kind == Fault::ChangeKills ? SIGKILL : SIGTERM);
        else
            EXPECT_EQ(WEXITSTATUS(status) == Lumvo::ExitCannotWrite, isOld);
        for (const auto& [name, bytes] : left) {
            const bool isStray =
                GetParam().kind == Fault::ChangeKills && (whole.count(name) > 0 || name.rfind(".lumvo-", 0) == 0);
            const bool wasThere = GetParam().kind != Fault::ChangeEnds && old.count(name) > 0;
            EXPECT_TRUE((isOld ? old : whole).count(name) > 0 || isStray || wasThere) << name;
        }
    }
    EXPECT_GT(olds, 5);
    EXPECT_GT(news, 1);
}
INSTANTIATE_TEST_SUITE_P(Convert, Interrupted,
                         testing::Values(Interruption{{"FirstGltfFails"}, "out.gltf", false, Fault::ChangeFails},
                                         Interruption{{"FirstGltfIsKilled"}, "out.gltf", false, Fault::ChangeKills},
                                         Interruption{{"GltfFails"}, "out.gltf", true, Fault::ChangeFails},
                                         Interruption{{"GltfIsKilled"}, "out.gltf", true, Fault::ChangeKills},
                                         Interruption{{"GltfEnds"}, "out.gltf", true, Fault::ChangeEnds},
                                         Interruption{{"ObjFails"}, "out.obj", true, Fault::ChangeFails},
                                         Interruption{{"ObjIsKilled"}, "out.obj", true, Fault::ChangeKills},
                                         Interruption{{"ManyImagesFail"}, "out.scene", true, Fault::ChangeFails, 20},
                                         Interruption{
                                             {"ManyImagesAreKilled"}, "out.scene", true, Fault::ChangeKills, 20},
                                         Interruption{{"ManyImagesEnd"}, "out.scene", true, Fault::ChangeEnds, 70, 7}),
                         RowName<Interruption>);
} // namespace
