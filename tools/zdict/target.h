// The place of an output file, with all links on the way followed.

#ifndef ZDICT_TARGET_H
#define ZDICT_TARGET_H

#include <string>

#include <sys/stat.h>

// A file descriptor that is closed at the end of its scope.
class Descriptor
{
public:
    explicit Descriptor(int descriptor) : mDescriptor(descriptor) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept : mDescriptor(other.mDescriptor)
    {
        other.mDescriptor = -1;
    }
    Descriptor& operator=(Descriptor&& other) noexcept;

    int Get() const { return mDescriptor; }

    // False if what was written may not be there. stdin and stdout stay open.
    bool Close();

private:
    int mDescriptor;
};

struct Target
{
    Descriptor mFolder; // for the operations that take a folder and a name in it
    std::string mName;
    bool mExists;
    struct stat mState; // of the file, if it exists; never of a link
};

// Walks from folder to folder, so that no link that is put in place meanwhile is followed.
//
// Throws: Failure, for a folder or the target of a link that does not exist, and for a
// link of another user in a sticky folder that everybody may write to: that user may have
// set a trap for a file of the follower. The rule is that of the kernel's protected
// symlinks, and holds for each link on the way.
Target FindTarget(const std::string& path);

[[noreturn]] void FailToWrite(const std::string& name, const std::string& why);

#endif
