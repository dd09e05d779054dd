#include <LumvoData/LumvoData.h>

#include <fstream>
#include <stdexcept>

using namespace Kelvra;

/// A mesh with a mark and a note that only this class knows of.
class ANotedEntity : public AMeshEntity
{
    KELVRA_DECLARE_CLASS_ID();

public:
    using AMeshEntity::Serialize;
    void Serialize(ASceneSerializeContext& context) override
    {
        AMeshEntity::Serialize(context);
        context.Write(&m_Mark, 1);
        context.Collector().WritePtr<ASubEntity>(m_Note, context);
    }
    char m_Mark = 0;
    std::shared_ptr<ASubText> m_Note = std::make_shared<ASubText>();
};
KELVRA_DEFINE_CLASS_ID(ANotedEntity, L"ANotedEntity")

/// A module that knows the library alone: its mesh service makes a triangle of a file that begins with T, one of a class
/// of its own of a file that begins with N, throws at one that begins with X, and says through the assertion service why
/// it refuses another. One called mute.plain it refuses without a word.
namespace {

class PlainService : public AMeshFileService
{
    std::shared_ptr<AEntity> OnLoadFile(const std::wstring& fileName) override
    {
        std::ifstream file(KvText::ToPath(fileName));
        const bool mute = fileName.find(L"mute") != fileName.npos;
        const int kind = file.get();
        if (kind == 'X')
            throw std::runtime_error("\x1B[31m\xFF");
        if (!KvAssert::Assert(kind == 'T' || kind == 'N' || mute, "No T!", "PlainModule", 7) || mute)
            return nullptr;
        const auto mesh = std::make_shared<ASubMesh>();
        mesh->VertexBuffer() = {0, 0, 0, 1, 0, 0, 0, 1, 0};
        mesh->IndexBuffer() = {0, 1, 2};
        const auto noted = std::make_shared<ANotedEntity>();
        std::string note;
        file >> noted->m_Mark >> note;
        noted->m_Note->SetText(KvText::FromUtf8(note));
        const auto entity = kind == 'N' ? noted : std::make_shared<AMeshEntity>();
        entity->SetItem(mesh);
        entity->SetBBox({{0, 0, 0}, {1, 1, 0}});
        return entity;
    }
};

const struct Registration
{
    Registration()
    {
        const auto service = std::make_shared<PlainService>();
        service->SetName(L"plain");
        service->SetTitle(L"Plain \u00E9\u4E2D");
        service->SetFileFilter(L"*.plain; *.pln");
        TSingleton<AMeshFileServiceManager>::Instance().AddObject(service);
    }
    ~Registration() { TSingleton<AMeshFileServiceManager>::Instance().RemoveObject(L"plain"); }
} s_Registration;
} // namespace
