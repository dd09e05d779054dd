// A pick: from a pixel to a ray, from the ray to the nearest triangle it hits, and from the hit to a selection
// record in the scene manager.

#include <LumvoData/LumvoData.h>

#include <iostream>
#include <limits>
#include <optional>

using namespace Kelvra;
using AMath::Vector3;

namespace {

/// Distance along the ray, in lengths of its direction, to a triangle (T. Möller and B. Trumbore, "Fast, Minimum
/// Storage Ray/Triangle Intersection", 1997).
std::optional<double> Hit(const AMath::Ray& ray, const Vector3& a, const Vector3& b, const Vector3& c)
{
    const Vector3 ab = b - a;
    const Vector3 ac = c - a;
    const Vector3 p = ray.direction.crossProduct(ac);
    const double determinant = ab.dotProduct(p);
    if (determinant == 0)
        return std::nullopt;
    const Vector3 fromA = ray.origin - a;
    const Vector3 q = fromA.crossProduct(ab);
    const double u = fromA.dotProduct(p) / determinant;
    const double v = ray.direction.dotProduct(q) / determinant;
    if (u < 0 || v < 0 || u + v > 1)
        return std::nullopt;
    return ac.dotProduct(q) / determinant;
}

/// Finds the nearest hit among the meshes of one entity, in its coordinates.
class NearestHit : public AEntityVisitor
{
public:
    explicit NearestHit(const AMath::Ray& ray) : m_Ray(ray) { SetFilter(EntityFilterFaces); }

    bool VisitMesh(const std::shared_ptr<ASubMesh>& mesh) override
    {
        const auto corner = [&](std::size_t i) {
            const float* p = &mesh->VertexBuffer()[3 * mesh->IndexBuffer()[i]];
            return Vector3(p[0], p[1], p[2]);
        };
        for (std::size_t i = 0; i + 2 < mesh->IndexBuffer().size(); i += 3)
            if (const auto hit = Hit(m_Ray, corner(i), corner(i + 1), corner(i + 2)); hit && *hit < distance)
                distance = *hit;
        return true;
    }
    bool VisitPolygon(const std::shared_ptr<ASubPolygon>&) override { return true; }
    bool VisitEdge(const std::shared_ptr<ASubEdge>&) override { return true; }
    bool VisitVertex(const std::shared_ptr<ASubVertex>&) override { return true; }
    bool VisitText(const std::shared_ptr<ASubText>&) override { return true; }

    double distance = std::numeric_limits<double>::infinity();

private:
    AMath::Ray m_Ray;
};

/// A square facing +z, `size` wide, in a node that moves it to (x, y, z).
std::shared_ptr<AEntitySceneNode> MakeSquare(int id, float size, double x, double y, double z)
{
    const auto mesh = std::make_shared<ASubMesh>();
    mesh->VertexBuffer() = {-size / 2, -size / 2, 0, size / 2,  -size / 2, 0,
                            size / 2,  size / 2,  0, -size / 2, size / 2,  0};
    mesh->IndexBuffer() = {0, 1, 2, 0, 2, 3};
    const auto entity = std::make_shared<AMeshEntity>();
    entity->SetItem(mesh);
    const auto node = std::make_shared<AEntitySceneNode>();
    node->SetId(id);
    node->SetEntity(entity);
    node->SetTransform({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1});
    return node;
}
} // namespace

int main()
{
    ASceneManager scene;
    scene.AddNode(MakeSquare(1, 400, 0, 0, 0), ASceneManager::SceneLayer);
    scene.AddNode(MakeSquare(2, 100, 250, 125, 40), ASceneManager::SceneLayer);
    scene.AddNode(MakeSquare(3, 100, 260, 125, -40), ASceneManager::SceneLayer); // behind the second

    // 1000 × 500 units on 400 × 200 pixels, seen from z = 100.
    scene.GetCamera()->ViewMatrix(GrphUtil::ComputeViewMatrix({0, 0, 100}, {0, 0, -1}, {0, 1, 0}));
    const AViewport viewport(0, 0, 400, 200);
    const int x = 300;
    const int y = 50;
    const AMath::Ray ray = GrphUtil::ComputeScreenRay(x, y, *scene.GetCamera(), viewport);

    std::shared_ptr<ASelectedNode> picked;
    for (const auto& node : scene.GetNodes(ASceneManager::SceneLayer)) {
        const auto entityNode = std::dynamic_pointer_cast<AEntitySceneNode>(node);
        const AMath::Matrix4& toWorld = entityNode->GetTransform();
        // These nodes are only moved, so the ray is moved back instead of every triangle forth.
        NearestHit nearest({ray.origin - Vector3(toWorld[12], toWorld[13], toWorld[14]), ray.direction});
        entityNode->GetEntity()->Visit(nearest);
        if (nearest.distance == std::numeric_limits<double>::infinity() ||
            (picked && picked->GetHitPos() <= nearest.distance))
            continue;
        picked = std::make_shared<ASelectedNode>(entityNode);
        picked->SetId(entityNode->GetId());
        picked->SetEntity(entityNode->GetEntity());
        picked->SetHitPos(nearest.distance);
    }
    if (!picked) {
        std::cout << "nothing at pixel (" << x << ", " << y << ")\n";
        return 1;
    }
    scene.AddSelectedNode(picked, ASceneManager::PickedLayer);
    const Vector3 hit = ray.getPoint(picked->GetHitPos());
    std::cout << "pixel (" << x << ", " << y << ") picks node " << picked->GetId() << " at (" << hit.x << ", " << hit.y
              << ", " << hit.z << ")\n";
    return picked->GetId() == 2 ? 0 : 1;
}
