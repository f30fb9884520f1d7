// The small host with the C++ conveniences: shows a text of the dictionary it is given.

#include <cstdio>
#include <filesystem>

#include <u/cpp/life.h>
#include <u/cpp/owners.h>
#include <u/cpp/text.h>

int main(int count, char** arguments)
{
    U::cpp::Life life("Package Host");
    if (!life || count != 2)
        return 2;
    U::cpp::LoadDictionary(std::filesystem::path(arguments[1]));
    {
        const U::cpp::Pointer text = U::cpp::Pointer::AllocateClear(1, "text", 100);
        U_ZStringToCStr("$$$/Host/Greeting=Good morning", 100, text.As<char>());
        std::puts(text.As<char>());
    }
    return life.End();
}
