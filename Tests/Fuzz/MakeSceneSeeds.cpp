#include <Tests/Fuzz/SceneParts.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

using namespace Fuzz;
using Lumvo::RecordDescription;

namespace {

std::string Utf16(std::string_view text)
{
    return Bytes().Text(std::u16string(text.begin(), text.end())).Data();
}

/// The smallest of many scenes at random that hold an object of a class; its root is referred to twice.
Bytes MakeScene(const RecordDescription& record, Random& random)
{
    static constexpr int s_Tries = 2000;
    const std::string name = Utf16(record.className);
    std::string best;
    for (int i = 0; i < s_Tries; ++i) {
        const std::string root = MakeReference(Lumvo::Family::Node, 5, random).Data();
        if (root.find(name) != std::string::npos && (best.empty() || root.size() < best.size()))
            best = root;
    }
    return Bytes::Header().Add(Bytes(best)).Add(Bytes(best).First(4));
}
} // namespace

// Writes small valid scene files that hold, all together, an object of each class.
int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: MakeSceneSeeds FOLDER\n";
        return 2;
    }
    Random random;
    std::string written;
    const auto& records = Lumvo::AllRecords();
    for (auto record = records.rbegin(); record != records.rend(); ++record) // those that are held before their holders
        if (written.find(Utf16(record->className)) == std::string::npos) {
            const Bytes scene = MakeScene(*record, random);
            written += scene.Data();
            const auto file = std::filesystem::path(argv[1]) / (std::string(record->className) + ".scene");
            std::ofstream(file, std::ios::binary) << scene.Data();
        }
    return 0;
}
