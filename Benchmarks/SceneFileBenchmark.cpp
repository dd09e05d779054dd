/// \file
/// Saves, loads and destroys scenes with the library, with its peers and at the limit of what memory and the system's
/// file cache allow, all of them interleaved in one run, and prints medians. Compare ratios within one run, not times
/// between runs.
///
/// Every scene that is loaded is compared with the one that was saved, outside the timed part; one that came back
/// different ends the program with exit status 1.

#include <Benchmarks/MemoryMeter.h>
#include <Benchmarks/PlainFiles.h>
#include <Benchmarks/Scenes.h>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <numeric>
#include <random>
#include <sstream>
#include <string_view>
#include <system_error>

namespace {

using namespace Kelvra;
using Scenes::Digest;
using Scenes::Require;
namespace fs = std::filesystem;

using OurRoot = Scenes::Root<Scenes::Ours>;
using PlainRoot = Scenes::Root<Scenes::Model>;

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

void Save(const OurRoot& root, const fs::path& path)
{
    ASceneSerializeContext context(path.wstring(), true);
    Require(context.Begin(), path.string() + ": cannot be created");
    context.Collector().WritePtr<ASceneNode>(root, context);
    context.End();
}

OurRoot Load(const fs::path& path, ASceneLoadObserver* observer = nullptr)
{
    ASceneSerializeContext context(path.wstring(), false);
    context.SetObserver(observer);
    Require(context.Begin(), path.string() + ": is no scene file");
    OurRoot root;
    context.Collector().ReadPtr<ASceneNode>(root, context);
    Require(context.GetBytesLeft() == 0, path.string() + ": not read to its end");
    context.End();
    return root;
}

double Seconds(const std::function<void()>& run)
{
    const auto start = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Runs in another process, so that what ran before has no part in where things lie in memory.
/// \returns what was written to the stream.
std::string InAnotherProcess(const std::function<void(std::ostream&)>& run)
{
    int ends[2];
    Require(pipe(ends) == 0, "no pipe");
    std::fflush(stdout);
    const pid_t child = fork();
    Require(child >= 0, "no process");
    if (child == 0) {
        int status = 1;
        try {
            std::ostringstream out;
            run(out);
            const std::string text = out.str();
            status = write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1;
        } catch (const std::exception& error) {
            std::cerr << error.what() << '\n';
        }
        _exit(status);
    }
    close(ends[1]);
    std::string text;
    char block[4096];
    for (ssize_t size = 0; (size = read(ends[0], block, sizeof block)) > 0;)
        text.append(block, static_cast<std::size_t>(size));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    Require(WIFEXITED(status) && WEXITSTATUS(status) == 0, "the benchmark failed");
    return text;
}

/// What the rounds of one contestant took.
struct Result
{
    std::size_t objects = 0;
    std::ptrdiff_t live = 0, peak = 0; // bytes in use after and while loading
    std::vector<double> saving{}, loading{}, destroying{};
};

/// One that stores scenes.
struct Contestant
{
    std::string name;
    std::function<void(const fs::path&)> save;
    std::function<std::shared_ptr<void>(const fs::path&)> load;
    std::function<Digest(const std::shared_ptr<void>&)> digest;
    Digest saved;
};

template <class Root, class M>
Contestant MakeContestant(std::string name, const Root& root, void (*save)(const Root&, const fs::path&),
                          std::function<Root(const fs::path&)> load)
{
    const auto digest = [](const std::shared_ptr<void>& loaded) {
        return Scenes::Digester<M>::Of(std::static_pointer_cast<typename M::Node>(loaded));
    };
    return {std::move(name), [root, save](const fs::path& path) { save(root, path); }, std::move(load), digest,
            digest(root)};
}

/// A load, and the memory that it takes.
void MeasureMemory(const Contestant& contestant, Result& result, const fs::path& file)
{
    contestant.save(file);
    const MemoryMeter meter;
    const std::shared_ptr<void> loaded = contestant.load(file);
    result.live = meter.Live();
    result.peak = meter.Peak();
}

void MeasureSave(const Contestant& contestant, Result& result, const fs::path& file)
{
    fs::remove(file);
    malloc_trim(0); // everyone starts with as little memory as the others, and tidies up after nobody
    result.saving.push_back(Seconds([&] { contestant.save(file); }));
}

/// A load in a process of its own, which neither finds gaps in the heap nor leaves them, as in a program that opens its
/// first file.
void MeasureLoad(const Contestant& contestant, Result& result, const fs::path& file)
{
    fs::remove(file);
    contestant.save(file);
    malloc_trim(0);
    std::istringstream times(InAnotherProcess([&](std::ostream& out) {
        std::shared_ptr<void> loaded;
        out << Seconds([&] { loaded = contestant.load(file); }) << ' ';
        Require(contestant.digest(loaded) == contestant.saved, contestant.name + ": another scene came back");
        out << Seconds([&] { loaded.reset(); });
    }));
    double loading = 0, destroying = 0;
    times >> loading >> destroying;
    result.loading.push_back(loading);
    result.destroying.push_back(destroying);
}

struct Workload
{
    const char* name;
    int count;
    int small;
    OurRoot (*ours)(int count);
    PlainRoot (*plain)(int count);
};

const Workload s_Workloads[] = {
    {"W1 big buffers", 64, 2, Scenes::MakeMeshes<Scenes::Ours>, Scenes::MakeMeshes<Scenes::Model>},
    {"W2 many small objects", 200'000, 2'000, Scenes::MakeNodes<Scenes::Ours>, Scenes::MakeNodes<Scenes::Model>},
    {"W3 texts", 200'000, 2'000, Scenes::MakeTexts<Scenes::Ours>, Scenes::MakeTexts<Scenes::Model>},
};

std::vector<Contestant> Contestants(const OurRoot& ours, const PlainRoot& plain)
{
    Limit::Prepare(plain);
    std::vector<Contestant> contestants;
    contestants.push_back(MakeContestant<PlainRoot, Scenes::Model>("limit", plain, Limit::Save, Limit::Load));
    contestants.push_back(MakeContestant<OurRoot, Scenes::Ours>("LumvoData", ours, Save,
                                                                [](const fs::path& path) { return Load(path); }));
#if defined(BENCHMARK_CEREAL)
    contestants.push_back(MakeContestant<PlainRoot, Scenes::Model>("cereal", plain, Cereal::Save, Cereal::Load));
#endif
#if defined(BENCHMARK_BOOST)
    contestants.push_back(MakeContestant<PlainRoot, Scenes::Model>("Boost", plain, Boost::Save, Boost::Load));
#endif
    return contestants;
}

/// Writes a line for each contestant: its name, objects and memory, and what each round took.
void RunRounds(const std::vector<Contestant>& contestants, int rounds, const fs::path& file, std::ostream& out)
{
    std::vector<Result> results(contestants.size());
    std::vector<std::size_t> order(contestants.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::minstd_rand random;
    // All saves come first: where a process was made out of this one, the pages that it writes to are copied.
    for (const auto measure : {MeasureSave, MeasureLoad})
        for (int i = 0; i < rounds; ++i) {
            // What one leaves behind in the system's memory is the next one's, so the next one is another each time.
            std::shuffle(order.begin(), order.end(), random);
            for (const std::size_t k : order)
                measure(contestants[k], results[k], file);
        }
    for (std::size_t k = 0; k < contestants.size(); ++k) {
        MeasureMemory(contestants[k], results[k], file);
        out << contestants[k].name << ' ' << contestants[k].saved.objects << ' ' << results[k].live << ' '
            << results[k].peak;
        for (std::size_t i = 0; i < results[k].saving.size(); ++i)
            out << ' ' << results[k].saving[i] << ' ' << results[k].loading[i] << ' ' << results[k].destroying[i];
        out << '\n';
    }
}

void Compare(const Workload& workload, int count, int processes, int rounds, const fs::path& folder)
{
    std::vector<std::string> names;
    std::map<std::string, Result> results;
    // Which pages of memory a scene gets is worth up to 5 % in copying it: each process has others, and one scene is made
    // first as often as the other.
    for (int process = 0; process < processes; ++process) {
        std::istringstream lines(InAnotherProcess([&](std::ostream& out) {
            const bool oursFirst = process % 2 == 0;
            OurRoot ours = oursFirst ? workload.ours(count) : nullptr;
            const PlainRoot plain = workload.plain(count);
            if (!oursFirst)
                ours = workload.ours(count);
            RunRounds(Contestants(ours, plain), rounds, folder / "scene", out);
        }));
        for (std::string line, name; std::getline(lines, line);) {
            std::istringstream fields(line);
            fields >> name;
            if (process == 0)
                names.push_back(name);
            Result& result = results[name];
            fields >> result.objects >> result.live >> result.peak;
            for (double saving = 0, loading = 0, destroying = 0; fields >> saving >> loading >> destroying;) {
                result.saving.push_back(saving);
                result.loading.push_back(loading);
                result.destroying.push_back(destroying);
            }
        }
    }
    const Result& limit = results["limit"];
    double peerSaving = 0, peerLoading = 0; // of the fastest peer
    for (const auto& [name, result] : results)
        if (name != "limit" && name != "LumvoData") {
            const double saving = Median(result.saving), loading = Median(result.loading);
            peerSaving = peerSaving == 0 ? saving : std::min(peerSaving, saving);
            peerLoading = peerLoading == 0 ? loading : std::min(peerLoading, loading);
        }
    std::printf("\n%s: %d, %zu objects\n%-10s %9s %8s %8s %9s %8s %8s %11s %10s %10s\n", workload.name, count,
                limit.objects, "", "save ms", "x limit", "x peer", "load ms", "x limit", "x peer", "destroy ms",
                "loaded MB", "peak over");
    for (const std::string& name : names) {
        const Result& result = results[name];
        const double saving = Median(result.saving), loading = Median(result.loading);
        std::printf("%-10s %9.2f %8.2f %8.2f %9.2f %8.2f %8.2f %11.2f %10.2f %7.2f MB\n", name.c_str(), 1e3 * saving,
                    saving / Median(limit.saving), saving / peerSaving, 1e3 * loading, loading / Median(limit.loading),
                    loading / peerLoading, 1e3 * Median(result.destroying), 1e-6 * static_cast<double>(result.live),
                    1e-6 * static_cast<double>(result.peak - result.live));
    }
}

// --- Cost per object -------------------------------------------------------------------------------------

/// Remembers where the keys of a file stand.
class KeyOffsets : public ASceneLoadObserver
{
public:
    void OnReference(std::int32_t, std::uint64_t offset) override { offsets.push_back(offset); }
    void OnObjectBegin(const AObject&, std::uint64_t, std::uint64_t) override {}
    void OnObjectEnd(const AObject&, std::uint64_t) override {}

    std::vector<std::uint64_t> offsets;
};

/// Gives every object of a file another key.
void ChangeKeys(const fs::path& file, const std::function<std::uint32_t(std::uint32_t)>& change)
{
    KeyOffsets keys;
    Load(file, &keys);
    std::vector<char> bytes(static_cast<std::size_t>(fs::file_size(file)));
    std::ifstream(file, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    for (const std::uint64_t offset : keys.offsets) {
        std::uint32_t key = 0;
        std::memcpy(&key, bytes.data() + offset, sizeof key);
        key = key == 0 ? 0 : change(key);
        std::memcpy(bytes.data() + offset, &key, sizeof key);
    }
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// The keys that there are, in random order.
void ShuffleKeys(const fs::path& file, std::size_t objects)
{
    std::vector<std::uint32_t> keys(objects);
    std::iota(keys.begin(), keys.end(), 1U);
    std::shuffle(keys.begin(), keys.end(), std::minstd_rand());
    ChangeKeys(file, [&keys](std::uint32_t key) { return keys[key - 1]; });
}

/// Keys from all 32-bit numbers: the steps of MurmurHash3's finalizer, each of which maps them onto themselves.
void ScatterKeys(const fs::path& file)
{
    ChangeKeys(file, [](std::uint32_t key) {
        key = (key ^ (key >> 16)) * 0x85EBCA6B;
        key = (key ^ (key >> 13)) * 0xC2B2AE35;
        return key ^ (key >> 16);
    });
}

struct Shape
{
    const char* name;
    OurRoot (*make)(int count);
};

const Shape s_Shapes[] = {
    {"nodes", Scenes::MakeNodes<Scenes::Ours>},
    {"deep", Scenes::MakeDeep<Scenes::Ours>},
    {"wide", Scenes::MakeWide<Scenes::Ours>},
    {"shared", Scenes::MakeShared<Scenes::Ours>},
};

/// Nanoseconds per object: the median over as many runs as make up about a million objects, but at least five.
double PerObject(std::size_t objects, bool warm, const std::function<double()>& seconds)
{
    std::vector<double> values;
    for (std::size_t done = 0; done < 1'000'000 || values.size() < 5; done += objects) {
        if (!warm)
            malloc_trim(0);
        values.push_back(1e9 * seconds() / static_cast<double>(objects));
    }
    return Median(values);
}

void ScaleTo(const Shape& shape, int count, bool warm, const fs::path& file, std::ostream& out)
{
    OurRoot root = shape.make(count);
    const Digest expected = Scenes::Digester<Scenes::Ours>::Of(root);
    const double saving = PerObject(expected.objects, warm, [&] {
        fs::remove(file);
        return Seconds([&] { Save(root, file); });
    });
    root.reset();
    std::vector<double> destroying;
    const auto loading = [&] {
        const double nanoseconds = PerObject(expected.objects, warm, [&] {
            OurRoot loaded;
            const double seconds = Seconds([&] { loaded = Load(file); });
            destroying.push_back(Seconds([&] { loaded.reset(); }));
            return seconds;
        });
        Require(Scenes::Digester<Scenes::Ours>::Of(Load(file)) == expected, "another scene came back");
        return nanoseconds;
    };
    const double inOrder = loading();
    ShuffleKeys(file, expected.objects);
    const double shuffled = loading();
    ScatterKeys(file);
    const double scattered = loading();
    char line[120];
    std::snprintf(line, sizeof line, "%-8s %10zu %10.0f %10.0f %10.0f %10.0f %10.0f\n", shape.name, expected.objects,
                  saving, inOrder, shuffled, scattered,
                  1e9 * Median(destroying) / static_cast<double>(expected.objects));
    out << line;
}

void Scale(const std::vector<int>& counts, bool warm, const fs::path& folder)
{
    std::printf("\nNanoseconds per object\n%-8s %10s %10s %10s %10s %10s %10s\n", "shape", "objects", "save", "load",
                "shuffled", "scattered", "destroy");
    for (const Shape& shape : s_Shapes)
        for (const int count : counts)
            std::fputs(InAnotherProcess([&](std::ostream& out) {
                           ScaleTo(shape, count, warm, folder / "scene", out);
                       }).c_str(),
                       stdout);
}

/// A file of one small group, opened, read and closed.
void OpenTiny(const fs::path& folder)
{
    const fs::path file = folder / "tiny";
    Save(std::make_shared<AGroupSceneNode>(), file);
    std::vector<double> ours, system;
    char bytes[1024];
    for (int i = 0; i < 2'000; ++i) {
        ours.push_back(Seconds([&] { Load(file); }));
        system.push_back(Seconds([&] {
            std::FILE* const stream = std::fopen(file.c_str(), "rb");
            std::setvbuf(stream, nullptr, _IONBF, 0);
            Require(std::fread(bytes, 1, sizeof bytes, stream) > 0, "the tiny file cannot be read");
            std::fclose(stream);
        }));
    }
    std::printf("\nOpening a file of %zu bytes: %.1f us, of which the system's part %.1f us\n",
                static_cast<std::size_t>(fs::file_size(file)), 1e6 * Median(ours), 1e6 * Median(system));
}

/// Makes and saves a small scene, and saves or loads it once more if asked: the difference is what a tool that counts
/// instructions wants to know.
void RunOnce(const Workload& workload, std::string_view again, const fs::path& folder)
{
    const fs::path file = folder / "scene";
    const OurRoot root = workload.ours(workload.small);
    Save(root, file);
    if (again == "save")
        Save(root, file);
    else if (again == "load")
        Load(file);
}

constexpr const char* s_Usage = R"(Usage: SceneFileBenchmark [--small] [compare [W1|W2|W3]] [scale [--warm]] [tiny]
       SceneFileBenchmark once W1|W2|W3 [save|load]

compare  save, load and destroy scenes beside the peers and the limit
scale    cost per object from 1,000 to 2,000,000 objects
tiny     open a tiny file
once     save a small scene, and save or load it once more, for tools that count instructions
--warm   leave each run the memory of the one before it
--small  a few thousand objects at most and few rounds
Without a word about what to do, everything but "once" is done.
)";

int Run(std::vector<std::string_view> arguments)
{
    const auto take = [&](std::string_view argument) {
        const auto found = std::find(arguments.begin(), arguments.end(), argument);
        const bool given = found != arguments.end();
        if (given)
            arguments.erase(found);
        return given;
    };
    const bool small = take("--small");
    const bool warm = take("--warm");
    const bool once = take("once");
    bool compare = take("compare");
    bool scale = take("scale");
    bool tiny = take("tiny");
    if (!once && !compare && !scale && !tiny)
        compare = scale = tiny = true;
    const std::string_view again = take("save") ? "save" : take("load") ? "load" : "";
    std::vector<Workload> workloads;
    for (const Workload& workload : s_Workloads)
        if (take(std::string_view(workload.name, 2)))
            workloads.push_back(workload);
    if (workloads.empty())
        workloads.assign(std::begin(s_Workloads), std::end(s_Workloads));
    if (!arguments.empty()) {
        std::cerr << s_Usage;
        return 2;
    }

    const TemporaryFolder folder;
    const KvAssertScope strict([](const KvReport& report) {
        throw std::runtime_error("reported while loading: " + KvText::ToUtf8(report.message));
    });
    for (const Workload& workload : workloads) {
        if (once)
            RunOnce(workload, again, folder.Path());
        if (compare)
            Compare(workload, small ? workload.small : workload.count, small ? 2 : 16, 2, folder.Path());
    }
    if (scale)
        Scale(small ? std::vector<int>{1'000} : std::vector<int>{1'000, 30'000, 200'000, 2'000'000}, warm,
              folder.Path());
    if (tiny)
        OpenTiny(folder.Path());
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    try {
        return Run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
