// A small host: shows a text of the dictionary it is given, from a block of the
// library.

#include <cstdio>
#include <vector>

#include <U_Alloc.h>
#include <U_Lifecycle.h>
#include <U_Threads.h>
#include <U_ZString.h>

int main(int count, char** arguments)
{
    if (count != 2 || U_Birth("Package Host", nullptr) != 0)
        return 2;
    std::FILE* const file = std::fopen(arguments[1], "rb");
    if (!file)
        return 3;
    std::vector<U_u16> image(1 << 16);
    const size_t size = std::fread(image.data(), 1, image.size() * sizeof(U_u16), file);
    std::fclose(file);
    if (U_ZStringSetCurrentDictionary(image.data(), size) != 0)
        return 4;
    void** const text = U_AllocateHandleClear(1, "text", 100);
    U_ZStringToCStr("$$$/Host/Greeting=Good morning", 100, static_cast<char*>(*text));
    std::puts(static_cast<char*>(*text));
    U_FreeHandle(text);
    const int status = U_Death();
    U_DeregisterMainThread();
    return status;
}
