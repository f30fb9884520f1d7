// A host with a memory log, in the root folder or in the folder that it is given: prints the
// status of the birth, the path of the log and the error. A debugger stops in Stop.

#include <cstdio>
#include <string>

#include <U_MemServices.h>
#include <platform/control.h>

#include <u/cpp/life.h>
#include <u/cpp/text.h>

void Stop() {}

int main(int count, char** arguments)
{
    platform::SetDebugSetting("MemoryYoYoLog", "true");
    if (count == 2)
        platform::SetDebugSetting("MemoryYoYoLogFolder", arguments[1]);
    U::cpp::Life life("Debug Host");
    const U_UTF16String title = U::cpp::ToUTF16("Gr\u00FC\u00DFe");
    Stop();
    const std::string path = U_GetMemoryLogPath(nullptr);
    std::printf("%d %s %s\n", life.Status(), path.c_str(), life.Error().message().c_str());
    return title.empty() ? 1 : life.End();
}
