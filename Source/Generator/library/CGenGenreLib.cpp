#include "Generator/library/CGenGenreLib.h"

#include "Platform/ZKTime.h"

CGenGenreLib::CGenGenreLib(std::string genre)
    : mGenre(std::move(genre)), mClaveLibs(CGenClaveLib("DefaultClaveLib from ctor")), mInstLibs(&mClaveLibs),
      mPimpl(std::make_unique<Pimpl>())
{
    _SetWeakPointersToClaveLibs();
}

CGenGenreLib::CGenGenreLib(const CGenGenreLib& o)
    : mGenre(o.mGenre), mClaveLibs(o.mClaveLibs), mInstLibs(o.mInstLibs), mGrooves(o.mGrooves),
      mArticPatterns(o.mArticPatterns), mPimpl(std::make_unique<Pimpl>())
{
    mPimpl->mDrumMap = std::make_shared<CGenDrumMap>(*o.mPimpl->mDrumMap);
    _SetWeakPointersToClaveLibs();
}

CGenGenreLib::CGenGenreLib(CGenGenreLib&& o) noexcept
    : mGenre(std::move(o.mGenre)), mClaveLibs(std::move(o.mClaveLibs)), mInstLibs(std::move(o.mInstLibs)),
      mGrooves(std::move(o.mGrooves)), mArticPatterns(std::move(o.mArticPatterns)), mPimpl(std::move(o.mPimpl))
{
    // A moved-from genre stays usable: it gets a fresh drum map.
    o.mPimpl = std::make_unique<Pimpl>();
    o._SetWeakPointersToClaveLibs();
    _SetWeakPointersToClaveLibs();
}

CGenGenreLib& CGenGenreLib::operator=(const CGenGenreLib& o)
{
    if (this != &o) {
        CGenGenreLib copy(o);
        *this = std::move(copy);
    }
    return *this;
}

CGenGenreLib& CGenGenreLib::operator=(CGenGenreLib&& o) noexcept
{
    if (this != &o) {
        mGenre = std::move(o.mGenre);
        mClaveLibs = std::move(o.mClaveLibs);
        mInstLibs = std::move(o.mInstLibs);
        mGrooves = std::move(o.mGrooves);
        mArticPatterns = std::move(o.mArticPatterns);
        std::swap(mPimpl, o.mPimpl);
        o._SetWeakPointersToClaveLibs();
    }
    _SetWeakPointersToClaveLibs();
    return *this;
}

CGenGenreLib::~CGenGenreLib() = default;

const CGenDrumMap* CGenGenreLib::DrumMap() const { return mPimpl->mDrumMap.get(); }

void CGenGenreLib::SetDrumMap(const CGenDrumMap& drumMap) { mPimpl->mDrumMap = std::make_shared<CGenDrumMap>(drumMap); }

void CGenGenreLib::_SetWeakPointersToClaveLibs() { mInstLibs.SetClaveLibs(&mClaveLibs); }

bool CGenGenreLib::AssertWeakClaveLibs() const
{
    for (const auto& l : mInstLibs)
        for (const auto& g : l.mPatternGraphs)
            if (g.WeakClaveLibs() != &mClaveLibs)
                return false;
    return mInstLibs.ClaveLibs() == &mClaveLibs;
}

std::vector<std::string> CGenGenreLib::InstNames() const
{
    std::vector<std::string> names;
    for (const auto& l : mInstLibs)
        names.push_back(l.InstName());
    return names;
}

void CGenGenreLib::RandomSeed(uint32_t seed)
{
    for (auto& l : mInstLibs)
        l.RandomSeed(seed);
}

void CGenGenreLib::SetAllPatternCoordConv(const CGenPatternCoordConv& conv)
{
    for (auto& l : mInstLibs)
        l.SetAllPatternCoordConv(conv);
}

void CGenGenreLib::FindPatternCoordIntMinAndMax(float& minCompl, float& maxCompl, float& minIntn, float& maxIntn) const
{
    for (const auto& l : mInstLibs)
        l.FindPatternCoordIntMinAndMax(minCompl, maxCompl, minIntn, maxIntn);
}

CGenPatternCoordConv CGenGenreLib::CalcPatternCoordConv() const
{
    CGenPatternCoordConv conv;
    conv.SetToUndef();
    FindPatternCoordIntMinAndMax(conv.mMinComplInt, conv.mMaxComplInt, conv.mMinIntnInt, conv.mMaxIntnInt);
    return conv;
}

void CGenGenreLib::InitSignTimeTrafosForThisInstType()
{
    for (auto& l : mInstLibs)
        l.InitSignTimeTrafosForThisInstType();
}

void CGenGenreLib::CreateDummy()
{
    mInstLibs.EraseAllAndCreateDummy();
    mGrooves.CreateDummy();
    mArticPatterns.CreateDummy();
}

void CGenGenreLib::EraseContent()
{
    for (auto& l : mInstLibs)
        l.EraseContent();
    mGrooves.clear();
    mArticPatterns.clear();
}

void CGenGenreLib::EraseAllClavePatternsAndAllClaveLinks()
{
    for (CGenClaveLib& lib : mClaveLibs) {
        lib.clear();
        lib.SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    }
    EraseAllClaveLinks();
}

void CGenGenreLib::EraseAllClaveLinks()
{
    for (auto& l : mInstLibs)
        l.EraseAllClaveLinks();
}

void CGenGenreLib::RemoveClavePattern(int ix)
{
    CGenClaveLib* family = mClaveLibs.FindClaveLibForName("Family");
    if (!family || ix < 0 || static_cast<size_t>(ix) >= family->size())
        return;
    family->erase(family->begin() + ix);
    family->SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    for (auto& l : mInstLibs)
        for (auto& g : l.mPatternGraphs)
            g.RemoveClavePattern(ix);
}

bool CGenGenreLib::CheckContentSanity(const std::string& prefix, std::string& text) const
{
    const std::string p = prefix + mGenre + " ";
    bool good = true;
    for (const CGenClaveLib& lib : mClaveLibs)
        good = lib.CheckContentSanity(p, text) && good;
    good = mInstLibs.CheckContentSanity(p, text) && good;
    for (const CGenGroove& groove : mGrooves)
        good = groove.CheckContentSanity(p + "CGenGroove ", text) && good;
    good = mArticPatterns.CheckContentSanity(p, text) && good;
    return good;
}

std::pair<CGenGenreLibs::iterator, bool> CGenGenreLibs::FindGenreLibFor(const std::string& name)
{
    const auto it = std::find_if(begin(), end(), [&name](const CGenGenreLib& g) { return g.mGenre == name; });
    return {it, it != end()};
}

std::pair<CGenGenreLibs::const_iterator, bool> CGenGenreLibs::FindGenreLibFor(const std::string& name) const
{
    const auto it = std::find_if(begin(), end(), [&name](const CGenGenreLib& g) { return g.mGenre == name; });
    return {it, it != end()};
}

std::pair<CGenInstLib*, bool> CGenGenreLibs::FindInstLibFor(const std::string& name, _TGenInstType instType)
{
    const auto [genre, found] = FindGenreLibFor(name);
    CGenInstLib* lib = found ? genre->FindInstLib(instType) : nullptr;
    return {lib, lib != nullptr};
}

std::pair<const CGenInstLib*, bool> CGenGenreLibs::FindInstLibFor(const std::string& name, _TGenInstType instType) const
{
    const auto [genre, found] = FindGenreLibFor(name);
    const CGenInstLib* lib = found ? genre->FindInstLib(instType) : nullptr;
    return {lib, lib != nullptr};
}

CGenGenreLib* CGenGenreLibs::FindGenreLib(const std::string& name)
{
    const auto [it, found] = FindGenreLibFor(name);
    return found ? &*it : nullptr;
}

const CGenGenreLib* CGenGenreLibs::FindGenreLib(const std::string& name) const
{
    const auto [it, found] = FindGenreLibFor(name);
    return found ? &*it : nullptr;
}

std::vector<std::string> CGenGenreLibs::GenreNames() const
{
    std::vector<std::string> names;
    for (const auto& g : *this)
        names.push_back(g.mGenre);
    return names;
}

std::vector<std::string> CGenGenreLibs::GenreAndInstNames() const
{
    std::vector<std::string> names;
    for (const auto& g : *this)
        for (const auto& l : g.mInstLibs)
            names.push_back(g.mGenre + " " + l.InstName());
    return names;
}

void CGenGenreLibs::RandomSeed(uint32_t seed)
{
    for (auto& g : *this)
        g.RandomSeed(seed);
}

void CGenGenreLibs::RandomSeedWithSystemClock() { RandomSeed(ZKClockSeed()); }

CGenGenreLib& CGenGenreLibs::CreateDefaultGenre()
{
    CGenGenreLib& g = emplace_back("DefaultGenre");
    for (auto& l : g.mInstLibs)
        if (l.mStyles.empty()) {
            l.mStyles.push_back(CGenStyle("Default"));
            l.mStyles.back().StyleGraphs().MakeEntries();
        }
    return g;
}

bool CGenGenreLibs::CheckContentSanity(const std::string& prefix, std::string& text) const
{
    const std::string p = prefix + "GenreLib ";
    bool good = true;
    for (size_t i = 0; i < size(); ++i)
        good = (*this)[i].CheckContentSanity(p + ", ix" + std::to_string(i) + " ", text) && good;
    return good;
}
