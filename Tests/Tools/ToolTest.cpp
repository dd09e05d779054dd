#include <Tests/Tools/ToolTest.h>
#include <Tools/SceneRecords.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>

ToolTest::ToolTest()
{
    std::filesystem::create_directory(Folder());
}

Outcome ToolTest::Shell(const std::string& commands) const
{
    // Quoted to its end, the folder's path may hold any other character.
    const std::string script = "{ cd '" + Folder().string() + "' && " + commands + "; } > '" + PathOf("out").string() +
                               "' 2> '" + PathOf("err").string() + "'";
    const int status = std::system(script.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile("out").Data(), ReadFile("err").Data()};
}

void ToolTest::PutScene(const std::string& name, const Bytes& records) const
{
    PutFile(name, Bytes::Header().Add(records));
}

void ToolTest::SaveScene(const std::string& name, const Lumvo::Roots& roots) const
{
    Lumvo::OutputFile file(Folder() / name);
    Lumvo::WriteSceneFile(roots, file);
    file.Commit();
}

std::vector<std::string> ToolTest::Files() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Folder()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

Bytes ToolTest::Group(int key, int children)
{
    return Bytes().Int(key).Text(u"AGroupSceneNode").NodeFields(key).Fill(16).Int(children);
}

Bytes ToolTest::EntityNode(int key)
{
    return Bytes().Int(key).Text(u"AEntitySceneNode").NodeFields(key).Fill(16);
}
