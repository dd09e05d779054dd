#include <Formats/Gltf/Buffers.h>
#include <Formats/Gltf/Container.h>
#include <Formats/Gltf/Json.h>
#include <Formats/Gltf/Materials.h>
#include <Formats/Gltf/Meshes.h>
#include <Formats/Gltf/NodeTree.h>
#include <Formats/Gltf/WriteGltf.h>
#include <Formats/Support/ExportService.h>
#include <Formats/Support/FormatServices.h>

#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Scene/AEntitySceneNode.h>
#include <LumvoData/Scene/AGroupSceneNode.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Formats::Gltf {
namespace {

using namespace Kelvra;

constexpr std::string_view s_Visibility = "KHR_node_visibility";
constexpr std::string_view s_Supported[] = {"KHR_mesh_quantization", "KHR_materials_unlit", s_Visibility,
                                            "KHR_materials_pbrSpecularGlossiness"};
constexpr double s_MatrixTolerance = 1e-5;
constexpr std::uint64_t s_NodeSize = 448; // what a scene node takes in memory

void CheckVersion(const JsonValue& document)
{
    const JsonValue asset = document.At("asset");
    const JsonValue version = asset.At("version");
    if (version.AsText().substr(0, 2) != "2.")
        version.Fail("version " + Quote(version.AsText()) + " of glTF is not read, only 2.0");
    const auto least = asset.Find("minVersion");
    if (least && least->AsText() != "2.0")
        least->Fail("takes a reader of version " + Quote(least->AsText()) + ", this is one of 2.0");
}

void CheckExtensions(const JsonValue& document, Import& job)
{
    const auto supported = [](const JsonValue& name) {
        return std::find(std::begin(s_Supported), std::end(s_Supported), name.AsText()) != std::end(s_Supported);
    };
    std::string missing;
    for (const JsonValue& name : document.List("extensionsRequired"))
        if (!supported(name) && missing.size() < 1000)
            missing += (missing.empty() ? "" : ", ") + Plain(name.AsText());
    if (!missing.empty())
        document.At("extensionsRequired").Fail("the file cannot be read without " + missing);
    for (const JsonValue& name : document.List("extensionsUsed"))
        if (!supported(name))
            job.Lose("extension " + Plain(name.AsText()));
}

void CountLosses(const JsonValue& document, Import& job)
{
    for (const char* const things : {"animations", "skins", "cameras"}) {
        const std::size_t count = document.List(things).size();
        if (count > 0)
            job.Lose(things, count);
    }
    const std::size_t scenes = document.List("scenes").size();
    if (scenes > 1)
        job.Lose("further scenes", scenes - 1);
}

/// A matrix of glTF is stored column by column and multiplies column vectors, so its numbers stand in the order of
/// ours, which is stored row by row and multiplies row vectors.
AMath::Matrix4 MatrixOf(const JsonValue& matrix, const double (&m)[16])
{
    AMath::Matrix4 transform;
    for (std::size_t k = 0; k < 16; ++k) {
        const bool fixed = k % 4 == 3;
        if (fixed && std::fabs(m[k] - transform[k]) > s_MatrixTolerance)
            matrix.Fail("element " + std::to_string(k) + " should be " + (k == 15 ? "1" : "0"));
        if (!fixed)
            transform[k] = m[k];
    }
    return transform;
}

AMath::Matrix4 TransformOf(const JsonValue& node)
{
    double matrix[16];
    double t[3] = {0, 0, 0};
    double q[4] = {0, 0, 0, 1};
    double s[3] = {1, 1, 1};
    const bool moved = node.Numbers("translation", t);
    const bool turned = node.Numbers("rotation", q);
    const bool scaled = node.Numbers("scale", s);
    if (node.Numbers("matrix", matrix)) {
        if (moved || turned || scaled)
            node.Fail("has a matrix and also translation, rotation or scale");
        return MatrixOf(node.At("matrix"), matrix);
    }
    const double length = std::hypot(std::hypot(q[0], q[1]), std::hypot(q[2], q[3]));
    if (!(length > 0) || std::isinf(length))
        node.At("rotation").Fail("has no direction");
    const double x = q[0] / length, y = q[1] / length, z = q[2] / length, w = q[3] / length;
    // The rows are the images of the axes, scaled.
    return {s[0] * (1 - 2 * (y * y + z * z)),
            s[0] * 2 * (x * y + z * w),
            s[0] * 2 * (x * z - y * w),
            0,
            s[1] * 2 * (x * y - z * w),
            s[1] * (1 - 2 * (x * x + z * z)),
            s[1] * 2 * (y * z + x * w),
            0,
            s[2] * 2 * (x * z + y * w),
            s[2] * 2 * (y * z - x * w),
            s[2] * (1 - 2 * (x * x + y * y)),
            0,
            t[0],
            t[1],
            t[2],
            1};
}

bool IsVisible(const JsonValue& node)
{
    const auto visibility = node.FindExtension(s_Visibility);
    return !visibility || visibility->Flag("visible", true);
}

/// Makes scene nodes of the nodes of a document.
class SceneBuilder
{
public:
    SceneBuilder(Import& job, const Container& container)
        : m_Job(job), m_Buffers(job, container), m_Tree(container.GetDocument().GetRoot()),
          m_Materials(job, container.GetDocument().GetRoot(), m_Buffers),
          m_Meshes(job, container.GetDocument().GetRoot(), m_Buffers, m_Materials), m_Made(m_Tree.GetNodeCount())
    {}

    [[nodiscard]] std::shared_ptr<ASceneNode> Build()
    {
        const std::vector<std::uint32_t>& order = m_Tree.GetOrder();
        m_Job.Spend(s_NodeSize * order.size());
        // Children first, so that groups add them with complete boxes.
        for (auto node = order.rbegin(); node != order.rend(); ++node)
            m_Made[*node] = Make(*node);
        if (order.size() < m_Tree.GetNodeCount())
            m_Job.Lose("nodes outside the scene", m_Tree.GetNodeCount() - order.size());
        if (m_Meshes.CountUnused() > 0)
            m_Job.Lose("meshes outside the scene", m_Meshes.CountUnused());

        const std::vector<std::uint32_t>& roots = m_Tree.GetRoots();
        if (roots.size() == 1)
            return m_Made[roots.front()];
        auto group = std::make_shared<AGroupSceneNode>();
        for (const std::uint32_t root : roots)
            group->AddChildNode(m_Made[root]);
        return group;
    }

private:
    [[nodiscard]] std::shared_ptr<ASceneNode> Make(std::uint32_t index)
    {
        const JsonValue& value = m_Tree.GetNode(index);
        if (!value.Text("name").empty())
            m_Job.Lose("names of nodes");
        const std::vector<std::uint32_t> children = m_Tree.GetChildren(index);
        std::vector<Meshes::Part> parts;
        if (const auto mesh = value.Find("mesh"))
            parts = m_Meshes.Get(m_Meshes.IndexOf(*mesh));

        std::shared_ptr<ASceneNode> node;
        if (children.empty() && parts.size() == 1) {
            node = Show(parts.front());
        } else {
            auto group = std::make_shared<AGroupSceneNode>();
            m_Job.Spend(s_NodeSize * parts.size());
            for (const Meshes::Part& part : parts)
                group->AddChildNode(Show(part));
            for (const std::uint32_t child : children)
                group->AddChildNode(std::exchange(m_Made[child], nullptr));
            node = std::move(group);
        }
        AMath::Matrix4 transform = TransformOf(value);
        for (std::size_t k = 0; k < 16; ++k)
            transform[k] += 0.0; // makes 0 of -0, which many JSON texts do not tell apart
        node->SetTransform(transform);
        node->SetVisible(IsVisible(value));
        return node;
    }

    [[nodiscard]] std::shared_ptr<ASceneNode> Show(const Meshes::Part& part)
    {
        auto node = std::make_shared<AEntitySceneNode>();
        node->SetEntity(part.entity);
        if (part.faceMaterial)
            node->SetStyle(StyleFace, m_Materials.Get(*part.faceMaterial).face);
        if (part.lineMaterial)
            node->SetStyle(StyleEdge, m_Materials.Get(*part.lineMaterial).line);
        return node;
    }

    Import& m_Job;
    Buffers m_Buffers;
    NodeTree m_Tree;
    Materials m_Materials;
    Meshes m_Meshes;
    std::vector<std::shared_ptr<ASceneNode>> m_Made;
};

std::shared_ptr<ASceneNode> Read(Import& job)
{
    const Container container(job);
    const JsonValue document = container.GetDocument().GetRoot();
    CheckVersion(document);
    CheckExtensions(document, job);
    CountLosses(document, job);
    if (container.GetDocument().GetExtras() > 0)
        job.Lose("extras", container.GetDocument().GetExtras());
    return SceneBuilder(job, container).Build();
}

const FormatRegistration s_Reader({L"gltf", L"glTF 2.0", L"*.gltf;*.glb", Read});
const ExportRegistration s_Glb(L"glb", L"glTF 2.0 binary", L"*.glb", WriteGlb);
const ExportRegistration s_Gltf(L"gltf", L"glTF 2.0", L"*.gltf", WriteGltf);
} // namespace
} // namespace Formats::Gltf
