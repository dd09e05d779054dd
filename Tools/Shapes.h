#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/Vector2.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>
#include <LumvoData/Entity/ASubEdge.h>
#include <LumvoData/Entity/ASubMesh.h>
#include <LumvoData/Entity/ASubPolygon.h>

#include <memory>
#include <vector>

/// \file
/// Geometry made by rule: each piece comes with its box, and meshes with normals and texture coordinates.
namespace Lumvo {

/// The box that holds the points, three floats each.
[[nodiscard]] AMath::AxisAlignedBox BoxOf(const std::vector<float>& points);

/// The solid that a closed outline makes when it is turned around the z axis in `segments` flat pieces.
/// \param outline (radius, z) of its corners, anticlockwise when z points up.
[[nodiscard]] std::shared_ptr<Kelvra::ASubMesh> Revolve(const std::vector<AMath::Vector2>& outline, int segments);
[[nodiscard]] std::shared_ptr<Kelvra::ASubMesh> Cylinder(double radius, double bottom, double top, int segments);

/// The six faces of a box, one mesh each.
[[nodiscard]] std::vector<std::shared_ptr<Kelvra::ASubMesh>> BoxFaces(const AMath::AxisAlignedBox& box);
/// The twelve edges of a box.
[[nodiscard]] std::vector<std::shared_ptr<Kelvra::ASubEdge>> BoxEdges(const AMath::AxisAlignedBox& box);

[[nodiscard]] std::shared_ptr<Kelvra::ASubEdge> Line(const std::vector<AMath::Vector3>& points);
/// A circle in the plane of the given z, around the z axis.
[[nodiscard]] std::shared_ptr<Kelvra::ASubEdge> Circle(double radius, double z, int segments);
/// A rectangle that faces up, its texture laid over it once.
[[nodiscard]] std::shared_ptr<Kelvra::ASubPolygon> Plate(const AMath::Vector3& corner, double width, double depth);
} // namespace Lumvo
