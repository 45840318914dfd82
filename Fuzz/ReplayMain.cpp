// The main of a replayer: a fuzz target built without libFuzzer, run over
// files and folders named on the command line (folders recursively, in name
// order so that a failure reproduces in the same place). The exit status is
// 0 when every input went through; a crash is the target's own.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

bool RunFile(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "can't read %s\n", path.c_str());
        return false;
    }
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // A copy of its own, so that a read past the end is caught as in libFuzzer.
    std::vector<uint8_t> data(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(data.empty() ? nullptr : data.data(), data.size());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FILE_OR_FOLDER...\n", argv[0]);
        return 2;
    }
    size_t runs = 0;
    bool ok = true;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path arg(argv[i]);
        std::error_code ec;
        std::vector<std::filesystem::path> files;
        if (std::filesystem::is_directory(arg, ec)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(arg, ec))
                if (entry.is_regular_file())
                    files.push_back(entry.path());
            std::sort(files.begin(), files.end());
        } else {
            files.push_back(arg);
        }
        if (ec) {
            std::fprintf(stderr, "can't list %s: %s\n", arg.c_str(), ec.message().c_str());
            ok = false;
        }
        for (const auto& file : files) {
            if (!RunFile(file)) {
                ok = false;
                continue;
            }
            ++runs;
        }
    }
    std::printf("%zu inputs run\n", runs);
    return ok && runs > 0 ? 0 : 1;
}
