#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <cstdint>

namespace Kelvra {

class AObject;

/// Told of every reference and every object while a scene file is being loaded, for callers that account for
/// its bytes or its sharing. Offsets count bytes from the start of the file.
class KELVRA_API ASceneLoadObserver
{
public:
    ASceneLoadObserver() = default;
    ASceneLoadObserver(const ASceneLoadObserver&) = default;
    ASceneLoadObserver& operator=(const ASceneLoadObserver&) = default;
    virtual ~ASceneLoadObserver();

    /// A reference was read: its key, 0 for an empty one, stands at `offset`. The object that it means follows
    /// as OnObjectBegin where this is its first occurrence and it can be made.
    virtual void OnReference(std::int32_t key, std::uint64_t offset) = 0;
    /// The record of `object` is about to be read; its key stands at `keyOffset`, its record at `recordOffset`.
    /// Records nest: OnReference and OnObjectBegin of what it holds come before its OnObjectEnd.
    virtual void OnObjectBegin(const AObject& object, std::uint64_t keyOffset, std::uint64_t recordOffset) = 0;
    /// The record of `object` was read; it ends before `endOffset`. Not called when reading it throws.
    virtual void OnObjectEnd(const AObject& object, std::uint64_t endOffset) = 0;
};
} // namespace Kelvra
