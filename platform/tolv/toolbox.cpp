#include "toolbox.h"

#include <cstdlib>
#include <new>

#include <platform/base/quiet_new.h>
#include <platform/base/thread_local.h>

#include "private/checked_blocks.h"

namespace
{
const short kResourceNotFound = -192;
const short kAddResourceFailed = -194;

PLATFORM_THREAD_LOCAL(short, tResourceError);

// A handle is the address of its master's first member.
struct Master
{
    void* mBlock;
    int mSize;
    bool mIsResource;
};

Master* MasterOf(void** handle)
{
    return reinterpret_cast<Master*>(handle);
}
} // namespace

void** NewHandle(int size)
{
    if (size < 0)
        return nullptr;
    const platform::ScQuietNew quiet; // the null reports the failure
    void* block = std::malloc(size ? static_cast<std::size_t>(size) : 1);
    Master* master = block ? new (std::nothrow) Master{block, size, false} : nullptr;
    if (!master)
    {
        std::free(block);
        return nullptr;
    }
    return &master->mBlock;
}

int GetHandleSize(void** handle)
{
    return handle && !tolv::ReportIfOfHeap(handle) ? MasterOf(handle)->mSize : 0;
}

void DisposeHandle(void** handle)
{
    if (!handle || tolv::ReportIfOfHeap(handle))
        return;
    std::free(*handle);
    delete MasterOf(handle);
}

void AddResource(void** handle)
{
    const bool fits = handle && !tolv::ReportIfOfHeap(handle) && !MasterOf(handle)->mIsResource;
    tResourceError = fits ? 0 : kAddResourceFailed;
    if (fits)
        MasterOf(handle)->mIsResource = true;
}

void DetachResource(void** resource)
{
    const bool isResource =
        resource && !tolv::ReportIfOfHeap(resource) && MasterOf(resource)->mIsResource;
    tResourceError = isResource ? 0 : kResourceNotFound;
    if (isResource)
        MasterOf(resource)->mIsResource = false;
}

short ResError()
{
    return tResourceError;
}
