#pragma once

#include <Formats/Support/FormatExport.h>
#include <Formats/Support/Import.h>

#include <LumvoData/Scene/ASceneNode.h>

#include <functional>
#include <memory>
#include <string>

namespace Formats {

/// Reads a file into a scene; throws FormatError, or what the standard library raises.
using Reader = std::function<std::shared_ptr<Kelvra::ASceneNode>(Import&)>;

/// A format that a module reads.
struct Format
{
    std::wstring name;       ///< Under which both services are registered, such as L"obj".
    std::wstring title;      ///< What a user reads, such as L"Wavefront OBJ".
    std::wstring fileFilter; ///< Patterns, such as L"*.gltf;*.glb".
    Reader read;
    int priority = 0; ///< See FormatPriority.
};

/// What a service adds for callers who find several for one file: of them the one of the greatest priority is the
/// best. Services that say nothing have priority 0.
class FORMATS_API FormatPriority
{
public:
    virtual ~FormatPriority();
    [[nodiscard]] virtual int GetPriority() const noexcept = 0;
};

/// Registers a scene file service and a mesh file service for a format, and withdraws them at its end: a module
/// holds one in a static object, since its code goes with it and the registries stay.
///
/// The scene service returns what the reader returns; the mesh service all its geometry as one entity (see
/// Flatten). Both tell the listener in force of losses and, before they return an empty pointer, of the error.
class FORMATS_API FormatRegistration
{
public:
    explicit FormatRegistration(const Format& format);
    ~FormatRegistration();
    FormatRegistration(const FormatRegistration&) = delete;
    FormatRegistration& operator=(const FormatRegistration&) = delete;

private:
    std::wstring m_Name;
    bool m_SceneAdded;
    bool m_MeshAdded;
};
} // namespace Formats
