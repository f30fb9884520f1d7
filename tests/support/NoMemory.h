// A process that has no memory left.

#ifndef TESTS_SUPPORT_NOMEMORY_H
#define TESTS_SUPPORT_NOMEMORY_H

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SKIP_UNDER_SANITIZERS() GTEST_SKIP() << "a sanitizer's operator new calls no new handler"
#else
#define SKIP_UNDER_SANITIZERS() ((void)0)
#endif

// Returns false under a sanitizer, which reserves memory of its own, and under Wine unless the
// starter of the process has limited the address space.
bool MemoryCanBeLimited();

#define SKIP_UNLESS_MEMORY_CAN_BE_LIMITED()                                                        \
    if (MemoryCanBeLimited())                                                                      \
        ;                                                                                          \
    else                                                                                           \
        GTEST_SKIP() << "the memory of the process can't be limited"

// Limits the address space of the process to the present size and `room` bytes, until the scope
// ends.
class ScAddressSpaceLimit
{
public:
    explicit ScAddressSpaceLimit(unsigned long long room);
    ~ScAddressSpaceLimit();
    ScAddressSpaceLimit(const ScAddressSpaceLimit&) = delete;
    ScAddressSpaceLimit& operator=(const ScAddressSpaceLimit&) = delete;

private:
    unsigned long long mBefore; // the state of an outer limit
};

// Allocates all memory that the process can have, until the scope ends. For the child process of
// a death test.
class ScNoMemory
{
public:
    ScNoMemory();
    ~ScNoMemory();
    ScNoMemory(const ScNoMemory&) = delete;
    ScNoMemory& operator=(const ScNoMemory&) = delete;

private:
    struct Block
    {
        Block* next;
    };
    const ScAddressSpaceLimit mLimit;
    Block* mBlocks = nullptr;
};

#endif
