// The archive classes come first so that the exports below register the
// entry classes with each of them.
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/archive/text_iarchive.hpp>
#include <boost/archive/text_oarchive.hpp>
#include <boost/archive/xml_iarchive.hpp>
#include <boost/archive/xml_oarchive.hpp>

#include "Generator/CGenSafeArchive.h"

#include "Generator/instruments/CGenInstTreeEntry.h"

#include <stdexcept>
#include <vector>

BOOST_CLASS_EXPORT_IMPLEMENT(CGenInstTreeEntry)
BOOST_CLASS_EXPORT_IMPLEMENT(CGenInstTreeLeaf)

const char* TEntriesAreName(TEntriesAre e)
{
    switch (e) {
    case TEntriesAre_Explicit: return "TEntriesAre_Explicit";
    case TEntriesAre_Combinable: return "TEntriesAre_Combinable";
    }
    return "TEntriesAre_?";
}

// ---- CGenInstTreeEntries

struct CGenInstTreeEntries::Pimpl {
    TInstTreeEntryList mList;
};

CGenInstTreeEntries::CGenInstTreeEntries() : mPimpl(std::make_unique<Pimpl>()) {}

CGenInstTreeEntries::CGenInstTreeEntries(const CGenInstTreeEntries& o) : mPimpl(std::make_unique<Pimpl>())
{
    for (const CGenInstTreeEntry* e : o)
        mPimpl->mList.push_back(e->Clone_Implement());
}

CGenInstTreeEntries::CGenInstTreeEntries(CGenInstTreeEntries&& o) noexcept : mPimpl(std::make_unique<Pimpl>())
{
    mPimpl->mList.swap(o.mPimpl->mList);
}

CGenInstTreeEntries& CGenInstTreeEntries::operator=(const CGenInstTreeEntries& o)
{
    if (this != &o) {
        CGenInstTreeEntries copy(o);
        clear();
        mPimpl->mList.swap(copy.mPimpl->mList);
    }
    return *this;
}

CGenInstTreeEntries& CGenInstTreeEntries::operator=(CGenInstTreeEntries&& o) noexcept
{
    if (this != &o) {
        clear();
        mPimpl->mList.swap(o.mPimpl->mList);
    }
    return *this;
}

CGenInstTreeEntries::~CGenInstTreeEntries() { clear(); }

CGenInstTreeEntries::iterator CGenInstTreeEntries::begin() { return iterator(mPimpl->mList.begin()); }
CGenInstTreeEntries::iterator CGenInstTreeEntries::end() { return iterator(mPimpl->mList.end()); }
CGenInstTreeEntries::const_iterator CGenInstTreeEntries::begin() const { return const_iterator(mPimpl->mList.cbegin()); }
CGenInstTreeEntries::const_iterator CGenInstTreeEntries::end() const { return const_iterator(mPimpl->mList.cend()); }
bool CGenInstTreeEntries::empty() const { return mPimpl->mList.empty(); }
std::size_t CGenInstTreeEntries::size() const { return mPimpl->mList.size(); }
CGenInstTreeEntry* CGenInstTreeEntries::front() const { return empty() ? nullptr : mPimpl->mList.front(); }
CGenInstTreeEntry* CGenInstTreeEntries::back() const { return empty() ? nullptr : mPimpl->mList.back(); }

CGenInstTreeEntry* CGenInstTreeEntries::at(std::size_t index) const
{
    for (CGenInstTreeEntry* e : mPimpl->mList) {
        if (index == 0)
            return e;
        --index;
    }
    throw std::out_of_range("CGenInstTreeEntries::at: index out of range");
}

void CGenInstTreeEntries::clear()
{
    if (!mPimpl)
        return;
    for (CGenInstTreeEntry* e : mPimpl->mList)
        delete e;
    mPimpl->mList.clear();
}

void CGenInstTreeEntries::push_back(std::unique_ptr<CGenInstTreeEntry> entry)
{
    if (entry)
        mPimpl->mList.push_back(entry.release());
}

CGenInstTreeEntries::iterator CGenInstTreeEntries::insert(iterator pos, std::unique_ptr<CGenInstTreeEntry> entry)
{
    if (!entry)
        return pos;
    return iterator(mPimpl->mList.insert(pos.Base(), entry.release()));
}

void CGenInstTreeEntries::AssignWithNewParent(const CGenInstTreeEntries& source, CGenInstTreeEntry* newParent)
{
    if (&source == this) {
        // Clone first: clearing would delete the source.
        CGenInstTreeEntries copy(source);
        AssignWithNewParent(copy, newParent);
        return;
    }
    clear();
    for (const CGenInstTreeEntry* e : source) {
        CGenInstTreeEntry* clone = e->Clone_Implement();
        if (clone != newParent)
            clone->mParent = newParent;
        clone->mIsRootParent = clone == newParent;
        clone->ReparentEntries();
        mPimpl->mList.push_back(clone);
    }
}

bool CGenInstTreeEntries::operator==(const CGenInstTreeEntries& o) const
{
    auto a = mPimpl->mList.cbegin();
    auto b = o.mPimpl->mList.cbegin();
    for (; a != mPimpl->mList.cend() && b != o.mPimpl->mList.cend(); ++a, ++b)
        if (!(**a == **b))
            return false;
    return true;
}

// ---- CGenInstTreeEntry

CGenInstTreeEntry::CGenInstTreeEntry(const std::string& name, long long uidEl) : mName(name), mUidElRange(uidEl, uidEl) {}

CGenInstTreeEntry::CGenInstTreeEntry(const std::string& name, const CGenRange<long long>& uidElRange)
    : mName(name), mUidElRange(uidElRange)
{
}

CGenInstTreeEntry::CGenInstTreeEntry(const CGenInstTreeEntry& o)
    : CGenTraceable<CGenInstTreeEntry>(o), mName(o.mName), mValueRange(o.mValueRange), mValueForCreate(o.mValueForCreate),
      mUidElRange(o.mUidElRange), mCompareNibbleCount(o.mCompareNibbleCount), mParent(nullptr),
      mIsRootParent(o.mIsRootParent)
{
}

CGenInstTreeEntry& CGenInstTreeEntry::operator=(const CGenInstTreeEntry& o)
{
    if (this != &o) {
        mName = o.mName;
        mValueRange = o.mValueRange;
        mValueForCreate = o.mValueForCreate;
        mUidElRange = o.mUidElRange;
        mCompareNibbleCount = o.mCompareNibbleCount;
        mIsRootParent = o.mIsRootParent;
    }
    return *this;
}

CGenInstTreeEntry::~CGenInstTreeEntry() = default;

CGenInstTreeEntry* CGenInstTreeEntry::Clone_Implement() const { return new CGenInstTreeEntry(*this); }

bool CGenInstTreeEntry::operator==(const CGenInstTreeEntry& o) const
{
    return Type() == o.Type() && mName == o.mName && mUidElRange.mMin == o.mUidElRange.mMin &&
        mUidElRange.mMax == o.mUidElRange.mMax && mUidElRange.mMinEnabled == o.mUidElRange.mMinEnabled &&
        mUidElRange.mMaxEnabled == o.mUidElRange.mMaxEnabled && mCompareNibbleCount == o.mCompareNibbleCount &&
        mIsRootParent == o.mIsRootParent;
}

CGenEv CGenInstTreeEntry::CreateEvWithUidFromEv(const CGenEv& ev) const
{
    CGenEv out(ev);
    out.mMB1 = GenInstTreeUidToMB1(Uid());
    return out;
}

CGenEv CGenInstTreeEntry::CreateEvWithUidFromUidEv(const CGenEv& ev) const { return CreateEvWithUidFromEv(ev); }

TInstTreeUid CGenInstTreeEntry::Uid() const
{
    const TInstTreeUidEl own = mUidElRange.mMin;
    if (own == TInstTreeUidEl_Undef && (mIsRootParent || mParent == nullptr))
        return TInstTreeUid_Undef;
    TInstTreeUid uid = own == TInstTreeUidEl_Undef ? 0 : own;
    for (const CGenInstTreeEntry* cur = this; cur != nullptr && !cur->mIsRootParent; cur = cur->mParent) {
        if (cur->mUidElRange.mMin != TInstTreeUidEl_Undef)
            uid |= cur->mUidElRange.mMin;
    }
    return uid;
}

std::string CGenInstTreeEntry::Path() const
{
    std::vector<const std::string*> names;
    std::size_t length = 0;
    for (const CGenInstTreeEntry* cur = this; cur != nullptr && !cur->mIsRootParent; cur = cur->mParent) {
        names.push_back(&cur->mName);
        length += cur->mName.size() + 1;
    }
    std::string path;
    path.reserve(length);
    for (auto it = names.rbegin(); it != names.rend(); ++it) {
        if (it != names.rbegin())
            path += '.';
        path += **it;
    }
    return path;
}

bool CGenInstTreeEntry::IsUndef() const
{
    return mName.empty() && mUidElRange.mMin == TInstTreeUidEl_Undef && mUidElRange.mMax == TInstTreeUidEl_Undef;
}

bool CGenInstTreeEntry::ThisOrAncestorUidEquals(TInstTreeUid uid) const
{
    if (uid == TInstTreeUid_Undef)
        return true;
    for (const CGenInstTreeEntry* cur = this; cur != nullptr && !cur->mIsRootParent; cur = cur->mParent)
        if (cur->Uid() == uid)
            return true;
    return false;
}

bool CGenInstTreeEntry::ThisOrAncestorUidMatchForRhsNonZeroNibblesToLhsUid(TInstTreeUid uid) const
{
    if (uid == TInstTreeUid_Undef)
        return true;
    for (const CGenInstTreeEntry* cur = this; cur != nullptr && !cur->mIsRootParent; cur = cur->mParent)
        if (GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(cur->Uid(), uid, cur->mCompareNibbleCount))
            return true;
    return false;
}

TInstTreeUid CGenInstTreeEntry::TopUid() const
{
    const CGenInstTreeEntry* cur = this;
    while (!cur->mIsRootParent && cur->mParent != nullptr && !cur->mParent->mIsRootParent)
        cur = cur->mParent;
    return cur->Uid();
}

void CGenInstTreeEntry::TraceStream(std::ostream& os) const
{
    os << "CGenInstTreeEntry " << (Path().empty() ? mName : Path()) << " uid " << GenInstTreeUidHexString(Uid())
       << " type " << Type();
}

void CGenInstTreeEntry::TraceStreamBrief(std::ostream& os) const
{
    os << (Path().empty() ? mName : Path()) << " " << GenInstTreeUidHexString(Uid());
}

std::ostream& operator<<(std::ostream& os, const CGenInstTreeEntry& entry)
{
    entry.TraceStream(os);
    return os;
}

// ---- CGenInstTreeEntryCollection

TInstTreeUid CGenInstTreeEntryCollection::Uid() const
{
    if (empty())
        return TInstTreeUid_Undef;
    TInstTreeUid uid = 0;
    for (const CGenInstTreeEntry* e : *this)
        if (e != nullptr)
            uid |= e->Uid();
    return uid;
}

bool CGenInstTreeEntryCollection::Contains(const CGenInstTreeEntry* entry) const
{
    if (entry == nullptr)
        return false;
    for (const CGenInstTreeEntry* e : *this)
        if (e == entry)
            return true;
    return false;
}

bool CGenInstTreeEntryCollection::Contains(TInstTreeUid uid) const
{
    if (uid == TInstTreeUid_Undef)
        return true;
    for (const CGenInstTreeEntry* e : *this) {
        if (e == nullptr)
            continue;
        if (e->ThisOrAncestorUidEquals(uid) || e->TopUid() == TInstTreeUid_Undef)
            return true;
    }
    return false;
}

bool CGenInstTreeEntryCollection::ContainsEntryOrAncestorUidMatchForRhsNonZeroNibbles(TInstTreeUid uid) const
{
    if (uid == TInstTreeUid_Undef)
        return true;
    for (const CGenInstTreeEntry* e : *this) {
        if (e == nullptr)
            continue;
        const TInstTreeUid own = e->Uid();
        if (own == TInstTreeUid_Undef || GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(uid, own, e->mCompareNibbleCount))
            return true;
    }
    return false;
}

void CGenInstTreeEntryCollection::TraceStream(std::ostream& os) const
{
    os << "CGenInstTreeEntryCollection size " << size() << " uid " << GenInstTreeUidHexString(Uid());
    for (const CGenInstTreeEntry* e : *this) {
        os << "\n  ";
        if (e == nullptr)
            os << "null";
        else
            e->TraceStreamBrief(os);
    }
}

void CGenInstTreeEntryCollection::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenInstTreeEntryCollection size " << size() << " uid " << GenInstTreeUidHexString(Uid());
}

std::ostream& operator<<(std::ostream& os, const CGenInstTreeEntryCollection& c)
{
    c.TraceStream(os);
    return os;
}
