#include "Generator/library/CGenGenreLibs.h"

#include "Platform/ZKTime.h"

CGenInstLib::CGenInstLib(_TGenInstType type)
    : mInstType(type),
      mPatternGraphs {CGenPatternGraphBoost(TPatternGraphType_AccentFamily), CGenPatternGraphBoost(TPatternGraphType_AccentAddon),
          CGenPatternGraphBoost(TPatternGraphType_System), CGenPatternGraphBoost(TPatternGraphType_Fill),
          CGenPatternGraphBoost(TPatternGraphType_Percussion)}
{
    InitSignTimeTrafosForThisInstType();
}

void CGenInstLib::InitSignTimeTrafosForThisInstType()
{
    for (auto& g : mPatternGraphs)
        g.InitSignTimeTrafos(mInstType);
}

CGenPatternGraphBoost& CGenInstLib::PatternGraph(TPatternGraphType type)
{
    return mPatternGraphs[(type >= 1 && type <= 4) ? static_cast<size_t>(type) : 0];
}

const CGenPatternGraphBoost& CGenInstLib::PatternGraph(TPatternGraphType type) const
{
    return mPatternGraphs[(type >= 1 && type <= 4) ? static_cast<size_t>(type) : 0];
}

CGenPatternCoordConv CGenInstLib::PatternCoordConvForType(const CGenInstLib* lib, TPatternGraphType type)
{
    if (!lib) {
        CGenPatternCoordConv undef;
        undef.SetToUndef();
        return undef;
    }
    return lib->PatternGraph(type).PatternCoordConv();
}

void CGenInstLib::SetAllPatternCoordConv(const CGenPatternCoordConv& conv)
{
    for (auto& g : mPatternGraphs)
        g.SetPatternCoordConv(conv);
}

void CGenInstLib::RandomSeed(uint32_t seed)
{
    for (auto& g : mPatternGraphs)
        g.Random().SetSeed(seed);
}

void CGenInstLib::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    if (!mStyles || mStyles->empty())
        report += prefix + InstName(mInstType) + ": no styles\n";
    const std::string graphPrefix = prefix + std::to_string(int(mInstType)) + " " + InstName(mInstType) + " ";
    for (const auto& g : mPatternGraphs)
        g.CheckContentSanity(graphPrefix, report);
}

CGenGenreLib::CGenGenreLib(std::string genre)
    : mGenre(std::move(genre)), mClaveLibs(CGenClaveLib("DefaultClaveLib from ctor"))
{
    mInstLibs.emplace_back(TGenInstType_Drums);
    _SetWeakPointersToClaveLibs();
}

CGenGenreLib::CGenGenreLib(const CGenGenreLib& o) : mGenre(o.mGenre), mClaveLibs(o.mClaveLibs), mInstLibs(o.mInstLibs)
{
    _SetWeakPointersToClaveLibs();
}

CGenGenreLib::CGenGenreLib(CGenGenreLib&& o) noexcept
    : mGenre(std::move(o.mGenre)), mClaveLibs(std::move(o.mClaveLibs)), mInstLibs(std::move(o.mInstLibs))
{
    _SetWeakPointersToClaveLibs();
}

CGenGenreLib& CGenGenreLib::operator=(const CGenGenreLib& o)
{
    if (this != &o) {
        mGenre = o.mGenre;
        mClaveLibs = o.mClaveLibs;
        mInstLibs = o.mInstLibs;
        _SetWeakPointersToClaveLibs();
    }
    return *this;
}

CGenGenreLib& CGenGenreLib::operator=(CGenGenreLib&& o) noexcept
{
    mGenre = std::move(o.mGenre);
    mClaveLibs = std::move(o.mClaveLibs);
    mInstLibs = std::move(o.mInstLibs);
    _SetWeakPointersToClaveLibs();
    return *this;
}

void CGenGenreLib::_SetWeakPointersToClaveLibs()
{
    for (auto& l : mInstLibs)
        for (auto& g : l.mPatternGraphs)
            g.SetWeakClaveLibs(&mClaveLibs);
}

bool CGenGenreLib::AssertWeakClaveLibs() const
{
    for (const auto& l : mInstLibs)
        for (const auto& g : l.mPatternGraphs)
            if (g.WeakClaveLibs() != &mClaveLibs)
                return false;
    return true;
}

CGenInstLib* CGenGenreLib::FindInstLib(_TGenInstType type)
{
    for (auto& l : mInstLibs)
        if (l.mInstType == type)
            return &l;
    return nullptr;
}

const CGenInstLib* CGenGenreLib::FindInstLib(_TGenInstType type) const
{
    return const_cast<CGenGenreLib*>(this)->FindInstLib(type);
}

void CGenGenreLib::SetAllPatternCoordConv(const CGenPatternCoordConv& conv)
{
    for (auto& l : mInstLibs)
        l.SetAllPatternCoordConv(conv);
}

void CGenGenreLib::RandomSeed(uint32_t seed)
{
    for (auto& l : mInstLibs)
        l.RandomSeed(seed);
}

void CGenGenreLib::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    if (mInstLibs.empty())
        report += prefix + mGenre + ": no instrument libraries\n";
    for (const auto& l : mInstLibs)
        l.CheckContentSanity(prefix + mGenre + ": ", report);
}

CGenGenreLib* CGenGenreLibs::FindGenreLib(const std::string& genre)
{
    for (auto& g : *this)
        if (g.mGenre == genre)
            return &g;
    return nullptr;
}

const CGenGenreLib* CGenGenreLibs::FindGenreLib(const std::string& genre) const
{
    return const_cast<CGenGenreLibs*>(this)->FindGenreLib(genre);
}

CGenInstLib* CGenGenreLibs::FindInstLib(const std::string& genre, _TGenInstType type)
{
    CGenGenreLib* g = FindGenreLib(genre);
    return g ? g->FindInstLib(type) : nullptr;
}

void CGenGenreLibs::RandomSeed(uint32_t seed)
{
    for (auto& g : *this)
        g.RandomSeed(seed);
}

void CGenGenreLibs::RandomSeedWithSystemClock() { RandomSeed(ZKClockSeed()); }

CGenGenreLib& CGenGenreLibs::CreateDefaultGenre()
{
    if (CGenGenreLib* g = FindGenreLib(CGenGenreLib::kDefaultGenreName))
        return *g;
    CGenGenreLib& g = emplace_back(CGenGenreLib::kDefaultGenreName);
    for (auto& l : g.mInstLibs)
        if (!l.mStyles)
            l.mStyles = std::make_shared<CGenStyles>(CGenStyles {CGenStyle("Default")});
    return g;
}

bool CGenGenreLibs::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    const size_t before = report.size();
    if (empty())
        report += prefix + "no genres\n";
    for (const auto& g : *this)
        g.CheckContentSanity(prefix, report);
    return report.size() == before;
}
