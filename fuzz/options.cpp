// Options of the address sanitizer for speed. Freed blocks go to a small quarantine, which stays
// in the cache, and no stacks of allocations are kept. To see the stacks of a finding, run the
// program on the input with ASAN_OPTIONS=malloc_context_size=30.

extern "C" const char* __asan_default_options()
{
    return "malloc_context_size=0:max_malloc_fill_size=64:"
           "quarantine_size_mb=2:thread_local_quarantine_size_kb=64:"
           "allocator_may_return_null=1:max_allocation_size_mb=256";
}
