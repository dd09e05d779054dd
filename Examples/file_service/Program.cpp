// Loads a file-format module, lists the services that it has registered, and loads a file through one of them.
// Usage: file_service MODULE

#include <LumvoData/LumvoData.h>

#include <filesystem>
#include <fstream>
#include <iostream>

#include <dlfcn.h>

using namespace Kelvra;

namespace {

template <class Manager> void List(const char* kind)
{
    for (const auto& [name, service] : TSingleton<Manager>::Instance())
        std::cout << kind << " service \"" << KvText::ToUtf8(name) << "\": " << KvText::ToUtf8(service->GetTitle())
                  << " (" << KvText::ToUtf8(service->GetFileFilter()) << ")\n";
}

int Run()
{
    List<AMeshFileServiceManager>("mesh");
    List<ASceneFileServiceManager>("scene");

    const std::filesystem::path file = std::filesystem::temp_directory_path() / "file_service_example.points";
    std::ofstream(file) << "0 0 0\n1 0 0\n0 1 0\n\n0 0 0\n0 1 0\n0 0 1\n";
    const auto service = TSingleton<ASceneFileServiceManager>::Instance().GetObject(L"points");
    if (!service) {
        std::cerr << "the module has registered no scene service \"points\"\n";
        return 1;
    }
    const std::wstring fileName = KvText::FromPath(file);
    const auto node = std::dynamic_pointer_cast<AEntitySceneNode>(service->LoadFile(fileName));
    std::filesystem::remove(file);
    const auto entity = node ? std::dynamic_pointer_cast<AMeshEntity>(node->GetEntity()) : nullptr;
    if (!entity) {
        std::cerr << "cannot load " << file << '\n';
        return 1;
    }
    const std::size_t triangles = entity->GetItem()->IndexBuffer().size() / 3;
    const bool cached = service->LoadFile(fileName) == node; // the file is gone, what it held is not
    std::cout << "loaded " << triangles
              << " triangles; loaded again from the service's cache: " << (cached ? "yes" : "no") << '\n';
    return triangles == 2 && cached ? 0 : 1;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: file_service MODULE\n";
        return 2;
    }
    void* const module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        std::cerr << "cannot load the module: " << dlerror() << '\n';
        return 1;
    }
    const int status = Run(); // releases all that the module made before the module goes
    dlclose(module);
    return status;
}
