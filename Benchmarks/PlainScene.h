#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/ColourValue.h>
#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>
#include <LumvoData/Scene/ASceneNode.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

/// \file
/// The library's object model without the library: the same fields in the same containers behind accessors of the same
/// names. It is what the peers store, and what the limit copies.
namespace Plain {

/// What an object is, for the limit, which asks no virtual function.
enum class Kind : std::uint8_t
{
    Group,
    EntityNode,
    FaceStyle,
    LineStyle,
    MeshEntity,
    TextList,
    Mesh,
    Text,
};

struct Object
{
    explicit Object(Kind aKind) noexcept : kind(aKind) {}
    virtual ~Object() = default;

    Kind kind;
    std::uint32_t number = 0; // of a shared object, for the limit, which looks no address up
};

struct Style : Object
{
    explicit Style(Kind aKind) noexcept : Object(aKind) {}
    ~Style() override = 0;
    void SetColor(const AMath::ColourValue& value) { colour = value; }
    [[nodiscard]] const AMath::ColourValue& GetColor() const { return colour; }

    AMath::ColourValue colour;
};

struct FaceStyle : Style
{
    FaceStyle() noexcept : Style(Kind::FaceStyle) {}

    bool transparent = false;
    bool useMaterial = true;
};

struct LineStyle : Style
{
    LineStyle() noexcept : Style(Kind::LineStyle) {}

    float lineWidth = 1;
    bool modelLine = false;
};

/// The fields of an entity and of a piece of geometry.
struct Boxed : Object
{
    explicit Boxed(Kind aKind) noexcept : Object(aKind) {}
    void SetBBox(const AMath::AxisAlignedBox& value) { box = value; }
    [[nodiscard]] const AMath::AxisAlignedBox& GetBBox() const { return box; }

    std::int32_t tag = -1;
    AMath::AxisAlignedBox box;
};

struct Mesh : Boxed
{
    Mesh() noexcept : Boxed(Kind::Mesh) {}
    std::vector<float>& VertexBuffer() { return vertices; }
    std::vector<unsigned>& IndexBuffer() { return indices; }
    std::vector<float>& NormalBuffer() { return normals; }
    std::vector<float>& TexCoordBuffer() { return texCoords; }

    std::vector<float> vertices;
    std::vector<unsigned> indices;
    std::vector<float> normals;
    std::vector<float> texCoords;
};

struct Text : Boxed
{
    Text() noexcept : Boxed(Kind::Text) {}
    void SetText(const std::wstring& value) { text = value; }
    [[nodiscard]] const std::wstring& GetText() const { return text; }
    void SetPosition(const AMath::Vector3& value) { position = value; }
    [[nodiscard]] const AMath::Vector3& GetPosition() const { return position; }

    std::wstring text;
    AMath::ColourValue colour = AMath::ColourValue::Red;
    AMath::Vector3 position;
};

struct Entity : Boxed
{
    using Boxed::Boxed;
    ~Entity() override = 0;
};

struct MeshEntity : Entity
{
    MeshEntity() noexcept : Entity(Kind::MeshEntity) {}
    void SetItem(const std::shared_ptr<Mesh>& value) { item = value; }
    [[nodiscard]] const std::shared_ptr<Mesh>& GetItem() const { return item; }

    std::shared_ptr<Mesh> item;
};

struct TextList : Entity
{
    TextList() noexcept : Entity(Kind::TextList) {}
    void AddItem(const std::shared_ptr<Text>& value) { items.push_back(value); }
    [[nodiscard]] const std::list<std::shared_ptr<Text>>& GetItems() const { return items; }

    std::list<std::shared_ptr<Text>> items;
};

struct Node : Object
{
    explicit Node(Kind aKind) : Object(aKind) {}
    ~Node() override = 0;
    void SetId(std::int32_t value) { id = value; }
    [[nodiscard]] std::int32_t GetId() const { return id; }
    void SetTransform(const AMath::Matrix4& value) { transform = value; }
    [[nodiscard]] const AMath::Matrix4& GetTransform() const { return transform; }
    void SetBBox(const AMath::AxisAlignedBox& value) { box = value; }
    [[nodiscard]] const AMath::AxisAlignedBox& GetBBox() const { return box; }
    void SetStyle(Kelvra::AStyleIndex i, const std::shared_ptr<Style>& value)
    {
        styles[static_cast<std::size_t>(i)] = value;
    }
    [[nodiscard]] const std::shared_ptr<Style>& GetStyle(Kelvra::AStyleIndex i) const
    {
        return styles[static_cast<std::size_t>(i)];
    }

    std::int32_t id = -1;
    bool visible = true;
    AMath::AxisAlignedBox box;
    AMath::Matrix4 transform;
    std::vector<std::shared_ptr<Style>> styles = std::vector<std::shared_ptr<Style>>(Kelvra::ASceneNode::StyleCount);
};

struct Group : Node
{
    Group() : Node(Kind::Group) {}
    void AddChildNode(const std::shared_ptr<Node>& child) { children.push_back(child); }
    [[nodiscard]] const std::list<std::shared_ptr<Node>>& GetChildNodes() const { return children; }

    std::list<std::shared_ptr<Node>> children;
};

struct EntityNode : Node
{
    EntityNode() : Node(Kind::EntityNode) {}
    void SetEntity(const std::shared_ptr<Entity>& value)
    {
        entity = value;
        box = value->box;
    }
    [[nodiscard]] const std::shared_ptr<Entity>& GetEntity() const { return entity; }

    std::shared_ptr<Entity> entity;
};

inline Style::~Style() = default;
inline Entity::~Entity() = default;
inline Node::~Node() = default;
} // namespace Plain
