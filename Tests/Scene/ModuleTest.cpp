#include <Tests/Scene/TestModule.h>
#include <Tests/Support/RecordTest.h>

#include <dlfcn.h>

using namespace Kelvra;

namespace {

/// A program that loads a module at run time, with symbols of its own that nobody else sees.
class Modules : public SceneFileTest
{
protected:
    void SetUp() override
    {
        static void* const s_Module = dlopen(TEST_MODULE, RTLD_LOCAL | RTLD_NOW); // stays until the process ends
        ASSERT_NE(s_Module, nullptr) << dlerror();
        m_GetView = reinterpret_cast<GetViewFunction*>(dlsym(s_Module, "GetView"));
        ASSERT_NE(m_GetView, nullptr) << dlerror();
    }

    GetViewFunction* m_GetView = nullptr;
};

TEST_F(Modules, SeeTheSameRegistriesAndTypes)
{
    ModuleView theirs;
    m_GetView(theirs);
    const ModuleView ours = ViewFromHere();
    EXPECT_EQ(theirs.singletons, ours.singletons);
    EXPECT_EQ(theirs.types, ours.types);
    EXPECT_NE(std::dynamic_pointer_cast<AListEntity<DrawMeshTrait>>(theirs.list), nullptr);
}

// The program loads and stores a class of which it knows the name only.
TEST_F(Modules, AddClassesThatTheProgramLoadsAndStores)
{
    const Bytes reference = Packed{1, u"AModuleEntity", Bytes().EntityHeader(-1), -5};
    const auto loaded = LoadReference<AEntity>(reference);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->GetRuntimeClassId().GetName(), L"AModuleEntity");
    EXPECT_EQ(StoreReference(loaded), reference);
    EXPECT_EQ(TakeReports(), Reports());
}
} // namespace
