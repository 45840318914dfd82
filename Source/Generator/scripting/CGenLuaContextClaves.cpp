// The context's clave calls: the clave pattern of a library around the
// generate position, and the song's clave filtered by velocity, read bar by
// bar as names, as bits of the universal alphabet or as events.

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/clave/CGenClaveLib.h"
#include "Generator/clave/CGenClaveUniAlphabet.h"
#include "Generator/library/CGenGenreLib.h"
#include "Generator/patterns/CGenPattern.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/scripting/CGenLuaContextPrivate.h"

#include <cmath>
#include <memory>

namespace zkgen::lua::ctxapi {

namespace {

using CGenLua::CollectGarbage;
using CGenLua::LuaPattern;
using CGenLua::LuaPatterns;

const char* const kFamily = "Family";
const char* const kAddOn = "AddOn";

// The name of the clave pattern that the library's timetable has `offset`
// entries from the one at the generate position; nothing without one.
int PushTimetableName(lua_State* L, const char* name, const char* libName)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, name, 2, 2);
    const auto offset = static_cast<int>(ArgInteger(L, 2, name));
    const int ix = ctx.mNearestClavePatternInfos.GetClavePatternIxAtOffset(libName, offset);
    const CGenClaveLib* lib = ctx.mGenreLib ? ctx.mGenreLib->mClaveLibs.FindClaveLibForName(libName) : nullptr;
    if (!lib || ix < 0 || static_cast<size_t>(ix) >= lib->size())
        return 0;
    const std::string& text = (*lib)[static_cast<size_t>(ix)].mName;
    lua_pushlstring(L, text.data(), text.size());
    return 1;
}

// One bar of the song's clave, kept to the events of a velocity range.
struct TFilteredBar {
    const CGenClaveLib* mLib = nullptr;
    CGenEvsClave mEvs;
    float mBarStart = TGenBeatPos_Undef;
    float mBarEnd = TGenBeatPos_Undef;
    float mTolerance = CGenEvsClave::kDefaultTolerance;
};

// The song's clave with the events whose velocity lies in [minVel, maxVel];
// the track's length stays, so that grid reads stop where the clave stops.
CGenEvsClave FilterByVelocity(const CGenEvsClave& clave, double minVel, double maxVel)
{
    CGenEvsClave out;
    out.mLength = clave.mLength;
    for (const CGenEvClave& ev : clave) {
        const int vel = ClaveWeightToVelocity(ev.mWeight);
        if (vel >= minVel && vel <= maxVel)
            out.push_back(ev);
    }
    return out;
}

// The reader that every filtered call shares: self, then the clave library's
// name, the bar offset from the bar of the generate position (0 that bar, -1
// the one before), the velocity range (both ends included, the velocity of a
// clave event being that of its weight), and a fifth parameter: the reading
// tolerance in beats. A grid point counts an event that lies within the
// tolerance of it, and a bar takes the events from a tolerance before its
// line up to a tolerance before the next, so that an accent played slightly
// early still belongs to the bar it leads into. Not above 0 (or nil) takes the
// generator's own 0.125. A tolerance was chosen over a grid or a flag because
// the grid follows from the library, while how loosely a played clave lines up
// is what scripts differ in.
TFilteredBar ReadFilteredBar(lua_State* L, const char* name)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, name);
    CheckArgCount(L, name, 5, 6);
    const std::string libName = ArgString(L, 2, name);
    const auto offset = static_cast<int>(ArgInteger(L, 3, name));
    const double minVel = ArgNumber(L, 4, name);
    const double maxVel = ArgNumber(L, 5, name);
    const double tolerance = OptNumber(L, 6, name, 0.0);
    TFilteredBar bar;
    bar.mLib = ctx.mGenreLib ? ctx.mGenreLib->mClaveLibs.FindClaveLibForName(libName) : nullptr;
    if (!bar.mLib)
        FailIn(name, "claveLib with name '" + libName + "' does not exist");
    if (tolerance > 0.0)
        bar.mTolerance = static_cast<float>(tolerance);
    bar.mEvs = FilterByVelocity(p.mEvsClave, minVel, maxVel);
    const float pos = ctx.GeneratePosAbs();
    bar.mBarStart = p.mEvsSignTime.FindBarStartPosThenIterateBarDist(pos, 4, offset);
    bar.mBarEnd = p.mEvsSignTime.FindBarStartPos(bar.mBarStart, 1);
    return bar;
}

// The library's pattern for the bar: the bar's bits looked up in the
// library's table when it has one, as the generator's timetable does, else
// the comparison with every pattern.
int MatchedIx(const TFilteredBar& bar)
{
    if (GenIsUndef(bar.mBarStart))
        return -1;
    const CGenClaveLib& lib = *bar.mLib;
    if (lib.GridType() != CGenClaveLib::TGridType_None && GenIsDef(bar.mBarEnd)) {
        const int bitCount = static_cast<int>(2.0f * (bar.mBarEnd - bar.mBarStart));
        const uint64_t bits = lib.GridType() == CGenClaveLib::TGridType_8thOnBeat
            ? bar.mEvs.EvsAsBitsInBar8thOnBeat(bar.mBarStart, bitCount, bar.mTolerance)
            : bar.mEvs.EvsAsBitsInBar8thOffBeat(bar.mBarStart, bitCount, bar.mTolerance);
        return lib.LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(bits);
    }
    return lib.FindBestMatchingClaveIxPattern(bar.mEvs, bar.mBarStart, CGenClaveLib::kTableGridStep, bar.mTolerance)
        .first;
}

int PushMatchedName(lua_State* L, const char* name)
{
    const TFilteredBar bar = ReadFilteredBar(L, name);
    const int ix = MatchedIx(bar);
    if (ix < 0 || static_cast<size_t>(ix) >= bar.mLib->size())
        return 0;
    const std::string& text = (*bar.mLib)[static_cast<size_t>(ix)].mName;
    lua_pushlstring(L, text.data(), text.size());
    return 1;
}

// The 8 bits of the bar on one grid of the universal alphabet; nothing for a
// bar that can't be placed.
bool UniBits(lua_State* L, const char* name, bool onBeat, uint64_t& bits)
{
    const TFilteredBar bar = ReadFilteredBar(L, name);
    if (GenIsUndef(bar.mBarStart))
        return false;
    bits = onBeat ? ClaveUniAlphabetFamilyBits(bar.mEvs, bar.mBarStart, bar.mTolerance)
                  : ClaveUniAlphabetAddOnBits(bar.mEvs, bar.mBarStart, bar.mTolerance);
    return true;
}

// The events of [from - tolerance, to - tolerance) as note events relative
// to `from`; one played early sits on the bar line.
CGenEvs EvsOfRange(const CGenEvsClave& clave, float from, float to, float tolerance)
{
    CGenEvs evs(to - from);
    for (const CGenEvClave& c : clave) {
        if (c.mBeatPos < from - tolerance || c.mBeatPos >= to - tolerance)
            continue;
        CGenEv ev = c.ConvertToGenEv();
        ev.mBeatPos = std::max(c.mBeatPos - from, 0.0f);
        evs.push_back(ev);
    }
    return evs;
}

} // namespace

int ClaveFamilyName(lua_State* L)
{
    return PushTimetableName(L, "ClaveFamilyName", kFamily);
}

int ClaveAddOnName(lua_State* L)
{
    return PushTimetableName(L, "ClaveAddOnName", kAddOn);
}

int ClaveFilteredFamilyName(lua_State* L)
{
    return PushMatchedName(L, "ClaveFilteredFamilyName");
}

int ClaveFilteredAddOnName(lua_State* L)
{
    return PushMatchedName(L, "ClaveFilteredAddOnName");
}

int ClaveUniAlphabetFamilyBits(lua_State* L)
{
    uint64_t bits = 0;
    if (!UniBits(L, "ClaveUniAlphabetFamilyBits", true, bits))
        return 0;
    lua_pushinteger(L, static_cast<lua_Integer>(bits));
    return 1;
}

int ClaveUniAlphabetFamilyName(lua_State* L)
{
    uint64_t bits = 0;
    if (!UniBits(L, "ClaveUniAlphabetFamilyName", true, bits))
        return 0;
    const std::string text = ::ClaveUniAlphabetFamilyName(bits);
    lua_pushlstring(L, text.data(), text.size());
    return 1;
}

int ClaveUniAlphabetAddOnBits(lua_State* L)
{
    uint64_t bits = 0;
    if (!UniBits(L, "ClaveUniAlphabetAddOnBits", false, bits))
        return 0;
    lua_pushinteger(L, static_cast<lua_Integer>(bits));
    return 1;
}

int ClaveUniAlphabetAddOnName(lua_State* L)
{
    uint64_t bits = 0;
    if (!UniBits(L, "ClaveUniAlphabetAddOnName", false, bits))
        return 0;
    const std::string text = ::ClaveUniAlphabetAddOnName(bits);
    lua_pushlstring(L, text.data(), text.size());
    return 1;
}

// The bar's filtered clave as one pattern at the bar's start, in the song's
// signature.
int ClaveEvsAsPattern(lua_State* L)
{
    const TFilteredBar bar = ReadFilteredBar(L, "ClaveEvsAsPattern");
    if (GenIsUndef(bar.mBarStart) || GenIsUndef(bar.mBarEnd))
        return 0;
    CGenPattern pattern;
    pattern.mName = bar.mLib->mName;
    pattern.mEvs = EvsOfRange(bar.mEvs, bar.mBarStart, bar.mBarEnd, bar.mTolerance);
    LuaPattern::push(L, new CGenPatternModAndProb(bar.mBarStart, bar.mBarStart, pattern), CollectGarbage::Yes);
    return 1;
}

// minVel, maxVel, then optionally the four numbers of PatternsCreatePlaceholders:
// the clave filtered by velocity, cut into the placeholders' stretches (each
// up to the next one's start, the last over its own length). The stretches
// are only made here: they don't become the graph's choice.
int ClaveEvsAllAsPatterns(lua_State* L)
{
    static const char* const kName = "ClaveEvsAllAsPatterns";
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, kName);
    const int n = ArgCount(L) - 1;
    if (n != 2 && n != 6)
        FailIn(kName, "wrong number of arguments");
    const double minVel = ArgNumber(L, 2, kName);
    const double maxVel = ArgNumber(L, 3, kName);
    const CGenCharContext cc(&ctx);
    auto list = std::make_unique<CGenPatternModAndProbs>();
    std::string error;
    if (n == 2) {
        error = cc.CreatePlaceholderPatternsFromGenerateRange(*list, false);
    } else {
        const bool wasMarked = ctx.mGraphMadeTheChoice;
        error = cc.CreatePlaceholderPatternsFromParams(*list, static_cast<int>(ArgInteger(L, 4, kName)),
            static_cast<int>(ArgInteger(L, 5, kName)), static_cast<float>(ArgNumber(L, 6, kName)),
            static_cast<float>(ArgNumber(L, 7, kName)));
        ctx.mGraphMadeTheChoice = wasMarked;
    }
    if (!error.empty())
        FailIn(kName, error);
    const CGenEvsClave clave = FilterByVelocity(p.mEvsClave, minVel, maxVel);
    for (size_t i = 0; i < list->size(); ++i) {
        CGenPatternModAndProb& el = (*list)[i];
        const float from = el.mBeatPosAbs;
        const float to = i + 1 < list->size() ? (*list)[i + 1].mBeatPosAbs : from + el.Length();
        const float length = el.Length();
        CGenEvs evs = EvsOfRange(clave, from, to, 0.0f);
        evs.mLength = length;
        el.NewPatternToBeModified().mEvs = std::move(evs);
    }
    LuaPatterns::push(L, list.release(), CollectGarbage::Yes);
    return 1;
}

} // namespace zkgen::lua::ctxapi
