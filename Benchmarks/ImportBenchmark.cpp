/// \file
/// Imports a binary STL and a GLB of about a million triangles with the modules of this tree and with Assimp, in turns
/// within one run, and prints the medians of the times and the peak memory of each beside ours.
///
/// Peak memory is that of a fresh process which imports one file with one contestant, less that of a process which
/// imports nothing. What is imported is checked outside the timed part; a wrong result ends the program with exit
/// status 1. `--quick` takes small files, to see that the program works.

#include <Formats/Support/FormatListener.h>
#include <Formats/Support/Geometry.h>

#include <LumvoData/LumvoData.h>

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Kelvra;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Point = std::array<float, 3>;

constexpr std::uint32_t s_FullSide = 707; // 2 * 707^2 triangles: about a million
constexpr std::uint32_t s_QuickSide = 50;
constexpr std::size_t s_Rounds = 9;

void Require(bool condition, const std::string& what)
{
    if (!condition)
        throw std::runtime_error(what);
}

/// What an import gave, and what it should have given.
struct Summary
{
    std::uint64_t triangles = 0;
    AMath::AxisAlignedBox box;

    bool operator==(const Summary& other) const { return triangles == other.triangles && box == other.box; }
};

/// Hills over a grid of squares that is bent a little; nothing of it is kept in memory, so that this process is small
/// when it starts others.
class Terrain
{
public:
    explicit Terrain(std::uint32_t side) : m_Side(side) {}

    void WriteStl(const fs::path& path) const
    {
        std::ofstream file(path, std::ios::binary);
        file << std::string(80, ' ');
        Put(file, 2 * m_Side * m_Side);
        ForEachTriangle([&](const std::array<std::uint32_t, 3>& corners) {
            const Point a = PointAt(corners[0]), b = PointAt(corners[1]), c = PointAt(corners[2]);
            Put(file, Normal(a, b, c));
            Put(file, a);
            Put(file, b);
            Put(file, c);
            Put(file, std::uint16_t{0});
        });
        Require(file.good(), path.string() + ": cannot be written");
    }

    /// Positions, normals, texture coordinates and indices of four bytes.
    void WriteGlb(const fs::path& path) const
    {
        const std::uint32_t points = (m_Side + 1) * (m_Side + 1);
        const std::uint32_t indices = 6 * m_Side * m_Side;
        const std::uint32_t bytes = 32 * points + 4 * indices;
        const auto view = [](std::uint32_t offset, std::uint32_t length) {
            return "{\"buffer\":0,\"byteOffset\":" + std::to_string(offset) +
                   ",\"byteLength\":" + std::to_string(length) + "}";
        };
        const auto accessor = [](int bufferView, int type, std::uint32_t count, const std::string& rest) {
            return "{\"bufferView\":" + std::to_string(bufferView) + ",\"componentType\":" + std::to_string(type) +
                   ",\"count\":" + std::to_string(count) + ",\"type\":" + rest + "}";
        };
        const auto corner = [](const AMath::Vector3& v) {
            std::array<char, 100> text{};
            std::snprintf(text.data(), text.size(), "[%.9g,%.9g,%.9g]", v.x, v.y, v.z);
            return std::string(text.data());
        };
        const AMath::AxisAlignedBox box = GetSummary().box;
        std::string json =
            R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],"meshes":[{"primitives":)"
            R"([{"attributes":{"POSITION":0,"NORMAL":1,"TEXCOORD_0":2},"indices":3}]}],"buffers":[{"byteLength":)" +
            std::to_string(bytes) + "}],\"bufferViews\":[" + view(0, 12 * points) + "," +
            view(12 * points, 12 * points) + "," + view(24 * points, 8 * points) + "," +
            view(32 * points, 4 * indices) + "],\"accessors\":[" +
            accessor(0, 5126, points,
                     "\"VEC3\",\"min\":" + corner(box.getMinimum()) + ",\"max\":" + corner(box.getMaximum())) +
            "," + accessor(1, 5126, points, "\"VEC3\"") + "," + accessor(2, 5126, points, "\"VEC2\"") + "," +
            accessor(3, 5125, indices, "\"SCALAR\"") + "]}";
        json.resize((json.size() + 3) / 4 * 4, ' ');

        std::ofstream file(path, std::ios::binary);
        const auto jsonBytes = static_cast<std::uint32_t>(json.size());
        file << "glTF";
        Put(file, std::array<std::uint32_t, 3>{2, 12 + 8 + jsonBytes + 8 + bytes, jsonBytes});
        file << "JSON" << json;
        Put(file, bytes);
        file << std::string_view("BIN\0", 4);
        for (std::uint32_t i = 0; i < points; ++i)
            Put(file, PointAt(i));
        for (std::uint32_t i = 0; i < points; ++i)
            Put(file, Normal(PointAt(i), PointAt(i + 1), PointAt(i + m_Side + 1)));
        for (std::uint32_t i = 0; i < points; ++i)
            Put(file, std::array<float, 2>{PointAt(i)[0] / 100, PointAt(i)[1] / 100});
        ForEachTriangle([&](const std::array<std::uint32_t, 3>& corners) { Put(file, corners); });
        Require(file.good(), path.string() + ": cannot be written");
    }

    [[nodiscard]] Summary GetSummary() const
    {
        Summary summary;
        summary.triangles = std::uint64_t{2} * m_Side * m_Side;
        for (std::uint32_t i = 0; i < (m_Side + 1) * (m_Side + 1); ++i) {
            const Point p = PointAt(i);
            summary.box.merge({{p[0], p[1], p[2]}, {p[0], p[1], p[2]}});
        }
        return summary;
    }

private:
    template <class T> static void Put(std::ofstream& file, const T& value)
    {
        std::array<char, sizeof(T)> bytes;
        std::memcpy(bytes.data(), &value, sizeof(T));
        file.write(bytes.data(), sizeof(T));
    }

    [[nodiscard]] Point PointAt(std::uint32_t index) const
    {
        const double x = 100.0 * (index / (m_Side + 1)) / m_Side;
        const double y = 100.0 * (index % (m_Side + 1)) / m_Side;
        return {static_cast<float>(x + 0.03 * std::sin(7 * y)), static_cast<float>(y + 0.03 * std::cos(5 * x)),
                static_cast<float>(5 * std::sin(x / 9) * std::cos(y / 7) + std::sin(x * 1.3 + y * 1.7))};
    }

    static Point Normal(const Point& a, const Point& b, const Point& c)
    {
        const Point u = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
        const Point v = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
        const Point n = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
        const float length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
        return {n[0] / length, n[1] / length, n[2] / length};
    }

    template <class Visit> void ForEachTriangle(Visit visit) const
    {
        for (std::uint32_t i = 0; i < m_Side; ++i)
            for (std::uint32_t j = 0; j < m_Side; ++j) {
                const std::uint32_t corner = i * (m_Side + 1) + j;
                const std::uint32_t next = corner + m_Side + 1;
                visit(std::array<std::uint32_t, 3>{corner, next, next + 1});
                visit(std::array<std::uint32_t, 3>{corner, next + 1, corner + 1});
            }
    }

    std::uint32_t m_Side;
};

class Listener : public Formats::FormatListener
{
    void OnError(const fs::path& file, const Formats::FormatError& error) override
    {
        throw std::runtime_error(file.string() + ": " + error.what());
    }
    void OnLoss(const fs::path& file, const std::string& what, std::uint64_t count) override
    {
        throw std::runtime_error(file.string() + ": " + std::to_string(count) + " " + what + " are lost");
    }
};

/// Imports a file; the time that it takes to release the result is not counted.
struct Contestant
{
    std::string name;
    std::function<Summary(const fs::path&, Clock::duration&)> import;
};

Contestant Ours(const std::wstring& service, const char* module)
{
    return {"this library", [=](const fs::path& path, Clock::duration& time) {
                Require(dlopen(module, RTLD_NOW | RTLD_LOCAL) != nullptr, module + std::string(" cannot be loaded"));
                const auto loader = TSingleton<ASceneFileServiceManager>::Instance().GetObject(service);
                const std::wstring name = KvText::FromPath(path);
                const Clock::time_point start = Clock::now();
                const std::shared_ptr<ASceneNode> node = loader->LoadFile(name);
                time = Clock::now() - start;
                loader->ForgetFile(name);
                Summary summary;
                Formats::ForEachPlaced({node}, [&](const Formats::Placed& placed) {
                    summary.triangles += placed.mesh->IndexBuffer().size() / 3;
                    summary.box.merge(Formats::BoxOf(placed.mesh->VertexBuffer()));
                });
                return summary;
            }};
}

Contestant Assimps(const std::string& name, unsigned int flags)
{
    return {name, [=](const fs::path& path, Clock::duration& time) {
                const Clock::time_point start = Clock::now();
                Assimp::Importer importer;
                const aiScene* const scene = importer.ReadFile(path.string(), flags);
                time = Clock::now() - start;
                Require(scene != nullptr, importer.GetErrorString());
                Summary summary;
                for (unsigned int i = 0; i < scene->mNumMeshes; ++i) {
                    const aiMesh& mesh = *scene->mMeshes[i];
                    summary.triangles += mesh.mNumFaces;
                    for (unsigned int k = 0; k < mesh.mNumVertices; ++k) {
                        const aiVector3D& p = mesh.mVertices[k];
                        summary.box.merge({{p.x, p.y, p.z}, {p.x, p.y, p.z}});
                    }
                }
                return summary;
            }};
}

/// A format with a file of it and who imports it; ours come first.
struct Discipline
{
    std::string title;
    std::string fileName;
    std::function<void(const Terrain&, const fs::path&)> write;
    std::vector<Contestant> contestants;
};

std::vector<Discipline> AllDisciplines()
{
    std::vector<Discipline> all = {
        {"binary STL",
         "terrain.stl",
         &Terrain::WriteStl,
         {Ours(L"stl", STL_MODULE),
          Assimps("Assimp, corners welded", aiProcess_Triangulate | aiProcess_JoinIdenticalVertices),
          Assimps("Assimp, corners not welded", aiProcess_Triangulate)}}};
#ifdef GLTF_MODULE
    all.push_back({"GLB",
                   "terrain.glb",
                   &Terrain::WriteGlb,
                   {Ours(L"gltf", GLTF_MODULE), Assimps("Assimp", aiProcess_Triangulate)}});
#endif
    return all;
}

/// The peak memory, in KiB, of a process of this program with these arguments.
long PeakOf(const std::vector<std::string>& arguments)
{
    const pid_t child = fork();
    if (child == 0) {
        std::vector<char*> argv;
        for (const std::string& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execv("/proc/self/exe", argv.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    Require(child > 0 && wait4(child, &status, 0, &usage) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0,
            "the process that measures memory has failed");
    return usage.ru_maxrss;
}

/// What each contestant of a discipline takes, in MiB.
std::vector<double> MeasureMemory(const Discipline& discipline, const fs::path& file)
{
    const long baseline = PeakOf({"ImportBenchmark", "--idle"});
    std::vector<double> mebibytes;
    for (const Contestant& contestant : discipline.contestants) {
        const long peak =
            PeakOf({"ImportBenchmark", "--import", file.string(), discipline.title, contestant.name}) - baseline;
        mebibytes.push_back(static_cast<double>(peak) / 1024);
    }
    return mebibytes;
}

/// The median of each contestant, in milliseconds.
std::vector<double> MeasureTime(const Discipline& discipline, const fs::path& file, const Summary& expected)
{
    std::vector<std::array<double, s_Rounds>> times(discipline.contestants.size());
    for (std::size_t round = 0; round < s_Rounds; ++round)
        for (std::size_t i = 0; i < times.size(); ++i) {
            Clock::duration time{};
            const Summary summary = discipline.contestants[i].import(file, time);
            Require(summary == expected,
                    discipline.title + ": the result of " + discipline.contestants[i].name + " is wrong");
            times[i][round] = std::chrono::duration<double, std::milli>(time).count();
        }
    std::vector<double> medians;
    for (std::array<double, s_Rounds>& of : times) {
        std::nth_element(of.begin(), of.begin() + s_Rounds / 2, of.end());
        medians.push_back(of[s_Rounds / 2]);
    }
    return medians;
}

int Run(const std::vector<std::string>& arguments)
{
    Listener listener;
    const Formats::FormatListenerScope scope(listener);
    const std::string command = arguments.empty() ? "" : arguments[0];
    if (command == "--idle")
        return 0;
    const std::vector<Discipline> disciplines = AllDisciplines();
    if (command == "--import") {
        for (const Discipline& discipline : disciplines)
            for (const Contestant& contestant : discipline.contestants)
                if (discipline.title == arguments.at(2) && contestant.name == arguments.at(3)) {
                    Clock::duration time{};
                    contestant.import(arguments.at(1), time);
                    return 0;
                }
        return 1;
    }
    Require(arguments.empty() || command == "--quick", "unknown argument " + command);

    const fs::path folder = fs::temp_directory_path() / ("lumvodata-import-" + std::to_string(std::random_device()()));
    Require(fs::create_directory(folder), folder.string() + ": exists already");
    const auto removed = [](const fs::path* path) {
        std::error_code ignored;
        fs::remove_all(*path, ignored);
    };
    const std::unique_ptr<const fs::path, decltype(removed)> guard(&folder, removed);
    const Terrain terrain(command == "--quick" ? s_QuickSide : s_FullSide);
    const Summary expected = terrain.GetSummary();

    // Memory first: a new process starts as large as the one that it is a copy of, and this one grows with imports.
    std::vector<std::vector<double>> mebibytes;
    for (const Discipline& discipline : disciplines) {
        discipline.write(terrain, folder / discipline.fileName);
        mebibytes.push_back(MeasureMemory(discipline, folder / discipline.fileName));
    }
    std::printf("medians of %zu imports and peak memory, both also as multiples of ours\n", s_Rounds);
    for (std::size_t d = 0; d < disciplines.size(); ++d) {
        const fs::path file = folder / disciplines[d].fileName;
        const std::vector<double> times = MeasureTime(disciplines[d], file, expected);
        std::printf("%s, %.1f MiB, %llu triangles\n", disciplines[d].title.c_str(),
                    static_cast<double>(fs::file_size(file)) / (1 << 20),
                    static_cast<unsigned long long>(expected.triangles));
        for (std::size_t i = 0; i < times.size(); ++i)
            std::printf("  %-28s %9.1f ms %6.2f x %9.1f MiB %6.2f x\n", disciplines[d].contestants[i].name.c_str(),
                        times[i], times[i] / times[0], mebibytes[d][i], mebibytes[d][i] / mebibytes[d][0]);
    }
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    try {
        return Run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
