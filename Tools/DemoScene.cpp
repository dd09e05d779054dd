#include <Tools/DemoScene.h>

#include <Tools/Shapes.h>

#include <LumvoData/LumvoData.h>

#include <cmath>
#include <string>
#include <utility>

namespace Lumvo {
namespace {

using namespace AMath;
using namespace Kelvra;

constexpr double s_FullTurn = 6.283185307179586;
constexpr int s_BoltCount = 6;
constexpr double s_BoltCircle = 45; // radius on which the bolts stand
constexpr double s_FlangeTop = 14;
constexpr const wchar_t* s_Diameter = L"\u00D8 120 mm";                         // a diameter sign
constexpr const wchar_t* s_Caption = L"Flansch \u00B7 \u6CD5\u5170 \U0001F529"; // a nut and bolt, beyond U+FFFF

/// To whole nanometres, so that what should be zero is.
double Whole(double millimetres)
{
    return std::round(millimetres * 1e6) / 1e6 + 0.0; // the sum of -0 and 0 is 0
}

/// Turned around the z axis, then moved; points are row vectors.
///
///     |  c  s  0  0 |
///     | -s  c  0  0 |
///     |  0  0  1  0 |
///     |  x  y  z  1 |
Matrix4 Placed(const Vector3& to, double turn = 0)
{
    const double c = std::cos(turn);
    const double s = std::sin(turn);
    return {c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, to.x, to.y, to.z, 1};
}

template <class Entity, class Item> void AddItem(Entity& entity, const std::shared_ptr<Item>& item)
{
    AxisAlignedBox box = entity.GetBBox();
    box.merge(item->GetBBox());
    entity.SetBBox(box);
    entity.AddItem(item);
}

template <class Entity, class Item> std::shared_ptr<Entity> Single(const std::shared_ptr<Item>& item)
{
    auto entity = std::make_shared<Entity>();
    entity->SetItem(item);
    entity->SetBBox(item->GetBBox());
    return entity;
}

std::shared_ptr<ATexture> Texture(const wchar_t* name, const wchar_t* fileName)
{
    auto texture = std::make_shared<ATexture>();
    texture->SetName(name);
    texture->SetFileName(fileName);
    return texture;
}

/// A system material with textures, which the table's own has none of.
std::shared_ptr<AMaterial> Textured(const wchar_t* name, const std::shared_ptr<ATexture>& diffuse,
                                    const std::shared_ptr<ATexture>& reflection)
{
    auto material = std::make_shared<AMaterial>(name);
    material->SetDiffuseTexture(diffuse);
    material->SetReflectionTexture(reflection);
    return material;
}

std::shared_ptr<AFaceStyle> FaceStyle(const std::shared_ptr<AMaterial>& material)
{
    auto style = std::make_shared<AFaceStyle>();
    style->SetColor(material->GetDiffuse());
    style->SetMaterial(material);
    return style;
}

std::shared_ptr<ASubText> Label(const wchar_t* text, const Vector3& position)
{
    auto label = std::make_shared<ASubText>();
    label->SetText(text);
    label->SetColor({0.1F, 0.1F, 0.4F, 1});
    label->SetPosition(position);
    AxisAlignedBox box(position, position);
    label->SetBBox(box);
    return label;
}

/// Puts the demonstration together; what several parts share is a member.
class Builder
{
public:
    explicit Builder(std::shared_ptr<ANodeStyle> highlight) : m_Highlight(std::move(highlight)) {}

    std::shared_ptr<ASceneNode> Assembly()
    {
        const auto assembly = Group(1);
        assembly->AddChildNode(Shown(10, BasePlate(), FaceStyle(Textured(L"bronze", m_Brushed, nullptr))));
        assembly->AddChildNode(Shown(20, Flange(), m_Chrome));
        assembly->AddChildNode(Bolts());
        assembly->AddChildNode(Shown(40, CentreLines(), nullptr));
        assembly->AddChildNode(Shown(50, NamePlate(), FaceStyle(System(L"gold"))));
        assembly->AddChildNode(Shown(60, Labels(), nullptr));
        assembly->AddChildNode(Shown(70, Gauge(), FaceStyle(System(L"ruby"))));
        assembly->AddChildNode(Envelope(assembly->GetBBox()));
        return assembly;
    }

    std::shared_ptr<ASceneNode> SpareBolt()
    {
        const auto spare = Group(2);
        spare->SetTransform(Placed({100, 0, 0}));
        spare->AddChildNode(m_Bolt);
        return spare;
    }

private:
    static std::shared_ptr<AMaterial> System(const wchar_t* name)
    {
        return TSingleton<ASystemMaterialTable>::Instance().FindMaterial(name);
    }

    template <class Node> std::shared_ptr<Node> Styled(int id, const std::shared_ptr<ANodeStyle>& faces)
    {
        auto node = std::make_shared<Node>();
        node->SetId(id);
        node->SetStyles({faces, m_Outline, m_Writing, m_Highlight});
        return node;
    }
    std::shared_ptr<AGroupSceneNode> Group(int id) { return Styled<AGroupSceneNode>(id, nullptr); }
    std::shared_ptr<AEntitySceneNode> Shown(int id, const std::shared_ptr<AEntity>& entity,
                                            const std::shared_ptr<ANodeStyle>& faces)
    {
        auto node = Styled<AEntitySceneNode>(id, faces);
        node->SetEntity(entity);
        return node;
    }

    static std::shared_ptr<AEntity> BasePlate()
    {
        const AxisAlignedBox box({-75, -75, -10}, {75, 75, 0});
        const auto faces = std::make_shared<AMeshListEntity>();
        for (const auto& face : BoxFaces(box))
            AddItem(*faces, face);
        const auto edges = std::make_shared<AEdgeListEntity>();
        for (const auto& edge : BoxEdges(box))
            AddItem(*edges, edge);
        const auto plate = std::make_shared<ATopoEntity>();
        plate->SetFaces(faces);
        plate->SetEdges(edges);
        plate->SetTag(1);
        return plate;
    }

    static std::shared_ptr<AEntity> Flange()
    {
        const auto flange = std::make_shared<AMeshListEntity>();
        AddItem(*flange, Revolve({{20, 0}, {60, 0}, {60, s_FlangeTop}, {20, s_FlangeTop}}, 48));
        AddItem(*flange, Revolve({{20, s_FlangeTop}, {26, s_FlangeTop}, {26, 50}, {20, 50}}, 48));
        return flange;
    }

    /// One bolt, placed six times.
    std::shared_ptr<ASceneNode> Bolts()
    {
        m_Bolt->AddChildNode(Shown(32, Single<AMeshEntity>(m_Shaft), m_Brass));
        m_Bolt->AddChildNode(Shown(33, Single<AMeshEntity>(Cylinder(9, s_FlangeTop, s_FlangeTop + 6, 6)), m_Brass));
        const auto bolts = Group(30);
        for (int k = 0; k < s_BoltCount; ++k) {
            const double turn = s_FullTurn * k / s_BoltCount;
            const auto place = Group(300 + k);
            place->SetTransform(
                Placed({Whole(s_BoltCircle * std::cos(turn)), Whole(s_BoltCircle * std::sin(turn)), 0}, turn));
            place->AddChildNode(m_Bolt);
            bolts->AddChildNode(place);
        }
        return bolts;
    }

    std::shared_ptr<AEntity> CentreLines()
    {
        const auto lines = std::make_shared<AEdgeListEntity>();
        AddItem(*lines, m_PitchCircle);
        AddItem(*lines, Line({{-70, 0, s_FlangeTop}, {70, 0, s_FlangeTop}}));
        AddItem(*lines, Line({{0, -70, s_FlangeTop}, {0, 70, s_FlangeTop}}));
        return lines;
    }

    static std::shared_ptr<AEntity> NamePlate()
    {
        const auto plates = std::make_shared<APolygonListEntity>();
        AddItem(*plates, Plate({-70, -72, 0.1}, 40, 10));
        AddItem(*plates, Plate({30, -72, 0.1}, 40, 10));
        return plates;
    }

    static std::shared_ptr<AEntity> Labels()
    {
        const auto labels = std::make_shared<ATextListEntity>();
        AddItem(*labels, Label(s_Diameter, {0, 64, s_FlangeTop}));
        AddItem(*labels, Label(s_Caption, {-60, -68, 0.2}));
        AddItem(*labels, Label(L"6 \u00D7 M12", {0, s_BoltCircle, s_FlangeTop + 8}));
        return labels;
    }

    /// What checks the bolts: it shares the bolt's shaft and the pitch circle.
    std::shared_ptr<AEntity> Gauge()
    {
        const auto gauge = std::make_shared<AGroupEntity>();
        gauge->AddEntity(Single<AMeshEntity>(m_Shaft));
        gauge->AddEntity(Single<AEdgeEntity>(m_PitchCircle));
        gauge->AddEntity(Single<APolygonEntity>(Plate({-5, -5, s_FlangeTop}, 10, 10)));
        return gauge;
    }

    std::shared_ptr<ASceneNode> Envelope(const AxisAlignedBox& box)
    {
        const auto edges = std::make_shared<AEdgeListEntity>();
        for (const auto& edge : BoxEdges(box))
            AddItem(*edges, edge);
        const auto envelope = Shown(80, edges, nullptr);
        envelope->SetVisible(false);
        return envelope;
    }

    std::shared_ptr<ANodeStyle> m_Highlight;
    std::shared_ptr<ANodeStyle> m_Outline = std::make_shared<ALineStyle>(1.5F, ColourValue(0.1F, 0.1F, 0.1F));
    std::shared_ptr<ANodeStyle> m_Writing = std::make_shared<ALineStyle>(1.0F, ColourValue(0.1F, 0.1F, 0.4F));
    std::shared_ptr<ATexture> m_Brushed = Texture(L"brushed metal", L"textures/brushed.png");
    std::shared_ptr<ATexture> m_Workshop = Texture(L"workshop", L"textures/workshop.hdr");
    std::shared_ptr<ANodeStyle> m_Chrome = FaceStyle(Textured(L"chrome", m_Brushed, m_Workshop));
    std::shared_ptr<ANodeStyle> m_Brass = FaceStyle(Textured(L"brass", nullptr, m_Workshop));
    std::shared_ptr<ASubMesh> m_Shaft = Cylinder(6, -10, s_FlangeTop, 24);
    std::shared_ptr<ASubEdge> m_PitchCircle = Circle(s_BoltCircle, s_FlangeTop, 72);
    std::shared_ptr<AGroupSceneNode> m_Bolt = Group(31);
};
} // namespace

DemoScene::DemoScene() : highlight(std::make_shared<ANodeStyle>(ColourValue(1, 0.6F, 0)))
{
    Builder builder(highlight);
    roots = {builder.Assembly(), builder.SpareBolt()};
}

std::uint64_t DemoScene::ReplaceHighlight()
{
    const auto storable = std::make_shared<AFaceStyle>();
    storable->SetColor(highlight->GetColor());
    storable->SetUseMaterial(false);
    std::uint64_t changed = 0;
    // Each node once, however many groups share it.
    std::vector<std::shared_ptr<ASceneNode>> nodes = roots;
    while (!nodes.empty()) {
        const std::shared_ptr<ASceneNode> node = nodes.back();
        nodes.pop_back();
        if (node->GetStyle(StyleHighlight) != highlight)
            continue;
        node->SetStyle(StyleHighlight, storable);
        ++changed;
        if (const auto* const group = dynamic_cast<const AGroupSceneNode*>(node.get()))
            nodes.insert(nodes.end(), group->GetChildNodes().begin(), group->GetChildNodes().end());
    }
    highlight = storable;
    return changed;
}
} // namespace Lumvo
