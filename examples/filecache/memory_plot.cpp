#include "memory_plot.h"

#include <filesystem>
#include <random>
#include <system_error>

#include <U_MemServices.h>
#include <platform/control.h>

#include "program/folders.h"
#include "system.h"

namespace fs = std::filesystem;

namespace
{
// Returns the new folder's path, or the empty text with the error.
std::string MakeFolder(std::error_code& error)
{
    const fs::path parent = fs::temp_directory_path(error);
    if (error)
        return std::string();
    const fs::path folder = parent / ("filecache." + std::to_string(std::random_device()()));
    if (fs::create_directory(folder, error))
        return folder.string();
    if (!error) // another process has made the folder
        error = std::make_error_code(std::errc::file_exists);
    return std::string();
}
} // namespace

MemoryPlot::~MemoryPlot()
{
    std::error_code ignored; // the folder is one for temporary files
    if (!mFolder.empty())
        fs::remove_all(mFolder, ignored);
}

Message MemoryPlot::Start(const std::string& file, unsigned int interval)
{
    const char* const kNoProgram =
        "$$$/QX/FileCache/Error/NoPlotProgram=can't find ^^1, which draws the memory log";
    std::error_code error;
    const fs::path own = ProgramFile(error);
    mProgram = (own.parent_path() / "memlog").string();
    if (error || TypeOf(mProgram, error) != fs::file_type::regular)
        return {kNoProgram, {mProgram}};
    mFolder = MakeFolder(error);
    if (mFolder.empty())
        return {"$$$/QX/FileCache/Error/NoPlotFolder=can't make a folder for the memory log: ^^1",
                {error.message()}};
    mFile = file;
    AskForMemoryLog(interval, mFolder);
    return Message();
}

Message MemoryPlot::Draw()
{
    if (mFile.empty())
        return Message();
    std::error_code error;
    if (RunProgram({mProgram, "--output=" + mFile, U_GetMemoryLogPath(nullptr)}, error))
        return Message();
    if (!error) // memlog has written the reason
        return {"$$$/QX/FileCache/Error/NoPicture=can't draw the memory log to ^^1", {mFile}};
    return {"$$$/QX/FileCache/Error/NoPlot=can't draw the memory log to ^^1: ^^2",
            {mFile, error.message()}};
}

void AskForMemoryLog(unsigned int interval, const std::string& folder)
{
    platform::SetDebugSetting("MemoryYoYoLog", "true");
    platform::SetDebugSetting("MemoryYoYoLogInterval", std::to_string(interval).c_str());
    platform::SetDebugSetting("MemoryYoYoLogPurges", "true");
    platform::SetDebugSetting("MemoryYoYoLogFolder", folder.c_str());
}

bool HasPlotEnding(const std::string& path)
{
    for (const std::string ending : {".png", ".svg", ".html"})
    {
        if (path.size() >= ending.size() &&
            path.compare(path.size() - ending.size(), ending.size(), ending) == 0)
            return true;
    }
    return false;
}
