// Memory of the checked heap in pages of its own. An access outside of a block cannot damage the
// C library's records of a page here, since there are none.

#ifndef TOLV_OWN_PAGES_H
#define TOLV_OWN_PAGES_H

#include <cstddef>

namespace tolv
{
// Returns new pages of zeros, null without memory.
void* NewPages(std::size_t bytes);
void FreePages(void* pages);

// Returns zeroed memory that is never freed and is aligned to 16. Null without memory. `bytes` is
// at most 64 KiB. Takes no lock unless the pages are used up.
void* NewForever(std::size_t bytes);
} // namespace tolv

#endif
