#include <LumvoData/LumvoData.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

namespace {

using namespace Kelvra;

void Require(bool condition, const char* what)
{
    if (condition)
        return;
    std::cerr << "Consumer: " << what << '\n';
    std::exit(1);
}

/// Two nodes that show one mesh with one golden style.
std::shared_ptr<AGroupSceneNode> MakeScene()
{
    auto mesh = std::make_shared<ASubMesh>();
    mesh->VertexBuffer() = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    mesh->IndexBuffer() = {0, 1, 2};
    auto entity = std::make_shared<AMeshEntity>();
    entity->SetItem(mesh);
    entity->SetBBox({AMath::Vector3::ZERO, {1, 1, 0}});
    auto style = std::make_shared<AFaceStyle>();
    style->SetMaterial(std::make_shared<AMaterial>(L"gold"));
    auto root = std::make_shared<AGroupSceneNode>();
    for (int id = 1; id <= 2; ++id) {
        auto node = std::make_shared<AEntitySceneNode>();
        node->SetId(id);
        node->SetEntity(entity);
        node->SetStyle(StyleFace, style);
        root->AddChildNode(node);
    }
    return root;
}
} // namespace

int main(int argc, char** argv)
{
    Require(argc == 2, "give the name of the file to write");
    const std::wstring fileName = KvText::FromUtf8(argv[1]);

    ASceneSerializeContext saving(fileName, true);
    Require(saving.Begin(), "the file cannot be created");
    saving.Collector().WritePtr<ASceneNode>(MakeScene(), saving);
    saving.End();

    ASceneSerializeContext loading(fileName, false);
    Require(loading.Begin(), "the file cannot be opened");
    std::shared_ptr<ASceneNode> loaded;
    loading.Collector().ReadPtr<ASceneNode>(loaded, loading);
    Require(loading.GetBytesLeft() == 0, "the file was not read to its end");
    loading.End();

    const auto root = std::dynamic_pointer_cast<AGroupSceneNode>(loaded);
    Require(root && root->GetChildCount() == 2, "the group or a child was lost");
    const auto first = std::dynamic_pointer_cast<AEntitySceneNode>(root->GetChildNodes().front());
    const auto second = std::dynamic_pointer_cast<AEntitySceneNode>(root->GetChildNodes().back());
    Require(first && second && first != second, "the children are not two entity nodes");
    const auto mesh = std::dynamic_pointer_cast<AMeshEntity>(first->GetEntity());
    Require(mesh && mesh->GetItem() && mesh->GetItem()->IndexBuffer().size() == 3, "the mesh was lost");
    Require(second->GetEntity() == mesh, "the mesh is not shared any more");
    const auto style = std::dynamic_pointer_cast<AFaceStyle>(first->GetStyle(StyleFace));
    Require(style && second->GetStyle(StyleFace) == style, "the style is not shared any more");
    Require(style->GetMaterial() && style->GetMaterial()->GetShininess() == 51.2F, "the material was lost");
    std::cout << "Consumer: a scene was saved, loaded and found whole\n";
}
