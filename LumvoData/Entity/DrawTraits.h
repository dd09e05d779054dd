#pragma once

#include <LumvoData/Entity/AEntityVisitor.h>
#include <LumvoData/Entity/ASubEdge.h>
#include <LumvoData/Entity/ASubMesh.h>
#include <LumvoData/Entity/ASubPolygon.h>
#include <LumvoData/Entity/ASubText.h>

#include <memory>

/// \file
/// What distinguishes the kinds of list and simple entities: the type of their items, the filter bit that asks
/// for them, and the visitor operation that receives each.
namespace Kelvra {

struct DrawMeshTrait
{
    using Item = ASubMesh;
    static constexpr AEntityFilter Filter = EntityFilterFaces;
    static bool Visit(AEntityVisitor& visitor, const std::shared_ptr<Item>& item) { return visitor.VisitMesh(item); }
};

struct DrawPolygonTrait
{
    using Item = ASubPolygon;
    static constexpr AEntityFilter Filter = EntityFilterFaces;
    static bool Visit(AEntityVisitor& visitor, const std::shared_ptr<Item>& item) { return visitor.VisitPolygon(item); }
};

struct DrawEdgeTrait
{
    using Item = ASubEdge;
    static constexpr AEntityFilter Filter = EntityFilterEdges;
    static bool Visit(AEntityVisitor& visitor, const std::shared_ptr<Item>& item) { return visitor.VisitEdge(item); }
};

struct DrawTextTrait
{
    using Item = ASubText;
    static constexpr AEntityFilter Filter = EntityFilterTexts;
    static bool Visit(AEntityVisitor& visitor, const std::shared_ptr<Item>& item) { return visitor.VisitText(item); }
};
} // namespace Kelvra
