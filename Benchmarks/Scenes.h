#pragma once

#include <Benchmarks/PlainScene.h>
#include <LumvoData/LumvoData.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

/// \file
/// The scenes that the benchmarks save and load, made in either object model, and the digest by which a loaded scene is
/// compared with the one that was saved.
namespace Scenes {

/// The classes of the library.
struct Ours
{
    using Node = Kelvra::ASceneNode;
    using Group = Kelvra::AGroupSceneNode;
    using EntityNode = Kelvra::AEntitySceneNode;
    using Style = Kelvra::ANodeStyle;
    using FaceStyle = Kelvra::AFaceStyle;
    using LineStyle = Kelvra::ALineStyle;
    using Entity = Kelvra::AEntity;
    using MeshEntity = Kelvra::AMeshEntity;
    using TextList = Kelvra::ATextListEntity;
    using Mesh = Kelvra::ASubMesh;
    using Text = Kelvra::ASubText;
};

/// The plain classes.
struct Model
{
    using Node = Plain::Node;
    using Group = Plain::Group;
    using EntityNode = Plain::EntityNode;
    using Style = Plain::Style;
    using FaceStyle = Plain::FaceStyle;
    using LineStyle = Plain::LineStyle;
    using Entity = Plain::Entity;
    using MeshEntity = Plain::MeshEntity;
    using TextList = Plain::TextList;
    using Mesh = Plain::Mesh;
    using Text = Plain::Text;
};

template <class M> using Root = std::shared_ptr<typename M::Node>;

inline AMath::Matrix4 Translation(double x, double y, double z)
{
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1};
}

/// Big buffers: meshes of 100,000 vertices with normals, texture coordinates and 200,000 triangles, one to a node.
template <class M> Root<M> MakeMeshes(int count)
{
    constexpr std::size_t vertices = 100'000;
    constexpr std::size_t indices = 600'000;
    auto root = std::make_shared<typename M::Group>();
    for (int i = 0; i < count; ++i) {
        auto mesh = std::make_shared<typename M::Mesh>();
        const auto fill = [i](std::vector<float>& buffer, std::size_t size) {
            buffer.resize(size);
            for (std::size_t k = 0; k < size; ++k)
                buffer[k] = static_cast<float>(k) + static_cast<float>(i) * 0.25F;
        };
        fill(mesh->VertexBuffer(), 3 * vertices);
        fill(mesh->NormalBuffer(), 3 * vertices);
        fill(mesh->TexCoordBuffer(), 2 * vertices);
        mesh->IndexBuffer().resize(indices);
        for (std::size_t k = 0; k < indices; ++k)
            mesh->IndexBuffer()[k] = static_cast<unsigned>((k + static_cast<std::size_t>(i)) % vertices);
        auto entity = std::make_shared<typename M::MeshEntity>();
        entity->SetItem(mesh);
        auto node = std::make_shared<typename M::EntityNode>();
        node->SetId(i);
        node->SetEntity(entity);
        root->AddChildNode(node);
    }
    return root;
}

/// Many small objects: entity nodes, 200 to a group, each with a transform and a box of its own, four references to 16
/// shared styles and one to a small mesh that 400 nodes share.
template <class M> Root<M> MakeNodes(int count)
{
    constexpr int nodesOfGroup = 200;
    constexpr int nodesOfMesh = 400;
    std::vector<std::shared_ptr<typename M::Style>> styles;
    for (int i = 0; i < 16; ++i) {
        if (i % 2 == 0)
            styles.push_back(std::make_shared<typename M::FaceStyle>());
        else
            styles.push_back(std::make_shared<typename M::LineStyle>());
        styles.back()->SetColor({1, 0.5F, static_cast<float>(i) / 16, 1});
    }
    std::vector<std::shared_ptr<typename M::MeshEntity>> entities;
    for (int i = 0; i < std::max(1, count / nodesOfMesh); ++i) {
        auto cube = std::make_shared<typename M::Mesh>();
        cube->VertexBuffer().assign(8 * 3, static_cast<float>(i));
        cube->IndexBuffer().assign(12 * 3, 7U);
        entities.push_back(std::make_shared<typename M::MeshEntity>());
        entities.back()->SetItem(cube);
        entities.back()->SetBBox({AMath::Vector3::ZERO, {1.0, 1.0, static_cast<double>(i)}});
    }
    auto root = std::make_shared<typename M::Group>();
    for (int i = 0; i < count;) {
        auto group = std::make_shared<typename M::Group>();
        for (const int end = std::min(i + nodesOfGroup, count); i < end; ++i) {
            auto node = std::make_shared<typename M::EntityNode>();
            node->SetId(i);
            node->SetTransform(Translation(i, 2.0 * i, 3.0 * i));
            node->SetEntity(entities[static_cast<std::size_t>(i) % entities.size()]);
            for (int s = 0; s < 4; ++s)
                node->SetStyle(static_cast<Kelvra::AStyleIndex>(s), styles[static_cast<std::size_t>(4 * i + s) % 16]);
            group->AddChildNode(node);
        }
        root->AddChildNode(group);
    }
    return root;
}

/// Texts of 24 characters in one list.
template <class M> Root<M> MakeTexts(int count)
{
    auto list = std::make_shared<typename M::TextList>();
    for (int i = 0; i < count; ++i) {
        auto text = std::make_shared<typename M::Text>();
        const std::wstring number = std::to_wstring(i);
        text->SetText(std::wstring(24 - number.size(), L'#') + number);
        text->SetPosition({1.0 * i, 2.0 * i, 3.0 * i});
        list->AddItem(text);
    }
    auto root = std::make_shared<typename M::EntityNode>();
    root->SetEntity(list);
    return root;
}

/// Groups nested in each other, 500 levels deep, as many such chains as the count takes.
template <class M> Root<M> MakeDeep(int count)
{
    auto root = std::make_shared<typename M::Group>();
    for (int made = 0; made < count;) {
        std::shared_ptr<typename M::Group> chain;
        for (const int end = std::min(made + 500, count); made < end; ++made) {
            auto outer = std::make_shared<typename M::Group>();
            if (chain)
                outer->AddChildNode(chain);
            chain = outer;
        }
        root->AddChildNode(chain);
    }
    return root;
}

/// One group that holds all others.
template <class M> Root<M> MakeWide(int count)
{
    auto root = std::make_shared<typename M::Group>();
    for (int i = 0; i < count; ++i)
        root->AddChildNode(std::make_shared<typename M::Group>());
    return root;
}

/// Groups of which each holds the eight that were made before it.
template <class M> Root<M> MakeShared(int count)
{
    auto root = std::make_shared<typename M::Group>();
    std::vector<std::shared_ptr<typename M::Group>> made;
    for (int i = 0; i < count; ++i) {
        auto group = std::make_shared<typename M::Group>();
        for (int k = std::max(0, i - i % 500); k < i && k < i - i % 500 + 8; ++k)
            group->AddChildNode(made[static_cast<std::size_t>(k)]);
        made.push_back(group);
        root->AddChildNode(group);
    }
    return root;
}

/// What a scene holds: how many objects and references, and a checksum of all fields in which every reference counts as
/// the place where its object was met first, so that scenes of equal digests share alike.
struct Digest
{
    std::size_t objects = 0;
    std::size_t references = 0;
    std::uint64_t sum = 0;

    bool operator==(const Digest& d) const
    {
        return objects == d.objects && references == d.references && sum == d.sum;
    }
};

template <class M> class Digester
{
public:
    static Digest Of(const Root<M>& root)
    {
        Digester digester;
        digester.Node(root.get());
        return digester.m_Digest;
    }

private:
    void Add(std::uint64_t value) { m_Digest.sum = (m_Digest.sum ^ value) * 0x9E3779B97F4A7C15 + (m_Digest.sum >> 29); }

    void Add(const void* data, std::size_t size)
    {
        const char* const bytes = static_cast<const char*>(data);
        std::uint64_t word = 0;
        std::size_t at = 0;
        for (; at + sizeof word <= size; at += sizeof word) {
            std::memcpy(&word, bytes + at, sizeof word);
            Add(word);
        }
        word = size;
        std::memcpy(&word, bytes + at, size - at);
        Add(word);
    }

    template <class T> void Add(const std::vector<T>& buffer) { Add(buffer.data(), buffer.size() * sizeof(T)); }

    void Add(const AMath::AxisAlignedBox& box)
    {
        Add(&box.getMinimum(), sizeof(AMath::Vector3));
        Add(&box.getMaximum(), sizeof(AMath::Vector3));
    }

    /// True when the object behind a reference was not met before.
    bool IsNew(const void* object)
    {
        ++m_Digest.references;
        if (object == nullptr) {
            Add(0);
            return false;
        }
        const auto [known, isNew] = m_Places.emplace(object, m_Places.size() + 1);
        Add(known->second);
        m_Digest.objects += isNew ? 1U : 0U;
        return isNew;
    }

    void Node(const typename M::Node* node)
    {
        if (!IsNew(node))
            return;
        Add(static_cast<std::uint64_t>(node->GetId()));
        Add(&node->GetTransform()[0], sizeof(AMath::Matrix4));
        Add(node->GetBBox());
        for (int i = 0; i < 4; ++i)
            Style(node->GetStyle(static_cast<Kelvra::AStyleIndex>(i)).get());
        if (const auto* const group = dynamic_cast<const typename M::Group*>(node))
            for (const auto& child : group->GetChildNodes())
                Node(child.get());
        else if (const auto* const entityNode = dynamic_cast<const typename M::EntityNode*>(node))
            Entity(entityNode->GetEntity().get());
    }

    void Style(const typename M::Style* style)
    {
        if (!IsNew(style))
            return;
        Add(&style->GetColor(), sizeof(AMath::ColourValue));
        Add(dynamic_cast<const typename M::FaceStyle*>(style) != nullptr ? 1 : 2);
    }

    void Entity(const typename M::Entity* entity)
    {
        if (!IsNew(entity))
            return;
        Add(entity->GetBBox());
        if (const auto* const mesh = dynamic_cast<const typename M::MeshEntity*>(entity))
            Mesh(mesh->GetItem().get());
        else if (const auto* const list = dynamic_cast<const typename M::TextList*>(entity))
            for (const auto& item : list->GetItems())
                Text(item.get());
    }

    void Mesh(typename M::Mesh* mesh)
    {
        if (!IsNew(mesh))
            return;
        Add(mesh->VertexBuffer());
        Add(mesh->IndexBuffer());
        Add(mesh->NormalBuffer());
        Add(mesh->TexCoordBuffer());
    }

    void Text(const typename M::Text* text)
    {
        if (!IsNew(text))
            return;
        Add(text->GetText().data(), text->GetText().size() * sizeof(wchar_t));
        Add(&text->GetPosition(), sizeof(AMath::Vector3));
    }

    Digest m_Digest;
    std::unordered_map<const void*, std::size_t> m_Places;
};

inline void Require(bool condition, const std::string& what)
{
    if (!condition)
        throw std::runtime_error(what);
}
} // namespace Scenes
