#include <Tools/Describe.h>

#include <Tools/Output.h>
#include <Tools/SceneGraph.h>

#include <LumvoData/LumvoData.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace Lumvo {
namespace {

using namespace Kelvra;

constexpr std::size_t s_MostTexts = 3;       // of a list, quoted
constexpr std::size_t s_MostCharacters = 40; // of a text
constexpr std::size_t s_MostItems = 4;       // of the shared ones, named

std::string Quote(const std::wstring& text)
{
    return "\"" + Show(text, s_MostCharacters) + "\"";
}

enum class Transform
{
    None,
    Translation,
    Full,
};

Transform KindOf(const AMath::Matrix4& matrix)
{
    AMath::Matrix4 translation;
    for (const std::size_t k : {12U, 13U, 14U})
        translation[k] = matrix[k];
    if (matrix != translation)
        return Transform::Full;
    return matrix == AMath::Matrix4::IDENTITY ? Transform::None : Transform::Translation;
}

/// The items of an entity, added up.
class ItemSum
{
public:
    void Add(const AObject& item)
    {
        if (const auto* const mesh = dynamic_cast<const ASubMesh*>(&item)) {
            ++m_Meshes;
            m_Points += mesh->VertexBuffer().size() / 3;
            m_Triangles += mesh->IndexBuffer().size() / 3;
        } else if (const auto* const edge = dynamic_cast<const ASubEdge*>(&item)) {
            ++m_Edges;
            m_Points += edge->VertexBuffer().size() / 3;
        } else if (const auto* const polygon = dynamic_cast<const ASubPolygon*>(&item)) {
            ++m_Polygons;
            m_Points += polygon->VertexBuffer().size() / 3;
        } else if (const auto* const text = dynamic_cast<const ASubText*>(&item)) {
            ++m_Texts;
            if (m_Texts <= s_MostTexts)
                m_Quoted.push_back(Quote(text->GetText()));
        }
    }

    void Describe(std::vector<std::string>& facts, Json& fields) const
    {
        const auto tell = [&](std::uint64_t count, const char* one, const char* many) {
            facts.push_back(Plural(count, one, many));
            fields[many] = count;
        };
        if (m_Meshes > 0) {
            tell(m_Meshes, "mesh", "meshes");
            tell(m_Points, "vertex", "vertices");
            tell(m_Triangles, "triangle", "triangles");
        }
        if (m_Edges > 0) {
            tell(m_Edges, "edge", "edges");
            tell(m_Points, "point", "points");
        }
        if (m_Polygons > 0) {
            tell(m_Polygons, "polygon", "polygons");
            tell(m_Points, "corner", "corners");
        }
        if (m_Texts > 0) {
            tell(m_Texts, "text", "texts");
            for (const std::string& quoted : m_Quoted)
                facts.push_back(quoted);
            if (m_Texts > m_Quoted.size())
                facts.emplace_back("...");
        }
    }

private:
    std::uint64_t m_Meshes = 0;
    std::uint64_t m_Triangles = 0;
    std::uint64_t m_Edges = 0;
    std::uint64_t m_Polygons = 0;
    std::uint64_t m_Points = 0; // one kind of item to an entity, so they are never mixed
    std::uint64_t m_Texts = 0;
    std::vector<std::string> m_Quoted;
};

/// Collects the facts of one object, each for both forms at once.
class Describer
{
public:
    Describer(const AObject& object, const LabelOf& labelOf) : m_Object(object), m_LabelOf(labelOf) {}

    Description Run()
    {
        if (const auto* const node = As<ASceneNode>())
            Node(*node);
        else if (const auto* const entity = As<AEntity>())
            Entity(*entity);
        else if (const auto* const style = As<ANodeStyle>())
            Style(*style);
        else if (const auto* const material = As<AMaterial>())
            Material(*material);
        else if (const auto* const texture = As<ATexture>())
            Texture(*texture);
        std::string text;
        for (const std::string& fact : m_Facts)
            text += (text.empty() ? "" : ", ") + fact;
        return {text, std::move(m_Fields), std::move(m_SharedItems)};
    }

private:
    template <class T> const T* As() const { return dynamic_cast<const T*>(&m_Object); }

    void Tell(std::string fact) { m_Facts.push_back(std::move(fact)); }

    void Box(const AMath::AxisAlignedBox& box)
    {
        Tell(box.isNull() ? "no box" : "box " + Show(box));
        m_Fields["box"] = ToJson(box);
    }

    void Colour(const char* name, const AMath::ColourValue& colour)
    {
        Tell(std::string(name) + " " + Show(colour));
        m_Fields[name] = ToJson(colour);
    }

    /// \param remark what a reader is told where the flag is not as usual.
    void Flag(const char* name, bool value, bool usual, const char* remark)
    {
        if (value != usual)
            Tell(remark);
        m_Fields[name] = value;
    }

    void Node(const ASceneNode& node)
    {
        const AMath::Matrix4& matrix = node.GetTransform();
        const Transform kind = KindOf(matrix);
        Tell("id " + std::to_string(node.GetId()));
        if (!node.IsVisible())
            Tell("hidden");
        if (kind != Transform::None)
            Tell((kind == Transform::Full ? "transformed and moved by " : "moved by ") +
                 Show(AMath::Vector3(matrix[12], matrix[13], matrix[14])));
        m_Fields["id"] = node.GetId();
        m_Fields["visible"] = node.IsVisible();
        m_Fields["transform"] = kind == Transform::None          ? "none"
                                : kind == Transform::Translation ? "translation"
                                                                 : "full";
        m_Fields["matrix"] = kind == Transform::None ? Json(nullptr) : ToJson(matrix);
        Box(node.GetBBox());
    }

    void Entity(const AEntity& entity)
    {
        if (entity.GetTag() != -1)
            Tell("tag " + std::to_string(entity.GetTag()));
        m_Fields["tag"] = entity.GetTag();
        Box(entity.GetBBox());
        ItemSum sum;
        for (const Reference& reference : ReferencesOf(entity)) {
            if (reference.object == nullptr || reference.field.collector != &ASubEntity::GetClassId())
                continue;
            sum.Add(*reference.object);
            if (const std::uint64_t label = m_LabelOf(*reference.object))
                m_SharedItems.push_back(label);
        }
        sum.Describe(m_Facts, m_Fields);
        if (!m_SharedItems.empty())
            SharedItems();
    }

    void SharedItems()
    {
        std::string named = "shared:";
        for (std::size_t i = 0; i < m_SharedItems.size() && i < s_MostItems; ++i)
            named += " #" + std::to_string(m_SharedItems[i]);
        if (m_SharedItems.size() > s_MostItems)
            named += " and " + Show(std::uint64_t{m_SharedItems.size() - s_MostItems}) + " more";
        Tell(named);
    }

    void Style(const ANodeStyle& style)
    {
        Colour("colour", style.GetColor());
        if (const auto* const line = As<ALineStyle>()) {
            Tell("width " + Show(static_cast<double>(line->GetLineWidth())));
            m_Fields["width"] = ToJson(line->GetLineWidth());
            Flag("modelLine", line->IsModelLine(), false, "model line");
        } else if (const auto* const face = As<AFaceStyle>()) {
            Flag("transparent", face->IsTransparent(), false, "transparent");
            Flag("usesMaterial", face->IsUseMaterial(), true, "material unused");
        }
    }

    void Material(const AMaterial& material)
    {
        Colour("diffuse", material.GetDiffuse()); // the others would fill the line
        m_Fields["ambient"] = ToJson(material.GetAmbient());
        m_Fields["specular"] = ToJson(material.GetSpecular());
        m_Fields["emission"] = ToJson(material.GetEmission());
        Tell("shininess " + Show(static_cast<double>(material.GetShininess())));
        m_Fields["shininess"] = ToJson(material.GetShininess());
    }

    void Texture(const ATexture& texture)
    {
        Tell(Quote(texture.GetName()) + " in " + Quote(texture.GetFileName()));
        m_Fields["name"] = ToJson(texture.GetName());
        m_Fields["fileName"] = ToJson(texture.GetFileName());
        Flag("masked", texture.IsEnableMask(), false, "masked");
    }

    const AObject& m_Object;
    const LabelOf& m_LabelOf;
    std::vector<std::string> m_Facts;
    Json m_Fields = Json::object();
    std::vector<std::uint64_t> m_SharedItems;
};
} // namespace

Description Describe(const AObject& object, const LabelOf& labelOf)
{
    return Describer(object, labelOf).Run();
}
} // namespace Lumvo
