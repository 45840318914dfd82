// Kit-piece transformations for scripts: one intensity-variation rule that
// swaps the instrument of events, given by a source and a target path.
#include "Generator/scripting/CGenLuaClasses.h"

#include "Generator/CGenContext.h"
#include "Generator/CGenEv.h"
#include "Generator/CGenEvs.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/library/CGenInstLib.h"
#include "Generator/shaping/CGenVaryIntn.h"

#include <string>

using namespace CGenLua;
using zkgen::lua::ArgString;
using zkgen::lua::CheckArgCount;

namespace {

// The rule and its paths. The rule's entry collections borrow pointers into
// an instrument tree, which lives only as long as its generation, while a
// script may keep this object across runs: so the paths are the truth, and
// the collections are filled from them for one call and emptied after it.
struct TKitPieceTrafo {
    CGenVaryIntnEl mEl;
    std::string mSourcePath;
    std::string mTargetPath;

    TKitPieceTrafo()
    {
        // A kit-piece swap is about instruments: every velocity counts,
        // including the undefined one of a fresh event.
        mEl.mSourceVelRange.mMinEnabled = false;
        mEl.mSourceVelRange.mMaxEnabled = false;
    }
};

TKitPieceTrafo& Trafo(lua_State* L)
{
    return *zkgen::lua::CheckObject<TKitPieceTrafo>(L, 1, LuaKitPieceTransformation::metatableName,
        "'LuaKitPieceTransformation' expected", "LuaKitPieceTransformation");
}

const CGenInstTree* CurrentTree(lua_State* L)
{
    const CGenContext* ctx = zkgen::lua::TStateData::Of(L).mContext;
    return ctx && ctx->mInstLib ? ctx->mInstLib->InstTree() : nullptr;
}

// The rule resolved in the current tree for the length of one call.
class TResolved {
public:
    TResolved(lua_State* L, TKitPieceTrafo& trafo) : mEl(trafo.mEl)
    {
        const CGenInstTree* tree = CurrentTree(L);
        if (!trafo.mSourcePath.empty()) {
            // A source that names nothing matches nothing (an empty
            // collection would match every instrument).
            if (tree)
                mEl.mSourceTreeEntryCollection = tree->FindEntryCollectionWithPath(trafo.mSourcePath);
            mSourceResolved = !mEl.mSourceTreeEntryCollection.empty();
        }
        // A target that names nothing changes nothing, as an empty collection does.
        if (!trafo.mTargetPath.empty() && tree)
            mEl.mTrafoTreeEntryCollection = tree->FindEntryCollectionWithPath(trafo.mTargetPath);
    }
    ~TResolved()
    {
        mEl.mSourceTreeEntryCollection.clear();
        mEl.mTrafoTreeEntryCollection.clear();
    }
    TResolved(const TResolved&) = delete;
    TResolved& operator=(const TResolved&) = delete;

    bool SourceResolved() const { return mSourceResolved; }
    const CGenVaryIntnEl& El() const { return mEl; }

    bool Matches(const CGenEv& ev) const
    {
        if (!mSourceResolved)
            return false;
        const CGenInstTreeEntryCollection& source = mEl.mSourceTreeEntryCollection;
        const bool all = source.empty() || (source.size() == 1 && source.front() && source.front()->mIsRootParent);
        return all || source.ContainsEntryOrAncestorUidMatchForRhsNonZeroNibbles(ev.Uid());
    }

private:
    CGenVaryIntnEl& mEl;
    bool mSourceResolved = true;
};

int New(lua_State* L)
{
    zkgen::lua::PushRef(L, LuaKitPieceTransformation::metatableName,
        zkgen::lua::OwnedRef(L, new TKitPieceTrafo()));
    return 1;
}

int SetSourcePath(lua_State* L)
{
    TKitPieceTrafo& trafo = Trafo(L);
    trafo.mSourcePath = ArgString(L, 2, "SetSourcePath");
    return 0;
}

int SetTargetPath(lua_State* L)
{
    TKitPieceTrafo& trafo = Trafo(L);
    trafo.mTargetPath = ArgString(L, 2, "SetTargetPath");
    return 0;
}

int EvMatches(lua_State* L)
{
    CheckArgCount(L, "evmatches", 2, 2);
    TKitPieceTrafo& trafo = Trafo(L);
    const CGenEv& ev = *LuaEvent::checkLuaEvent(L, 2);
    const TResolved resolved(L, trafo);
    lua_pushboolean(L, resolved.Matches(ev) ? 1 : 0);
    return 1;
}

int ApplyToEv(lua_State* L)
{
    CheckArgCount(L, "applytoev", 2, 2);
    TKitPieceTrafo& trafo = Trafo(L);
    CGenEv& ev = *LuaEvent::checkLuaEvent(L, 2);
    const TResolved resolved(L, trafo);
    if (!resolved.SourceResolved())
        return 0;
    CGenEvs one;
    one.push_back(ev);
    resolved.El().ApplyToUidEvs(one);
    // The rule writes only the uid and the velocity; copying just those
    // leaves the event's abstract note, and the views on it, alone.
    ev.mMB1 = one.front().mMB1;
    ev.mMB2 = one.front().mMB2;
    return 0;
}

int ApplyToEvs(lua_State* L)
{
    CheckArgCount(L, "applytoevs", 2, 2);
    TKitPieceTrafo& trafo = Trafo(L);
    CGenEvs& evs = *LuaEvents::checkLuaEvents(L, 2);
    const TResolved resolved(L, trafo);
    if (resolved.SourceResolved())
        resolved.El().ApplyToUidEvs(evs);
    return 0;
}

} // namespace

const luaL_Reg LuaKitPieceTransformation::functions[] = {{"New", ZKG_LUA_FN(New)}, {nullptr, nullptr}};
const luaL_Reg LuaKitPieceTransformation::methods[] = {
    {"SetSourcePath", ZKG_LUA_FN(SetSourcePath)},
    {"SetTargetPath", ZKG_LUA_FN(SetTargetPath)},
    {"EvMatches", ZKG_LUA_FN(EvMatches)},
    {"ApplyToEv", ZKG_LUA_FN(ApplyToEv)},
    {"ApplyToEvs", ZKG_LUA_FN(ApplyToEvs)},
    {nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaKitPieceTransformation, "tolvar.kitPieceTransformation", "KitPieceTransformation")

CGenVaryIntnEl* LuaKitPieceTransformation::checkLuaKitPieceTransformation(lua_State* L, int idx)
{
    return &zkgen::lua::CheckObject<TKitPieceTrafo>(L, idx, metatableName, "'LuaKitPieceTransformation' expected",
        "LuaKitPieceTransformation")
                ->mEl;
}
