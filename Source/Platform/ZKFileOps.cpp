#include "Platform/ZKFileOps.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace zkgen {
namespace {

bool Fail(std::string* outError, const std::string& what, const TGenUrl& url, const std::string& why)
{
    if (outError)
        *outError = what + " " + url.string() + ": " + why;
    return false;
}

std::string ErrnoText(int err) { return std::strerror(err); }

// The path as text without trailing separators; the root stays "/".
std::string Trimmed(const TGenUrl& url)
{
    std::string s = url.string();
    while (s.size() > 1 && s.back() == '/')
        s.pop_back();
    return s;
}

// A name no other writer picks at the same moment: process, time and a counter.
std::string TemporarySuffix()
{
    static std::atomic<uint64_t> counter {0};
    timespec ts {};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    uint64_t x = (static_cast<uint64_t>(getpid()) << 32) ^ static_cast<uint64_t>(ts.tv_nsec)
        ^ (static_cast<uint64_t>(ts.tv_sec) << 20) ^ (counter.fetch_add(1) * 0x9E3779B97F4A7C15ull);
    static const char kDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    std::string s;
    for (int i = 0; i < 10; ++i) {
        s.push_back(kDigits[x % 36]);
        x /= 36;
    }
    return s;
}

bool WriteAll(int fd, const uint8_t* p, size_t n, int& err)
{
    while (n > 0) {
        const ssize_t w = ::write(fd, p, n);
        if (w < 0) {
            if (errno == EINTR)
                continue;
            err = errno;
            return false;
        }
        p += w;
        n -= static_cast<size_t>(w);
    }
    return true;
}

} // namespace
} // namespace zkgen

using namespace zkgen;

bool ZKFileExists(const TGenUrl& url)
{
    std::error_code ec;
    return !url.empty() && fs::exists(url, ec);
}

bool ZKFileIsDirectory(const TGenUrl& url)
{
    std::error_code ec;
    return !url.empty() && fs::is_directory(url, ec);
}

bool ZKFileCreateDirectory(const TGenUrl& url, std::string* outError)
{
    if (url.empty())
        return Fail(outError, "cannot create directory", url, "empty path");
    std::error_code ec;
    fs::create_directories(url, ec);
    std::error_code ignored;
    if (fs::is_directory(url, ignored))
        return true;
    return Fail(outError, "cannot create directory", url, ec ? ec.message() : "something else is in the way");
}

bool ZKFileRemove(const TGenUrl& url, std::string* outError)
{
    std::error_code ec;
    if (url.empty() || !fs::exists(fs::symlink_status(url, ec)))
        return Fail(outError, "cannot remove", url, "no such file or directory");
    fs::remove_all(url, ec);
    if (ec)
        return Fail(outError, "cannot remove", url, ec.message());
    return true;
}

bool ZKFileCopy(const TGenUrl& from, const TGenUrl& to, std::string* outError)
{
    std::error_code ec;
    if (from.empty() || !fs::exists(fs::symlink_status(from, ec)))
        return Fail(outError, "cannot copy", from, "no such file or directory");
    if (to.empty() || fs::exists(fs::symlink_status(to, ec)))
        return Fail(outError, "cannot copy to", to, "the destination exists");
    fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks, ec);
    if (ec)
        return Fail(outError, "cannot copy " + from.string() + " to", to, ec.message());
    return true;
}

std::optional<TGenData> ZKFileRead(const TGenUrl& url, std::string* outError)
{
    const int fd = ::open(url.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        Fail(outError, "cannot read", url, ErrnoText(errno));
        return std::nullopt;
    }
    struct stat st {};
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        const int err = errno;
        ::close(fd);
        Fail(outError, "cannot read", url, S_ISDIR(st.st_mode) ? "is a directory" : st.st_mode ? "not a regular file" : ErrnoText(err));
        return std::nullopt;
    }
    TGenData data;
    data.reserve(static_cast<size_t>(st.st_size));
    uint8_t buffer[65536];
    for (;;) {
        const ssize_t r = ::read(fd, buffer, sizeof buffer);
        if (r == 0)
            break;
        if (r < 0) {
            if (errno == EINTR)
                continue;
            const int err = errno;
            ::close(fd);
            Fail(outError, "cannot read", url, ErrnoText(err));
            return std::nullopt;
        }
        data.insert(data.end(), buffer, buffer + r);
    }
    ::close(fd);
    return data;
}

bool ZKFileWriteAtomically(const TGenUrl& url, const TGenData& data, std::string* outError)
{
    const TGenUrl target(Trimmed(url));
    const std::string name = ZKUrlLastPathComponent(target);
    if (name.empty() || name == "/" || name == "." || name == "..")
        return Fail(outError, "cannot write", url, "not a file name");
    const TGenUrl parent = target.parent_path();
    const TGenUrl dir = parent.empty() ? TGenUrl(".") : parent;

    int fd = -1;
    TGenUrl temp;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        temp = dir / ("." + name + ".tmp-" + TemporarySuffix());
        fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST)
            return Fail(outError, "cannot write", url, ErrnoText(errno));
    }
    if (fd < 0)
        return Fail(outError, "cannot write", url, "no free name for a temporary file");

    auto abandon = [&](int err) {
        if (fd >= 0)
            ::close(fd);
        ::unlink(temp.c_str());
        return Fail(outError, "cannot write", url, ErrnoText(err));
    };
    int err = 0;
    if (!WriteAll(fd, data.data(), data.size(), err))
        return abandon(err);
    struct stat old {};
    if (::stat(target.c_str(), &old) == 0 && S_ISREG(old.st_mode))
        (void)::fchmod(fd, old.st_mode & 07777);
    if (::fsync(fd) != 0)
        return abandon(errno);
    const int closeResult = ::close(fd);
    fd = -1;
    if (closeResult != 0)
        return abandon(errno);
    if (::rename(temp.c_str(), target.c_str()) != 0)
        return abandon(errno);
    // Make the rename itself durable; a failure here no longer loses data.
    const int dirFd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        (void)::fsync(dirFd);
        ::close(dirFd);
    }
    return true;
}

std::optional<TGenUrl> ZKFileResolveLinks(const TGenUrl& url, std::string* outError)
{
    std::error_code ec;
    if (url.empty()) {
        Fail(outError, "cannot resolve", url, "empty path");
        return std::nullopt;
    }
    TGenUrl resolved = fs::canonical(url, ec);
    if (ec) {
        Fail(outError, "cannot resolve", url, ec.message());
        return std::nullopt;
    }
    return resolved;
}

TGenUrl ZKUrlByAppendingPathComponent(const TGenUrl& url, std::string_view component)
{
    while (!component.empty() && component.front() == '/')
        component.remove_prefix(1);
    if (component.empty())
        return url;
    std::string s = url.string();
    if (!s.empty() && s.back() != '/')
        s.push_back('/');
    s.append(component);
    return TGenUrl(s);
}

TGenUrl ZKUrlByAppendingPathExtension(const TGenUrl& url, std::string_view extension)
{
    std::string s = Trimmed(url);
    if (s.empty() || s == "/")
        return url;
    s.push_back('.');
    s.append(extension);
    return TGenUrl(s);
}

std::string ZKUrlPathExtension(const TGenUrl& url)
{
    const std::string ext = TGenUrl(ZKUrlLastPathComponent(url)).extension().string();
    return ext.empty() ? ext : ext.substr(1);
}

TGenUrl ZKUrlByDeletingPathExtension(const TGenUrl& url)
{
    TGenUrl trimmed(Trimmed(url));
    if (trimmed.filename().has_extension())
        trimmed.replace_extension();
    return trimmed;
}

std::string ZKUrlLastPathComponent(const TGenUrl& url)
{
    const std::string s = Trimmed(url);
    if (s == "/")
        return s;
    const size_t slash = s.rfind('/');
    return slash == std::string::npos ? s : s.substr(slash + 1);
}

TGenUrl ZKUrlByDeletingLastPathComponent(const TGenUrl& url)
{
    const std::string s = Trimmed(url);
    if (s == "/")
        return TGenUrl(s);
    const size_t slash = s.rfind('/');
    if (slash == std::string::npos)
        return TGenUrl();
    if (slash == 0)
        return TGenUrl("/");
    std::string parent = s.substr(0, slash);
    while (parent.size() > 1 && parent.back() == '/')
        parent.pop_back();
    return TGenUrl(parent);
}
