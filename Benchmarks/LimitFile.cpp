/// \file
/// The limit: the objects of the plain model made with `std::make_shared`, their fields copied from or into one
/// contiguous block of memory, which large system calls fill or empty. No look-up of addresses or names, no virtual
/// call, no check of what is read.

#include <Benchmarks/PlainFiles.h>
#include <Benchmarks/Scenes.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <type_traits>

namespace Limit {
namespace {

using Scenes::Require;

class Block
{
public:
    Block(const std::filesystem::path& path, int flags) : m_File(::open(path.c_str(), flags, 0666))
    {
        Require(m_File >= 0, path.string() + ": cannot be opened");
    }
    ~Block()
    {
        ::close(m_File);
        ::operator delete(m_Bytes, s_Alignment);
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

protected:
    static constexpr std::size_t s_Size = std::size_t{256} * 1024;
    static constexpr std::align_val_t s_Alignment{4096};

    int m_File;
    char* m_Bytes = static_cast<char*>(::operator new(s_Size, s_Alignment));
    std::size_t m_Used = 0;
};

class Writer : Block
{
public:
    explicit Writer(const std::filesystem::path& path) : Block(path, O_WRONLY | O_CREAT | O_TRUNC) {}

    template <class T> void Put(const T& value)
    {
        static_assert(std::is_trivially_copyable_v<T>);
        if (s_Size - m_Used < sizeof value)
            Flush();
        std::memcpy(m_Bytes + m_Used, &value, sizeof value);
        m_Used += sizeof value;
    }

    template <class Buffer> void PutBuffer(const Buffer& buffer)
    {
        const std::size_t size = buffer.size() * sizeof buffer[0];
        Put(static_cast<std::uint32_t>(buffer.size()));
        if (s_Size - m_Used < size)
            Flush();
        if (size >= s_Size)
            return WriteOut(buffer.data(), size);
        if (size == 0)
            return;
        std::memcpy(m_Bytes + m_Used, buffer.data(), size);
        m_Used += size;
    }

    void Flush()
    {
        WriteOut(m_Bytes, m_Used);
        m_Used = 0;
    }

private:
    void WriteOut(const void* data, std::size_t size)
    {
        Require(::write(m_File, data, size) == static_cast<ssize_t>(size), "the limit cannot be written");
    }
};

class Reader : Block
{
public:
    explicit Reader(const std::filesystem::path& path) : Block(path, O_RDONLY) {}

    template <class T> void Get(T& value)
    {
        if (m_Filled - m_Used < sizeof value)
            Fill();
        std::memcpy(&value, m_Bytes + m_Used, sizeof value);
        m_Used += sizeof value;
    }

    template <class Buffer> void GetBuffer(Buffer& buffer)
    {
        std::uint32_t count = 0;
        Get(count);
        buffer.resize(count);
        auto* const bytes = reinterpret_cast<char*>(buffer.data());
        const std::size_t size = count * sizeof buffer[0];
        std::size_t done = std::min(size, m_Filled - m_Used);
        std::memcpy(bytes, m_Bytes + m_Used, done);
        m_Used += done;
        if (size - done >= s_Size)
            while (done < size)
                done += ReadIn(bytes + done, size - done);
        else if (done < size) {
            Fill();
            std::memcpy(bytes + done, m_Bytes, size - done);
            m_Used = size - done;
        }
    }

private:
    /// Moves what is left to the front of the block and fills the rest.
    void Fill()
    {
        const std::size_t left = m_Filled - m_Used;
        std::memmove(m_Bytes, m_Bytes + m_Used, left);
        m_Filled = left + ReadIn(m_Bytes + left, s_Size - left);
        m_Used = 0;
    }

    std::size_t ReadIn(void* data, std::size_t size)
    {
        const ssize_t count = ::read(m_File, data, size);
        Require(count > 0, "the limit cannot be read");
        return static_cast<std::size_t>(count);
    }

    std::size_t m_Filled = 0;
};

/// Stores objects. A shared object is met first where its number follows the last one.
class Saver
{
public:
    explicit Saver(const std::filesystem::path& path) : m_Out(path) {}

    void Node(const Plain::Node& node)
    {
        m_Out.Put(node.kind);
        m_Out.Put(node.id);
        m_Out.Put(node.visible);
        m_Out.Put(node.transform);
        Box(node.box);
        for (const auto& style : node.styles)
            Style(style.get());
        if (node.kind == Plain::Kind::Group) {
            const auto& children = static_cast<const Plain::Group&>(node).children;
            m_Out.Put(static_cast<std::uint32_t>(children.size()));
            for (const auto& child : children)
                Node(*child);
        } else
            Entity(*static_cast<const Plain::EntityNode&>(node).entity);
    }

    void Flush() { m_Out.Flush(); }

private:
    void Box(const AMath::AxisAlignedBox& box)
    {
        m_Out.Put(box.m_Minimum);
        m_Out.Put(box.m_Maximum);
    }

    void Header(const Plain::Boxed& boxed)
    {
        m_Out.Put(boxed.tag);
        Box(boxed.box);
    }

    void Style(const Plain::Style* style)
    {
        m_Out.Put(style != nullptr ? style->number : 0);
        if (style == nullptr || style->number != m_Styles + 1)
            return;
        ++m_Styles;
        m_Out.Put(style->kind);
        m_Out.Put(style->colour);
        if (style->kind == Plain::Kind::FaceStyle) {
            m_Out.Put(static_cast<const Plain::FaceStyle*>(style)->transparent);
            m_Out.Put(static_cast<const Plain::FaceStyle*>(style)->useMaterial);
        } else {
            m_Out.Put(static_cast<const Plain::LineStyle*>(style)->lineWidth);
            m_Out.Put(static_cast<const Plain::LineStyle*>(style)->modelLine);
        }
    }

    void Entity(const Plain::Entity& entity)
    {
        m_Out.Put(entity.number);
        if (entity.number != m_Entities + 1)
            return;
        ++m_Entities;
        m_Out.Put(entity.kind);
        Header(entity);
        if (entity.kind == Plain::Kind::MeshEntity) {
            const Plain::Mesh& mesh = *static_cast<const Plain::MeshEntity&>(entity).item;
            Header(mesh);
            m_Out.PutBuffer(mesh.vertices);
            m_Out.PutBuffer(mesh.indices);
            m_Out.PutBuffer(mesh.normals);
            m_Out.PutBuffer(mesh.texCoords);
            return;
        }
        const auto& items = static_cast<const Plain::TextList&>(entity).items;
        m_Out.Put(static_cast<std::uint32_t>(items.size()));
        for (const auto& text : items) {
            Header(*text);
            m_Out.PutBuffer(text->text);
            m_Out.Put(text->position);
            m_Out.Put(text->colour);
        }
    }

    Writer m_Out;
    std::uint32_t m_Styles = 0;
    std::uint32_t m_Entities = 0;
};

class Loader
{
public:
    explicit Loader(const std::filesystem::path& path) : m_In(path) {}

    std::shared_ptr<Plain::Node> Node()
    {
        if (Get<Plain::Kind>() == Plain::Kind::Group) {
            auto group = std::make_shared<Plain::Group>();
            Fields(*group);
            for (std::uint32_t left = Get<std::uint32_t>(); left > 0; --left)
                group->children.push_back(Node());
            return group;
        }
        auto node = std::make_shared<Plain::EntityNode>();
        Fields(*node);
        node->entity = Entity();
        return node;
    }

private:
    template <class T> T Get()
    {
        T value;
        m_In.Get(value);
        return value;
    }

    void Box(AMath::AxisAlignedBox& box)
    {
        m_In.Get(box.m_Minimum);
        m_In.Get(box.m_Maximum);
        box.m_State = AMath::BoxStateFinite;
    }

    void Header(Plain::Boxed& boxed)
    {
        m_In.Get(boxed.tag);
        Box(boxed.box);
    }

    void Fields(Plain::Node& node)
    {
        m_In.Get(node.id);
        m_In.Get(node.visible);
        m_In.Get(node.transform);
        Box(node.box);
        for (auto& style : node.styles)
            style = Style();
    }

    std::shared_ptr<Plain::Style> Style()
    {
        const auto number = Get<std::uint32_t>();
        if (number == 0)
            return nullptr;
        if (number <= m_Styles.size())
            return m_Styles[number - 1];
        if (Get<Plain::Kind>() == Plain::Kind::FaceStyle) {
            auto style = std::make_shared<Plain::FaceStyle>();
            m_In.Get(style->colour);
            m_In.Get(style->transparent);
            m_In.Get(style->useMaterial);
            m_Styles.push_back(style);
        } else {
            auto style = std::make_shared<Plain::LineStyle>();
            m_In.Get(style->colour);
            m_In.Get(style->lineWidth);
            m_In.Get(style->modelLine);
            m_Styles.push_back(style);
        }
        return m_Styles.back();
    }

    std::shared_ptr<Plain::Entity> Entity()
    {
        const auto number = Get<std::uint32_t>();
        if (number <= m_Entities.size())
            return m_Entities[number - 1];
        if (Get<Plain::Kind>() == Plain::Kind::MeshEntity) {
            auto entity = std::make_shared<Plain::MeshEntity>();
            Header(*entity);
            auto mesh = std::make_shared<Plain::Mesh>();
            Header(*mesh);
            m_In.GetBuffer(mesh->vertices);
            m_In.GetBuffer(mesh->indices);
            m_In.GetBuffer(mesh->normals);
            m_In.GetBuffer(mesh->texCoords);
            entity->item = std::move(mesh);
            m_Entities.push_back(std::move(entity));
        } else {
            auto list = std::make_shared<Plain::TextList>();
            Header(*list);
            for (std::uint32_t left = Get<std::uint32_t>(); left > 0; --left) {
                auto text = std::make_shared<Plain::Text>();
                Header(*text);
                m_In.GetBuffer(text->text);
                m_In.Get(text->position);
                m_In.Get(text->colour);
                list->items.push_back(std::move(text));
            }
            m_Entities.push_back(std::move(list));
        }
        return m_Entities.back();
    }

    Reader m_In;
    std::vector<std::shared_ptr<Plain::Style>> m_Styles;
    std::vector<std::shared_ptr<Plain::Entity>> m_Entities;
};
} // namespace

namespace {

/// Numbers styles and entities in the order in which they are met.
void Number(Plain::Node& node, std::uint32_t& styles, std::uint32_t& entities)
{
    for (const auto& style : node.styles)
        if (style && style->number == 0)
            style->number = ++styles;
    if (node.kind == Plain::Kind::Group)
        for (const auto& child : static_cast<Plain::Group&>(node).children)
            Number(*child, styles, entities);
    else if (const auto& entity = static_cast<Plain::EntityNode&>(node).entity; entity->number == 0)
        entity->number = ++entities;
}
} // namespace

void Prepare(const std::shared_ptr<Plain::Node>& root)
{
    std::uint32_t styles = 0;
    std::uint32_t entities = 0;
    Number(*root, styles, entities);
}

void Save(const std::shared_ptr<Plain::Node>& root, const std::filesystem::path& path)
{
    Saver saver(path);
    saver.Node(*root);
    saver.Flush();
}

std::shared_ptr<Plain::Node> Load(const std::filesystem::path& path)
{
    return Loader(path).Node();
}
} // namespace Limit
