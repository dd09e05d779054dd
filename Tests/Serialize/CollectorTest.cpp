#include <Tests/Support/SceneFileTest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace Kelvra;

namespace {

const Report s_NotFound{L"Failed to find collector!", "Serialize/ASceneSerializeCollector", 68};
const Report s_OtherType{L"Failed to cast collector", "Serialize/ASceneSerializeCollector", 70};
const Report s_NotWritten{L"Failed to cast collector", "Serialize/ASceneSerializeCollector", 29};
const Report s_NotRead{L"Failed to cast collector", "Serialize/ASceneSerializeCollector", 40};
const Report s_MemberMissing{L"Failed to read item!", "Serialize/AEntitySerializer", 61};

Report CollectorReport(const std::wstring& message, int line)
{
    return {message, "serialize\\AScenePtrCollector", line};
}
Report CreateFailed(const std::wstring& name)
{
    return CollectorReport(L"Failed to create object" + name, 91);
}
const Report s_NoTexture = CollectorReport(L"Failed to cast object:ATexture", 105);

/// First occurrences: key, class name and record.
Bytes Texture(std::int64_t key, std::u16string_view name)
{
    return Bytes().Int(key).Text(u"ATexture").Text(name).Text(u"").Byte(0);
}
Bytes Group(std::int64_t key, int count)
{
    return Bytes().Int(key).Text(u"AGroupEntity").EntityHeader(-1).Int(count);
}

template <class T> std::shared_ptr<T> Next(ASceneSerializeContext& context)
{
    std::shared_ptr<T> p;
    context.Collector().ReadPtr(p, context);
    return p;
}

using CollectorTest = SceneFileTest;

TEST_F(CollectorTest, StoresAnObjectOnceAndItsKeyAfterwards)
{
    const auto a = std::make_shared<ATexture>(), b = std::make_shared<ATexture>();
    const std::shared_ptr<AEntity> group = std::make_shared<AGroupEntity>();
    const auto write = [&](ASceneSerializeContext& context) {
        for (const auto& texture : {a, std::shared_ptr<ATexture>(), a, b})
            context.Collector().WritePtr(texture, context);
        context.Collector().WritePtr(group, context);
        context.Collector().WritePtr(b, context);
    };
    const Bytes expected = Texture(1, u"").Int(0).Int(1).Add(Texture(2, u"")).Add(Group(1, 0)).Int(2);
    EXPECT_EQ(Store(write), expected) << "equal textures are two; each collector counts its own keys from 1";
    EXPECT_EQ(Store(write), expected) << "no run knows of another";
    EXPECT_EQ(a.use_count() + b.use_count(), 2) << "the run's shares are released";
    EXPECT_EQ(TakeReports(), Reports());
}

// Keys mean nothing but equality: any nonzero values in any order give the same objects.
TEST_F(CollectorTest, ForeignKeysGiveSharedObjects)
{
    for (const auto& [outer, inner, third] : std::vector<std::array<std::int64_t, 3>>{
             {1, 2, 3}, {3, 1, 2}, {3, 2, 1}, {1, 3, 5}, {-1, -2, -3}, {0x80000000, 0x7FFFFFFF, 0xFFFFFFFF}}) {
        Bytes file = Group(outer, 3).Add(Group(inner, 0)).Int(inner).Add(Group(third, 0)).Int(third).Int(inner);
        Load(file.Int(outer).Add(Texture(outer, u"other")), [&](ASceneSerializeContext& context) {
            const auto root = std::dynamic_pointer_cast<AGroupEntity>(Next<AEntity>(context));
            ASSERT_TRUE(root && root->GetAll().size() == 3);
            const auto first = root->GetAll().front(), last = root->GetAll().back();
            EXPECT_EQ(*std::next(root->GetAll().begin()), first);
            EXPECT_NE(first, last);
            EXPECT_EQ(Next<AEntity>(context), last);
            EXPECT_EQ(Next<AEntity>(context), first);
            EXPECT_EQ(Next<AEntity>(context), root);
            EXPECT_NE(Next<ATexture>(context), nullptr) << "each collector has keys of its own";
        });
    }
    EXPECT_EQ(TakeReports(), Reports());
}

TEST_F(CollectorTest, ManyForeignKeysGiveSharedObjects)
{
    constexpr std::uint32_t count = 3000;
    for (const std::uint32_t factor : {0xFFFFFFFFU, 0x9E3779B1U, 65536U}) { // downwards, in no order, far apart
        Bytes file;
        for (std::uint32_t i = 1; i <= count; ++i)
            file.Add(Texture(i * factor, u"")).Int(i * factor);
        for (std::uint32_t i = 1; i <= count; ++i)
            file.Int(i * factor);
        Load(file, [](ASceneSerializeContext& context) {
            std::vector<std::shared_ptr<ATexture>> textures;
            for (std::uint32_t i = 0; i < count; ++i) {
                textures.push_back(Next<ATexture>(context));
                ASSERT_EQ(Next<ATexture>(context), textures.back());
            }
            for (std::uint32_t i = 0; i < count; ++i)
                ASSERT_EQ(Next<ATexture>(context), textures[i]) << i;
            std::sort(textures.begin(), textures.end());
            EXPECT_EQ(std::adjacent_find(textures.begin(), textures.end()), textures.end()) << "all are distinct";
        });
    }
    EXPECT_EQ(TakeReports(), Reports());
}

// What was loaded together is not held together: each object lives as long as its own pointers.
TEST_F(CollectorTest, LoadedObjectsOutliveTheRunOneByOne)
{
    constexpr std::uint32_t count = 20'000;
    Bytes file;
    for (std::uint32_t i = 1; i <= count; ++i)
        file.Add(Texture(i, u""));
    std::vector<std::shared_ptr<ATexture>> kept;
    std::vector<std::weak_ptr<ATexture>> all;
    Load(file, [&](ASceneSerializeContext& context) {
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::shared_ptr<ATexture> texture = Next<ATexture>(context);
            all.push_back(texture);
            if (i % 7 == 3 || i > count - 5)
                kept.push_back(texture);
        }
    });
    const auto alive = [&] {
        return std::count_if(all.begin(), all.end(), [](const auto& texture) { return !texture.expired(); });
    };
    EXPECT_EQ(alive(), static_cast<std::ptrdiff_t>(kept.size()));
    std::thread([&] { kept.erase(kept.begin(), kept.begin() + 300); }).join();
    EXPECT_EQ(alive(), static_cast<std::ptrdiff_t>(kept.size()));
    for (const auto& texture : kept)
        EXPECT_EQ(texture.use_count(), 1);
    all.erase(all.begin() + 1, all.end());
    kept.clear();
    EXPECT_TRUE(all.front().expired());
}

// A reference that cannot be loaded reads as empty and says why; a held pointer stays.
TEST_F(CollectorTest, DamagedReferencesReadAsEmptyAndAreReported)
{
    const struct
    {
        Bytes file;
        Reports reports;
        unsigned left; // bytes that stay unread
    } rows[] = {{Bytes().Int(0), {}, 0},
                {Bytes(), {}, 0},
                {Bytes().Int(2).Text(u"AGhost").Fill(9), {CreateFailed(L"AGhost"), s_NoTexture}, 9},
                {Bytes().Int(2).Text(u"AEntity"), {CreateFailed(L"AEntity"), s_NoTexture}, 0},
                {Bytes().Int(2).Text(u"AMaterial").Fill(9), {s_NoTexture}, 9},
                {Bytes().Int(2), {CreateFailed(L""), s_NoTexture}, 0},
                {Bytes().Int(2).Text(u"ATexture").First(10),
                 {CreateFailed(std::wstring(L"A\0\0\0\0\0\0\0", 8)), s_NoTexture},
                 0}};
    for (const auto& row : rows) {
        Load(Texture(1, u"whole").Add(row.file), [&](ASceneSerializeContext& context) {
            const auto whole = Next<ATexture>(context);
            std::shared_ptr<ATexture> p = whole;
            context.Collector().ReadPtr(p, context);
            EXPECT_EQ(p, whole);
            EXPECT_EQ(context.GetBytesLeft(), row.left);
            EXPECT_EQ(context.Collector().GetCollector<ATexture>()->Find(2), nullptr);
        });
        EXPECT_EQ(TakeReports(), row.reports);
    }
}

// An object found again under its key is of its own class, whatever the place that refers to it takes.
TEST_F(CollectorTest, KnownObjectsAreCheckedWhereverTheyAreHandedOut)
{
    const Report notAnItem{L"Failed to read item!", "Serialize/AEntitySerializer", 117};
    const Bytes text = Bytes().Int(1).Text(u"ASubText").EntityHeader(0).Int(0).Fill(24 + 32);
    const Bytes list = Bytes().Int(1).Text(u"ATextListEntity").EntityHeader(0).Int(1).Add(text);
    const auto entity = [](const char16_t* name) { return Bytes().Int(2).Text(name).EntityHeader(0); };
    const auto load = [&](const Bytes& file) {
        std::shared_ptr<AEntity> second;
        Load(Bytes(list).Add(file), [&](ASceneSerializeContext& context) {
            EXPECT_NE(Next<AEntity>(context), nullptr);
            second = Next<AEntity>(context);
            EXPECT_EQ(context.GetBytesLeft(), 0U);
        });
        EXPECT_NE(second, nullptr);
        return second;
    };
    // A text where items are meshes, edges and polygons, alone and in lists.
    EXPECT_EQ(dynamic_cast<AMeshEntity&>(*load(entity(u"AMeshEntity").Int(1))).GetItem(), nullptr);
    EXPECT_EQ(dynamic_cast<AEdgeEntity&>(*load(entity(u"AEdgeEntity").Int(1))).GetItem(), nullptr);
    EXPECT_EQ(dynamic_cast<APolygonEntity&>(*load(entity(u"APolygonEntity").Int(1))).GetItem(), nullptr);
    EXPECT_EQ(TakeReports(), Reports()) << "fields of other classes are left empty silently";
    for (const char16_t* const name : {u"AMeshListEntity", u"AListEntity", u"APolygonListEntity"}) {
        const auto loaded = load(entity(name).Int(2).Int(1).Int(1));
        EXPECT_EQ(StoreReference(loaded), Bytes().Int(1).Text(name).EntityHeader(0).Int(0));
        EXPECT_EQ(TakeReports(), Reports(2, notAnItem));
    }
    const auto texts = load(entity(u"ATextListEntity").Int(1).Int(1));
    EXPECT_EQ(dynamic_cast<ATextListEntity&>(*texts).GetItems().size(), 1U);

    // The list of texts, and the entity itself whose record is not complete, as faces and edges.
    const auto topo = load(entity(u"ATopoEntity").Int(1).Int(1));
    EXPECT_EQ(dynamic_cast<ATopoEntity&>(*topo).GetFaces(), nullptr);
    EXPECT_EQ(dynamic_cast<ATopoEntity&>(*topo).GetEdges(), nullptr);
    EXPECT_EQ(TakeReports(), Reports());

    // Keys of one collector mean nothing to another, and new objects of other classes are refused by each.
    Load(Bytes(list).Int(1).Int(1).Text(u"ALineStyle").Int(1).Text(u"ASubText"), [](ASceneSerializeContext& context) {
        EXPECT_NE(Next<AEntity>(context), nullptr);
        EXPECT_NE(Next<ASubEntity>(context), nullptr) << "the text";
        EXPECT_EQ(Next<AMaterial>(context), nullptr);
        EXPECT_EQ(Next<ASceneNode>(context), nullptr);
    });
    EXPECT_EQ(TakeReports(), (Reports{CollectorReport(L"Failed to cast object:AMaterial", 105),
                                      CollectorReport(L"Failed to cast object:ASceneNode", 105)}));
}

/// A storable class that counts its objects and whose record is an edge's, which is a virtual base of it.
class Counted : public virtual ASubEdge
{
public:
    Counted() { ++s_Alive; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    ~Counted() override { --s_Alive; }
    static inline int s_Alive = 0;
};

// An object handed out is complete or absent, whatever stops the reading, and lives until the end of the run.
TEST_F(CollectorTest, ObjectsAreKeptByTheRunOrDestroyed)
{
    auto& factory = TSingleton<AClassFactory>::Instance();
    factory.RegisterObject(L"Counted", std::make_shared<TObjectCreator<Counted, TObjectCreatorBase<AObject>>>());
    const Bytes whole = Bytes().Int(7).Text(u"Counted").EntityHeader(0).Int(0);
    const Bytes broken = Bytes().Int(1).Text(u"Counted").EntityHeader(0).Int(std::numeric_limits<int>::max());
    Load(Bytes(whole).Int(1).Text(u"Counted").Add(broken), [](ASceneSerializeContext& context) {
        std::shared_ptr<Counted> counted;
        ReadPtrAs<Counted, ASubEntity>(counted, context);
        EXPECT_NE(std::exchange(counted, nullptr), nullptr);
        EXPECT_EQ(Counted::s_Alive, 1);
        EXPECT_EQ(Next<ATexture>(context), nullptr) << "of a wrong type";
        std::shared_ptr<ASubEntity> former = std::make_shared<ASubText>();
        EXPECT_THROW(context.Collector().GetCollector<ASubEntity>()->Read(former, context), std::length_error);
        EXPECT_NE(former, nullptr);
        EXPECT_EQ(context.Collector().GetCollector<ASubEntity>()->Find(1), nullptr);
        EXPECT_EQ(Counted::s_Alive, 1);
    });
    EXPECT_EQ(Counted::s_Alive, 0);
    EXPECT_EQ(TakeReports(), Reports{s_NoTexture});
    const Bytes list = Bytes().Int(1).Text(u"AListEntity").EntityHeader(0).Int(2).Add(whole).Add(broken);
    Load(list, [](ASceneSerializeContext& context) { EXPECT_THROW(Next<AEntity>(context), std::length_error); });
    EXPECT_EQ(Counted::s_Alive, 0);
    factory.UnRegisterObject(L"Counted");
}

// What is loaded through a copy of a collector is loaded through a collector of its own, which begins with the same
// objects.
TEST_F(CollectorTest, CopiesShareTheObjectsThatTheyBeganWith)
{
    Load(Texture(1, u"").Add(Texture(2, u"")).Add(Texture(2, u"")), [](ASceneSerializeContext& context) {
        auto& collector = *context.Collector().GetCollector<ATexture>();
        std::shared_ptr<ATexture> first, ofCopy, ofCollector;
        collector.Read(first, context);
        auto copy = collector;
        EXPECT_EQ(copy.Find(1), first);
        copy.Read(ofCopy, context);
        collector.Read(ofCollector, context);
        EXPECT_NE(ofCopy, ofCollector);
        EXPECT_EQ(copy.Find(2), ofCopy);
        copy = collector;
        EXPECT_EQ(copy.Find(2), ofCollector);
        EXPECT_EQ(ofCopy.use_count(), 1);
    });
}

TEST_F(CollectorTest, OutsideOfARunNothingIsWrittenOrRead)
{
    auto texture = std::make_shared<ATexture>();
    for (const bool storing : {true, false}) {
        ASceneSerializeContext context(FileName(), storing);
        const auto transfer = [&] {
            storing ? context.Collector().WritePtr(texture, context) : context.Collector().ReadPtr(texture, context);
            return TakeReports();
        };
        const Reports missing = {s_NotFound, storing ? s_NotWritten : s_NotRead};
        EXPECT_EQ(transfer(), missing);
        ASSERT_TRUE(context.Begin());
        EXPECT_EQ(transfer(), Reports());
        context.End();
        EXPECT_EQ(transfer(), missing);
    }
    EXPECT_EQ(ReadFile(), Bytes::Header().Add(Texture(1, u"")));
}

// ATopoSceneNode has the class name of ASceneNode, whose collector is not one of its own.
TEST_F(CollectorTest, OfAnotherTypeIsReported)
{
    EXPECT_EQ(StoreReference(std::make_shared<ATopoSceneNode>()), Bytes());
    EXPECT_EQ(TakeReports(), (Reports{s_OtherType, s_NotWritten}));
    EXPECT_EQ(LoadReference<ATopoSceneNode>(Bytes().Int(1)), nullptr);
    EXPECT_EQ(TakeReports(), (Reports{s_OtherType, s_NotRead}));
}

TEST_F(CollectorTest, AnObjectInsideOfItselfIsWrittenAsEmpty)
{
    AGroupEntity outer, inner;
    const auto unowned = [](AGroupEntity& group) {
        return std::shared_ptr<AEntity>(std::shared_ptr<AEntity>(), &group);
    };
    outer.AddEntity(unowned(inner));
    inner.AddEntity(unowned(outer));
    inner.AddEntity(unowned(inner));
    const Bytes file = Group(1, 1).Add(Group(2, 2)).Int(0).Int(0).Int(2).Int(1);
    EXPECT_EQ(Store([&](ASceneSerializeContext& context) {
                  for (AGroupEntity* group : {&outer, &inner, &outer})
                      context.Collector().WritePtr(unowned(*group), context);
              }),
              file);
    EXPECT_EQ(TakeReports(), Reports(2, CollectorReport(L"Failed to write object, it holds itself:AGroupEntity", 44)));
    EXPECT_NE(LoadReference<AEntity>(file), nullptr);
    EXPECT_EQ(TakeReports(), Reports(2, s_MemberMissing));
}

/// A storable class of which each object has a class name of its own.
class Named : public ATexture
{
public:
    explicit Named(const std::wstring& name) : m_Id(name) {}
    const AClassId& GetRuntimeClassId() const override { return m_Id; }

private:
    AClassId m_Id;
};

TEST_F(CollectorTest, ObjectsThatNoLoadCanCreateAreReportedOncePerClass)
{
    std::vector<std::shared_ptr<ATexture>> textures{std::make_shared<ATexture>()};
    Bytes expected = Texture(1, u"");
    for (const std::u16string name : {u"AGhost", u"AGhost", u"ATexture", u"ASpirit", u"AGhost"}) {
        textures.push_back(std::make_shared<Named>(std::wstring(name.begin(), name.end())));
        expected.Int(static_cast<int>(textures.size())).Text(name).Text(u"").Text(u"").Byte(0);
    }
    const auto notCreatable = [](const wchar_t* name) {
        return CollectorReport(std::wstring(L"Written object cannot be loaded, no creator for class:") + name, 53);
    };
    for (int run = 1; run <= 2; ++run) {
        EXPECT_EQ(Store([&](ASceneSerializeContext& context) {
                      for (const auto& texture : textures)
                          context.Collector().WritePtr(texture, context);
                  }),
                  expected);
        EXPECT_EQ(TakeReports(), (Reports{notCreatable(L"AGhost"), notCreatable(L"ASpirit")})) << run;
    }
}

TEST_F(CollectorTest, NestingIsLimitedBothWays)
{
    const Reports unwritten = {CollectorReport(L"Failed to write object, nested too deeply:AGroupEntity", 50)};
    const Reports unread = {CollectorReport(L"Failed to read object, nested too deeply:AGroupEntity", 120),
                            s_MemberMissing};
    for (const auto& [limit, levels] : std::vector<std::pair<int, int>>{{1024, 1024}, {1024, 1025}, {1500, 1500}}) {
        const bool tooDeep = levels > limit;
        const auto setLimit = [limit = limit](ASceneSerializeContext& context) {
            if (limit != 1024)
                context.SetNestingLimit(limit);
        };
        std::shared_ptr<AEntity> root;
        Bytes whole, cut;
        for (int i = 1; i <= levels; ++i) {
            auto group = std::make_shared<AGroupEntity>();
            if (root)
                group->AddEntity(root);
            root = std::move(group);
            whole.Add(Group(i, i < levels ? 1 : 0));
            i <= limit ? cut.Add(Group(i, i < levels ? 1 : 0)) : cut.Int(0);
        }
        const Bytes stored = Store([&](ASceneSerializeContext& context) {
            setLimit(context);
            context.Collector().WritePtr(root, context);
        });
        EXPECT_TRUE(stored == cut) << levels;
        EXPECT_EQ(TakeReports(), tooDeep ? unwritten : Reports());
        Load(whole.Add(Group(-1, 0)), [&](ASceneSerializeContext& context) {
            setLimit(context);
            EXPECT_NE(Next<AEntity>(context), nullptr);
            EXPECT_EQ(TakeReports(), tooDeep ? unread : Reports());
            if (!tooDeep) {
                EXPECT_NE(Next<AEntity>(context), nullptr) << "the levels are given back";
            }
        });
    }
}
} // namespace
