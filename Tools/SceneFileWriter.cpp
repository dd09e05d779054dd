#include <Tools/SceneFileWriter.h>

#include <Tools/FileError.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>

#include <cerrno>
#include <cstdio>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

namespace Lumvo {
namespace {

[[noreturn]] void Fail(const std::filesystem::path& file, const std::error_code& reason)
{
    throw FileError(ExitCannotWrite, file, {}, "cannot be written: " + reason.message(),
                    "Choose a place that exists, that you may write to and that has room.");
}
} // namespace

SceneFileWriter::SceneFileWriter(std::filesystem::path file) : m_File(std::move(file)), m_Target(m_File)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(m_File, error);
    if (std::filesystem::is_directory(status))
        Fail(m_File, std::make_error_code(std::errc::is_a_directory));
    m_Straight = std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
    if (m_Straight) {
        m_Written = m_File;
        return;
    }
    // Through a link, the file that it leads to is replaced, not the link.
    if (std::filesystem::exists(status))
        m_Target = std::filesystem::canonical(m_File, error);
    if (error && error != std::errc::no_such_file_or_directory)
        Fail(m_File, error);
    CreateNextTo();
    if (std::filesystem::exists(status))
        std::filesystem::permissions(m_Written, status.permissions(), error); // kept as well as may be
}

void SceneFileWriter::CreateNextTo()
{
    std::random_device random;
    for (;;) {
        m_Written = m_Target;
        m_Written += "." + std::to_string(random()) + ".tmp";
        // Made here and only here, so that nobody's file, nor a link that somebody left, is written into.
        errno = 0;
        if (std::FILE* const made = std::fopen(m_Written.c_str(), "wbx")) {
            std::fclose(made);
            return;
        }
        if (errno == EEXIST)
            continue;
        m_Written.clear();
        Fail(m_File, {errno, std::generic_category()});
    }
}

SceneFileWriter::~SceneFileWriter()
{
    std::error_code ignored;
    if (!m_Straight && !m_Committed)
        std::filesystem::remove(m_Written, ignored);
}

std::uint64_t SceneFileWriter::Write(const Roots& roots)
{
    try {
        Kelvra::ASceneSerializeContext context(Kelvra::KvText::FromPath(m_Written), true);
        if (!context.Begin())
            Fail(m_File, context.GetError());
        for (const std::shared_ptr<Kelvra::ASceneNode>& root : roots)
            context.Collector().WritePtr(root, context);
        const std::uint64_t size = context.GetPosition();
        context.End();
        return size;
    } catch (const std::system_error& error) {
        Fail(m_File, error.code());
    } catch (const std::length_error& error) {
        throw FileError(ExitCannotWrite, m_File, {}, error.what(), "Divide the scene into smaller pieces.");
    }
}

void SceneFileWriter::Commit()
{
    if (m_Straight)
        return;
    std::error_code error;
    std::filesystem::rename(m_Written, m_Target, error);
    if (error)
        Fail(m_File, error);
    m_Committed = true;
}
} // namespace Lumvo
