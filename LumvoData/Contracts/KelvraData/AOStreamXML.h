#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <iosfwd>
#include <memory>
#include <string>

namespace Kelvra {

/// Writes an XML document, element by element, and hands it out as a string, to a stream or into a file.
///
/// - Text: written in UTF-8 with `<`, `&` and what else needs it escaped, so that AIStreamXML gives it back
///   to the letter (other readers may turn a carriage return into a line feed). What has no XML form becomes
///   U+FFFD: control characters, surrogates without their partner, U+FFFE and U+FFFF.
/// - A document has one element at its top; objects that are to follow each other go into one that encloses them.
/// - Ownership: owns its document; can be neither copied nor moved.
/// - Errors: Save throws `std::system_error` with the file's name and the system's reason.
class KELVRADATA_API AOStreamXML
{
public:
    AOStreamXML();
    ~AOStreamXML();
    AOStreamXML(const AOStreamXML&) = delete;
    AOStreamXML& operator=(const AOStreamXML&) = delete;

    /// Opens a child element of the open one, at first of the document itself.
    /// \returns false, with nothing written, when `name` is not an XML name or the enclosing Push failed.
    ///          Every Push is matched by a Pop, whatever it returned.
    bool Push(const std::wstring& name);
    /// Sets the text of the open element.
    void NodeValue(const std::wstring& text);
    /// Sets an attribute of the open element.
    void Attribute(const std::wstring& name, const std::wstring& value);
    /// Closes the open element.
    void Pop();

    /// The document in UTF-8, with its declaration, one element a line.
    [[nodiscard]] std::string ToString() const;
    /// Writes what ToString gives. A failure shows in the state of `stream`.
    void Save(std::ostream& stream) const;
    /// Writes what ToString gives into a file, replacing what was there.
    void Save(const std::wstring& fileName) const;

private:
    struct Document;
    std::unique_ptr<Document> m_Document;
};
} // namespace Kelvra
