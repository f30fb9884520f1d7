// Output files on a disk that becomes full.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "messages.h"
#include "system.h"

long long SystemWrite(int descriptor, const void* bytes, std::size_t size); // the tool's Write

namespace
{
namespace fs = std::filesystem;

std::size_t sRoom = 0; // bytes on the disk
} // namespace

// In place of the tool's Write.
long long Write(int descriptor, const void* bytes, std::size_t size)
{
    if (!sRoom)
    {
        errno = ENOSPC;
        return -1;
    }
    const long long written = SystemWrite(descriptor, bytes, std::min(size, sRoom));
    sRoom -= static_cast<std::size_t>(std::max(written, 0LL));
    return written;
}

namespace
{
// Returns the contents of the files in the folder by their names.
std::map<std::string, std::string> FilesIn(const fs::path& folder)
{
    std::map<std::string, std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder))
    {
        std::ifstream file(entry.path(), std::ios::binary);
        files[entry.path().filename().string()] =
            std::string(std::istreambuf_iterator<char>(file), {});
    }
    return files;
}

TEST(NewFile, AFullDiskLeavesTheOldFileAndNoOther)
{
    const fs::path folder = fs::path(testing::TempDir()) / "zdict_new_file_test";
    const std::string name = (folder / "name").string();
    const std::string kNew = "new text";
    std::map<std::string, std::string> files; // at first none
    for (const char* const old : {"", "old"})
    {
        fs::remove_all(folder);
        ASSERT_TRUE(fs::create_directory(folder));
        if (*old)
        {
            files["name"] = old;
            std::ofstream(name) << old;
        }
        for (const std::size_t room : {std::size_t(0), std::size_t(1), kNew.size() - 1})
        {
            sRoom = room;
            try
            {
                WriteNamed(name, kNew, Content::kBinary);
                ADD_FAILURE() << "no failure with " << room;
            }
            catch (const Failure& failure)
            {
                EXPECT_EQ(failure.mWhat, std::string("can't be written: ") + std::strerror(ENOSPC));
            }
            EXPECT_EQ(FilesIn(folder), files) << room;
        }
        sRoom = kNew.size();
        WriteNamed(name, kNew, Content::kBinary);
        EXPECT_EQ(FilesIn(folder), (std::map<std::string, std::string>{{"name", kNew}}));
    }
    fs::remove_all(folder);
}
} // namespace
