#include <Tests/Faults/Faults.h>
#include <Tests/Support/SceneFileTest.h>
#include <Tests/Support/TestRow.h>

#include <pugixml.hpp>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <vector>

using namespace Kelvra;

namespace {

using Node = std::shared_ptr<ASceneNode>;

/// A scene of objects of every class that can be loaded, some of them shared, and larger than any buffer.
Node AllClasses()
{
    const auto texture = std::make_shared<ATexture>();
    texture->SetName(L"a texture whose name is not a short one");
    const auto material = std::make_shared<AMaterial>();
    material->SetDiffuseTexture(texture);
    material->SetReflectionTexture(texture);
    const auto face = std::make_shared<AFaceStyle>();
    face->SetMaterial(material);
    const auto line = std::make_shared<ALineStyle>();

    const auto mesh = std::make_shared<ASubMesh>();
    mesh->VertexBuffer().assign(9, 1.5F);
    mesh->IndexBuffer() = {0, 1, 2};
    const auto edge = std::make_shared<ASubEdge>();
    const auto polygon = std::make_shared<ASubPolygon>();
    polygon->VertexBuffer() = {0, 0, 0, 1, 0, 0, 1, 1, 0};
    const auto text = std::make_shared<ASubText>();
    text->SetText(L"a text that is not short either");

    const auto meshes = std::make_shared<AMeshListEntity>();
    const auto edges = std::make_shared<AEdgeListEntity>();
    const auto polygons = std::make_shared<APolygonListEntity>();
    const auto texts = std::make_shared<ATextListEntity>();
    meshes->AddItem(mesh);
    meshes->AddItem(mesh);
    edges->AddItem(edge);
    polygons->AddItem(polygon);
    texts->AddItem(text);
    const auto topo = std::make_shared<ATopoEntity>();
    topo->SetFaces(meshes);
    topo->SetEdges(edges);
    const auto oneMesh = std::make_shared<AMeshEntity>();
    oneMesh->SetItem(mesh);
    const auto oneEdge = std::make_shared<AEdgeEntity>();
    oneEdge->SetItem(std::make_shared<ASubEdge>());
    oneEdge->GetItem()->VertexBuffer().assign(30'000, 2.5F);
    const auto onePolygon = std::make_shared<APolygonEntity>();
    onePolygon->SetItem(std::make_shared<ASubPolygon>());
    onePolygon->GetItem()->VertexBuffer().assign(90'000, 2.5F);
    const auto entities = std::make_shared<AGroupEntity>();
    for (const std::shared_ptr<AEntity>& entity :
         std::vector<std::shared_ptr<AEntity>>{meshes, polygons, texts, topo, oneMesh, oneEdge, onePolygon})
        entities->AddEntity(entity);

    const auto root = std::make_shared<AGroupSceneNode>();
    for (int id = 1; id <= 2; ++id) {
        const auto node = std::make_shared<AEntitySceneNode>();
        node->SetId(id);
        node->SetStyles({face, line, nullptr, line});
        node->SetEntity(entities);
        root->AddChildNode(node);
    }
    return root;
}

/// Whatever goes wrong, at whatever moment: nothing leaks or is handed out half filled, and the reason is told.
class Faults : public SceneFileTest
{
public:
    void Save(const std::string& name) const
    {
        ASceneSerializeContext context(FileName(name), true);
        ASSERT_TRUE(context.Begin());
        context.Collector().WritePtr(m_Scene, context);
        context.End();
    }
    /// `root` stays empty where loading fails.
    void Load(Node& root, const std::string& name = "whole.scene") const
    {
        ASceneSerializeContext context(FileName(name), false);
        if (!context.Begin()) // the header was cut
            return;
        context.Collector().ReadPtr(root, context);
        context.End();
    }

protected:
    Faults()
    {
        Save("whole.scene");
        m_File = ReadFile("whole.scene");
    }
    /// The whole scene, as it would be stored.
    [[nodiscard]] bool IsWhole(const Node& root) { return root && Bytes::Header().Add(StoreReference(root)) == m_File; }

    Node m_Scene = AllClasses();
    Bytes m_File;
};

TEST_F(Faults, AreTriedOnAllClasses)
{
    for (const auto& [name, creator] : TSingleton<AClassFactory>::Instance()) {
        const Bytes text = Bytes().Text(std::u16string(name.begin(), name.end()));
        EXPECT_NE(m_File.Data().find(text.Data()), std::string::npos) << KvText::ToUtf8(name);
    }
    EXPECT_GT(m_File.Size(), 256U * 1024);
}

TEST_F(Faults, EveryAllocationMayFail)
{
    for (const Fault::Kind kind : {Fault::Memory, Fault::NoMemory}) {
        std::size_t saving = 0, loading = 0;
        for (bool failed = true; failed; ++saving) {
            Fault fault(kind, saving + 1);
            try {
                Save("other.scene");
                failed = fault.Stop();
                ASSERT_FALSE(failed) << "lost silently, allocation " << saving + 1;
            } catch (const std::bad_alloc&) {
                ASSERT_TRUE(fault.Stop());
            }
        }
        EXPECT_EQ(ReadFile("other.scene"), m_File);
        for (bool failed = true; failed; ++loading) {
            Node root;
            Fault fault(kind, loading + 1);
            try {
                Load(root);
                failed = fault.Stop();
                ASSERT_FALSE(failed) << "lost silently, allocation " << loading + 1;
                EXPECT_TRUE(IsWhole(root));
            } catch (const std::bad_alloc&) {
                ASSERT_TRUE(fault.Stop());
                ASSERT_EQ(root, nullptr) << loading + 1;
            }
        }
        EXPECT_GT(saving, 20U);
        EXPECT_GT(loading, 60U) << "at least one for each object";
    }
    EXPECT_EQ(m_Scene.use_count(), 1);
    EXPECT_EQ(TakeReports(), Reports());
}

// What a file gives that is cut while it is being read is what it gives that was cut before.
TEST_F(Faults, AFileMayEndAnywhere)
{
    constexpr std::size_t small = 3000, step = 20'011; // large buffers come last
    for (std::size_t size = 0; size < m_File.Size() && !HasFailure(); size += size < small ? 5 : step) {
        SCOPED_TRACE(size);
        Node root, cut;
        Fault fault(Fault::ReadEnds, size);
        Load(root);
        EXPECT_TRUE(fault.Stop());
        const Reports reports = TakeReports();
        WriteFile(m_File.First(size), "cut.scene");
        Load(cut, "cut.scene");
        EXPECT_EQ(TakeReports(), reports);
        ASSERT_EQ(root == nullptr, cut == nullptr);
        if (root) {
            EXPECT_TRUE(StoreReference(root) == StoreReference(cut));
        }
    }
}

// A table that finds no memory to grow goes on with what it has.
TEST_F(Faults, TablesOutliveFailedAllocations)
{
    constexpr std::uint32_t count = 20'000;
    std::size_t number = 0;
    for (bool failed = true; failed;) {
        TPlaceTable<std::pair<std::uint32_t, int>> table;
        Fault fault(Fault::Memory, ++number);
        for (std::uint32_t key = 1; key <= count; ++key)
            try {
                table.Add({key, 0});
            } catch (const std::bad_alloc&) {
                for (std::uint32_t other = 1; other < key; ++other)
                    EXPECT_EQ(table.Find(other), other) << number;
                --key;
            }
        failed = fault.Stop();
        for (std::uint32_t key = 1; key <= count; ++key)
            EXPECT_NE(table.Find(key), 0U) << key;
    }
    EXPECT_GT(number, 20U);
}

TEST_F(Faults, SharedPointersOutliveFailedAllocations)
{
    constexpr std::size_t count = 10'000;
    for (std::size_t number = 1; number < count; number += 7) {
        AControlBlocks blocks;
        std::vector<std::shared_ptr<std::size_t>> pointers;
        pointers.reserve(count);
        Fault fault(Fault::Memory, number);
        while (pointers.size() < count)
            try {
                pointers.push_back(blocks.Share(std::make_unique<std::size_t>(pointers.size())));
            } catch (const std::bad_alloc&) {
            }
        ASSERT_TRUE(fault.Stop());
        for (std::size_t i = 0; i < count; ++i)
            ASSERT_EQ(*pointers[i], i);
    }
}

std::size_t s_XmlBlocks = 0; // that the XML library still gets

TEST(XmlFaults, NothingIsLeftOutOfADocumentForLackOfMemory)
{
    const std::wstring text(40'000, L'x'); // needs a block of its own
    const auto write = [&](AOStreamXML& stream) {
        stream.Push(L"name" + text);
        stream.NodeValue(L"value" + text);
        stream.Attribute(L"key" + text, text);
        stream.Pop();
    };
    pugi::set_memory_management_functions(
        [](std::size_t size) { return s_XmlBlocks > 0 && s_XmlBlocks-- > 0 ? std::malloc(size) : nullptr; }, std::free);
    std::size_t blocks = 0;
    for (bool failed = true; failed; ++blocks) {
        s_XmlBlocks = blocks;
        AOStreamXML stream;
        try {
            write(stream);
            failed = false;
        } catch (const std::bad_alloc&) {
        }
    }
    pugi::set_memory_management_functions(std::malloc, std::free);
    EXPECT_GT(blocks, 4U) << "of the name, the value, the attribute and its value";
}

struct FailingCall : TestRow
{
    Fault::Kind kind;
    std::errc reason;
    bool saving;
    std::size_t least; ///< How often it is called at least.
};

class FailingCalls : public Faults, public testing::WithParamInterface<FailingCall>
{
};

TEST_P(FailingCalls, AreToldWithTheFilesNameAndTheReason)
{
    std::size_t calls = 0;
    for (bool failed = true; failed; ++calls) {
        Node root;
        Fault fault(GetParam().kind, calls + 1);
        try {
            GetParam().saving ? Save("other.scene") : Load(root);
            failed = fault.Stop();
            ASSERT_FALSE(failed) << "lost silently, call " << calls + 1;
        } catch (const std::system_error& error) {
            ASSERT_TRUE(fault.Stop());
            EXPECT_EQ(error.code(), GetParam().reason);
            const std::string name = GetParam().saving ? "other.scene" : "whole.scene";
            EXPECT_EQ(std::string(error.what()).find(PathOf(name).string() + ": cannot "), 0U) << error.what();
            EXPECT_EQ(root, nullptr);
        }
        if (GetParam().saving) {
            const std::string written = ReadFile("other.scene").Data();
            EXPECT_EQ(m_File.Data().compare(0, written.size(), written), 0) << "a gap was filled";
        }
    }
    EXPECT_GT(calls, GetParam().least);
    EXPECT_EQ(m_Scene.use_count(), 1);
    EXPECT_EQ(TakeReports(), Reports());
}
INSTANTIATE_TEST_SUITE_P(Faults, FailingCalls,
                         testing::Values(FailingCall{{"Read"}, Fault::ReadFails, std::errc::io_error, false, 4},
                                         FailingCall{
                                             {"Write"}, Fault::WriteFails, std::errc::no_space_on_device, true, 3},
                                         FailingCall{{"Close"}, Fault::CloseFails, std::errc::io_error, true, 1}),
                         RowName<FailingCall>);

// A system may take or give less than it was asked for, and interrupt.
TEST_F(Faults, WritesAndReadsGoOnWhereTheyStopped)
{
    Fault writes(Fault::WritesShort, 0);
    Save("other.scene");
    EXPECT_FALSE(writes.Stop()) << "no write was short";
    EXPECT_TRUE(ReadFile("other.scene") == m_File);
    Node root;
    Fault reads(Fault::ReadsShort, 0);
    Load(root);
    EXPECT_FALSE(reads.Stop()) << "no read was short";
    EXPECT_TRUE(IsWhole(root));
}

TEST_F(Faults, WithoutMemoryForALargeBufferTheSmallOneDoes)
{
    const std::string part(1000, 'x');
    constexpr std::size_t parts = 2'000;
    CFile file;
    ASSERT_TRUE(file.Open(PathOf("other").wstring(), CFile::modeCreate | CFile::modeWrite));
    Fault fault(Fault::NoMemory, 1);
    for (std::size_t i = 0; i < parts; ++i)
        file.Write(part.data(), part.size());
    EXPECT_TRUE(fault.Stop()) << "no large buffer was asked for";
    file.Close();
    EXPECT_TRUE(ReadFile("other").Data() == std::string(parts * part.size(), 'x'));
}
} // namespace
