// The switch of the names of machine and user, and the processor, on every system.

#include "machine.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <optional>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

#include <platform/base/code_units.h>
#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>
#include <win32/machine.h>
#include <win32/text.h>

#include "switches.h"

namespace win32
{
namespace
{
typedef std::basic_string<unsigned short> Name;
typedef std::optional<std::string> NameOverride;

std::atomic<bool> sVectorsAreOff(false);

const unsigned int kLongestMachineName = 31; // units

// Never destroyed: threads may still call while the process exits.
platform::Mutex sLock;
NameOverride& sMachine PLATFORM_GUARDED_BY(sLock) = *new NameOverride();
NameOverride& sUser PLATFORM_GUARDED_BY(sLock) = *new NameOverride();

NameOverride Replacement(NameKind kind)
{
    const platform::ScLock lock(sLock);
    return kind == kMachineName ? sMachine : sUser;
}

Name FromUTF8(const std::string& bytes)
{
    Name name(bytes.size(), 0); // no more units than bytes
    const int length = bytes.empty() ? 0
                                     : MultiByteToWideChar(kCodePageUTF8, 0, bytes.data(),
                                                           static_cast<int>(bytes.size()), &name[0],
                                                           static_cast<int>(name.size()));
    name.resize(static_cast<std::size_t>(length));
    return name;
}

// Cuts a name to the longest machine name without splitting a surrogate pair.
void CutLabel(Name& label)
{
    if (label.size() <= kLongestMachineName)
        return;
    const bool endsInside = platform::IsHighSurrogate(label[kLongestMachineName - 1]);
    label.resize(kLongestMachineName - (endsInside ? 1 : 0));
}

// Fails with `tooSmall` if the name and its terminator don't fit.
int Store(const Name& found, unsigned int tooSmall, bool countsTerminator, unsigned short* name,
          unsigned int* size)
{
    if (found.empty())
        return Fail(kErrorNotFound);
    const unsigned int length = static_cast<unsigned int>(found.size());
    if (!name || *size < length + 1)
    {
        *size = length + 1;
        return Fail(tooSmall);
    }
    std::copy_n(found.c_str(), length + 1, name);
    *size = countsTerminator ? length + 1 : length;
    return 1;
}
} // namespace

int StoreName(NameKind kind, const std::string& found, unsigned short* name, unsigned int* size)
{
    if (kind == kUserName)
        return Store(FromUTF8(found), kErrorInsufficientBuffer, true, name, size);
    Name label = FromUTF8(found.substr(0, found.find('.')));
    CutLabel(label);
    return Store(label, kErrorBufferOverflow, false, name, size);
}

int GetName(NameKind kind, int (*system)(unsigned short* name, unsigned int* size),
            unsigned short* name, unsigned int* size)
{
    if (!size)
        return Fail(kErrorInvalidParameter);
    try
    {
        const NameOverride replacement = Replacement(kind);
        return replacement ? StoreName(kind, *replacement, name, size) : system(name, size);
    }
    catch (const std::bad_alloc&)
    {
        return Fail(kErrorNotEnoughMemory);
    }
}

int StoreHostName(const char* whole, char* name, int size)
{
    if (!whole || !name || size <= 0)
        return -1;
    const std::size_t room = static_cast<std::size_t>(size) - 1;
    const std::size_t length = std::strlen(whole);
    const std::size_t copied = std::min(length, room);
    std::memcpy(name, whole, copied);
    name[copied] = 0;
    return length <= room ? 0 : -1;
}

void SetNames(const char* machine, const char* user)
{
    const auto nameOrNone = [](const char* name) {
        return name ? NameOverride(name) : NameOverride();
    };
    NameOverride newMachine = nameOrNone(machine);
    NameOverride newUser = nameOrNone(user);
    const platform::ScLock lock(sLock);
    sMachine.swap(newMachine);
    sUser.swap(newUser);
}

int IsProcessorFeaturePresent(unsigned int feature)
{
#if defined(__x86_64__)
    return feature == kAVX2InstructionsAvailable && __builtin_cpu_supports("avx2") &&
           !sVectorsAreOff.load(std::memory_order_relaxed);
#else
    (void)feature;
    return 0;
#endif
}

void SetVectors(bool on)
{
    sVectorsAreOff = !on;
}

void __cpuidex(int registers[4], int leaf, int subleaf)
{
    unsigned int a = 0;
    unsigned int b = 0;
    unsigned int c = 0;
    unsigned int d = 0;
#if defined(__x86_64__) || defined(__i386__)
    if (!__get_cpuid_count(static_cast<unsigned int>(leaf), static_cast<unsigned int>(subleaf), &a,
                           &b, &c, &d))
        a = b = c = d = 0;
#else
    (void)leaf;
    (void)subleaf;
#endif
    registers[0] = static_cast<int>(a);
    registers[1] = static_cast<int>(b);
    registers[2] = static_cast<int>(c);
    registers[3] = static_cast<int>(d);
}
} // namespace win32
