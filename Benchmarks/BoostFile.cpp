/// \file
/// The plain model in the binary archive of Boost.Serialization: blocks of numbers as binary objects without tracking
/// or version, shared pointers and class names as Boost writes them.

#include <Benchmarks/PlainFiles.h>
#include <Benchmarks/Scenes.h>

#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/base_object.hpp>
#include <boost/serialization/binary_object.hpp>
#include <boost/serialization/export.hpp>
#include <boost/serialization/list.hpp>
#include <boost/serialization/shared_ptr.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/vector.hpp>

#include <fstream>

namespace {

template <class Archive, class Block> void SerializeBlock(Archive& archive, Block& block)
{
    archive& boost::serialization::make_binary_object(&block, sizeof block);
}
template <class Archive> void SerializeBox(Archive& archive, AMath::AxisAlignedBox& box)
{
    SerializeBlock(archive, box.m_Minimum);
    SerializeBlock(archive, box.m_Maximum);
    box.m_State = AMath::BoxStateFinite;
}
template <class Archive> void SerializeBoxed(Archive& archive, Plain::Boxed& boxed)
{
    archive& boxed.tag;
    SerializeBox(archive, boxed.box);
}
template <class Archive> void SerializeNode(Archive& archive, Plain::Node& node)
{
    archive& node.id& node.visible;
    SerializeBlock(archive, node.transform);
    SerializeBox(archive, node.box);
    archive& node.styles;
}
/// Says that a pointer to `Derived` may stand where one to `Base` is expected.
template <class Base, class Derived> void Relate()
{
    boost::serialization::void_cast_register<Derived, Base>();
}
} // namespace

namespace boost::serialization {

template <class Archive> void serialize(Archive&, Plain::Style&, unsigned) {}
template <class Archive> void serialize(Archive&, Plain::Entity&, unsigned) {}
template <class Archive> void serialize(Archive&, Plain::Node&, unsigned) {}
template <class Archive> void serialize(Archive& archive, Plain::FaceStyle& style, unsigned)
{
    Relate<Plain::Style, Plain::FaceStyle>();
    SerializeBlock(archive, style.colour);
    archive& style.transparent& style.useMaterial;
}
template <class Archive> void serialize(Archive& archive, Plain::LineStyle& style, unsigned)
{
    Relate<Plain::Style, Plain::LineStyle>();
    SerializeBlock(archive, style.colour);
    archive& style.lineWidth& style.modelLine;
}
template <class Archive> void serialize(Archive& archive, Plain::Mesh& mesh, unsigned)
{
    SerializeBoxed(archive, mesh);
    archive& mesh.vertices& mesh.indices& mesh.normals& mesh.texCoords;
}
template <class Archive> void serialize(Archive& archive, Plain::Text& text, unsigned)
{
    SerializeBoxed(archive, text);
    archive& text.text;
    SerializeBlock(archive, text.position);
    SerializeBlock(archive, text.colour);
}
template <class Archive> void serialize(Archive& archive, Plain::MeshEntity& entity, unsigned)
{
    Relate<Plain::Entity, Plain::MeshEntity>();
    SerializeBoxed(archive, entity);
    archive& entity.item;
}
template <class Archive> void serialize(Archive& archive, Plain::TextList& list, unsigned)
{
    Relate<Plain::Entity, Plain::TextList>();
    SerializeBoxed(archive, list);
    archive& list.items;
}
template <class Archive> void serialize(Archive& archive, Plain::Group& group, unsigned)
{
    Relate<Plain::Node, Plain::Group>();
    SerializeNode(archive, group);
    archive& group.children;
}
template <class Archive> void serialize(Archive& archive, Plain::EntityNode& node, unsigned)
{
    Relate<Plain::Node, Plain::EntityNode>();
    SerializeNode(archive, node);
    archive& node.entity;
}
} // namespace boost::serialization

BOOST_CLASS_EXPORT(Plain::FaceStyle)
BOOST_CLASS_EXPORT(Plain::LineStyle)
BOOST_CLASS_EXPORT(Plain::Mesh)
BOOST_CLASS_EXPORT(Plain::Text)
BOOST_CLASS_EXPORT(Plain::MeshEntity)
BOOST_CLASS_EXPORT(Plain::TextList)
BOOST_CLASS_EXPORT(Plain::Group)
BOOST_CLASS_EXPORT(Plain::EntityNode)

namespace Boost {

void Save(const std::shared_ptr<Plain::Node>& root, const std::filesystem::path& path)
{
    std::vector<char> buffer(256 * 1024);
    std::ofstream file;
    file.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    file.open(path, std::ios::binary);
    boost::archive::binary_oarchive(file, boost::archive::no_header | boost::archive::no_codecvt) << root;
    file.close();
    Scenes::Require(file.good(), "Boost's file cannot be written");
}

std::shared_ptr<Plain::Node> Load(const std::filesystem::path& path)
{
    std::vector<char> buffer(256 * 1024);
    std::ifstream file;
    file.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    file.open(path, std::ios::binary);
    std::shared_ptr<Plain::Node> root;
    boost::archive::binary_iarchive(file, boost::archive::no_header | boost::archive::no_codecvt) >> root;
    return root;
}
} // namespace Boost
