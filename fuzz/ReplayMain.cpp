// Runs a fuzz target without libFuzzer: every file named on the command line,
// and every file in every folder named, goes through the target once. With
// the seeds in fuzz/corpus this keeps every crash that was once found (and
// every seed's path) under test in the ordinary build, under the sanitizers
// and under the emulator.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <boost/filesystem.hpp>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace
{
bool Replay(const boost::filesystem::path& file)
{
    std::ifstream in(file.string(), std::ios::binary);
    if (!in)
    {
        std::fprintf(stderr, "replay: cannot read %s\n", file.string().c_str());
        return false;
    }
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // A copy of its own, so that a read past the end is a sanitizer finding.
    std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(input.empty() ? nullptr : input.data(), input.size());
    return true;
}
} // namespace

int main(int argc, char** argv)
{
    if (LLVMFuzzerInitialize != nullptr)
        LLVMFuzzerInitialize(&argc, &argv);
    std::size_t replayed = 0;
    bool ok = argc > 1;
    for (int i = 1; i < argc; ++i)
    {
        const boost::filesystem::path path(argv[i]);
        std::vector<boost::filesystem::path> files;
        if (boost::filesystem::is_directory(path))
        {
            for (const auto& entry : boost::filesystem::directory_iterator(path))
                if (boost::filesystem::is_regular_file(entry.path()))
                    files.push_back(entry.path());
        }
        else
        {
            files.push_back(path);
        }
        std::sort(files.begin(), files.end());
        for (const auto& file : files)
        {
            ok = Replay(file) && ok;
            ++replayed;
        }
    }
    std::printf("replayed %zu inputs\n", replayed);
    // A folder without seeds would make the test pass on nothing.
    return ok && replayed > 0 ? 0 : 1;
}
