#include "Generator/stylegraph/CGenStyle.h"

#include "Platform/ZKLog.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <random>
#include <unistd.h>

std::string CGenStyle::CreateUniqueID()
{
    // Unique within the process by the counter, across processes by the
    // random seed, the clock and the process id.
    static std::atomic<uint64_t> counter {0};
    const uint64_t n = counter.fetch_add(1, std::memory_order_relaxed);
    std::random_device device;
    const uint64_t hi = (uint64_t(device()) << 32) ^ uint64_t(device())
        ^ uint64_t(std::chrono::steady_clock::now().time_since_epoch().count());
    const uint64_t lo = (uint64_t(device()) << 32) ^ (uint64_t(::getpid()) << 40) ^ n;
    char buf[40];
    std::snprintf(buf, sizeof buf, "%08X-%04X-%04X-%04X-%012llX", unsigned(hi >> 32), unsigned((hi >> 16) & 0xFFFF),
        unsigned(hi & 0xFFFF), unsigned(lo >> 48), static_cast<unsigned long long>(lo & 0xFFFFFFFFFFFFull));
    return buf;
}

std::string CGenStyle::Identifier() const
{
    if (mName.empty() && mUniqueID.empty())
        return {};
    return mName + " - " + mUniqueID;
}

TGenUrl CGenStyles::StyleGraphsURLForStyle(const CGenStyle& style) const
{
    const std::string identifier = style.Identifier();
    if (mStyleGraphsFolderURL.empty() || identifier.empty())
        return {};
    return ZKUrlByAppendingPathExtension(ZKUrlByAppendingPathComponent(mStyleGraphsFolderURL, identifier),
        kCGenStyleFileExtension);
}

bool CGenStyles::LoadStyleGraphsIfNotCachedAlready(CGenStyle& style) const
{
    if (style.StyleGraphs().HasEntries())
        return true;
    const TGenUrl url = StyleGraphsURLForStyle(style);
    if (url.empty()) {
        ZKLogf(ZKLogCategory_GeneratorStyles, "Style URL lookup FAILED for URL '%{public}@'",
            {ZKUrlByAppendingPathComponent(mStyleGraphsFolderURL, style.Identifier()).string()});
        return false;
    }
    const bool ok = style.StyleGraphs().LoadFromURL(url);
    ZKLogf(ZKLogCategory_GeneratorStyles, "Loading style %{public}s from '%{public}@' %{public}s",
        {style.Identifier(), url.string(), ok ? "SUCCESS" : "FAILED"});
    return ok;
}

CGenStyle* CGenStyles::ChooseStyle(int styleIx)
{
    const size_t ix = styleIx < 0 ? 0 : static_cast<size_t>(styleIx);
    return ix < size() ? &(*this)[ix] : nullptr;
}

bool CGenStyles::WriteBackStyle(const CGenStyle& style) const
{
    const TGenUrl url = StyleGraphsURLForStyle(style);
    if (url.empty() || !style.StyleGraphs().HasEntries())
        return false;
    const bool ok = style.StyleGraphs().SaveToURL(url);
    ZKLogf(ZKLogCategory_GeneratorStyles, "Saving style %{public}s to '%{public}@' %{public}s",
        {style.Identifier(), url.string(), ok ? "SUCCESS" : "FAILED"});
    return ok;
}

void CGenStyles::WriteBackCachedStyles() const
{
    for (const CGenStyle& style : *this)
        if (style.StyleGraphs().HasEntries())
            WriteBackStyle(style);
}

void CGenStyles::RememberStyleIdentifierAtIxForCleanupOnNextWriteBack(size_t ix)
{
    if (ix < size())
        mIdentifiersForCleanup.push_back((*this)[ix].Identifier());
}

void CGenStyles::CleanUpStoredStyles()
{
    for (const std::string& identifier : mIdentifiersForCleanup) {
        const bool stillThere = std::any_of(begin(), end(), [&](const CGenStyle& s) { return s.Identifier() == identifier; });
        if (stillThere || identifier.empty() || mStyleGraphsFolderURL.empty())
            continue;
        const TGenUrl url = ZKUrlByAppendingPathExtension(
            ZKUrlByAppendingPathComponent(mStyleGraphsFolderURL, identifier), kCGenStyleFileExtension);
        if (ZKFileExists(url))
            ZKFileRemove(url);
    }
    mIdentifiersForCleanup.clear();
}

void CGenStyles::PurgeStyleAtIndex(size_t ix)
{
    if (ix >= size())
        return;
    CGenStyle& style = (*this)[ix];
    ZKLogf(ZKLogCategory_GeneratorStyles, ZKLogLevel_Debug, "Purge style %{public}s'", {style.Identifier()});
    style.StyleGraphs().RemoveAllEntries();
}
