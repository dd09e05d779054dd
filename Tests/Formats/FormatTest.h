#pragma once

#include <Formats/Support/ExportService.h>
#include <Formats/Support/FormatListener.h>
#include <Tests/Support/SceneFileTest.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// A test of the module that is given by FORMAT_MODULE, with a folder of its own; it hears what readers and writers
/// tell.
class FormatTest : public SceneFileTest, private Formats::FormatListener
{
public:
    /// Loads the module, once per process.
    explicit FormatTest(const char* module);

    void PutText(const std::string& name, std::string_view text) const;
    [[nodiscard]] std::string GetText(const std::string& name) const;

    /// What the service registered under `service` makes of a file in the folder.
    [[nodiscard]] std::shared_ptr<Kelvra::ASceneNode> LoadScene(const std::wstring& service, const std::string& name);
    [[nodiscard]] std::shared_ptr<Kelvra::AEntity> LoadMesh(const std::wstring& service, const std::string& name);
    /// Writes a scene into the folder; throws what the writer throws.
    void Export(const std::wstring& service, const Formats::Roots& roots, const std::string& name);

    /// What was told since the last call: errors as "PLACE: PROBLEM", losses as "COUNT x WHAT".
    [[nodiscard]] std::vector<std::string> TakeErrors() { return std::exchange(m_Errors, {}); }
    [[nodiscard]] std::vector<std::string> TakeLosses() { return std::exchange(m_Losses, {}); }
    /// Images are kept under this name followed by theirs; none are while it is empty.
    void KeepImagesUnder(const std::wstring& prefix) { m_ImagePrefix = prefix; }
    [[nodiscard]] const std::map<std::wstring, std::string>& GetImages() const noexcept { return m_Images; }

private:
    void OnError(const std::filesystem::path& file, const Formats::FormatError& error) override;
    void OnLoss(const std::filesystem::path& file, const std::string& what, std::uint64_t count) override;
    void OnProgress(const std::filesystem::path& file, std::uint64_t done, std::uint64_t total) override;
    std::wstring OnImage(const std::filesystem::path& file, const std::wstring& name, std::string_view bytes) override;

    std::vector<std::string> m_Errors;
    std::vector<std::string> m_Losses;
    std::wstring m_ImagePrefix;
    std::map<std::wstring, std::string> m_Images;
    std::uint64_t m_Done = 0;
    Formats::FormatListenerScope m_Scope;
};
