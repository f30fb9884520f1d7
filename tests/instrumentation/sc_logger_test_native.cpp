#include <fstream>
#include <string>

#include <win32/native/windows_api.h>

#include "tests/instrumentation/ScLoggerTest.h"
#include "tests/support/System.h"

namespace
{
// Returns the owner and the rights of a file in the system's notation.
std::string Rights(const std::string& path)
{
    const SECURITY_INFORMATION parts = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    char room[1024];
    DWORD size = 0;
    char* text = nullptr;
    if (!::GetFileSecurityA(path.c_str(), parts, room, sizeof(room), &size) ||
        !::ConvertSecurityDescriptorToStringSecurityDescriptorA(room, SDDL_REVISION_1, parts, &text,
                                                                nullptr))
        return "";
    const std::string rights = text;
    ::LocalFree(text);
    return rights;
}
} // namespace

TEST_F(ScLogger, TheFileIsTheOwnersAloneAndLinesEndAsOnTheSystem)
{
    {
        const U_ScGlobalLogger logger(mPath.c_str());
    }
    std::ifstream file(mPath, std::ios::binary);
    std::string line;
    ASSERT_TRUE(std::getline(file, line));
    EXPECT_EQ(line.back(), '\r');
    // Under Wine the system's own account has rights, too, and no right is marked as protected.
    const std::string rights = Rights(mPath);
    const std::string owner = rights.substr(2, rights.find("D:") - 2);
    EXPECT_EQ(rights,
              "O:" + owner + (IsWine() ? "D:(A;;FA;;;SY)" : "D:P") + "(A;;FA;;;" + owner + ")");
}
