// A host with one fault in a block of the library: fault_host KIND FAULT. KIND is an index of
// kBlockKinds. FirstOwner allocates and frees a block of the same size before, so that the block of
// SecondOwner could be a reused block. Ends with 0 if nothing stops the host.

#include <cstddef>
#include <cstdlib>
#include <string>

#include "U_Lifecycle.h"
#include "tests/support/BlockKinds.h"

namespace
{
const std::size_t kSize = 1000;

__attribute__((noinline)) void FirstOwner(const BlockKind& kind)
{
    kind.mFree(kind.mAllocate(kSize).mOwner);
}

__attribute__((noinline)) Block SecondOwner(const BlockKind& kind)
{
    return kind.mAllocate(kSize);
}

__attribute__((noinline)) void Liberator(const BlockKind& kind, const Block& block)
{
    kind.mFree(block.mOwner);
}

__attribute__((noinline)) void Culprit(char* byte)
{
    *static_cast<volatile char*>(byte) = 1;
}
} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 3 || U_Birth("Fault Host", nullptr) != 0)
        return 1;
    U_RegisterHog("hog", &sBlockHog);
    const BlockKind& kind = kBlockKinds[std::atoi(arguments[1])];
    const std::string fault = arguments[2];
    FirstOwner(kind);
    const Block block = SecondOwner(kind);
    Culprit(block.mBytes);
    Culprit(block.mBytes + kSize - 1);
    if (fault == "overrun")
        Culprit(block.mBytes + kSize);
    if (fault == "underrun")
        Culprit(block.mBytes - 1);
    Liberator(kind, block);
    if (fault == "use_after_free")
        Culprit(block.mBytes + 1);
    if (fault == "second_free")
        Liberator(kind, block);
    return U_Death();
}
