#include "Generator/library/CGenInstLib.h"

#include "Generator/clave/CGenClaveLib.h"
#include "Platform/ZKNotificationCenter.h"

namespace {

constexpr TPatternGraphType kLayerOfPlace[5] = {TPatternGraphType_AccentFamily, TPatternGraphType_AccentAddon,
    TPatternGraphType_System, TPatternGraphType_Fill, TPatternGraphType_Percussion};

// Brackets one change of a list of instrument libraries with its notifications.
class TInstLibsUpdate {
public:
    TInstLibsUpdate() { ZKNotificationCenter::DefaultCenter().Post(CGenInstLibs::kWillUpdateNotification); }
    ~TInstLibsUpdate() { ZKNotificationCenter::DefaultCenter().Post(CGenInstLibs::kDidUpdateNotification); }
    TInstLibsUpdate(const TInstLibsUpdate&) = delete;
    TInstLibsUpdate& operator=(const TInstLibsUpdate&) = delete;
};

void Widen(float v, float& lo, float& hi)
{
    if (GenIsUndef(v))
        return;
    if (GenIsUndef(lo) || v < lo)
        lo = v;
    if (GenIsUndef(hi) || v > hi)
        hi = v;
}

} // namespace

CGenInstLib::CGenInstLib(_TGenInstType type)
    : mInstType(type),
      mConcretizer(type),
      mPatternGraphs {CGenPatternGraphBoost(kLayerOfPlace[0]), CGenPatternGraphBoost(kLayerOfPlace[1]),
          CGenPatternGraphBoost(kLayerOfPlace[2]), CGenPatternGraphBoost(kLayerOfPlace[3]),
          CGenPatternGraphBoost(kLayerOfPlace[4])},
      mInstTree(DefaultInstTreeForInstType(type))
{
    InitSignTimeTrafosForThisInstType();
}

std::shared_ptr<const CGenInstTree> CGenInstLib::DefaultInstTreeForInstType(_TGenInstType type)
{
    if (type != TGenInstType_Drums && type != TGenInstType_Percussion)
        return nullptr;
    // Built once; every library shares it.
    static const std::shared_ptr<const CGenInstTree> kDrumTree = std::make_shared<CGenInstTree>(GenDrumInstTreeV1());
    return kDrumTree;
}

void CGenInstLib::_FixLayerTypes()
{
    for (size_t i = 0; i < mPatternGraphs.size(); ++i)
        mPatternGraphs[i].SetPatternGraphType(kLayerOfPlace[i]);
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

void CGenInstLib::FindPatternCoordIntMinAndMax(float& minCompl, float& maxCompl, float& minIntn, float& maxIntn) const
{
    for (const auto& g : mPatternGraphs)
        for (size_t v = 0; v < g.PatternCount(); ++v) {
            const CGenPatternCoordInt& c = g.PatternAtIx(v).mCoord;
            Widen(c.mComplInt, minCompl, maxCompl);
            Widen(c.mIntnInt, minIntn, maxIntn);
        }
}

CGenPatternCoordConv CGenInstLib::CalcPatternCoordConv() const
{
    CGenPatternCoordConv conv;
    conv.SetToUndef();
    FindPatternCoordIntMinAndMax(conv.mMinComplInt, conv.mMaxComplInt, conv.mMinIntnInt, conv.mMaxIntnInt);
    return conv;
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

void CGenInstLib::SetWeakClaveLibs(CGenClaveLibs* libs)
{
    for (auto& g : mPatternGraphs)
        g.SetWeakClaveLibs(libs);
    mFills.SetWeakClaveLibs(libs);
}

void CGenInstLib::EraseContent()
{
    for (size_t i = 0; i < mPatternGraphs.size(); ++i) {
        CGenClaveLibs* libs = mPatternGraphs[i].WeakClaveLibs();
        mPatternGraphs[i] = CGenPatternGraphBoost(kLayerOfPlace[i]);
        mPatternGraphs[i].SetWeakClaveLibs(libs);
    }
    InitSignTimeTrafosForThisInstType();
    mStyles.clear();
    CGenClaveLibs* libs = mFills.WeakClaveLibs();
    mFills = CGenFills();
    mFills.SetWeakClaveLibs(libs);
    mFillCreateRules.clear();
}

void CGenInstLib::EraseAllClaveLinks()
{
    for (auto& g : mPatternGraphs)
        g.EraseAllClaveLinks();
    mFills.EraseAllClaveLinks();
}

void CGenInstLib::EraseAllClaveLinksFor(int ix)
{
    for (auto& g : mPatternGraphs)
        g.EraseAllClaveLinksFor(ix);
    mFills.EraseAllClaveLinksFor(ix);
}

bool CGenInstLib::CheckContentSanity(const std::string& prefix, std::string& text) const
{
    const std::string p = prefix + std::to_string(static_cast<int>(mInstType)) + " " + InstName() + " ";
    bool good = true;
    for (const auto& g : mPatternGraphs)
        good = g.CheckContentSanity(p, text) && good;
    return mFills.CheckContentSanity(p, text) && good;
}

CGenInstLibs::CGenInstLibs(CGenClaveLibs* claveLibs) : mClaveLibs(claveLibs)
{
    emplace_back(TGenInstType_Drums);
    back().SetWeakClaveLibs(mClaveLibs);
}

void CGenInstLibs::AddInstLib(const CGenInstLib& lib)
{
    TInstLibsUpdate update;
    push_back(lib);
    back().SetWeakClaveLibs(mClaveLibs);
}

void CGenInstLibs::EraseInstLib(iterator it)
{
    TInstLibsUpdate update;
    erase(it);
}

void CGenInstLibs::EraseAll()
{
    TInstLibsUpdate update;
    clear();
}

void CGenInstLibs::EraseAllAndCreateDummy()
{
    TInstLibsUpdate update;
    clear();
    CGenInstLib& lib = emplace_back(TGenInstType_Undef);
    for (auto& g : lib.mPatternGraphs)
        g.VaryIntns().CreateDummy();
    lib.SetWeakClaveLibs(mClaveLibs);
}

CGenInstLib* CGenInstLibs::FindInstLib(_TGenInstType type)
{
    for (auto& l : *this)
        if (l.mInstType == type)
            return &l;
    return nullptr;
}

const CGenInstLib* CGenInstLibs::FindInstLib(_TGenInstType type) const
{
    for (const auto& l : *this)
        if (l.mInstType == type)
            return &l;
    return nullptr;
}

void CGenInstLibs::SetClaveLibs(CGenClaveLibs* libs)
{
    mClaveLibs = libs;
    for (auto& l : *this)
        l.SetWeakClaveLibs(libs);
}

bool CGenInstLibs::CheckContentSanity(const std::string& prefix, std::string& text) const
{
    const std::string p = prefix + "CGenInstLib ";
    bool good = true;
    for (const auto& l : *this)
        good = l.CheckContentSanity(p, text) && good;
    return good;
}
