#pragma once

#include <Formats/Gltf/Accessors.h>
#include <Formats/Gltf/Materials.h>
#include <Formats/Support/Import.h>

#include <LumvoData/Entity/AEntity.h>
#include <LumvoData/Entity/ASubEdge.h>
#include <LumvoData/Entity/ASubMesh.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace Formats::Gltf {

/// Makes entities of meshes. What is made of the same accessors is the same object, wherever it is used.
class Meshes
{
public:
    Meshes(Import& job, const JsonValue& document, Buffers& buffers, Materials& materials);

    /// The primitives of a mesh that look alike.
    struct Part
    {
        std::shared_ptr<Kelvra::AEntity> entity;
        std::optional<std::uint32_t> faceMaterial;
        std::optional<std::uint32_t> lineMaterial;
    };

    /// The index that a value holds.
    [[nodiscard]] std::uint32_t IndexOf(const JsonValue& value) const
    {
        return value.AsIndex(m_Meshes.size(), "meshes");
    }
    [[nodiscard]] const std::vector<Part>& Get(std::uint32_t mesh);
    /// How many meshes nobody has got.
    [[nodiscard]] std::size_t CountUnused() const noexcept;

private:
    /// What the geometry of a primitive depends on; s_None for accessors that it does not have.
    struct Source
    {
        std::uint32_t positions;
        std::uint32_t normals;
        std::uint32_t texCoords;
        std::uint32_t indices;
        std::uint32_t mode;

        bool operator<(const Source& other) const noexcept;
    };
    struct Primitive
    {
        JsonValue value;
        Source source;
        std::optional<std::uint32_t> material;
    };
    struct Mesh
    {
        std::vector<Primitive> primitives;
        std::optional<std::vector<Part>> parts;
    };
    struct Geometry
    {
        std::uint32_t id;
        std::shared_ptr<Kelvra::ASubMesh> mesh;               // of triangles or points
        std::vector<std::shared_ptr<Kelvra::ASubEdge>> edges; // of lines
    };
    struct Vertices
    {
        std::vector<float> positions;
        std::vector<float> normals;
        std::vector<float> texCoords;

        [[nodiscard]] std::size_t GetCount() const noexcept { return positions.size() / 3; }
    };

    void AddPrimitive(Mesh& mesh, const JsonValue& value);
    void CheckCompression(const JsonValue& primitive, const JsonValue& attributes) const;
    void CountLosses(const JsonValue& primitive, const std::string& texCoords, bool lines);
    [[nodiscard]] std::vector<Part> MakeParts(const Mesh& mesh);
    [[nodiscard]] std::shared_ptr<Kelvra::AEntity> MakeEntityOf(const std::vector<const Geometry*>& pieces);
    [[nodiscard]] const Geometry& GetGeometry(const Primitive& primitive);
    [[nodiscard]] Vertices& GetVertices(const Primitive& primitive);
    [[nodiscard]] std::shared_ptr<Kelvra::ASubMesh> MakeMesh(const Primitive& primitive);
    [[nodiscard]] std::vector<std::shared_ptr<Kelvra::ASubEdge>> MakeEdges(const Primitive& primitive);
    [[nodiscard]] std::vector<std::uint32_t> MakeTriangles(std::vector<std::uint32_t> corners, std::uint32_t mode);
    void Pick(Vertices& picked, std::vector<std::uint32_t>& indices);

    Import& m_Job;
    Materials& m_Materials;
    Accessors m_Accessors;
    std::vector<Mesh> m_Meshes;
    std::map<std::uint32_t, std::optional<Source>> m_Users; // of positions: the only one, or nothing for several
    std::map<Source, Geometry> m_Geometries;
    std::map<std::vector<std::uint32_t>, std::shared_ptr<Kelvra::AEntity>> m_Entities; // by ids of geometries
    Vertices m_Vertices;                                                               // read last
    std::optional<std::array<std::uint32_t, 3>> m_VerticesSource;                      // their accessors
    std::vector<std::uint32_t> m_Picked; // for each of m_Vertices its place among the picked, s_None in between
};
} // namespace Formats::Gltf
