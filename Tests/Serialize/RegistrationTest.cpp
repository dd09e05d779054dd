#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace Kelvra;

namespace {

using Names = std::vector<std::wstring>;

template <class Factory> Names NamesOf(const Factory& factory)
{
    Names names;
    for (const auto& [name, creator] : factory)
        names.push_back(name);
    return names;
}

TEST(Registration, TheClassFactoryMakesExactlyTheStorableClasses)
{
    auto& factory = TSingleton<AClassFactory>::Instance();
    const Names expected = {L"AEdgeEntity",     L"AEntitySceneNode", L"AFaceStyle",     L"AGroupEntity",
                            L"AGroupSceneNode", L"ALineStyle",       L"AListEntity",    L"AMaterial",
                            L"AMeshEntity",     L"AMeshListEntity",  L"APolygonEntity", L"APolygonListEntity",
                            L"ASubEdge",        L"ASubMesh",         L"ASubPolygon",    L"ASubText",
                            L"ATextListEntity", L"ATexture",         L"ATopoEntity"};
    EXPECT_EQ(NamesOf(factory), expected);
    const auto late = std::make_shared<TObjectCreator<ASubVertex, TObjectCreatorBase<AObject>>>();
    for (const std::wstring& name : expected) {
        EXPECT_FALSE(factory.RegisterObject(name, late)) << "the first creator under a name stays in force";
        const std::unique_ptr<AObject> object(factory.CreateObject(name));
        ASSERT_NE(object, nullptr);
        EXPECT_EQ(object->GetRuntimeClassId().GetName(), name);
    }
    EXPECT_EQ(late.use_count(), 1) << "creators that are not registered are released";
}

template <class T> bool HasCollector()
{
    const auto& factory = TSingleton<AScenePtrCollectorFactory>::Instance();
    const std::unique_ptr<AScenePtrCollector> made(factory.CreateObject(T::GetClassId().GetName()));
    return dynamic_cast<TScenePtrCollector<std::shared_ptr<T>>*>(made.get()) != nullptr;
}

TEST(Registration, TheCollectorFactoryMakesOneCollectorOfEachKind)
{
    EXPECT_EQ(NamesOf(TSingleton<AScenePtrCollectorFactory>::Instance()),
              (Names{L"AEntity", L"AMaterial", L"ANodeStyle", L"ASceneNode", L"ASubEntity", L"ATexture"}));
    EXPECT_TRUE(HasCollector<AEntity>() && HasCollector<AMaterial>() && HasCollector<ANodeStyle>());
    EXPECT_TRUE(HasCollector<ASceneNode>() && HasCollector<ASubEntity>() && HasCollector<ATexture>());
}

TEST(Registration, AClassHasTwoIdentitiesOfOneName)
{
    const AEdgeListEntity list;
    EXPECT_EQ(AEdgeListEntity::GetClassId().GetName(), L"AListEntity");
    EXPECT_NE(&AEdgeListEntity::GetClassId(), &list.GetRuntimeClassId());
    EXPECT_EQ(&list.GetRuntimeClassId(), &AEdgeListEntity().GetRuntimeClassId());
    EXPECT_EQ(ATopoSceneNode().GetRuntimeClassId().GetName(), L"ASceneNode");
    EXPECT_EQ(ASubVertex().GetRuntimeClassId().GetName(), L"ASubVertex");
}
} // namespace
