#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/archive/text_iarchive.hpp>
#include <boost/archive/text_oarchive.hpp>
#include <boost/archive/xml_iarchive.hpp>
#include <boost/archive/xml_oarchive.hpp>

#include "Generator/CGenSafeArchive.h"

#include "Generator/instruments/CGenInstTreeVertex.h"

#include "Generator/instruments/CGenInstTreePathParser.h"

#include <cerrno>
#include <cstdlib>

BOOST_CLASS_EXPORT_IMPLEMENT(CGenInstTreeVertex)

namespace {

constexpr std::string_view kRangeNumberPrefix = "RangeNumber(";

// The leading integer of a text as strtol reads it; `fallback` if there is none.
long ReadLeadingInt(std::string_view text, long fallback)
{
    const std::string s(text);
    errno = 0;
    char* end = nullptr;
    const long v = std::strtol(s.c_str(), &end, 10);
    if (end == s.c_str() || errno == ERANGE)
        return fallback;
    return v;
}

// "RangeNumber(lo-hi)" against a name read as an integer (-1 if unreadable).
bool RangeNumberMatches(std::string_view childName, std::string_view name)
{
    const std::size_t open = kRangeNumberPrefix.size() - 1;
    const std::size_t dash = childName.find('-', open + 1);
    if (dash == std::string_view::npos)
        return false;
    const std::size_t close = childName.find(')', dash + 1);
    const std::string_view loText = childName.substr(open + 1, dash - open - 1);
    const std::string_view hiText =
        childName.substr(dash + 1, close == std::string_view::npos ? std::string_view::npos : close - dash - 1);
    const long lo = ReadLeadingInt(loText, 0);
    const long hi = ReadLeadingInt(hiText, 0);
    const long value = ReadLeadingInt(name, -1);
    return lo <= value && value <= hi;
}

} // namespace

CGenInstTreeVertex::CGenInstTreeVertex(const std::string& name, TEntriesAre entriesAre, long long uidEl)
    : CGenInstTreeEntry(name, uidEl), mEntriesAre(entriesAre)
{
}

CGenInstTreeVertex::CGenInstTreeVertex(const std::string& name, TEntriesAre entriesAre, const CGenRange<long long>& uidElRange)
    : CGenInstTreeEntry(name, uidElRange), mEntriesAre(entriesAre)
{
}

CGenInstTreeVertex::CGenInstTreeVertex(const CGenInstTreeVertex& o)
    : CGenInstTreeEntry(o), mEntriesCtr(o.mEntriesCtr), mDefaultCtrValue(o.mDefaultCtrValue), mEntries(o.mEntries),
      mEntriesAre(o.mEntriesAre)
{
    ReparentEntries();
}

CGenInstTreeVertex::CGenInstTreeVertex(CGenInstTreeVertex&& o) noexcept
    : CGenInstTreeEntry(o), mEntriesCtr(o.mEntriesCtr), mDefaultCtrValue(o.mDefaultCtrValue),
      mEntries(std::move(o.mEntries)), mEntriesAre(o.mEntriesAre)
{
    ReparentEntries();
}

CGenInstTreeVertex& CGenInstTreeVertex::operator=(const CGenInstTreeVertex& o)
{
    if (this != &o) {
        CGenInstTreeEntry::operator=(o);
        mEntriesCtr = o.mEntriesCtr;
        mDefaultCtrValue = o.mDefaultCtrValue;
        mEntries = o.mEntries;
        mEntriesAre = o.mEntriesAre;
        ReparentEntries();
    }
    return *this;
}

CGenInstTreeVertex& CGenInstTreeVertex::operator=(CGenInstTreeVertex&& o) noexcept
{
    if (this != &o) {
        CGenInstTreeEntry::operator=(o);
        mEntriesCtr = o.mEntriesCtr;
        mDefaultCtrValue = o.mDefaultCtrValue;
        mEntries = std::move(o.mEntries);
        mEntriesAre = o.mEntriesAre;
        ReparentEntries();
    }
    return *this;
}

CGenInstTreeVertex::~CGenInstTreeVertex() = default;

bool CGenInstTreeVertex::operator==(const CGenInstTreeEntry& o) const
{
    const auto* v = dynamic_cast<const CGenInstTreeVertex*>(&o);
    return v != nullptr && *this == *v;
}

bool CGenInstTreeVertex::operator==(const CGenInstTreeVertex& o) const
{
    return CGenInstTreeEntry::operator==(static_cast<const CGenInstTreeEntry&>(o)) && mEntries == o.mEntries &&
        mEntriesAre == o.mEntriesAre;
}

std::size_t CGenInstTreeVertex::CountLeafs() const
{
    std::size_t n = 0;
    for (const CGenInstTreeEntry* e : mEntries)
        n += e->CountLeafs();
    return n;
}

void CGenInstTreeVertex::EntriesAdd(const CGenInstTreeEntry& entry)
{
    std::unique_ptr<CGenInstTreeEntry> clone = entry.Clone();
    if (clone.get() != this)
        clone->mParent = this;
    clone->mIsRootParent = false;
    clone->ReparentEntries();
    mEntries.push_back(std::move(clone));
}

std::size_t CGenInstTreeVertex::RecursiveEntriesSize() const
{
    std::size_t n = 0;
    for (const CGenInstTreeEntry* e : mEntries)
        n += 1 + e->RecursiveEntriesSize();
    return n;
}

const CGenInstTreeEntry* CGenInstTreeVertex::_FindEntryWithName(std::string_view name) const
{
    for (const CGenInstTreeEntry* e : mEntries) {
        const std::string& childName = e->mName;
        if (childName.compare(0, kRangeNumberPrefix.size(), kRangeNumberPrefix) == 0) {
            if (RangeNumberMatches(childName, name))
                return e;
        } else if (childName == name) {
            return e;
        }
    }
    return nullptr;
}

CGenInstTreeEntry* CGenInstTreeVertex::FindEntryWithName(const std::string& name)
{
    return const_cast<CGenInstTreeEntry*>(_FindEntryWithName(name));
}

const CGenInstTreeEntry* CGenInstTreeVertex::FindEntryWithName(const std::string& name) const
{
    return _FindEntryWithName(name);
}

const CGenInstTreeEntry* CGenInstTreeVertex::_FindEntryWithSinglePath(std::string_view path) const
{
    const CGenInstTreeVertex* vertex = this;
    while (true) {
        if (path.empty())
            return nullptr;
        const std::size_t dot = path.find('.');
        const CGenInstTreeEntry* child = vertex->_FindEntryWithName(path.substr(0, dot));
        if (child == nullptr || dot == std::string_view::npos)
            return child;
        path.remove_prefix(dot + 1);
        // Only vertices lead further; a path longer than the tree finds nothing.
        vertex = dynamic_cast<const CGenInstTreeVertex*>(child);
        if (vertex == nullptr)
            return child->FindEntryWithSinglePath(std::string(path));
    }
}

CGenInstTreeEntry* CGenInstTreeVertex::FindEntryWithSinglePath(const std::string& path)
{
    return const_cast<CGenInstTreeEntry*>(_FindEntryWithSinglePath(path));
}

const CGenInstTreeEntry* CGenInstTreeVertex::FindEntryWithSinglePath(const std::string& path) const
{
    return _FindEntryWithSinglePath(path);
}

CGenInstTreeEntryCollection CGenInstTreeVertex::FindEntryCollectionWithPath(const std::string& path)
{
    return static_cast<const CGenInstTreeVertex&>(*this).FindEntryCollectionWithPath(path);
}

CGenInstTreeEntryCollection CGenInstTreeVertex::FindEntryCollectionWithPath(const std::string& path) const
{
    CGenInstTreeEntryCollection collection;
    if (path.empty())
        return collection;
    CGenInstTreePathParser parser(path, CGenInstTreePathParser::TSort_Keep);
    for (const std::string& plain : parser.results())
        if (const CGenInstTreeEntry* e = _FindEntryWithSinglePath(plain))
            collection.push_back(e);
    return collection;
}

TInstTreeUid CGenInstTreeVertex::FindUidWithPath(const std::string& path) const
{
    if (path.empty())
        return TInstTreeUid_Undef;
    CGenInstTreePathParser parser(path, CGenInstTreePathParser::TSort_Keep);
    TInstTreeUid uid = 0;
    bool found = false;
    for (const std::string& plain : parser.results()) {
        if (const CGenInstTreeEntry* e = _FindEntryWithSinglePath(plain)) {
            uid |= e->Uid();
            found = true;
        }
    }
    return found ? uid : TInstTreeUid_Undef;
}

void CGenInstTreeVertex::ReparentEntries()
{
    for (CGenInstTreeEntry* e : mEntries) {
        if (e != this)
            e->mParent = this;
        e->mIsRootParent = e == this;
        e->ReparentEntries();
    }
}

void CGenInstTreeVertex::EntriesClear() { mEntries.clear(); }

void CGenInstTreeVertex::_CollectEntriesForUid(TInstTreeUid uid, CGenInstTreeEntryCollection* collection, bool& found) const
{
    // Depth first, parent before children; vertices are entered whether they
    // matched or not.
    auto visit = [&](const CGenInstTreeEntry& e, auto& self) -> void {
        const TInstTreeUid own = e.Uid();
        if (own != 0 && GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(uid, own, e.mCompareNibbleCount)) {
            found = true;
            if (collection == nullptr)
                return;
            collection->push_back(&e);
        }
        if (const CGenInstTreeEntries* children = e.Entries())
            for (const CGenInstTreeEntry* c : *children) {
                self(*c, self);
                if (found && collection == nullptr)
                    return;
            }
    };
    visit(*this, visit);
}

void CGenInstTreeVertex::FindEntriesForUid(TInstTreeUid uid, CGenInstTreeEntryCollection& collection) const
{
    bool found = false;
    _CollectEntriesForUid(uid, &collection, found);
}

bool CGenInstTreeVertex::ContainsEntryOrAncestor(const CGenInstTreeEntry* entry) const
{
    for (const CGenInstTreeEntry* cur = entry; cur != nullptr; cur = cur->mParent)
        if (cur == this)
            return true;
    return false;
}

bool CGenInstTreeVertex::ContainsEntryOrAncestorUidMatchForRhsNonZeroNibbles(TInstTreeUid uid) const
{
    bool found = false;
    _CollectEntriesForUid(uid, nullptr, found);
    return found;
}

CGenInstTreeEntry* CGenInstTreeVertex::EntryAt(std::size_t index)
{
    return index < mEntries.size() ? mEntries.at(index) : nullptr;
}

const CGenInstTreeEntry* CGenInstTreeVertex::EntryAt(std::size_t index) const
{
    return index < mEntries.size() ? mEntries.at(index) : nullptr;
}

void CGenInstTreeVertex::VisitEntries(const std::function<void(const CGenInstTreeEntry& entry, int depth)>& visit) const
{
    auto walk = [&](const CGenInstTreeEntries& entries, int depth, auto& self) -> void {
        for (const CGenInstTreeEntry* e : entries) {
            visit(*e, depth);
            if (const CGenInstTreeEntries* children = e->Entries())
                self(*children, depth + 1, self);
        }
    };
    walk(mEntries, 0, walk);
}

void CGenInstTreeVertex::TraceStream(std::ostream& os) const
{
    os << "CGenInstTreeVertex " << (Path().empty() ? mName : Path()) << " uid " << GenInstTreeUidHexString(Uid()) << " "
       << TEntriesAreName(mEntriesAre) << " entries " << mEntries.size();
    for (const CGenInstTreeEntry* e : mEntries) {
        os << "\n  ";
        e->TraceStreamBrief(os);
    }
}

void CGenInstTreeVertex::TraceStreamBrief(std::ostream& os) const
{
    os << (Path().empty() ? mName : Path()) << " " << GenInstTreeUidHexString(Uid()) << " " << TEntriesAreName(mEntriesAre);
}
