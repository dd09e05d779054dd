#pragma once

#include <LumvoData/Contracts/KelvraData/AObject.h>
#include <LumvoData/Serialize/ASceneLoadObserver.h>

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace Lumvo {

/// Where the bytes of a scene file went, and how its references divide.
///
/// - Units: bytes of the file. An object's span runs from its key, at its first occurrence, to the end of its
///   record; its own bytes are the span without those of the objects stored inside it. Own bytes of all
///   objects, the header and the references at the top of the file that begin no object make up the file.
/// - Ownership: objects are known by address only.
class LoadStatistics : public Kelvra::ASceneLoadObserver
{
public:
    struct Extent
    {
        std::uint64_t span = 0;
        std::uint64_t own = 0;
    };

    void OnReference(std::int32_t key, std::uint64_t offset) override;
    void OnObjectBegin(const Kelvra::AObject& object, std::uint64_t keyOffset, std::uint64_t recordOffset) override;
    void OnObjectEnd(const Kelvra::AObject& object, std::uint64_t endOffset) override;
    /// A reference turned out to mean nothing that can be made.
    void OnFailedReference() { ++m_Failed; }

    [[nodiscard]] std::uint64_t GetReferences() const noexcept { return m_References; }
    [[nodiscard]] std::uint64_t GetEmptyReferences() const noexcept { return m_Empty; }
    [[nodiscard]] std::uint64_t GetFailedReferences() const noexcept { return m_Failed; }
    /// References to objects that stand further ahead in the file.
    [[nodiscard]] std::uint64_t GetRepeatedReferences() const noexcept
    {
        return m_References - m_Empty - m_Failed - m_Objects;
    }
    /// Objects that the load made, dropped ones included; each was met by one reference.
    [[nodiscard]] std::uint64_t GetObjects() const noexcept { return m_Objects; }
    /// Own bytes of all these objects.
    [[nodiscard]] std::uint64_t GetObjectBytes() const noexcept { return m_ObjectBytes; }
    /// Zeros for an object that was not loaded.
    [[nodiscard]] Extent ExtentOf(const Kelvra::AObject& object) const;

private:
    /// An object whose record is being read.
    struct Open
    {
        std::uint64_t start;
        std::uint64_t nested; // bytes of the objects stored inside it so far
    };

    std::vector<Open> m_Open;
    std::unordered_map<const Kelvra::AObject*, Extent> m_Extents;
    std::uint64_t m_References = 0;
    std::uint64_t m_Empty = 0;
    std::uint64_t m_Failed = 0;
    std::uint64_t m_Objects = 0;
    std::uint64_t m_ObjectBytes = 0;
};
} // namespace Lumvo
