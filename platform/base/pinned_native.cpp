// Keeps the DLL that holds this file loaded until the process ends: threads that end call into
// the DLL.

#include <win32/native/windows_api.h>

namespace
{
bool Pin()
{
    HMODULE module = nullptr;
    return ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN |
                                    GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                                reinterpret_cast<const wchar_t*>(&Pin), &module) != 0;
}

[[maybe_unused]] const bool sIsPinned = Pin();
} // namespace
