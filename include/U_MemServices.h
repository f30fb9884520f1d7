// Services around the budget: objects in the library's heap, memory that the host holds
// elsewhere, and figures of the system.
//
//     struct Layer : U_MemTrackedObject { int mWidth = 0; };
//     krobase::utility::Guid id;
//     id.mBytes[0] = 1;
//     U_InstallExternalMemoryManager(id, [] { return size_t(100); }); // bytes held elsewhere
//     delete new (1, "Layer") Layer;
//     U_UnInstallExternalMemoryManager(id);
//
// Sizes are in bytes.
//
// Thread safety: all functions may be called on any thread.

#ifndef U_MEMSERVICES_H
#define U_MEMSERVICES_H

#include <cstddef>
#include <string>

#include <boost/function.hpp>

#include <krobase/guid.h>

#include "U_Types.h"

// A base class without data. Objects of a derived class live in the library's heap and count
// under the budget of U_Budget.h.
class U_EXPORT U_MemTrackedObject
{
public:
    // An object holds no data, so a copy copies nothing.
    U_MemTrackedObject() = default;
    U_MemTrackedObject(const U_MemTrackedObject&) = default;
    U_MemTrackedObject& operator=(const U_MemTrackedObject&);

    // Allocate as U_AllocatePtr does, without a name under the opName "U_MemTrackedObject".
    // Blocks are aligned to 16 bytes, whatever the alignment of the type.
    //
    // Throw: std::bad_alloc without memory, after the report that U_Alloc.h describes. A null
    // `opName` means that the failure is not reported to the user.
    static void* operator new(std::size_t size);
    static void* operator new[](std::size_t size);
    static void* operator new(std::size_t size, U_u32 location, const char* opName);
    static void* operator new[](std::size_t size, U_u32 location, const char* opName);

    // Free an object or an array. Null does nothing.
    static void operator delete(void* object) noexcept;
    static void operator delete[](void* objects) noexcept;
    static void operator delete(void* object, U_u32 location, const char* opName) noexcept;
    static void operator delete[](void* objects, U_u32 location, const char* opName) noexcept;

    // Construction in place.
    static void* operator new(std::size_t size, void* place) noexcept;
    static void operator delete(void* object, void* place) noexcept;

    // Allocates a block for another purpose, zeroed if `clear` is true. TrackedDelete frees the
    // block. Throws: as the operators.
    static void* TrackedNew(std::size_t size, bool clear);
    static void TrackedDelete(void* block) noexcept;
};

// An external manager is a part of the host that holds memory which the library does not
// allocate. The function of the manager returns the bytes that the manager holds. Every
// measurement calls the function and counts the bytes as use.
//
// Rules for the function:
// - The function runs on every thread that measures use. Several threads may call one function
//   object at once. The object keeps its state from one measurement to the next.
// - The library holds no lock during the call, except the lock of the hogs while a hog is
//   registered.
// - The function may install and uninstall managers.
// - The function throws nothing, and allocates nothing that is measured in turn: an allocation
//   may be the caller of the measurement, also when there is no memory.
// - The function object is not empty. An empty one makes every measurement throw
//   boost::bad_function_call.
//
// A measurement calls the functions that are installed when the measurement begins. So a
// function that is uninstalled meanwhile may be called once more. The function object is
// destroyed by the uninstallation, or by the last measurement that still calls the function, on
// the thread of that measurement. Managers stay installed until they are uninstalled, also after
// the library's death.

// Adds a manager with a copy of the function. A manager that is installed already under `id`
// keeps its own function.
//
// Throws: std::bad_alloc, or an exception of the copy; then no manager is added.
U_EXPORT void U_InstallExternalMemoryManager(const krobase::utility::Guid& id,
                                             const boost::function<size_t()>& size);

// Removes a manager. An unknown `id` does nothing. Never fails and reports nothing.
//
// Failures: without memory the function is not called any more, but is destroyed only by the
// next change of the managers that has memory.
U_EXPORT void U_UnInstallExternalMemoryManager(const krobase::utility::Guid& id);

// Returns the sum of the bytes that all managers hold now. Calls their functions in the order
// of the identifiers. Allocates nothing.
U_EXPORT size_t U_GetSizeOfExternalMemoryManagers();

// The figures of the memory log. Counts start with the process or with the machine. A figure
// that the system does not have is 0.
struct U_MemoryStats
{
    U_u64 mFaults;   // page faults of the process
    U_u64 mPageins;  // always 0
    U_u64 mResident; // bytes of the process in physical memory
    U_u64 mVirtual;  // private bytes of the process, in physical memory or in the page file
    U_u64 mCalcMem;  // the tracked use
    U_u64 mCalcU;    // use as the budget measures it, with the pool and the external managers
    U_u64 mCalc;     // set by the memory log
    U_u64 mSlop;     // bytes resident beyond the tracked use at the last comparison

    // The figures of the machine, which are always 0: bytes of free, active, inactive and wired
    // memory, and counts of faults and of pages read and written.
    U_u64 mGlobFree;
    U_u64 mGlobActive;
    U_u64 mGlobInactive;
    U_u64 mGlobWired;
    U_u64 mGlobFaults;
    U_u64 mGlobPageins;
    U_u64 mGlobPageouts;
};

// Stores the figures.
//
// Returns: 0; 1 if the system has no figures, and then the library's own figures are stored;
// or 3 for a null record.
U_EXPORT int U_GetSystemMemoryStats(U_MemoryStats* stats);

// Returns the path of the memory log, which the latest birth with the debug setting "MemoryYoYoLog"
// has started; empty if there was none. Stores in `openError`, unless it is null, 0 or the errno
// with which the file could not be opened. U_Birth returned that code. The path is in the system's
// narrow encoding, for std::fopen.
//
//     std::string path = U_GetMemoryLogPath(&error);
//     if (status != 0 && status == error) // the status of U_Birth
//         std::fprintf(stderr, "%s: %s\n", path.c_str(), std::strerror(error));
//
// May be called before birth and after death. No other thread is in U_Birth.
//
// Throws: std::bad_alloc.
U_EXPORT std::string U_GetMemoryLogPath(int* openError);

// U_MEM_Report logs the live blocks and bytes of the library's heap and their change since the
// baseline; `value` appears in the line. U_MEM_SetBaseline sets the baseline to the present
// figures. Before birth both do nothing.
//
// Return: 0.
U_EXPORT int U_MEM_Report(int value);
U_EXPORT int U_MEM_SetBaseline();

#endif
