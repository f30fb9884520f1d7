// Loading a file, as a task of its own.
//
// Each file has a context, whose state holds the figures of the bytes decoded so far. The
// context is current on the thread that loads the file, and moves to a decoder's thread
// while that thread decodes a part of the file.

#ifndef FILECACHE_FILE_TASK_H
#define FILECACHE_FILE_TASK_H

#include <string>

#include <U_Context.h>

#include "cache.h"
#include "load_figures.h"

class DecodedFile : public U_State
{
public:
    DecodedFile(U_Context* context, LoadFigures& figures) : U_State(context), mFigures(figures) {}

    static krobase::utility::ImmutableString Key();
    krobase::utility::ImmutableString GetKey() const override { return Key(); }

    void OnActivate() override {} // it begins with the file's name

    // Ends the task. A file that was read to its end is counted.
    void OnDeactivate() override;

    // Starts from nothing. A file may be read more than once.
    void Begin(const std::string& name);

    // Takes the next bytes into the checksum and counts their lines.
    void Decode(const void* bytes, size_t size);

    void End() { mIsWhole = true; }

    // The entry for the cache, without the handle.
    const CachedFile& Entry() const { return mEntry; }

private:
    LoadFigures& mFigures;
    CachedFile mEntry = {};
    U_u64 mLines = 0;
    bool mIsWhole = false;
};

class FileTask : public U_Context
{
public:
    // The file of the calling thread's task.
    static DecodedFile& CurrentFile();
};

// While it lives, new tasks have their file, which adds to the figures.
class FileTasks
{
public:
    explicit FileTasks(LoadFigures& figures);
    ~FileTasks();
    FileTasks(const FileTasks&) = delete;
    FileTasks& operator=(const FileTasks&) = delete;
};

#endif
