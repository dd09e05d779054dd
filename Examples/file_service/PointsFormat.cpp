// A file-format module: a shared library that offers two loaders as soon as it is loaded. Its format is a text
// file of points, three numbers each, that are the corners of triangles.

#include <LumvoData/LumvoData.h>

#include <fstream>

using namespace Kelvra;

namespace {

std::shared_ptr<AEntity> LoadMesh(const std::wstring& fileName)
{
    std::ifstream file(KvText::ToPath(fileName));
    const auto mesh = std::make_shared<ASubMesh>();
    AMath::AxisAlignedBox box;
    for (AMath::Vector3 p; file >> p.x >> p.y >> p.z;) {
        mesh->IndexBuffer().push_back(static_cast<unsigned int>(mesh->IndexBuffer().size()));
        for (const double coordinate : {p.x, p.y, p.z})
            mesh->VertexBuffer().push_back(static_cast<float>(coordinate));
        box.merge({p, p});
    }
    if (!file.eof() || mesh->IndexBuffer().empty() || mesh->IndexBuffer().size() % 3 != 0)
        return nullptr;
    mesh->SetBBox(box);
    const auto entity = std::make_shared<AMeshEntity>();
    entity->SetItem(mesh);
    entity->SetBBox(box);
    return entity;
}

class PointsMeshService : public AMeshFileService
{
    std::shared_ptr<AEntity> OnLoadFile(const std::wstring& fileName) override { return LoadMesh(fileName); }
};

class PointsSceneService : public ASceneFileService
{
    std::shared_ptr<ASceneNode> OnLoadFile(const std::wstring& fileName) override
    {
        const std::shared_ptr<AEntity> entity = LoadMesh(fileName);
        if (!entity)
            return nullptr;
        const auto node = std::make_shared<AEntitySceneNode>();
        node->SetEntity(entity);
        return node;
    }
};

template <class Service, class Manager> void Register(const std::wstring& name)
{
    const auto service = std::make_shared<Service>();
    service->SetName(name);
    service->SetTitle(L"Triangles as points");
    service->SetFileFilter(L"*.points");
    TSingleton<Manager>::Instance().AddObject(service);
}

const struct Registrations
{
    Registrations()
    {
        Register<PointsMeshService, AMeshFileServiceManager>(L"points");
        Register<PointsSceneService, ASceneFileServiceManager>(L"points");
    }
    // The services' code goes with the module, and the managers outlive it.
    ~Registrations()
    {
        TSingleton<AMeshFileServiceManager>::Instance().RemoveObject(L"points");
        TSingleton<ASceneFileServiceManager>::Instance().RemoveObject(L"points");
    }
} s_Registrations;
} // namespace
