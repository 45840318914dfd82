#pragma once

// A folder of its own for one test, removed with everything in it at the end.

#include <unistd.h>

#include <filesystem>
#include <string>

namespace zkgtest {

class TempDir {
public:
    explicit TempDir(const std::string& prefix = "zkgen")
    {
        mPath = std::filesystem::temp_directory_path()
            / (prefix + "_" + std::to_string(::getpid()) + "_" + std::to_string(sCounter++));
        std::filesystem::remove_all(mPath);
        std::filesystem::create_directories(mPath);
    }
    ~TempDir()
    {
        std::error_code ec;
        std::filesystem::remove_all(mPath, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& Path() const { return mPath; }

private:
    static inline int sCounter = 0;
    std::filesystem::path mPath;
};

} // namespace zkgtest
