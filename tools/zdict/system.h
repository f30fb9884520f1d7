// The operations that each operating system has in a form of its own.

#ifndef ZDICT_SYSTEM_H
#define ZDICT_SYSTEM_H

#include <cstddef>
#include <memory>
#include <string>

#include "files.h"

const int kStdin = 0;
const int kStdout = 1;
const int kStderr = 2;

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

    // Returns false if written bytes may be lost. stdin and stdout are kept open.
    bool Close();

private:
    int mDescriptor;
};

// The next five functions store the reason of a failure in errno.

// Returns the descriptor, or -1.
int OpenInput(const std::string& name);

// Stores the size of a regular file; 0 for any other file. Returns false on failure.
bool FindSize(int descriptor, unsigned long long* size);

// Return the count of bytes, which may be less than `size`; -1 on failure.
long long Read(int descriptor, void* bytes, std::size_t size);
long long Write(int descriptor, const void* bytes, std::size_t size);

// Returns the bytes of a regular file, which may be closed then; null on failure.
std::shared_ptr<const unsigned char> Map(int descriptor, std::size_t size);

// Replaces a regular file at once by a new file with the same permissions, so that a failure
// leaves the old file. Writes any other file in place.
//
// Throws: Failure.
void WriteNamed(const std::string& name, const std::string& bytes, Content content);

// Writes to an open file and closes the file. A descriptor of -1 is a failure with its reason in
// errno.
//
// Throws: Failure.
void WriteInPlace(int descriptor, const std::string& bytes, Content content,
                  const std::string& name);

// Writes all bytes. Throws: Failure.
void WriteAll(int descriptor, const std::string& bytes, const std::string& name);

[[noreturn]] void FailToWrite(const std::string& name, const std::string& why);

#endif
