/// \file
/// The plain model in cereal's binary archive: blocks of numbers as binary data, shared pointers and class names as
/// cereal writes them.

#include <Benchmarks/PlainFiles.h>
#include <Benchmarks/Scenes.h>

#include <cereal/archives/binary.hpp>
#include <cereal/types/list.hpp>
#include <cereal/types/memory.hpp>
#include <cereal/types/polymorphic.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>

#include <fstream>

namespace AMath {

template <class Archive, class Block> void SerializeBlock(Archive& archive, Block& block)
{
    archive(cereal::binary_data(&block, sizeof block));
}
template <class Archive> void serialize(Archive& archive, Matrix4& matrix)
{
    SerializeBlock(archive, matrix);
}
template <class Archive> void serialize(Archive& archive, Vector3& point)
{
    SerializeBlock(archive, point);
}
template <class Archive> void serialize(Archive& archive, ColourValue& colour)
{
    SerializeBlock(archive, colour);
}
template <class Archive> void serialize(Archive& archive, AxisAlignedBox& box)
{
    archive(box.m_Minimum, box.m_Maximum);
    box.m_State = BoxStateFinite;
}
} // namespace AMath

namespace Plain {

template <class Archive> void serialize(Archive& archive, FaceStyle& style)
{
    archive(style.colour, style.transparent, style.useMaterial);
}
template <class Archive> void serialize(Archive& archive, LineStyle& style)
{
    archive(style.colour, style.lineWidth, style.modelLine);
}
template <class Archive> void serialize(Archive& archive, Mesh& mesh)
{
    archive(mesh.tag, mesh.box, mesh.vertices, mesh.indices, mesh.normals, mesh.texCoords);
}
template <class Archive> void serialize(Archive& archive, Text& text)
{
    archive(text.tag, text.box, text.text, text.position, text.colour);
}
template <class Archive> void serialize(Archive& archive, MeshEntity& entity)
{
    archive(entity.tag, entity.box, entity.item);
}
template <class Archive> void serialize(Archive& archive, TextList& list)
{
    archive(list.tag, list.box, list.items);
}
template <class Archive> void serialize(Archive& archive, Group& group)
{
    archive(group.id, group.visible, group.transform, group.box, group.styles, group.children);
}
template <class Archive> void serialize(Archive& archive, EntityNode& node)
{
    archive(node.id, node.visible, node.transform, node.box, node.styles, node.entity);
}
} // namespace Plain

CEREAL_REGISTER_TYPE(Plain::FaceStyle)
CEREAL_REGISTER_TYPE(Plain::LineStyle)
CEREAL_REGISTER_TYPE(Plain::Mesh)
CEREAL_REGISTER_TYPE(Plain::Text)
CEREAL_REGISTER_TYPE(Plain::MeshEntity)
CEREAL_REGISTER_TYPE(Plain::TextList)
CEREAL_REGISTER_TYPE(Plain::Group)
CEREAL_REGISTER_TYPE(Plain::EntityNode)
CEREAL_REGISTER_POLYMORPHIC_RELATION(Plain::Style, Plain::FaceStyle)
CEREAL_REGISTER_POLYMORPHIC_RELATION(Plain::Style, Plain::LineStyle)
CEREAL_REGISTER_POLYMORPHIC_RELATION(Plain::Entity, Plain::MeshEntity)
CEREAL_REGISTER_POLYMORPHIC_RELATION(Plain::Entity, Plain::TextList)
CEREAL_REGISTER_POLYMORPHIC_RELATION(Plain::Node, Plain::Group)
CEREAL_REGISTER_POLYMORPHIC_RELATION(Plain::Node, Plain::EntityNode)

namespace Cereal {

void Save(const std::shared_ptr<Plain::Node>& root, const std::filesystem::path& path)
{
    std::vector<char> buffer(256 * 1024);
    std::ofstream file;
    file.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    file.open(path, std::ios::binary);
    cereal::BinaryOutputArchive archive(file);
    archive(root);
    file.close();
    Scenes::Require(file.good(), "cereal's file cannot be written");
}

std::shared_ptr<Plain::Node> Load(const std::filesystem::path& path)
{
    std::vector<char> buffer(256 * 1024);
    std::ifstream file;
    file.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    file.open(path, std::ios::binary);
    cereal::BinaryInputArchive archive(file);
    std::shared_ptr<Plain::Node> root;
    archive(root);
    return root;
}
} // namespace Cereal
