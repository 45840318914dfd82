#include "Generator/harmony/CConcretizeRange.h"

#include "Generator/CGenEv.h"
#include "Platform/TGenDict.h"

#include <algorithm>

TConcretizeRange TConcretizeRange::DefaultForInstType(int instType)
{
    TConcretizeRange r;
    switch (instType) {
    case TGenInstType_Bass:
        r.mMinNoteNr = 28;
        r.mMaxNoteNr = 55;
        r.mPatternRootMinNoteNr = 28;
        r.mPatternRootMaxNoteNr = 40;
        break;
    case TGenInstType_KeysA:
    case TGenInstType_KeysB:
        r.mMinNoteNr = 48;
        r.mMaxNoteNr = 84;
        r.mPatternRootMinNoteNr = 53;
        r.mPatternRootMaxNoteNr = 65;
        break;
    case TGenInstType_GuitarA:
    case TGenInstType_GuitarB:
        r.mMinNoteNr = 40;
        r.mMaxNoteNr = 76;
        r.mPatternRootMinNoteNr = 48;
        r.mPatternRootMaxNoteNr = 60;
        break;
    default:
        r.mMinNoteNr = 0;
        r.mMaxNoteNr = 127;
        r.mPatternRootMinNoteNr = 0;
        r.mPatternRootMaxNoteNr = 127;
        break;
    }
    return r;
}

int64_t RaiseLowerToRange(int64_t note, int64_t min, int64_t max)
{
    if (min != -1)
        while (note < min && note < 116)
            note += 12;
    if (max != -1)
        while (note > max && note >= 12)
            note -= 12;
    return note;
}

int64_t ApplyNotePrefer(int64_t note, int notePrefer, int64_t min, int64_t max)
{
    if (notePrefer == 4)
        while (note <= max - 12 && note < 116)
            note += 12;
    else if (notePrefer == 2)
        while (note >= min + 12 && note >= 12)
            note -= 12;
    return note;
}

int64_t RaiseLowerAndPreferInNoteRange(int64_t note, const TConcretizeRange& range)
{
    return ApplyNotePrefer(RaiseLowerToRange(note, range.mMinNoteNr, range.mMaxNoteNr), range.mNotePrefer,
        range.mMinNoteNr, range.mMaxNoteNr);
}

int64_t RaiseLowerAndPreferInPatternRootRange(int64_t note, const TConcretizeRange& range)
{
    return ApplyNotePrefer(RaiseLowerToRange(note, range.mPatternRootMinNoteNr, range.mPatternRootMaxNoteNr),
        range.mNotePrefer, range.mPatternRootMinNoteNr, range.mPatternRootMaxNoteNr);
}

bool TModNoteNr::ReadFromEvDictionary(const CGenEv& ev, const std::string& name)
{
    if (!ev.mpDictionary)
        return false;
    const TGenDict& dict = *ev.mpDictionary;
    const std::string abs = name + "Abs", rel = name + "Rel";
    if (dict.HasKey(abs)) {
        mNoteNr = static_cast<int64_t>(dict.DoubleForKey(abs, -1.0));
        mType = Absolute;
        return true;
    }
    if (dict.HasKey(rel)) {
        mNoteNr = static_cast<int64_t>(dict.DoubleForKey(rel, -1.0));
        mType = Relative;
        return true;
    }
    return false;
}

TConcretizeRange TConcretizeRangeMod::CalcModifiedRange(const TConcretizeRange& range) const
{
    TConcretizeRange r = range;
    r.mMinNoteNr = mMods[ModMinNoteNr].CalcModifiedNoteNr(r.mMinNoteNr);
    r.mMaxNoteNr = mMods[ModMaxNoteNr].CalcModifiedNoteNr(r.mMaxNoteNr);
    r.mPatternRootMinNoteNr = mMods[ModPatternRootMinNoteNr].CalcModifiedNoteNr(r.mPatternRootMinNoteNr);
    r.mPatternRootMaxNoteNr = mMods[ModPatternRootMaxNoteNr].CalcModifiedNoteNr(r.mPatternRootMaxNoteNr);
    if (mNotePrefer >= 0)
        r.mNotePrefer = mNotePrefer;
    return r;
}

bool TConcretizeRangeMod::ReadFromEvDictionary(const CGenEv& ev)
{
    static const char* const kNames[4] = {"ModMinNoteNr", "ModMaxNoteNr", "ModPatternRootMinNoteNr",
        "ModPatternRootMaxNoteNr"};
    bool any = false;
    for (int i = 0; i < 4; ++i)
        any = mMods[i].ReadFromEvDictionary(ev, kNames[i]) || any;
    if (ev.mpDictionary && ev.mpDictionary->HasKey("ModNotePrefer")) {
        mNotePrefer = std::clamp(static_cast<int>(ev.mpDictionary->DoubleForKey("ModNotePrefer", 0.0)), 0, 4);
        any = true;
    }
    return any;
}

TModNoteNr TConcretizeRangeMod::GetModNoteNrPropID(int id, std::string* error) const
{
    if (id < 0 || id > 3) {
        if (error)
            *error = "unknown TConcretizeRangeMod::TModNoteNrPropID " + std::to_string(id);
        return TModNoteNr();
    }
    return mMods[id];
}

bool TConcretizeRangeMod::SetModNoteNrPropID(int id, const TModNoteNr& mod, std::string* error)
{
    if (id < 0 || id > 3) {
        if (error)
            *error = "unknown TConcretizeRangeMod::TModNoteNrPropID " + std::to_string(id);
        return false;
    }
    mMods[id] = mod;
    return true;
}

bool TConcretizeRangeMod::operator==(const TConcretizeRangeMod& o) const
{
    return std::equal(std::begin(mMods), std::end(mMods), std::begin(o.mMods)) && mNotePrefer == o.mNotePrefer;
}

const TConcretizeRangeMod* TConcretizeRangeModPosseds::ConcretizeRangeModValidAt(float pos) const
{
    const TConcretizeRangeMod* found = nullptr;
    for (const TEl& el : mEls) {
        if (el.mBeatPos > pos)
            break;
        found = &el.mMod;
    }
    return found;
}

TConcretizeRangeMod& TConcretizeRangeModPosseds::CreateOrChangeConcretizeRangeModValidAt(float pos)
{
    auto it = std::lower_bound(mEls.begin(), mEls.end(), pos, [](const TEl& el, float p) { return el.mBeatPos < p; });
    if (it != mEls.end() && it->mBeatPos == pos)
        return it->mMod;
    TEl el;
    el.mBeatPos = pos;
    if (it != mEls.begin())
        el.mMod = std::prev(it)->mMod;
    return mEls.insert(it, el)->mMod;
}

bool TConcretizeRangeModPosseds::SetModNoteNrPropIDAt(int id, float pos, const TModNoteNr& mod, std::string* error)
{
    if (id < 0 || id > 3) {
        if (error)
            *error = "unknown TConcretizeRangeMod::TModNoteNrPropID " + std::to_string(id);
        return false;
    }
    return CreateOrChangeConcretizeRangeModValidAt(pos).SetModNoteNrPropID(id, mod, error);
}

TModNoteNr TConcretizeRangeModPosseds::GetModNoteNrPropIDAt(int id, float pos, std::string* error) const
{
    const TConcretizeRangeMod* mod = ConcretizeRangeModValidAt(pos);
    if (mod == nullptr) {
        if ((id < 0 || id > 3) && error)
            *error = "unknown TConcretizeRangeMod::TModNoteNrPropID " + std::to_string(id);
        return TModNoteNr();
    }
    return mod->GetModNoteNrPropID(id, error);
}

TConcretizeRange TConcretizeRangeModPosseds::CalcModifiedRangeAt(const TConcretizeRange& range, float pos) const
{
    const TConcretizeRangeMod* mod = ConcretizeRangeModValidAt(pos);
    return mod ? mod->CalcModifiedRange(range) : range;
}

int64_t ClampModNoteNr(int64_t noteNr, TModNoteNr::TType type, std::string& message)
{
    message.clear();
    const int64_t lo = type == TModNoteNr::Relative ? -127 : 0;
    const int64_t hi = 127;
    if (type != TModNoteNr::Relative && type != TModNoteNr::Absolute) {
        message = "unknown TModNoteNr::TType " + std::to_string(static_cast<int>(type));
        return noteNr;
    }
    if (noteNr >= lo && noteNr <= hi)
        return noteNr;
    const char* what = type == TModNoteNr::Relative ? " clamped, for TModNoteNr::TType::Relative it must be >= "
                                                    : " clamped, for TModNoteNr::TType::Absolute it must be >= ";
    message = "NoteNr " + std::to_string(noteNr) + what + std::to_string(lo) + " and <= " + std::to_string(hi);
    return std::clamp(noteNr, lo, hi);
}
