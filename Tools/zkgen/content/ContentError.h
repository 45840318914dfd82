#pragma once

#include <stdexcept>
#include <string>

namespace zkgen::cli {

// A mistake in a content source: what and where. The compiler stops at the
// first one and prints "FILE:LINE: MESSAGE".
class TContentError : public std::runtime_error {
public:
    TContentError(std::string file, int line, const std::string& message)
        : std::runtime_error(file + ":" + std::to_string(line) + ": " + message), mFile(std::move(file)), mLine(line)
    {
    }
    const std::string& File() const { return mFile; }
    int Line() const { return mLine; }

private:
    std::string mFile;
    int mLine;
};

} // namespace zkgen::cli
