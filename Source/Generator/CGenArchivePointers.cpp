#include "Generator/CGenArchivePointers.h"

#include "Generator/CGenSerialization.h"
#include "Generator/CGenSafeArchive.h"
#include "Platform/ZKLog.h"

#include <algorithm>
#include <string>

namespace zkgen {

namespace {
// The innermost open scope of this thread: an archive is read on one thread,
// and scopes nest when an object read through a pointer has pointers of its own.
thread_local TArchiveCreatedScope* tInnermostScope = nullptr;
} // namespace

TArchiveCreatedScope::TArchiveCreatedScope() : mOuter(tInnermostScope), mUncaughtAtStart(std::uncaught_exceptions())
{
    tInnermostScope = this;
}

TArchiveCreatedScope::~TArchiveCreatedScope()
{
    tInnermostScope = mOuter;
    // Only a read that failed leaves objects nobody took; the archive keeps
    // no claim on them.
    if (std::uncaught_exceptions() > mUncaughtAtStart)
        for (const TCreated& c : mCreated)
            c.mDelete(c.mObject);
}

bool TArchiveCreatedScope::Take(const void* address)
{
    if (!address)
        return false;
    const auto it =
        std::find_if(mCreated.begin(), mCreated.end(), [address](const TCreated& c) { return c.mObject == address; });
    if (it == mCreated.end())
        return false;
    mCreated.erase(it);
    return true;
}

bool TArchiveCreatedScope::Has(const void* address) const
{
    return address
        && std::any_of(mCreated.begin(), mCreated.end(), [address](const TCreated& c) { return c.mObject == address; });
}

void TArchiveCreatedScope::NoteErased(void* object, void (*deleter)(void*))
{
    if (tInnermostScope)
        tInnermostScope->mCreated.push_back(TCreated {object, deleter});
}

std::size_t TArchiveCreatedScope::RecordedCount()
{
    std::size_t count = 0;
    for (const TArchiveCreatedScope* s = tInnermostScope; s; s = s->mOuter)
        count += s->mCreated.size();
    return count;
}

} // namespace zkgen

namespace zkgen {

void RefuseNewerClassVersion(const char* className, unsigned int version, unsigned int known)
{
    if (version <= known)
        return;
    ZKLogf(ZKLogCategory_GeneratorStorage, "Archive of %{public}s has class version %{public}s; this engine reads up to %{public}s",
        {className, std::to_string(version), std::to_string(known)});
    throw TArchiveRefused(std::string("the archive of ") + className + " has a newer class version");
}

} // namespace zkgen
