#include <Tools/RecordTable.h>

#include <algorithm>
#include <array>
#include <initializer_list>

namespace Lumvo {
namespace {

using Fields = std::vector<Field>;

Fields Join(std::initializer_list<Fields> parts)
{
    Fields all;
    for (const Fields& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

std::vector<RecordDescription> MakeRecords()
{
    using K = FieldKind;
    using F = Family;
    const Fields header = {{K::Integer, "tag"}, {K::Box, "box"}};
    const Fields node = {{K::Integer, "id"},
                         {K::Flag, "visible"},
                         {K::Matrix, "transform"},
                         {K::Box, "box"},
                         {K::Vector, "styles", F::Style}};
    const auto items = [&](std::string_view item) { return Join({header, {{K::List, "items", F::Piece, item}}}); };
    const auto item = [&](std::string_view className) {
        return Join({header, {{K::Pointer, "item", F::Piece, className}}});
    };
    return {
        {"AGroupSceneNode", F::Node, Join({node, {{K::List, "children", F::Node}}})},
        {"AEntitySceneNode", F::Node, Join({node, {{K::Pointer, "entity", F::Entity}}})},
        {"AGroupEntity", F::Entity, Join({header, {{K::List, "members", F::Entity}}})},
        {"ATopoEntity", F::Entity,
         Join(
             {header,
              {{K::Pointer, "faces", F::Entity, "AMeshListEntity"}, {K::Pointer, "edges", F::Entity, "AListEntity"}}})},
        {"AMeshListEntity", F::Entity, items("ASubMesh")},
        {"AListEntity", F::Entity, items("ASubEdge")},
        {"ATextListEntity", F::Entity, items("ASubText")},
        {"APolygonListEntity", F::Entity, items("ASubPolygon")},
        {"AMeshEntity", F::Entity, item("ASubMesh")},
        {"AEdgeEntity", F::Entity, item("ASubEdge")},
        {"APolygonEntity", F::Entity, item("ASubPolygon")},
        {"ASubMesh", F::Piece,
         Join({header,
               {{K::Floats, "vertices"}, {K::Indices, "indices"}, {K::Floats, "normals"}, {K::Floats, "texCoords"}}})},
        {"ASubEdge", F::Piece, Join({header, {{K::Floats, "vertices"}}})},
        {"ASubPolygon", F::Piece,
         Join({header, {{K::Floats, "vertices"}, {K::Floats, "texCoords"}, {K::Point, "normal"}}})},
        {"ASubText", F::Piece, Join({header, {{K::Text, "text"}, {K::Point, "position"}, {K::Colour, "colour"}}})},
        {"AFaceStyle",
         F::Style,
         {{K::Colour, "colour"},
          {K::Flag, "transparent"},
          {K::Flag, "useMaterial"},
          {K::Pointer, "material", F::Material}}},
        {"ALineStyle", F::Style, {{K::Colour, "colour"}, {K::Float, "width"}, {K::Flag, "modelLine"}}},
        {"AMaterial",
         F::Material,
         {{K::Colour, "ambient"},
          {K::Colour, "diffuse"},
          {K::Colour, "specular"},
          {K::Colour, "emission"},
          {K::Float, "shininess"},
          {K::Pointer, "diffuseTexture", F::Texture},
          {K::Pointer, "reflectionTexture", F::Texture}}},
        {"ATexture", F::Texture, {{K::Text, "name"}, {K::Text, "fileName"}, {K::Flag, "enableMask"}}},
    };
}

template <class Char> const RecordDescription* FindByName(std::basic_string_view<Char> className)
{
    for (const RecordDescription& record : AllRecords())
        if (std::equal(className.begin(), className.end(), record.className.begin(), record.className.end(),
                       [](Char a, char b) { return a == static_cast<Char>(b); }))
            return &record;
    return nullptr;
}
} // namespace

std::string_view BaseOf(Family family) noexcept
{
    static constexpr std::array<std::string_view, FamilyCount> s_Names = {"ASceneNode", "AEntity",   "ASubEntity",
                                                                          "ANodeStyle", "AMaterial", "ATexture"};
    return s_Names[static_cast<std::size_t>(family)];
}

const std::vector<RecordDescription>& AllRecords()
{
    static const std::vector<RecordDescription> s_Records = MakeRecords();
    return s_Records;
}

const RecordDescription* FindRecord(std::wstring_view className)
{
    return FindByName(className);
}

const RecordDescription* FindRecord(std::u16string_view className)
{
    return FindByName(className);
}

std::size_t FixedSizeOf(FieldKind kind) noexcept
{
    switch (kind) {
    case FieldKind::Integer:
    case FieldKind::Float:
        return 4;
    case FieldKind::Flag:
        return 1;
    case FieldKind::Point:
        return 24;
    case FieldKind::Matrix:
        return 128;
    case FieldKind::Box:
        return 48;
    case FieldKind::Colour:
        return 32;
    default:
        return 0;
    }
}
} // namespace Lumvo
