#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace AMath {
class AxisAlignedBox;
class ColourValue;
class Matrix4;
class Vector3;
} // namespace AMath

namespace Kelvra {

class AClassId;
class AObject;

/// The kinds of fields in a record. Those of references come last; the others are in the order of
/// ASceneField::Value.
enum class ASceneFieldKind
{
    Integer,   ///< 4 bytes, signed.
    Float,     ///< 4 bytes.
    Double,    ///< 8 bytes.
    Flag,      ///< 1 byte.
    Point,     ///< Three doubles.
    Matrix,    ///< Sixteen doubles.
    Box,       ///< Six doubles: the corners, minimum first.
    Colour,    ///< Four floats, then 16 bytes without meaning.
    Text,      ///< A count of UTF-16 code units, then the units.
    Floats,    ///< A count of floats, then the floats.
    Indices,   ///< A count of 32-bit integers, then the integers.
    Reference, ///< An object reference.
    List,      ///< A count of references, then the references.
    Vector,    ///< A count of references, the text "vector", then the references.
};

/// A field of plain values, with the member that holds it. The pointer is never null.
struct ASceneField
{
    using Value =
        std::variant<std::int32_t*, float*, double*, bool*, AMath::Vector3*, AMath::Matrix4*, AMath::AxisAlignedBox*,
                     AMath::ColourValue*, std::wstring*, std::vector<float>*, std::vector<std::uint32_t>*>;

    const char* name;
    Value value;

    [[nodiscard]] ASceneFieldKind GetKind() const noexcept { return static_cast<ASceneFieldKind>(value.index()); }
};

/// A field of references to other objects.
struct ASceneReferenceField
{
    const char* name;
    ASceneFieldKind kind;      ///< Reference, List or Vector.
    const AClassId* collector; ///< The base class whose collector stores the references. Each has keys of its own.
    const AClassId* kept;      ///< The class that loading keeps: an object of another class reads as null. The same as
                               ///< `collector` if every class of the family is kept.
};

/// Receives the fields of an object in the order of its record, as its Serialize lists them. The functions do nothing
/// unless overridden.
///
/// Use: derive, make an ASceneSerializeContext for the visitor, and pass that to an object's Serialize; or call
/// VisitFields, which takes an object of any storable class. Only that object's fields are visited. A visitor that
/// wants what the object refers to visits it in turn; objects can be shared, and nested deeper than the stack allows.
///
/// - Ownership: values and references are valid during the call, names and class identities as long as the library of
///   the object's class is loaded.
class KELVRA_API ASceneFieldVisitor
{
public:
    ASceneFieldVisitor() = default;
    ASceneFieldVisitor(const ASceneFieldVisitor&) = default;
    ASceneFieldVisitor& operator=(const ASceneFieldVisitor&) = default;
    virtual ~ASceneFieldVisitor();

    /// A field of plain values. The visitor may change the value.
    virtual void OnField(const ASceneField& field);
    /// A field of references begins: `count` calls of OnReference follow.
    virtual void OnReferences(const ASceneReferenceField& field, std::size_t count);
    /// One reference, null where it is empty. The visitor may replace it, by null too; an object that is not of the
    /// class `*field.kept` is ignored. Nothing else about the holder changes; its box, for instance, stays as it is.
    virtual void OnReference(const ASceneReferenceField& field, std::shared_ptr<AObject>& object);
    /// Bytes that a class stores through the context itself instead of an ASceneRecord, and which have no name. References
    /// that it stores without one arrive as fields with an empty name, and replacing them has no effect.
    virtual void OnBytes(const void* data, std::size_t count);
};
} // namespace Kelvra
