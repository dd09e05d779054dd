#include <Tests/Scene/TestModule.h>

/// A module as an application loads it at run time: it adds an entity class of its own to the class factory.
namespace {

class AModuleEntity : public Kelvra::AEntity
{
    KELVRA_DECLARE_CLASS_ID();

public:
    using Kelvra::AEntity::Serialize; // overriding one overload would hide the XML pair
    void Serialize(Kelvra::ASceneSerializeContext& context) override
    {
        Kelvra::AEntity::Serialize(context);
        Kelvra::ASceneRecord record(context);
        record.Number("value", m_Value);
    }
    bool Visit(Kelvra::AEntityVisitor&) override { return m_Value != 0; }

private:
    std::int32_t m_Value = 4711;
};

KELVRA_DEFINE_CLASS_ID(AModuleEntity, L"AModuleEntity")

const struct Registration
{
    Registration()
    {
        Kelvra::TSingleton<Kelvra::AClassFactory>::Instance().RegisterObject(
            AModuleEntity::GetClassId().GetName(),
            std::make_shared<Kelvra::TObjectCreator<AModuleEntity, Kelvra::TObjectCreatorBase<Kelvra::AObject>>>());
    }
    ~Registration()
    {
        Kelvra::TSingleton<Kelvra::AClassFactory>::Instance().UnRegisterObject(AModuleEntity::GetClassId().GetName());
    }
} s_Registration;
} // namespace

extern "C" KELVRA_EXPORT void GetView(ModuleView& view)
{
    view = ViewFromHere();
}
