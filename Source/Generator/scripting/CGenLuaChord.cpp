#include "Generator/scripting/CGenLuaClasses.h"

#include "Generator/CGenCharContext.h"
#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/harmony/CGenEvChord.h"
#include "Generator/harmony/CHarmonicContext.h"
#include "Generator/timesig/CGenEvsSignKey.h"

#include <sstream>
#include <vector>

using namespace CGenLua;

namespace {

using namespace zkgen::lua;

// What a chord userdata owns: the chord event and where it was asked for,
// relative to the generate position of the asking run.
struct TLuaChordRecord {
    CGenEvChord mChord;
    float mQueryPos = TGenBeatPos_Undef;
    float mStartRel = TGenBeatPos_Undef;
    float mEndRel = TGenBeatPos_Undef;
};

const TLuaChordRecord& Check(lua_State* L, int idx = 1)
{
    return *CheckObject<TLuaChordRecord>(L, idx, LuaChord::metatableName, "'LuaChord' expected", "LuaChord");
}

// The context of the running generation, for the calls that read the keys
// around the chord; null outside a run.
CGenContext* RunContext(lua_State* L)
{
    return TStateData::Of(L).mContext;
}

float Diff(float a, float b)
{
    return GenIsUndef(a) || GenIsUndef(b) ? TGenBeatLength_Undef : a - b;
}

// The Lua numbering of basic chords (maj, min, aug, dim, sus4, sus2, drone;
// 0 for none) differs from the engine's in the order of aug and dim.
int LuaBasicChord(TBasicChord c)
{
    switch (c) {
    case TBasicChord_Major: return 1;
    case TBasicChord_Minor: return 2;
    case TBasicChord_Augmented: return 3;
    case TBasicChord_Diminished: return 4;
    case TBasicChord_Sus4: return 5;
    case TBasicChord_Sus2: return 6;
    case TBasicChord_Power: return 7;
    default: return 0;
    }
}

int PushKeyNr(lua_State* L, const CKeyEnh& key)
{
    lua_pushinteger(L, key.IsUndef() ? kKeyNrUndef15 : key.mKeyNr);
    return 1;
}

int IsUndef(lua_State* L)
{
    lua_pushboolean(L, Check(L).mChord.IsUndef());
    return 1;
}

int IsNoChord(lua_State* L)
{
    const CGenEvChord& c = Check(L).mChord;
    lua_pushboolean(L, GenIsDef(c.mBeatPosAbs) && c.mChord.mNoChord != TNoChord_None);
    return 1;
}

int BeatPosAbs(lua_State* L)
{
    return PushPos(L, Check(L).mChord.mBeatPosAbs);
}

int EndBeatPosAbs(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    const float length = Diff(r.mEndRel, r.mStartRel);
    return PushPos(L, GenIsUndef(length) || GenIsUndef(r.mChord.mBeatPosAbs) ? TGenBeatPos_Undef
                                                                             : r.mChord.mBeatPosAbs + length);
}

int BeatLength(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    const float length = Diff(r.mEndRel, r.mStartRel);
    if (GenIsUndef(length))
        return 0;
    lua_pushnumber(L, static_cast<double>(length));
    return 1;
}

int RemainingChordLength(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    const float length = Diff(r.mEndRel, r.mQueryPos);
    if (GenIsUndef(length))
        return 0;
    lua_pushnumber(L, static_cast<double>(length));
    return 1;
}

int BeatPosRelToGeneratePos(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    if (GenIsUndef(r.mStartRel))
        FailIn("BeatPosRelToGeneratePos", "beatPosRelToGeneratePos == TGenBeatPosRel_Undef");
    return PushPos(L, r.mStartRel);
}

int BeatPosRelInBar(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    CGenContext* ctx = RunContext(L);
    if (!ctx || !ctx->mParams)
        FailIn("BeatPosRelInBar", "genContext == nullptr");
    if (GenIsUndef(r.mChord.mBeatPosAbs))
        FailIn("BeatPosRelInBar", "chordBeatPosAbs == TGenBeatPosAbs_Undef");
    return PushPos(L, ctx->mParams->mEvsSignTime.FindBeatPosInBar(r.mChord.mBeatPosAbs));
}

int RootNoteKeyNr(lua_State* L)
{
    return PushKeyNr(L, Check(L).mChord.mChord.RootKeyEnh());
}

int BassNoteKeyNr(lua_State* L)
{
    return PushKeyNr(L, Check(L).mChord.mChord.BassKeyEnh());
}

// The harmonic center in force at the chord.
CSignKeyLite HarmCenterAtChord(lua_State* L, const TLuaChordRecord& r, const char* name)
{
    CGenContext* ctx = RunContext(L);
    if (!ctx || !ctx->mParams)
        FailIn(name, "genContext == nullptr");
    const CSignKeyLite key = ctx->mParams->mEvsHarmCenter.FindEvHarmCenterValidAt(r.mChord.mBeatPosAbs).mSignKey;
    if (key.IsUndef())
        FailIn(name, "evsHarmCenter == nullptr");
    return key;
}

int KeyRelToHarmCenter(lua_State* L, const char* name, const CKeyEnh& key)
{
    const TLuaChordRecord& r = Check(L);
    const CSignKeyLite center = HarmCenterAtChord(L, r, name);
    if (key.IsUndef()) {
        lua_pushinteger(L, kKeyNrUndef15);
        return 1;
    }
    lua_pushinteger(L, ((key.mKeyNr - center.mKeyNr) % 12 + 12) % 12);
    return 1;
}

int RootNoteHarmCenterKeyNr(lua_State* L)
{
    return KeyRelToHarmCenter(L, "RootNoteHarmCenterKeyNr", Check(L).mChord.mChord.RootKeyEnh());
}

int BassNoteHarmCenterKeyNr(lua_State* L)
{
    return KeyRelToHarmCenter(L, "BassNoteHarmCenterKeyNr", Check(L).mChord.mChord.BassKeyEnh());
}

int BasicChord(lua_State* L)
{
    lua_pushinteger(L, LuaBasicChord(Check(L).mChord.mChord.BasicChord()));
    return 1;
}

int MatchesRootNoteHarmCenterKeyNrAndBasicChord(lua_State* L)
{
    static const char* const kName = "MatchesRootNoteHarmCenterKeyNrAndBasicChord";
    const TLuaChordRecord& r = Check(L);
    CheckArgCount(L, kName, 3, 3);
    const int64_t key = ArgInteger(L, 2, kName);
    const int64_t basic = ArgInteger(L, 3, kName);
    const CSignKeyLite center = HarmCenterAtChord(L, r, kName);
    const CKeyEnh& root = r.mChord.mChord.RootKeyEnh();
    const bool match = !root.IsUndef() && ((root.mKeyNr - center.mKeyNr) % 12 + 12) % 12 == ((key % 12) + 12) % 12
        && LuaBasicChord(r.mChord.mChord.BasicChord()) == basic;
    lua_pushboolean(L, match);
    return 1;
}

int Name(lua_State* L)
{
    const std::string name = Check(L).mChord.mChord.Name(CChordNamePrefs());
    lua_pushlstring(L, name.data(), name.size());
    return 1;
}

int HasInterval(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    CheckArgCount(L, "HasInterval", 2, 2);
    const auto intvl = static_cast<int>(ArgInteger(L, 2, "HasInterval"));
    lua_pushboolean(L, !r.mChord.IsUndef() && r.mChord.mChord.Semitones().HasIntvl(intvl));
    return 1;
}

// The chord's own scale, else its scale in the key at the chord.
int ScaleHasInterval(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    CheckArgCount(L, "ScaleHasInterval", 2, 2);
    const auto intvl = static_cast<int>(ArgInteger(L, 2, "ScaleHasInterval"));
    CScaleHeavy scale = r.mChord.mScale;
    if (scale.IsUndef()) {
        CGenContext* ctx = RunContext(L);
        if (ctx && ctx->mParams)
            scale = CGenCharContext(ctx).FindEvScaleValidAt(r.mChord.mBeatPosAbs);
    }
    lua_pushboolean(L, !scale.IsUndef() && scale.HasIntvl(intvl));
    return 1;
}

// ----- degrees: 1-based in Lua, TDegreeNr.Undef (-1) for a key that is no
// degree; keys 0..11, TKeyNr.Undef (15) for none.

int PushDegree(lua_State* L, int degree0)
{
    lua_pushinteger(L, degree0 < 0 ? -1 : degree0 + 1);
    return 1;
}

int PushKey(lua_State* L, int key)
{
    lua_pushinteger(L, key < 0 || key > 11 ? kKeyNrUndef15 : key);
    return 1;
}

// The written key at the chord.
CSignKeyHeavy SignKeyAtChord(lua_State* L, const TLuaChordRecord& r, const char* name)
{
    CGenContext* ctx = RunContext(L);
    if (!ctx || !ctx->mParams)
        FailIn(name, "genContext == nullptr");
    const CGenEvSignKey* key = CGenCharContext(ctx).FindEvSignKeyValidAt(r.mChord.mBeatPosAbs);
    if (!key)
        FailIn(name, "evsSignKey == nullptr");
    return key->mSignKey;
}

// The scale a player uses over the chord: its stated one, else the one it
// takes in the key (the scale every degree call of a chord counts in, unless
// its name says otherwise).
CScaleHeavy ScaleAtChord(lua_State* L, const TLuaChordRecord& r, const char* name)
{
    return r.mChord.ScaleInSignKey(SignKeyAtChord(L, r, name));
}

int DegreeArg(lua_State* L, const char* name)
{
    CheckArgCount(L, name, 2, 2);
    return static_cast<int>(ArgInteger(L, 2, name));
}

int RootNoteSignKeyDegreeNr(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    return PushDegree(L, r.mChord.mChord.RootNoteDegreeNrInSignKey(SignKeyAtChord(L, r, "RootNoteSignKeyDegreeNr")));
}

int BassNoteSignKeyDegreeNr(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    return PushDegree(L, r.mChord.mChord.BassNoteDegreeNrInSignKey(SignKeyAtChord(L, r, "BassNoteSignKeyDegreeNr")));
}

// THarmFuncEnum of the chord against the harmonic center at it: the root's
// step above the center and the chord's quality. Suspended and power chords
// count as major; a step and quality without an entry is undef (-1).
int HarmFunc(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    const CSignKeyLite center = HarmCenterAtChord(L, r, "HarmFunc");
    const CKeyEnh& root = r.mChord.mChord.RootKeyEnh();
    int func = -1;
    if (!root.IsUndef()) {
        const int step = KeyNrWrapped(static_cast<int64_t>(root.mKeyNr) - center.mKeyNr);
        const TBasicChord basic = r.mChord.mChord.BasicChord();
        const bool minor = basic == TBasicChord_Minor;
        const bool dim = basic == TBasicChord_Diminished;
        const bool major = basic == TBasicChord_Major || basic == TBasicChord_Sus4 || basic == TBasicChord_Sus2
            || basic == TBasicChord_Power;
        // Per step: the major entry, the minor entry, the diminished entry.
        struct TRow {
            int mStep, mMajor, mMinor, mDim;
        };
        static const TRow kRows[] = {{0, 0, 1, -1}, {2, 2, 3, 4}, {4, 5, 6, -1}, {5, 7, 8, -1}, {7, 9, 10, -1},
            {9, 11, 12, -1}, {10, 13, -1, -1}, {11, -1, -1, 14}};
        for (const TRow& row : kRows)
            if (row.mStep == step)
                func = major ? row.mMajor : minor ? row.mMinor : dim ? row.mDim : -1;
    }
    lua_pushinteger(L, func);
    return 1;
}

// A key relative to the chord's root, as a degree of a scale.
int ChordKeyToDegree(lua_State* L, const TLuaChordRecord& r, const CScaleHeavy& scale, int chordKey)
{
    return PushDegree(L, scale.KeyNrToDegreeNr(r.mChord.mChord.KeyNrFromChordKeyNr(chordKey)));
}

int ScaleDegreeNrFromChordKeyNr(lua_State* L)
{
    static const char* const kName = "ScaleDegreeNrFromChordKeyNr";
    const TLuaChordRecord& r = Check(L);
    const int key = DegreeArg(L, kName);
    return ChordKeyToDegree(L, r, ScaleAtChord(L, r, kName), key);
}

// In the chord's own scale, whatever the key.
int ChordDegreeNrFromChordKeyNr(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    const int key = DegreeArg(L, "ChordDegreeNrFromChordKeyNr");
    return ChordKeyToDegree(L, r, r.mChord.mChord.OwnScale(), key);
}

// In the scale the chord takes in the key, even when another one was stated with it.
int ChordModalScaleInSignKeyDegreeNrFromChordKeyNr(lua_State* L)
{
    static const char* const kName = "ChordModalScaleInSignKeyDegreeNrFromChordKeyNr";
    const TLuaChordRecord& r = Check(L);
    const int key = DegreeArg(L, kName);
    return ChordKeyToDegree(L, r, r.mChord.mChord.ConstructScaleInSignKey(SignKeyAtChord(L, r, kName)), key);
}

int ChordKeyNrFromDegreeNr(lua_State* L)
{
    static const char* const kName = "ChordKeyNrFromDegreeNr";
    const TLuaChordRecord& r = Check(L);
    const int degree = DegreeArg(L, kName);
    const CScaleHeavy scale = ScaleAtChord(L, r, kName);
    if (degree < 1 || scale.IsUndef())
        return PushKey(L, -1);
    return PushKey(L, r.mChord.mChord.ChordKeyNrFromKeyNr(scale.DegreeNrToKeyNr(degree - 1)));
}

int BassDegreeNrsFromChordKeyNr(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    const int key = DegreeArg(L, "BassDegreeNrsFromChordKeyNr");
    const CChordHeavy& chord = r.mChord.mChord;
    const std::vector<int> degrees =
        key < 0 ? std::vector<int>() : BassDegreeNrsFromChordAndChordKeyNr(chord, chord.KeyNrFromChordKeyNr(key));
    lua_createtable(L, static_cast<int>(degrees.size()), 0);
    for (size_t i = 0; i < degrees.size(); ++i) {
        lua_pushinteger(L, degrees[i] + 1);
        lua_rawseti(L, -2, static_cast<lua_Integer>(i + 1));
    }
    return 1;
}

int ChordKeyNrFromBassDegreeNr(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    const int degree = DegreeArg(L, "ChordKeyNrFromBassDegreeNr");
    const CChordHeavy& chord = r.mChord.mChord;
    const int key = degree < 1 ? -1 : ChordKeyNrFromChordAndBassDegreeNr(chord, degree - 1);
    return PushKey(L, key < 0 ? -1 : chord.ChordKeyNrFromKeyNr(key));
}

// A key relative to the harmonic center at the chord, as a degree of the
// scale over the chord, and back.
int ScaleDegreeNrFromHarmCenterKeyNr(lua_State* L)
{
    static const char* const kName = "ScaleDegreeNrFromHarmCenterKeyNr";
    const TLuaChordRecord& r = Check(L);
    const int key = DegreeArg(L, kName);
    const CSignKeyLite center = HarmCenterAtChord(L, r, kName);
    if (key < 0)
        return PushDegree(L, -1);
    const int keyNr = KeyNrWrapped(static_cast<int64_t>(center.mKeyNr) + key);
    return PushDegree(L, ScaleAtChord(L, r, kName).KeyNrToDegreeNr(keyNr));
}

int HarmCenterKeyNrFromScaleDegreeNr(lua_State* L)
{
    static const char* const kName = "HarmCenterKeyNrFromScaleDegreeNr";
    const TLuaChordRecord& r = Check(L);
    const int degree = DegreeArg(L, kName);
    const CSignKeyLite center = HarmCenterAtChord(L, r, kName);
    const CScaleHeavy scale = ScaleAtChord(L, r, kName);
    if (degree < 1 || scale.IsUndef())
        return PushKey(L, -1);
    return PushKey(L, KeyNrWrapped(static_cast<int64_t>(scale.DegreeNrToKeyNr(degree - 1)) - center.mKeyNr));
}

int ToString(lua_State* L)
{
    const TLuaChordRecord& r = Check(L);
    std::ostringstream os;
    os << "LuaChord: " << (r.mChord.IsUndef() ? std::string("Undef") : r.mChord.mChord.Name(CChordNamePrefs()));
    if (GenIsDef(r.mChord.mBeatPosAbs))
        os << " at " << (static_cast<double>(r.mChord.mBeatPosAbs) + 1.0);
    // Chord positions are always the song's.
    os << " (SignTimeTarget)";
    const std::string text = os.str();
    lua_pushlstring(L, text.data(), text.size());
    return 1;
}

} // namespace

const luaL_Reg LuaChord::functions[] = {{nullptr, nullptr}};
const luaL_Reg LuaChord::methods[] = {
    {"IsUndef", ZKG_LUA_FN(IsUndef)},
    {"IsNoChord", ZKG_LUA_FN(IsNoChord)},
    {"BeatPosRelInBar", ZKG_LUA_FN(BeatPosRelInBar)},
    {"BeatPosRelToGeneratePos", ZKG_LUA_FN(BeatPosRelToGeneratePos)},
    {"BeatPosAbs", ZKG_LUA_FN(BeatPosAbs)},
    {"EndBeatPosAbs", ZKG_LUA_FN(EndBeatPosAbs)},
    {"BeatLength", ZKG_LUA_FN(BeatLength)},
    {"RemainingChordLength", ZKG_LUA_FN(RemainingChordLength)},
    {"RootNoteKeyNr", ZKG_LUA_FN(RootNoteKeyNr)},
    {"BassNoteKeyNr", ZKG_LUA_FN(BassNoteKeyNr)},
    {"RootNoteHarmCenterKeyNr", ZKG_LUA_FN(RootNoteHarmCenterKeyNr)},
    {"BassNoteHarmCenterKeyNr", ZKG_LUA_FN(BassNoteHarmCenterKeyNr)},
    {"BasicChord", ZKG_LUA_FN(BasicChord)},
    {"MatchesRootNoteHarmCenterKeyNrAndBasicChord", ZKG_LUA_FN(MatchesRootNoteHarmCenterKeyNrAndBasicChord)},
    {"HasInterval", ZKG_LUA_FN(HasInterval)},
    {"ScaleHasInterval", ZKG_LUA_FN(ScaleHasInterval)},
    {"Name", ZKG_LUA_FN(Name)},
    {"RootNoteSignKeyDegreeNr", ZKG_LUA_FN(RootNoteSignKeyDegreeNr)},
    {"RootNoteDegreeInLocalSignKey", ZKG_LUA_FN(RootNoteSignKeyDegreeNr)},
    {"BassNoteSignKeyDegreeNr", ZKG_LUA_FN(BassNoteSignKeyDegreeNr)},
    {"BassNoteDegreeInLocalSignKey", ZKG_LUA_FN(BassNoteSignKeyDegreeNr)},
    {"HarmFunc", ZKG_LUA_FN(HarmFunc)},
    {"ScaleDegreeNrFromChordKeyNr", ZKG_LUA_FN(ScaleDegreeNrFromChordKeyNr)},
    {"ScaleDegreeNrFromAbstractKeyNr", ZKG_LUA_FN(ScaleDegreeNrFromChordKeyNr)},
    {"ChordDegreeNrFromChordKeyNr", ZKG_LUA_FN(ChordDegreeNrFromChordKeyNr)},
    {"ChordDegreeNrFromAbstractKeyNr", ZKG_LUA_FN(ChordDegreeNrFromChordKeyNr)},
    {"ChordModalScaleInSignKeyDegreeNrFromChordKeyNr", ZKG_LUA_FN(ChordModalScaleInSignKeyDegreeNrFromChordKeyNr)},
    {"DegreeNrFromAbstractKeyNr", ZKG_LUA_FN(ChordModalScaleInSignKeyDegreeNrFromChordKeyNr)},
    {"ChordKeyNrFromDegreeNr", ZKG_LUA_FN(ChordKeyNrFromDegreeNr)},
    {"AbstractKeyNrFromDegreeNr", ZKG_LUA_FN(ChordKeyNrFromDegreeNr)},
    {"BassDegreeNrsFromChordKeyNr", ZKG_LUA_FN(BassDegreeNrsFromChordKeyNr)},
    {"BassDegreeNrsFromAbstractKeyNr", ZKG_LUA_FN(BassDegreeNrsFromChordKeyNr)},
    {"ChordKeyNrFromBassDegreeNr", ZKG_LUA_FN(ChordKeyNrFromBassDegreeNr)},
    {"AbstractKeyNrFromBassDegreeNr", ZKG_LUA_FN(ChordKeyNrFromBassDegreeNr)},
    {"ScaleDegreeNrFromHarmCenterKeyNr", ZKG_LUA_FN(ScaleDegreeNrFromHarmCenterKeyNr)},
    {"DegreeNrFromHarmCenterKeyNr", ZKG_LUA_FN(ScaleDegreeNrFromHarmCenterKeyNr)},
    {"HarmCenterKeyNrFromScaleDegreeNr", ZKG_LUA_FN(HarmCenterKeyNrFromScaleDegreeNr)},
    {"HarmCenterKeyNrFromDegreeNr", ZKG_LUA_FN(HarmCenterKeyNrFromScaleDegreeNr)},
    {"__tostring", ZKG_LUA_FN(ToString)},
    {nullptr, nullptr},
};
ZKG_LUA_DEFINE_CLASS(LuaChord, "tolvar.chord", nullptr)

void LuaChord::push(lua_State* L, const CGenEvChord& chord, float queryPos, float startRel, float endRel)
{
    auto* record = new TLuaChordRecord {chord, queryPos, startRel, endRel};
    PushRef(L, metatableName, OwnedRef(L, record));
}
