// A host that is built with the leak checker, over libraries that are not. Ends with 0 if
// the checker finds all that hangs on live blocks. With the argument "lose" the host loses
// an object of 100 bytes, which the checker reports.

#include <cstdlib>
#include <cstring>
#include <thread>

#include "U_Alloc.h"
#include "U_Lifecycle.h"

namespace
{
void** sHandle = nullptr;
void* volatile sObject = nullptr; // nobody reads it

// The handle's block holds a pointer, whose block holds an object of the host.
void HoldThroughBlocks()
{
    void* pointer = U_AllocatePtr(0, "Pointer", 5000);
    void* object = std::malloc(100);
    std::memcpy(pointer, &object, sizeof(object));
    sHandle = U_AllocateHandle(0, "Handle", 5000);
    std::memcpy(*sHandle, &pointer, sizeof(pointer));
}
} // namespace

int main(int argumentCount, char** arguments)
{
    if (U_Birth("Leak Host", nullptr) != 0)
        return 1;
    // On a thread that ends, so that no stack of the process holds the addresses.
    std::thread(&HoldThroughBlocks).join();
    if (argumentCount > 1 && std::strcmp(arguments[1], "lose") == 0)
    {
        std::thread([] { sObject = std::malloc(100); }).join();
        sObject = nullptr;
    }
    return 0;
}
