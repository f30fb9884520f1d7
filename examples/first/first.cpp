// The first program: reads files into memory under a budget.
//
//     first [--german] FILE...
//
// Each file is a task with a context of its own. The oldest files are dropped to make room
// for the next one. Each file that cannot be read or held is reported to the user.

#include <cstdio>
#include <cstring>
#include <deque>
#include <fstream>
#include <iterator>
#include <string>

#include <boost/make_shared.hpp>

#include <U_Alloc.h>
#include <U_Budget.h>
#include <U_Context.h>
#include <U_Encoding.h>
#include <U_Format.h>
#include <U_Interact.h>
#include <U_Lifecycle.h>
#include <U_Report.h>
#include <U_Threads.h>
#include <U_ZString.h>

namespace
{
using krobase::utility::ImmutableString;

const U_u32 kReadFile = 0x10001; // location code: module 1 of the host, place 1
const U_u64 kMiB = 1 << 20;

// Each text is a key with the English form. "^^1" is the place of the file's name.
const char kCannotRead[] = "$$$/First/CannotRead=The file ^^1 can't be read.";
const char kTooLarge[] = "$$$/First/TooLarge=There is no room for the file ^^1.";

// The dictionary: the German forms by key. A real host loads an image that zdict has compiled.
const char kGerman[] = "\"$$$/First/CannotRead=Die Datei ^^1 kann nicht gelesen werden.\"\n"
                       "\"$$$/First/TooLarge=Die Datei ^^1 hat keinen Platz.\"\n";

// The state that the module "files" keeps in each context: the file of the task.
class FileState : public U_State
{
public:
    explicit FileState(U_Context* context) : U_State(context) {}

    static ImmutableString Key() { return ImmutableString("first/file"); }
    ImmutableString GetKey() const override { return Key(); }
    void OnActivate() override {}
    void OnDeactivate() override {}

    std::string mName;
};

// A context whose file any function of the task can ask for.
class FileTask : public U_Context
{
public:
    // Throws the int 3 if the thread has no context.
    static FileState& CurrentFile()
    {
        FileTask& task = static_cast<FileTask&>(*GetCurrent());
        return static_cast<FileState&>(*task.GetState(FileState::Key()));
    }
};

// The files in memory, from the oldest to the latest.
std::deque<void*> sFiles;

// The library calls this function on the thread that allocates, above the prepurge limit.
int DropOldest(void*, U_u64, U_u64, bool*)
{
    if (sFiles.empty())
        return 0;
    U_FreePtr(sFiles.front());
    sFiles.pop_front();
    return 0;
}

// Shows the text with the name of the current task's file.
void Report(const char* zstring)
{
    const U_UTF16String name = U_MBToUTF16String(FileTask::CurrentFile().mName);
    U_ReportError(kReadFile, U_Sev_WARNING,
                  U_SubString16(U_ZStringToFormat(zstring), name.c_str()));
}

void ReadCurrentFile()
{
    std::ifstream stream(FileTask::CurrentFile().mName, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), {});
    if (!stream)
        return Report(kCannotRead);
    void* const block = U_AllocatePtrQuiet(bytes.size());
    if (!block)
        return Report(kTooLarge);
    std::memcpy(block, bytes.data(), bytes.size());
    sFiles.push_back(block);
}

void ReadFiles(int count, char** names)
{
    for (int i = 0; i < count; ++i)
    {
        const U_ContextSetter setter(boost::make_shared<FileTask>());
        FileTask::CurrentFile().mName = names[i];
        ReadCurrentFile();
    }
}

// The limits count the application's own footprint as use.
void SetBudget(U_u64 bytes)
{
    U_u64 footprint = 0;
    U_PresumedAppSize(&footprint);
    U_SetMemUsageLimits(footprint + bytes - kMiB, footprint + bytes);
    U_SetPurgeRequestCallback(&DropOldest, nullptr);
}
} // namespace

int main(int argc, char** argv)
{
    if (U_Birth("First", nullptr) != 0)
        return 1;
    SetBudget(16 * kMiB);
    U_Context::RegisterState(FileState::Key(), [](U_Context* context) {
        return boost::make_shared<FileState>(context);
    });
    const bool isGerman = argc > 1 && std::strcmp(argv[1], "--german") == 0;
    if (isGerman)
        U_ZStringSetCurrentDictionary(reinterpret_cast<U_u16*>(const_cast<char*>(kGerman)),
                                      sizeof(kGerman) - 1);

    const int options = isGerman ? 2 : 1;
    ReadFiles(argc - options, argv + options);
    U_u32 alerts = 0;
    U_GetHowManyErrors(&alerts);
    std::printf("%zu files in memory, %u errors\n", sFiles.size(), alerts);

    while (!sFiles.empty())
        DropOldest(nullptr, 0, 0, nullptr);
    U_SetPurgeRequestCallback(nullptr, nullptr);
    U_Context::UnregisterState(FileState::Key());
    const U_Status death = U_Death();
    U_DeregisterMainThread();
    return death != 0 || alerts != 0 ? 1 : 0;
}
