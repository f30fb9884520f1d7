// Runs a target on the files of folders, so that the tests need no libFuzzer.
//
//     corpus_expansion fuzz/corpus/expansion

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* count, char*** arguments);

int main(int count, char** arguments)
{
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&count, &arguments);
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < count; ++i)
    {
        for (const auto& entry : std::filesystem::directory_iterator(arguments[i]))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const std::filesystem::path& file : files)
    {
        std::printf("%s\n", file.filename().c_str());
        std::fflush(stdout); // the last line names the file of a failure
        std::ifstream stream(file, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(stream)),
                                std::istreambuf_iterator<char>());
        // A block of the size of the input, whose end the address sanitizer guards.
        const std::unique_ptr<std::uint8_t[]> input(new std::uint8_t[bytes.size()]);
        std::copy(bytes.begin(), bytes.end(), input.get());
        LLVMFuzzerTestOneInput(input.get(), bytes.size());
    }
    return files.empty() ? 1 : 0;
}
