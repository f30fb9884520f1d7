#include "file_task.h"

#include <algorithm>

#include <boost/make_shared.hpp>

#include "load_figures.h"

using krobase::utility::ImmutableString;

ImmutableString DecodedFile::Key()
{
    return ImmutableString("filecache/file");
}

void DecodedFile::OnDeactivate()
{
    if (!mIsWhole)
        return;
    ++mFigures.files;
    mFigures.bytes += mEntry.size;
    mFigures.lines += mLines;
    mFigures.checksum += mEntry.checksum;
}

void DecodedFile::Begin(const std::string& name)
{
    const U_u64 nameSum = Checksum(kChecksumStart, name.c_str(), name.size() + 1);
    mEntry = {nullptr, 0, nameSum, nameSum};
    mLines = 0;
}

void DecodedFile::Decode(const void* bytes, size_t size)
{
    const char* const text = static_cast<const char*>(bytes);
    mEntry.checksum = Checksum(mEntry.checksum, bytes, size);
    mEntry.size += size;
    mLines += static_cast<U_u64>(std::count(text, text + size, '\n'));
}

DecodedFile& FileTask::CurrentFile()
{
    FileTask& task = dynamic_cast<FileTask&>(*GetCurrent());
    return dynamic_cast<DecodedFile&>(*task.GetState(DecodedFile::Key()));
}

FileTasks::FileTasks(LoadFigures& figures)
{
    U_Context::RegisterState(DecodedFile::Key(), [&figures](U_Context* context) {
        return boost::make_shared<DecodedFile>(context, figures);
    });
}

FileTasks::~FileTasks()
{
    U_Context::UnregisterState(DecodedFile::Key());
}
