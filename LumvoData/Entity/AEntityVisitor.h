#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <memory>

namespace Kelvra {

class ASubEdge;
class ASubMesh;
class ASubPolygon;
class ASubText;
class ASubVertex;

/// The bits of a visitor's filter: what each asks for.
enum AEntityFilter : unsigned int
{
    EntityFilterNone = 0,
    EntityFilterFaces = 1, ///< Meshes and polygons.
    EntityFilterEdges = 2,
    EntityFilterTexts = 8,
};

/// The caller's hook for walking the geometry of an entity: AEntity::Visit passes each piece whose kind the
/// filter asks for to the operation of that kind.
///
/// The operations return true to go on and false to stop. List, simple and group entities stop at once; a
/// topology entity goes on whatever they return. The pointer may be null: null items are visited
/// too. No entity of the library holds vertices, so none calls VisitVertex.
class KELVRA_API AEntityVisitor
{
public:
    AEntityVisitor() = default;
    AEntityVisitor(const AEntityVisitor&) = default;
    AEntityVisitor& operator=(const AEntityVisitor&) = default;
    virtual ~AEntityVisitor();

    virtual bool VisitText(const std::shared_ptr<ASubText>& text) = 0;
    virtual bool VisitVertex(const std::shared_ptr<ASubVertex>& vertex) = 0;
    virtual bool VisitEdge(const std::shared_ptr<ASubEdge>& edge) = 0;
    virtual bool VisitPolygon(const std::shared_ptr<ASubPolygon>& polygon) = 0;
    virtual bool VisitMesh(const std::shared_ptr<ASubMesh>& mesh) = 0;

    /// The filter: AEntityFilter bits; initially none.
    void SetFilter(unsigned int filter) noexcept { m_nFilter = filter; }
    [[nodiscard]] unsigned int GetFilter() const noexcept { return m_nFilter; }

private:
    unsigned int m_nFilter = EntityFilterNone;
};
} // namespace Kelvra
