// Saves a scene over a file that is there, which is replaced only once the new one is complete.

#include <LumvoData/LumvoData.h>

#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <system_error>

using namespace Kelvra;
namespace fs = std::filesystem;

namespace {

/// Saves a scene of one root. If it throws, `file` is what it was.
///
/// The file is whole whenever the program may end. To survive a power failure too, flush the new file, and after the
/// rename its folder, with the calls of the operating system.
void SaveScene(const std::shared_ptr<ASceneNode>& root, const fs::path& file)
{
    fs::path next = file; // in the same folder, where renaming takes no copying
    next += ".new";
    try {
        ASceneSerializeContext context(KvText::FromPath(next), true);
        if (!context.Begin())
            throw std::system_error(context.GetError(), next.string() + ": cannot be created");
        context.Collector().WritePtr(root, context);
        context.End(); // writes what was still buffered
        if (context.GetReportCount() != 0)
            throw std::runtime_error(file.string() + ": not saved, the scene could not be loaded back whole");
        fs::rename(next, file);
    } catch (...) {
        std::error_code ignored;
        fs::remove(next, ignored);
        throw;
    }
}

std::shared_ptr<ASceneNode> LoadScene(const fs::path& file)
{
    ASceneSerializeContext context(KvText::FromPath(file), false);
    std::shared_ptr<ASceneNode> root;
    if (context.Begin())
        context.Collector().ReadPtr(root, context);
    context.End();
    return root;
}

int Run(const fs::path& file)
{
    const auto node = std::make_shared<AEntitySceneNode>();
    node->SetId(1);
    SaveScene(node, file);

    // Nothing can create a plain node style when the scene is loaded. Its report goes to standard error.
    node->SetId(2);
    node->SetStyle(StyleEdge, std::make_shared<ANodeStyle>());
    try {
        SaveScene(node, file);
        return 1;
    } catch (const std::runtime_error& error) {
        std::cout << error.what() << '\n';
    }
    const auto former = LoadScene(file);

    node->SetStyle(StyleEdge, std::make_shared<ALineStyle>());
    SaveScene(node, file);
    const auto current = LoadScene(file);
    if (!former || !current)
        return 1;
    std::cout << "after the failed save: node " << former->GetId() << "; after the next one: node " << current->GetId()
              << '\n';
    return former->GetId() == 1 && current->GetId() == 2 && !fs::exists(file.string() + ".new") ? 0 : 1;
}
} // namespace

int main()
{
    const fs::path file = fs::temp_directory_path() / "replace_file_example.scene";
    const int status = Run(file);
    fs::remove(file);
    return status;
}
