#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace Kelvra;

namespace {

struct Meshes
{
    using Service = AMeshFileService;
    using Manager = AMeshFileServiceManager;
    using Base = AEntity;
    using Loaded = AGroupEntity;
};
struct Scenes
{
    using Service = ASceneFileService;
    using Manager = ASceneFileServiceManager;
    using Base = ASceneNode;
    using Loaded = AGroupSceneNode;
};

/// A service that loads whatever does not begin with "bad", and counts its files.
template <class Kind> class TestService : public Kind::Service
{
public:
    explicit TestService(const std::wstring& name = L"") { this->SetName(name); }

    std::vector<std::wstring> m_Files;
    int m_Depth = 0;

private:
    std::shared_ptr<typename Kind::Base> OnLoadFile(const std::wstring& fileName) override
    {
        if (fileName == L"self") // refers to itself, which is loaded as nothing
            return ++m_Depth == 1 && !this->LoadFile(fileName) ? std::make_shared<typename Kind::Loaded>() : nullptr;
        m_Files.push_back(fileName);
        return fileName.rfind(L"bad", 0) == 0 ? nullptr : std::make_shared<typename Kind::Loaded>();
    }
};

template <class Kind> class FileServices : public testing::Test
{
};
using Kinds = testing::Types<Meshes, Scenes>;
TYPED_TEST_SUITE(FileServices, Kinds, );

TYPED_TEST(FileServices, ReadEachNameOnce)
{
    TestService<TypeParam> service;
    const auto loaded = service.LoadFile(L"a.obj");
    EXPECT_NE(loaded, nullptr);
    EXPECT_EQ(service.LoadFile(L"a.obj"), loaded);
    EXPECT_NE(service.LoadFile(L"./a.obj"), loaded); // the spelling counts
    EXPECT_EQ(service.LoadFile(L"bad"), nullptr);
    EXPECT_EQ(service.LoadFile(L"bad"), nullptr); // failures are not tried again
    service.ForgetFile(L"bad");
    EXPECT_EQ(service.LoadFile(L"bad"), nullptr);
    const auto self = service.LoadFile(L"self");
    EXPECT_NE(self, nullptr);
    EXPECT_EQ(service.LoadFile(L"self"), self);
    EXPECT_EQ(service.m_Files, (std::vector<std::wstring>{L"a.obj", L"./a.obj", L"bad", L"bad"}));
}

TYPED_TEST(FileServices, AreListedInTheOrderOfTheirNames)
{
    auto& manager = TypeParam::Manager::Instance();
    for (const wchar_t* name : {L"b", L"\xE9", L"a", L"B", L"", L"aa", L"Z"})
        EXPECT_TRUE(manager.AddObject(std::make_shared<TestService<TypeParam>>(name)));
    manager.RemoveObject(L"aa");
    manager.RemoveObject(manager.begin()->first); // its own key
    std::wstring names;
    for (const auto& [name, service] : manager)
        names += name;
    EXPECT_EQ(names, L"BZab\xE9");
    manager.Clear();
    EXPECT_EQ(manager.size(), 0);
}

TYPED_TEST(FileServices, OutliveTheirRegistration)
{
    auto& manager = TypeParam::Manager::Instance();
    const auto first = std::make_shared<TestService<TypeParam>>(L"obj");
    EXPECT_TRUE(manager.AddObject(first));
    EXPECT_FALSE(manager.AddObject(std::make_shared<TestService<TypeParam>>(L"obj")));
    int reports = 0;
    const KvAssertScope counting([&](const KvReport&) { ++reports; });
    EXPECT_FALSE(manager.AddObject(nullptr));
    EXPECT_EQ(reports, 1);
    first->SetName(L"renamed"); // does not move its registration
    EXPECT_EQ(manager.GetObject(L"renamed"), nullptr);
    const auto fetched = manager.GetObject(L"obj");
    EXPECT_EQ(fetched, first);
    manager.RemoveObject(L"obj");
    EXPECT_EQ(manager.GetObject(L"obj"), nullptr);
    EXPECT_EQ(fetched.use_count(), 2);
    EXPECT_NE(fetched->LoadFile(L"a.obj"), nullptr);
}
} // namespace
