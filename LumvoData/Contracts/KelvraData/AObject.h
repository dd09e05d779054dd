#pragma once

#include <LumvoData/Contracts/KelvraData/AClassId.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>

namespace Kelvra {

class AIStreamXML;
class AOStreamXML;

/// The root of all storable classes: a class identity and an XML form, which is empty here.
///
/// The order in which the virtual operations are declared is part of the binary interface.
///
/// - Threads: the objects of one scene are changed by one thread at a time, and read and stored by several while none
///   changes them. Different scenes have nothing to do with each other. The last share of an object may be released on
///   any thread.
class KELVRADATA_API AObject
{
public:
    AObject() = default;
    AObject(const AObject&) = default;
    AObject& operator=(const AObject&) = default;

    static const AClassId& GetClassId();
    /// The identity of the object's own class.
    [[nodiscard]] virtual const AClassId& GetRuntimeClassId() const;
    /// Reads the object's XML form. An override calls this one first.
    virtual void Serialize(AIStreamXML& stream);
    /// Writes the object's XML form. An override calls this one first.
    virtual void Serialize(AOStreamXML& stream);
    virtual ~AObject();

private:
    virtual void _internal_test_super();
};
} // namespace Kelvra

/// Declares the identity of a storable class. Written out, it is
///
///     public:  static const AClassId& GetClassId();
///              const AClassId& GetRuntimeClassId() const override;
///     private: void _internal_test_super() override;
#define KELVRA_DECLARE_CLASS_ID()                                                                                      \
public:                                                                                                                \
    static const ::Kelvra::AClassId& GetClassId();                                                                     \
    [[nodiscard]] const ::Kelvra::AClassId& GetRuntimeClassId() const override;                                        \
                                                                                                                       \
private:                                                                                                               \
    void _internal_test_super() override

/// Defines what KELVRA_DECLARE_CLASS_ID declares, in one source of the library that owns the class. The two
/// functions return two objects of the same name, each made on the first call.
#define KELVRA_DEFINE_CLASS_ID(Class, Name)                                                                            \
    const ::Kelvra::AClassId& Class::GetClassId()                                                                      \
    {                                                                                                                  \
        static const ::Kelvra::AClassId s_ClassId{std::wstring(Name)};                                                 \
        return s_ClassId;                                                                                              \
    }                                                                                                                  \
    const ::Kelvra::AClassId& Class::GetRuntimeClassId() const                                                         \
    {                                                                                                                  \
        static const ::Kelvra::AClassId s_ClassId{std::wstring(Name)};                                                 \
        return s_ClassId;                                                                                              \
    }                                                                                                                  \
    void Class::_internal_test_super() {}
