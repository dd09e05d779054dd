#pragma once

#include <Tests/Support/SceneFileTest.h>
#include <Tools/Json.h>
#include <Tools/SceneGraph.h>

#include <string>
#include <vector>

/// How a run of the command ended and what it printed.
struct Outcome
{
    int code;
    std::string out;
    std::string err;

    [[nodiscard]] Lumvo::Json Json() const { return Lumvo::Json::parse(out); }
};

/// A test that runs the command in a folder of its own.
class ToolTest : public SceneFileTest
{
public:
    ToolTest();

    /// Runs `lumvo ARGUMENTS`, which a shell takes apart, in the folder.
    [[nodiscard]] Outcome Lumvo(const std::string& arguments) const { return Shell(LUMVO_PROGRAM " " + arguments); }
    [[nodiscard]] Outcome Shell(const std::string& commands) const;
    /// Puts a file of these records into the folder, behind the header of a scene file.
    void PutScene(const std::string& name, const Bytes& records) const;
    /// Saves a scene there.
    void SaveScene(const std::string& name, const Lumvo::Roots& roots) const;
    void PutFile(const std::string& name, const Bytes& bytes) const { WriteFile(bytes, "work/" + name); }
    [[nodiscard]] Bytes GetFile(const std::string& name) const { return ReadFile("work/" + name); }
    /// Names of what is in the folder, in order.
    [[nodiscard]] std::vector<std::string> Files() const;
    [[nodiscard]] std::filesystem::path Folder() const { return PathOf("work"); }

    /// A reference to a new group node; the references of its children follow it.
    static Bytes Group(int key, int children);
    /// A reference to a new entity node; its entity's reference follows it.
    static Bytes EntityNode(int key);
};
