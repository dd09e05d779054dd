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

class ASceneFieldVisitor;
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
/// Saving replaces the file from Begin on: after an exception what is left of it is incomplete. A caller that must not
/// lose the former file saves under another name in the same folder, and renames it to the final name once End has
/// returned and GetReportCount() is 0; Examples/replace_file.cpp shows how.
///
/// A derived class may take the bytes from elsewhere, or send them elsewhere: everything that is loaded goes through
/// Read(void*, int), everything that is stored through Write(const void*, int). What such a class should know:
///   - Begin opens the file that the context was made for. A class that needs no file calls BeginWithoutFile instead.
///   - The context notices while it reads the header whether the bytes come from the file. If not, the bytes that are
///     left in the file mean nothing, and GetBytesLeft() returns 0 unless it is overridden.
///   - Counts may then exceed GetBytesLeft(). A text or a buffer is read until it is complete or 16 MiB of it were zero,
///     which raises `std::length_error`; containers give up after 1,024 elements that read as null, and 16,384 in all
///     containers. An override of GetBytesLeft() lifts both for what it says is there.
///
/// - Threads: a context and its scene belong to one thread at a time; different scenes may be loaded and saved in
///   different threads at once.
/// - Units: counts and offsets in bytes.
/// - Ownership: owns its file and its collectors, which share the run's objects until End; cannot be copied.
/// - Errors: Begin returns false if the file is not a scene file. A read beyond the end leaves the rest of its
///   destination unchanged. `std::system_error` with the file's name passes from the file layer: for a failed
///   write at the latest from End. `std::length_error` is thrown, before anything is allocated, for a count in
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
    /// For a visitor instead of a file: an object's Serialize hands its fields to the visitor. Needs neither Begin nor
    /// End. The context counts as storing, and what a class stores other than through an ASceneRecord reaches the
    /// visitor without a name. The visitor outlives the context.
    explicit ASceneSerializeContext(ASceneFieldVisitor& visitor);
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
    /// The visitor of a context that was made for one; otherwise null.
    [[nodiscard]] ASceneFieldVisitor* GetFieldVisitor() const noexcept { return m_Collector.GetVisitor(); }
    [[nodiscard]] ASceneSerializeCollector& Collector() noexcept { return m_Collector; }

    /// Bytes between the position and the end of a file that is being loaded; otherwise 0. A derived class that takes
    /// the bytes from elsewhere returns how many it can still supply, as far as it knows.
    [[nodiscard]] virtual std::uint64_t GetBytesLeft() const noexcept;
    /// Offset in the file of the next byte to be stored or loaded, for messages and observers.
    [[nodiscard]] virtual std::uint64_t GetPosition() const noexcept;
    /// True if the bytes that are loaded come from the file, so that there are no more than GetBytesLeft().
    [[nodiscard]] bool IsFromFile() const noexcept { return m_bFromFile; }
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

    /// How many elements of containers may be missing after the end of the file, in all containers of a run.
    static constexpr int MaxMissingElements = 16 * 1024;
    /// True while more elements may be missing.
    [[nodiscard]] bool CanMissElements() const noexcept { return m_MissingElements < MaxMissingElements; }
    /// Counts an element that is missing: it read as null, and no bytes are left.
    void CountMissingElement() noexcept { ++m_MissingElements; }

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

protected:
    /// Begin for a derived class whose bytes are not in a file: opens none, and transfers the header through Read or
    /// Write.
    /// \returns false if loading and the header does not start with the identifier.
    [[nodiscard]] bool BeginWithoutFile();

private:
    struct Header
    {
        std::int32_t identifier = 0;
        std::int32_t version = 0;
    };

    bool TransferHeader();
    [[noreturn]] void FailTooManyObjects() const;

    ASceneSerializeCollector m_Collector;
    bool m_bStoring;
    bool m_bFromFile = false;
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
