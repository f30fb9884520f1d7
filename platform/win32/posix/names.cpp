#include <win32/names.h>

#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

#include <limits.h>
#include <pwd.h>
#include <unistd.h>

#include <platform/base/code_units.h>
#include <platform/base/quiet_new.h>
#include <win32/network.h>
#include <win32/text.h>

#include "../private/failure.h"
#include "../private/switches.h"

namespace win32
{
namespace
{
typedef std::basic_string<unsigned short> Name;

const unsigned int kErrorNotFound = 2;
const unsigned int kErrorBufferOverflow = 111;
const unsigned int kLongestMachineName = 31;   // units
const std::size_t kLongestUserEntry = 1 << 20; // bytes

// A name that a host or test says, and whether it does.
struct SaidName
{
    bool mSaid;
    std::string mName;
};

// Never destroyed: threads may still ask while the process exits.
boost::mutex& sLock = *new boost::mutex; // guards the two below
SaidName& sMachine = *new SaidName();
SaidName& sUser = *new SaidName();

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

std::string HostName()
{
    char name[HOST_NAME_MAX + 2] = {};
    return gethostname(name, sizeof(name)) == 0 ? name : "";
}

std::string UserName()
{
    std::vector<char> room(1024);
    passwd entry;
    passwd* found = nullptr;
    while (getpwuid_r(geteuid(), &entry, room.data(), room.size(), &found) == ERANGE &&
           room.size() < kLongestUserEntry)
        room.resize(room.size() * 2);
    return found && found->pw_name ? found->pw_name : "";
}

std::string Known(const SaidName& said, std::string (*ask)())
{
    {
        const platform::ScQuietLock<boost::mutex> lock(sLock);
        if (said.mSaid)
            return said.mName;
    }
    return ask();
}

// At most the longest name, with the halves of a surrogate pair together.
void CutLabel(Name& label)
{
    if (label.size() <= kLongestMachineName)
        return;
    const bool endsInside = platform::IsHighSurrogate(label[kLongestMachineName - 1]);
    label.resize(kLongestMachineName - (endsInside ? 1 : 0));
}

// Stores what fits, in Windows's way: with or without the terminator in the count.
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

void Say(SaidName& said, const char* name)
{
    const platform::ScQuietLock<boost::mutex> lock(sLock);
    said.mSaid = name != nullptr;
    said.mName = name ? name : "";
}
} // namespace

int GetComputerNameW(unsigned short* name, unsigned int* size)
{
    if (!size)
        return Fail(kErrorInvalidParameter);
    try
    {
        const std::string host = Known(sMachine, &HostName);
        Name label = FromUTF8(host.substr(0, host.find('.')));
        CutLabel(label);
        return Store(label, kErrorBufferOverflow, false, name, size);
    }
    catch (const std::bad_alloc&)
    {
        return Fail(kErrorNotEnoughMemory);
    }
}

int GetUserNameW(unsigned short* name, unsigned int* size)
{
    if (!size)
        return Fail(kErrorInvalidParameter);
    try
    {
        return Store(FromUTF8(Known(sUser, &UserName)), kErrorInsufficientBuffer, true, name, size);
    }
    catch (const std::bad_alloc&)
    {
        return Fail(kErrorNotEnoughMemory);
    }
}

void SetNames(const char* machine, const char* user)
{
    Say(sMachine, machine);
    Say(sUser, user);
}
} // namespace win32
