#include <LumvoData/LumvoData.h>

#include <fstream>

using namespace Kelvra;

/// A module that knows the library alone: its mesh service makes a triangle of a file that begins with T, and says
/// through the assertion service why it refuses another. One called mute.plain it refuses without a word.
namespace {

class PlainService : public AMeshFileService
{
    std::shared_ptr<AEntity> OnLoadFile(const std::wstring& fileName) override
    {
        if (!KvAssert::Assert(std::ifstream(KvText::ToPath(fileName)).get() == 'T' ||
                                  fileName.find(L"mute") != fileName.npos,
                              "No T!", "PlainModule", 7) ||
            fileName.find(L"mute") != fileName.npos)
            return nullptr;
        const auto mesh = std::make_shared<ASubMesh>();
        mesh->VertexBuffer() = {0, 0, 0, 1, 0, 0, 0, 1, 0};
        mesh->IndexBuffer() = {0, 1, 2};
        const auto entity = std::make_shared<AMeshEntity>();
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
