#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

namespace Kelvra {

/// Reads an XML document, element by element, from a string, a stream or a file.
///
/// A document that cannot be read whole is not read at all: the stream stays empty, every Push returns
/// false, and objects read from it stay as they were. GetError() says what was wrong and where.
///
/// - Text: the document's encoding is taken from its byte-order mark or declaration, UTF-8 by default. Text
///   is kept to the letter: white space, line breaks and the order of text around comments.
/// - Ownership: owns its document; can be neither copied nor moved.
/// - Errors: none thrown of its own.
class KELVRADATA_API AIStreamXML
{
public:
    AIStreamXML();
    ~AIStreamXML();
    AIStreamXML(const AIStreamXML&) = delete;
    AIStreamXML& operator=(const AIStreamXML&) = delete;

    /// Reads a document from memory, replacing the one held; back at its top.
    /// \returns false when it is not well formed or larger than 256 MiB; what the parser can read all the same, such
    ///          as an unknown entity or an attribute given twice, is let pass.
    [[nodiscard]] bool LoadString(std::string_view document);
    /// Reads a document from the rest of a stream, as LoadString does; of one that is too large no more is read.
    [[nodiscard]] bool Load(std::istream& stream);
    /// Reads a document from a file, as LoadString does; false also when the file cannot be read.
    [[nodiscard]] bool Load(const std::wstring& fileName);
    /// What the last load met, empty after one that succeeded: the file's name if there is one, line and
    /// column of the error (from 1, columns in bytes), its offset in bytes (from 0), and what is wrong; without
    /// the place where the document is not in UTF-8.
    [[nodiscard]] const std::string& GetError() const noexcept;

    /// Enters the child element of that name. Of several, it enters the one after the last that was used, and after
    /// the last of all the first again, so that objects of one class are read in their order. An element is used when
    /// its text, an attribute or a child is asked for between its Push and its Pop: a Push and a Pop alone ask
    /// whether there is such an element, and the next Push enters the same one.
    /// \returns false when there is none. Every Push is matched by a Pop, whatever it returned.
    bool Push(const std::wstring& name);
    /// Gives the text of the open element. Without an open element `text` keeps its value.
    void NodeValue(std::wstring& text) const;
    /// Gives an attribute of the open element. Where it has none, `value` keeps its value.
    void Attribute(const std::wstring& name, std::wstring& value) const;
    /// Leaves the open element.
    void Pop();

private:
    struct Document;
    std::unique_ptr<Document> m_Document;
};
} // namespace Kelvra
