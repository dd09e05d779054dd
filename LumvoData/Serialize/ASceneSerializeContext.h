#pragma once

#include <LumvoData/Contracts/Host/HostMemory.h>
#include <LumvoData/Contracts/KelvraData/ASerializeContext.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/ASceneLoadLimits.h>
#include <LumvoData/Serialize/ASceneLoadObserver.h>
#include <LumvoData/Serialize/ASceneSerializeCollector.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <system_error>

namespace Kelvra {

class CFile;

/// Stores a scene into a binary scene file, or loads it back: one file, one direction, one run.
///
/// The file begins with two 32-bit integers, the identifier 2011 and the format version 3; behind them stand
/// the records that the caller's objects write, back to back, until the end. Numbers are little-endian,
/// strings UTF-16 code units behind a 32-bit count.
///
/// Use: construct, Begin, write or read the root objects (through their own Serialize, or as shared pointers
/// through the collectors), End. A loading caller that does not know how many roots there are reads until
/// GetBytesLeft() is 0.
///
/// - Units: counts and offsets in bytes.
/// - Ownership: owns its file and its collectors, which share the run's objects until End; cannot be copied.
/// - Errors: Begin answers false where there is no scene file. A read beyond the end leaves the rest of its
///   destination as it was. `std::system_error` with the file's name passes from the file layer: for a failed
///   write at the latest from End. `std::length_error` is raised, before anything is allocated, for a count in
///   the file whose elements are not in it and would take more than 16 MiB, for what is beyond the limits that
///   the caller set, and for a count too large to be written. After an exception the only use of a run is End; what
///   was loaded before it is complete. The destructor ignores errors. What is reported to the assertion service does
///   not stop the run; GetReportCount() says whether there was any.
class KELVRA_API ASceneSerializeContext : public ASerializeContext
{
public:
    static constexpr std::int32_t FileIdentifier = 2011;
    static constexpr std::int32_t FormatVersion = 3;
    /// How deep references may nest in each other, stored or loaded, unless the context has another limit.
    static constexpr int MaxNesting = 1024;

    /// Remembers name and direction; touches no file.
    ASceneSerializeContext(const std::wstring& fileName, bool storing);
    ~ASceneSerializeContext() override;
    ASceneSerializeContext(const ASceneSerializeContext&) = delete;
    ASceneSerializeContext& operator=(const ASceneSerializeContext&) = delete;

    /// Makes the collectors and opens the file: creates it, or replaces the one that is there, and writes the
    /// header; or opens an existing one and reads the header. Called once per context.
    /// \returns false when the file cannot be opened or is larger than the limits allow (GetError() says why), when
    ///          it is shorter than the header, or when it does not start with the identifier.
    [[nodiscard]] bool Begin();
    /// Releases the collectors and closes the file, if it was opened.
    void End();

    /// Stores a string: the count of its UTF-16 code units, then the units.
    void Write(const std::wstring& text) override;
    /// Stores `count` bytes as they are.
    void Write(const void* data, int count) override;
    /// Loads a string; a count of 0 or less leaves `text` as it was. Where the file ends first, `text` still
    /// gets the full count of code units: those that were there, then those it held, then zeros.
    void Read(std::wstring& text) override;
    /// Loads up to `count` bytes; where the file ends first, the rest of `data` keeps what it held.
    void Read(void* data, int count) override;
    void WriteBuffer(const void* data, int count) { Write(data, count); }
    void ReadBuffer(void* data, int count) { Read(data, count); }

    [[nodiscard]] bool IsStoring() const noexcept { return m_bStoring; }
    [[nodiscard]] ASceneSerializeCollector& Collector() noexcept { return m_Collector; }

    /// Bytes between the position and the end of a file that is being loaded; otherwise 0.
    [[nodiscard]] std::uint64_t GetBytesLeft() const noexcept;
    /// Offset of the next byte to be stored or loaded.
    [[nodiscard]] std::uint64_t GetPosition() const noexcept;
    /// The identifier and the format version as they were read or written; 0 before Begin. Any version is
    /// accepted.
    [[nodiscard]] std::int32_t GetIdentifier() const noexcept { return m_Header.identifier; }
    [[nodiscard]] std::int32_t GetVersion() const noexcept { return m_Header.version; }
    /// Why the file could not be opened, or that it is too large; otherwise empty, whatever it holds.
    [[nodiscard]] const std::error_code& GetError() const noexcept;
    /// How many reports persistence has made to the assertion service in this run, whatever handler received them; kept
    /// after End. 0 for a save means that the file can be loaded whole. 0 for a load means that every reference was
    /// read, not that the file had a byte for every field.
    [[nodiscard]] std::size_t GetReportCount() const noexcept { return m_Collector.GetReportCount(); }

    /// How deep references may nest, when storing and when loading: MaxNesting unless set. A deeper one is reported and
    /// is written, or read, as null. The limit keeps hostile files from exhausting the stack: a thread that has the
    /// stack for more levels may raise it, SECURITY.md says how much they take. A file that was saved with a raised
    /// limit is loaded with a raised limit.
    [[nodiscard]] int GetNestingLimit() const noexcept { return m_NestingLimit; }
    void SetNestingLimit(int levels) noexcept { m_NestingLimit = levels; }

    /// Bounds of this load; none but the library's own at first. Set before Begin; nothing to a storing context.
    [[nodiscard]] const ASceneLoadLimits& GetLimits() const noexcept { return m_Limits; }
    void SetLimits(const ASceneLoadLimits& limits) noexcept { m_Limits = limits; }

    /// Who is told of references and objects while they are loaded; null at first. The observer is not owned
    /// and outlives the run.
    [[nodiscard]] ASceneLoadObserver* GetObserver() const noexcept { return m_Observer; }
    void SetObserver(ASceneLoadObserver* observer) noexcept { m_Observer = observer; }

    /// How many elements of containers may be tried behind the end of the file, in all containers of a run.
    static constexpr int MaxMissingElements = 16 * 1024;
    /// Counts one element of a container that is about to be loaded.
    /// \returns false when the file has ended and MaxMissingElements have been tried behind its end.
    [[nodiscard]] bool CanTryReference() noexcept
    {
        return GetBytesLeft() > 0 || m_MissingElements++ < MaxMissingElements;
    }

    /// Counts one object that is about to be loaded; `std::length_error` where the limits allow no more.
    void CountObject()
    {
        if (m_Objects == m_Limits.objects)
            FailTooManyObjects();
        ++m_Objects;
    }

    /// True while one more reference may be nested in those that are being stored or loaded.
    [[nodiscard]] bool CanNest() const noexcept { return m_Depth < m_NestingLimit; }
    /// Counts a reference as being stored or loaded for its own lifetime.
    class Nesting
    {
    public:
        explicit Nesting(ASceneSerializeContext& context) noexcept : m_Context(context) { ++m_Context.m_Depth; }
        ~Nesting() { --m_Context.m_Depth; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

    private:
        ASceneSerializeContext& m_Context;
    };

    /// A string for the collectors to read class names into, kept so that each name need not be allocated.
    [[nodiscard]] std::wstring& ClassNameBuffer() noexcept { return m_ClassName; }
    /// For the collectors to tell of the objects that they make.
    [[nodiscard]] AHeapPrefault& Heap() noexcept { return m_Heap; }

private:
    struct Header
    {
        std::int32_t identifier = 0;
        std::int32_t version = 0;
    };

    [[noreturn]] void FailTooManyObjects() const;

    ASceneSerializeCollector m_Collector;
    bool m_bStoring;
    std::wstring m_szFileName;
    std::unique_ptr<CFile> m_File;
    Header m_Header;
    ASceneLoadLimits m_Limits;
    std::error_code m_TooLarge; // set where the limits refuse the file
    std::uint64_t m_Objects = 0;
    int m_NestingLimit = MaxNesting;
    int m_Depth = 0;
    int m_MissingElements = 0;
    ASceneLoadObserver* m_Observer = nullptr;
    AHeapPrefault m_Heap;
    std::wstring m_ClassName;
    std::u16string m_CodeUnits; // of the string that is being stored
};
} // namespace Kelvra
