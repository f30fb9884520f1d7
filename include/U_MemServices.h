// Smaller services around the budget: objects that live in the library's heap,
// memory that the host holds elsewhere, and the system's figures. Sizes are in
// bytes. All operations may be called on any thread.

#ifndef U_MEMSERVICES_H
#define U_MEMSERVICES_H

#include <cstddef>

#include <boost/function.hpp>

#include <krobase/guid.h>

#include "U_Types.h"

// Gives the classes that derive from it allocation under the budget of
// U_Budget.h. It holds nothing itself.
class U_EXPORT U_MemTrackedObject
{
public:
    U_MemTrackedObject() = default;
    U_MemTrackedObject(const U_MemTrackedObject&) = default;
    U_MemTrackedObject& operator=(const U_MemTrackedObject&);

    // Throw std::bad_alloc if the memory can't be had, which is reported under the
    // opName as U_Alloc.h tells; without one under the name "U_MemTrackedObject". A null
    // opName keeps the user out of it. Blocks are aligned to 16 bytes, whatever the type.
    static void* operator new(std::size_t size);
    static void* operator new[](std::size_t size);
    static void* operator new(std::size_t size, U_u32 location, const char* opName);
    static void* operator new[](std::size_t size, U_u32 location, const char* opName);

    static void operator delete(void* object) noexcept;
    static void operator delete[](void* objects) noexcept;
    static void operator delete(void* object, U_u32 location, const char* opName) noexcept;
    static void operator delete[](void* objects, U_u32 location, const char* opName) noexcept;

    // Construction in place.
    static void* operator new(std::size_t size, void* place) noexcept;
    static void operator delete(void* object, void* place) noexcept;

    // A block for other purposes, zeroed if clear, to be given back with
    // TrackedDelete. Throws as the operators do.
    static void* TrackedNew(std::size_t size, bool clear);
    static void TrackedDelete(void* block) noexcept;
};

// An external manager is a piece of the host that holds memory which the library does not
// allocate. Its function returns the bytes that it holds, which count as use.
//
// The function runs on any thread that measures use. The library holds no lock then but,
// while a hog is registered, that of the hogs. One object may be called by several threads
// at once, and keeps its state from one measurement to the next. The function may install
// and uninstall managers. An allocation may be what measures, also when memory is out: the
// function throws nothing and allocates nothing that is measured in turn. An empty function
// makes every measurement throw boost::bad_function_call.
//
// A measurement calls the functions that are installed when it begins, so a function that is
// uninstalled meanwhile may be called once more. A function is destroyed with the last
// measurement that calls it, on that measurement's thread. Managers stay until they are
// uninstalled, also over the library's death.

// Adds a manager, with a copy of the function. A manager that is already there under the id
// keeps its own function. Throws std::bad_alloc, or what the copy throws, and then adds
// nothing.
U_EXPORT void U_InstallExternalMemoryManager(const krobase::utility::Guid& id,
                                             const boost::function<size_t()>& size);

// Removes a manager; an unknown id does nothing. Never fails and reports nothing. If
// memory is missing, the function is not called any more, and the next change of the
// managers that finds memory destroys the function.
U_EXPORT void U_UnInstallExternalMemoryManager(const krobase::utility::Guid& id);

// Returns the sum of all managers' bytes now. Calls their functions in the order of the ids.
// Needs no memory.
U_EXPORT size_t U_GetSizeOfExternalMemoryManagers();

// The figures of the memory log. Counts are since
// the process or the machine began; what the system doesn't tell is 0.
struct U_MemoryStats
{
    U_u64 mFaults;
    U_u64 mPageins;
    U_u64 mResident;
    U_u64 mVirtual;
    U_u64 mCalcMem; // tracked use of the heaps
    U_u64 mCalcU;   // use as the budget sees it, managers included
    U_u64 mCalc;    // for the memory log to fill in
    U_u64 mSlop;    // resident beyond the tracked use, at the last comparison
    U_u64 mGlobFree;
    U_u64 mGlobActive;
    U_u64 mGlobInactive;
    U_u64 mGlobWired;
    U_u64 mGlobFaults;
    U_u64 mGlobPageins;
    U_u64 mGlobPageouts;
};

// Fills in the record. Returns 0, 1 if the system's figures couldn't be had,
// with the other ones in place, or 3 for a null record.
U_EXPORT int U_GetSystemMemoryStats(U_MemoryStats* stats);

// Logs what the library's heap holds, and how that has changed since the
// baseline; value shows in the line. Return 0; before birth they do nothing.
U_EXPORT int U_MEM_Report(int value);
U_EXPORT int U_MEM_SetBaseline();

#endif
