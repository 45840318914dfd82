#pragma once

// What the fuzz targets share: a silent log, and a scratch folder for the
// loaders that read from a path.

#include "Platform/ZKLog.h"

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

namespace zkfuzz {

// Every rejected input logs a line; at fuzzing speed that is most of the
// time spent, and it buries the sanitizer's report.
inline void SilenceLog()
{
    static const bool silenced = [] {
        ZKLogSetStderrLevel(ZKLogLevel_Off);
        return true;
    }();
    (void)silenced;
}

// A folder of this process's own, emptied at exit; parallel fuzzing jobs are
// processes of their own and so never share one.
class ScratchFolder {
public:
    static const std::filesystem::path& Path()
    {
        static const ScratchFolder folder;
        return folder.mPath;
    }

private:
    ScratchFolder()
    {
        std::string name("zkgen_fuzz_");
        name += std::to_string(::getpid());
        mPath = std::filesystem::temp_directory_path() / name;
        std::error_code ec;
        std::filesystem::remove_all(mPath, ec);
        std::filesystem::create_directories(mPath, ec);
    }
    ~ScratchFolder()
    {
        std::error_code ec;
        std::filesystem::remove_all(mPath, ec);
    }
    std::filesystem::path mPath;
};

// Writes `data` to `path`, making its folder; a failure is the harness's
// own and stops the run rather than fuzzing nothing.
inline void WriteFile(const std::filesystem::path& path, const uint8_t* data, size_t size)
{
    std::error_code ec;
    std::filesystem::create_directories(path.parent_path(), ec);
    // A new file rather than the old one cut short: ext4 flushes a file
    // truncated and written again when it is closed, milliseconds a run.
    std::filesystem::remove(path, ec);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (size)
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    out.close();
    if (!out) {
        std::fprintf(stderr, "fuzz harness: can't write %s\n", path.c_str());
        std::abort();
    }
}

// A property of the code under test that failed: stops the run so that the
// fuzzer keeps the input.
[[noreturn]] inline void Fail(const char* what)
{
    std::fprintf(stderr, "fuzz property failed: %s\n", what);
    std::abort();
}

inline std::vector<uint8_t> Bytes(const uint8_t* data, size_t size) { return std::vector<uint8_t>(data, data + size); }

} // namespace zkfuzz
