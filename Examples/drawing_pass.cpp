// A viewer's drawing pass without a renderer: fills a scene manager, culls its nodes against the frustum of a
// camera, and counts what would be drawn.

#include <LumvoData/LumvoData.h>

#include <iostream>

using namespace Kelvra;

namespace {

/// Receives the geometry of the entities that are in view; a renderer would draw it.
class DrawList : public AEntityVisitor
{
public:
    DrawList() { SetFilter(EntityFilterFaces | EntityFilterEdges | EntityFilterTexts); }

    bool VisitMesh(const std::shared_ptr<ASubMesh>& mesh) override
    {
        triangles += mesh->IndexBuffer().size() / 3;
        return true;
    }
    bool VisitPolygon(const std::shared_ptr<ASubPolygon>&) override { return true; }
    bool VisitEdge(const std::shared_ptr<ASubEdge>&) override { return true; }
    bool VisitVertex(const std::shared_ptr<ASubVertex>&) override { return true; }
    bool VisitText(const std::shared_ptr<ASubText>&) override { return true; }

    std::size_t triangles = 0;
};

/// Walks the scene graph, leaving out what is hidden or out of view.
class DrawingPass : public ASceneNodeVisitor
{
public:
    explicit DrawingPass(const AFrustum& frustum) : m_Frustum(frustum) {}

    void VisitGroupNode(AGroupSceneNode* group) override
    {
        const AMath::Matrix4 parentToWorld = m_ToWorld;
        m_ToWorld = group->GetTransform().concatenate(parentToWorld); // the node's transform first
        if (IsInView(*group, m_ToWorld))
            for (const auto& child : group->GetChildNodes())
                child->Visit(this);
        m_ToWorld = parentToWorld;
    }
    void VisitEntityNode(AEntitySceneNode* node) override
    {
        if (!node->GetEntity() || !IsInView(*node, node->GetTransform().concatenate(m_ToWorld)))
            return;
        ++drawnNodes;
        node->GetEntity()->Visit(drawList);
    }
    void VisitTopoNode(ATopoSceneNode*) override {}
    void VisitSelectedNode(ASelectedNode*) override {}
    void VisitOtherNode(ASceneNode*) override {}

    DrawList drawList;
    int drawnNodes = 0;

private:
    bool IsInView(const ASceneNode& node, const AMath::Matrix4& toWorld) const
    {
        AMath::AxisAlignedBox box = node.GetBBox();
        box.transform(toWorld);
        return node.IsVisible() && m_Frustum.IsVisible(box);
    }

    const AFrustum& m_Frustum;
    AMath::Matrix4 m_ToWorld;
};

/// A square of two triangles, one unit wide, around the origin.
std::shared_ptr<AMeshEntity> MakeSquare()
{
    const auto mesh = std::make_shared<ASubMesh>();
    mesh->VertexBuffer() = {-0.5F, -0.5F, 0, 0.5F, -0.5F, 0, 0.5F, 0.5F, 0, -0.5F, 0.5F, 0};
    mesh->IndexBuffer() = {0, 1, 2, 0, 2, 3};
    const auto square = std::make_shared<AMeshEntity>();
    square->SetItem(mesh);
    square->SetBBox({{-0.5, -0.5, 0}, {0.5, 0.5, 0}});
    return square;
}
} // namespace

int main()
{
    // 100 columns of 100 squares, all of them one shared entity, on the plane z = 0.
    ASceneManager scene;
    const auto square = MakeSquare();
    for (int column = 0; column < 100; ++column) {
        const auto group = std::make_shared<AGroupSceneNode>();
        group->SetTransform({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 2.0 * column, 0, 0, 1});
        for (int row = 0; row < 100; ++row) {
            const auto node = std::make_shared<AEntitySceneNode>();
            node->SetEntity(square);
            node->SetTransform({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 2.0 * row, 0, 1});
            group->AddChildNode(node);
        }
        scene.AddNode(group, ASceneManager::SceneLayer);
    }

    // An eye above the middle that looks down; the viewport shows 40 × 40 units: x and y from 79 to 119.
    scene.GetCamera()->ViewMatrix(GrphUtil::ComputeViewMatrix({99, 99, 50}, {0, 0, -1}, {0, 1, 0}));
    AViewport viewport(0, 0, 400, 400);
    viewport.SetExtents(2);
    viewport.UpdateProjectionMatrix();
    AFrustum frustum;
    GrphUtil::ExtractPlanes(frustum, *scene.GetCamera(), viewport);

    DrawingPass pass(frustum);
    for (const auto& node : scene.GetNodes(ASceneManager::SceneLayer))
        node->Visit(&pass);
    std::cout << "drawn: " << pass.drawnNodes << " of 10000 nodes, " << pass.drawList.triangles << " triangles\n";

    // Squares at 80, 82, ... 118 are in view along both axes: 20 of them.
    return pass.drawnNodes == 20 * 20 && pass.drawList.triangles == 2 * 20 * 20 ? 0 : 1;
}
