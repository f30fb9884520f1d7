// Runs a target on the files of folders, so that the tests need no libFuzzer, and then on random
// inputs. The same seed makes the same inputs.
//
//     corpus_model_heap fuzz/corpus/model_heap --random 3000 --seed 1

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* count, char*** arguments);

namespace
{
const std::size_t kLongest = 64; // of a model in scripts/fuzz

void Run(const std::string& bytes)
{
    // A block of the size of the input, whose end the address sanitizer guards.
    const std::unique_ptr<std::uint8_t[]> input(new std::uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), input.get());
    LLVMFuzzerTestOneInput(input.get(), bytes.size());
}

// More than half of the first bytes let a model run two threads: those with all lower or all upper
// bits set.
std::string RandomInput(std::mt19937& random)
{
    std::string bytes(2 + random() % (kLongest - 1), '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    bytes[0] = static_cast<char>(bytes[0] | (random() % 2 ? 0x1F : 0xE0));
    return bytes;
}
} // namespace

int main(int count, char** arguments)
{
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&count, &arguments);
    std::vector<std::filesystem::path> files;
    unsigned long randomCount = 0;
    unsigned long seed = 1;
    for (int i = 1; i < count; ++i)
    {
        const std::string argument = arguments[i];
        if (i + 1 < count && (argument == "--random" || argument == "--seed"))
            (argument == "--seed" ? seed : randomCount) = std::stoul(arguments[++i]);
        else
            for (const auto& entry : std::filesystem::directory_iterator(argument))
                files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const std::filesystem::path& file : files)
    {
        std::printf("%s\n", file.filename().c_str());
        std::fflush(stdout); // the last line names the file of a failure
        std::ifstream stream(file, std::ios::binary);
        Run({std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()});
    }
    if (!randomCount)
        return files.empty();
    std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
    const std::string kept = arguments[0] + std::string(".input"); // after a failure only
    std::printf("%lu random inputs of seed %lu, the last in %s\n", randomCount, seed, kept.c_str());
    std::fflush(stdout);
    for (unsigned long i = 0; i < randomCount; ++i)
    {
        const std::string bytes = RandomInput(random);
        std::ofstream(kept, std::ios::binary) << bytes;
        Run(bytes);
    }
    std::filesystem::remove(kept);
    return 0;
}
