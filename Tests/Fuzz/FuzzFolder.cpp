#include <Tests/Fuzz/FuzzFolder.h>

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>

namespace Fuzz {

std::filesystem::path PathOf(const std::string& name)
{
    static const std::filesystem::path s_Folder = [] {
        auto folder = std::filesystem::temp_directory_path() / ("lumvo-fuzz-" + std::to_string(getpid()));
        std::filesystem::create_directories(folder);
        return folder;
    }();
    return s_Folder / name;
}

void PutFile(const std::filesystem::path& path, const std::uint8_t* data, std::size_t size)
{
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    file.close();
    Require(file.good(), "cannot write " + path.string());
}

std::string GetFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Require(bool condition, const std::string& what)
{
    if (condition)
        return;
    std::cerr << "NOT AS REQUIRED: " << what << '\n';
    std::abort();
}
} // namespace Fuzz
