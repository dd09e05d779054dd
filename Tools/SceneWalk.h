#pragma once

#include <Tools/Findings.h>
#include <Tools/RecordTable.h>

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/Matrix4.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace Lumvo {

/// A record that was begun and not finished where a walk ended, the file itself being the first.
struct OpenRecord
{
    const RecordDescription* record = nullptr; ///< Null for the file.
    std::uint64_t start = 0;                   ///< Of the reference that begins it: its key.
    std::size_t field = 0;                     ///< The one in which the walk ended.
    bool inReferences = false;                 ///< The field holds references and its count, if it has one, was read.
    std::uint64_t countOffset = 0;             ///< Of a list or a vector.
    std::uint64_t wanted = 0;                  ///< How many references the count says.
    std::uint64_t complete = 0;                ///< How many were read whole.
    std::uint64_t completeEnd = 0;             ///< Where the last of them ends, or else where the first would begin.
};

/// Where and how a walk ended.
struct WalkEnd
{
    bool inStep = true; ///< The whole file was walked.
    std::uint64_t offset = 0;
    std::uint64_t objects = 0; ///< Whose records were read whole.
    std::vector<OpenRecord> open;
};

/// Walks the records of a scene file without making objects, from front to back, and finds what a loader or a viewer
/// would stumble over.
///
/// A walk that meets an error after which records are no longer in step (an unknown class, a cut, nesting too deep)
/// ends there. A file is free of errors exactly when ASceneSerializeContext loads it whole and without messages.
///
/// - Units: memory is some 150 bytes for each object in the file; nothing recurses.
class SceneWalk
{
public:
    /// Throws FileError for a file that cannot be opened.
    SceneWalk(const std::filesystem::path& file, Findings& findings);

    /// \param pastIdentifier goes on behind a wrong identifier, as if only that were damaged.
    WalkEnd Run(bool pastIdentifier = false);

private:
    /// What is remembered of an object whose record was read.
    struct Facts
    {
        const RecordDescription* record = nullptr;
        AMath::AxisAlignedBox box; ///< Of a node in the coordinates of its holder; null where there is none.
        bool faces = false;        ///< Holds something that is drawn as faces.
    };
    /// The objects of one family by their keys. Keys that count from 1, which are most, take neither search nor
    /// balance; no choice of keys makes the others slow.
    class KnownObjects
    {
    public:
        [[nodiscard]] const Facts* Find(std::uint32_t key) const;
        /// Keeps a place for the key of an object that has begun.
        void Begin(std::uint32_t key);
        /// \returns false where the key had an object, which the new one replaces.
        bool Record(std::uint32_t key, const Facts& facts);

    private:
        std::deque<Facts> m_Counted; // by key - 1; without a record while the object is open
        std::map<std::uint32_t, Facts> m_Others;
    };
    struct Frame : OpenRecord
    {
        std::uint32_t key = 0;
        Facts facts;
        AMath::AxisAlignedBox content; ///< Around what was read so far.
        AMath::Matrix4 transform;
        bool faceStyle = false; ///< The node or one that holds it has one.
        std::uint64_t vertices = 0;
        std::uint64_t boxOffset = 0;
    };

    class OutOfStep
    {
    };

    void ReadHeader(bool pastIdentifier);
    void Step();
    void ReadPlain(Frame& frame, const Field& field);
    void BeginReferences(Frame& frame, const Field& field);
    void ReadReference(Family family);
    void TakeReference(const Facts* object);
    void TakeInto(Frame& frame, const Field& field, const Facts* object);
    void Close();
    void CheckContent(Frame& frame);

    void ReadText(const Field& field);
    void ReadVectorTag(const Field& field);
    void ReadFloats(Frame& frame, const Field& field);
    void ReadIndices(Frame& frame, const Field& field);
    void ReadBox(Frame& frame, const Field& field);
    [[nodiscard]] std::uint64_t ReadCount(const Field& field, std::size_t elementSize);
    [[nodiscard]] const RecordDescription* ReadClassName();
    template <class T, std::size_t N>
    void CheckFinite(const std::array<T, N>& numbers, std::uint64_t offset, const Field& field);

    [[nodiscard]] std::uint64_t GetLeft() const noexcept { return m_Size - m_Position; }
    /// The next bytes of the file, which stay until the next call; the walk ends where there are not as many.
    [[nodiscard]] const char* Take(std::size_t count, std::string_view member);
    void FillBlock(std::size_t least);
    template <class T> T Read(std::string_view member)
    {
        T value{};
        std::memcpy(&value, Take(sizeof value, member), sizeof value);
        return value;
    }
    /// Takes `count` elements and calls use(element, index, offset) for each.
    template <class T, class Use> void ReadElements(std::uint64_t count, const Field& field, Use use);

    void Find(FindingCode code, std::string_view member, std::uint64_t offset,
              const std::function<std::string()>& detail);
    [[noreturn]] void Lose(FindingCode code, std::string_view member, std::uint64_t offset,
                           const std::function<std::string()>& detail);
    [[nodiscard]] std::string PathOf(std::string_view member) const;

    std::filesystem::path m_File;
    std::ifstream m_Stream;
    std::uint64_t m_Size = 0;
    std::uint64_t m_Position = 0;
    Findings& m_Findings;
    std::vector<Frame> m_Open;
    std::array<KnownObjects, FamilyCount> m_Known;
    std::vector<char> m_Block;
    std::size_t m_BlockAt = 0;  // of the byte at m_Position
    std::size_t m_BlockEnd = 0; // what was read reaches up to here
    std::u16string m_ClassName;
    std::uint64_t m_Objects = 0;
};
} // namespace Lumvo
