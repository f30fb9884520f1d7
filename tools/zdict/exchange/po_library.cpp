#include "exchange/po_library.h"

#include <csetjmp>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>

#include "messages.h"

namespace
{
// The problems and the return point of the present call; one thread calls the library.
std::vector<POProblem>* sProblems = nullptr;
std::jmp_buf sFatalError;

std::string OneLine(const char* text)
{
    std::string line = text;
    while (!line.empty() && line.back() == '\n')
        line.pop_back();
    for (std::size_t at = 0; (at = line.find('\n', at)) != std::string::npos;)
        line.replace(at, 1, "; ");
    return line;
}

void AddProblem(int severity, const char* file, std::size_t line, std::size_t column,
                const std::string& what)
{
    const std::size_t unknown = static_cast<std::size_t>(-1);
    Place place;
    if (file && line != unknown)
        place = {line, column == unknown ? 0 : column};
    sProblems->push_back({severity != PO_SEVERITY_WARNING, place, what});
}

// The library must not go on after a fatal error, and its frames can't be unwound.
void StopIfFatal(int severity)
{
    if (severity == PO_SEVERITY_FATAL_ERROR)
        std::longjmp(sFatalError, 1);
}

void OnProblem(int severity, po_message_t, const char* file, std::size_t line, std::size_t column,
               int, const char* text)
{
    AddProblem(severity, file, line, column, OneLine(text));
    StopIfFatal(severity);
}

// The library names no place of the second message.
void OnProblemOfTwo(int severity, po_message_t, const char* file, std::size_t line,
                    std::size_t column, int, const char* text, po_message_t second, const char*,
                    std::size_t, std::size_t, int, const char*)
{
    const char* const key = second ? po_message_msgctxt(second) : nullptr;
    AddProblem(severity, file, line, column, OneLine(text) + (key ? " of " + Quoted(key) : ""));
    StopIfFatal(severity);
}

const po_xerror_handler kHandler = {OnProblem, OnProblemOfTwo};

// Returns the result of a call, or null after a fatal error.
template <typename Function> po_file_t Call(Function function, po_file_t argument, const char* name)
{
    if (setjmp(sFatalError))
        return nullptr;
    return function(argument, name);
}

// Returns false after a fatal error.
bool CheckFormat(po_message_t message)
{
    if (setjmp(sFatalError))
        return false;
    po_message_check_format(message, &kHandler);
    return true;
}

// The library calls iconv for each character, to find its end. UTF-8 needs none of these calls, as
// no part of a character looks like ASCII. A variable of the environment that the library has for
// files of its oldest versions ends the calls, and saves a third of the time.
class WithoutCharacters
{
public:
    WithoutCharacters(const char* variable, bool isWanted) : mVariable(variable)
    {
        if (isWanted)
            setenv(mVariable, "1", 1);
        else
            unsetenv(mVariable);
    }
    ~WithoutCharacters() { unsetenv(mVariable); }
    WithoutCharacters(const WithoutCharacters&) = delete;
    WithoutCharacters& operator=(const WithoutCharacters&) = delete;

private:
    const char* const mVariable;
};

// A folder of this process for one file.
class ScratchFile
{
public:
    ScratchFile()
    {
        std::error_code error;
        const std::filesystem::path temporary = std::filesystem::temp_directory_path(error);
        std::random_device random;
        for (int tries = 0; !error && mFolder.empty() && tries < 100; ++tries)
        {
            const auto folder =
                temporary / ("zdict-" + std::to_string(random()) + "-" + std::to_string(random()));
            if (std::filesystem::create_directory(folder, error))
                mFolder = folder;
        }
        if (mFolder.empty())
            throw Failure{kUnusable, std::string(), "there is no folder for temporary files"};
        std::filesystem::permissions(mFolder, std::filesystem::perms::owner_all, error);
    }
    ~ScratchFile()
    {
        std::error_code error;
        std::filesystem::remove_all(mFolder, error);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    std::string Name() const { return (mFolder / "file.po").string(); }

    void Write(const std::string& bytes) const
    {
        std::ofstream stream(Name(), std::ios::binary);
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        stream.close();
        if (!stream)
            FailToUse("written");
    }

    std::string Read() const
    {
        std::ifstream stream(Name(), std::ios::binary | std::ios::ate);
        const std::streamoff size = stream.tellg();
        std::string bytes(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
        stream.seekg(0);
        stream.read(bytes.data(), size);
        if (!stream)
            FailToUse("read");
        return bytes;
    }

private:
    [[noreturn]] void FailToUse(const char* how) const
    {
        throw Failure{kUnusable, Name(), std::string("can't be ") + how};
    }

    std::filesystem::path mFolder;
};
} // namespace

POFile ParsePO(const std::string& bytes, bool isUTF8, std::vector<POProblem>* problems)
{
    const WithoutCharacters bytewise("OLD_PO_FILE_INPUT", isUTF8);
    const ScratchFile scratch;
    scratch.Write(bytes);
    sProblems = problems;
    const std::string name = scratch.Name();
    return POFile(Call([](po_file_t, const char* input) { return po_file_read(input, &kHandler); },
                       nullptr, name.c_str()));
}

bool FormatPO(po_file_t file, std::string* bytes, std::vector<POProblem>* problems)
{
    const WithoutCharacters bytewise("OLD_PO_FILE_OUTPUT", true);
    const ScratchFile scratch;
    sProblems = problems;
    const std::string name = scratch.Name();
    if (!Call([](po_file_t output, const char* to) { return po_file_write(output, to, &kHandler); },
              file, name.c_str()))
        return false;
    *bytes = scratch.Read();
    return true;
}

bool HasSoundFormat(po_message_t message)
{
    std::vector<POProblem> problems;
    sProblems = &problems;
    const bool isWhole = CheckFormat(message);
    sProblems = nullptr;
    return isWhole && problems.empty();
}
