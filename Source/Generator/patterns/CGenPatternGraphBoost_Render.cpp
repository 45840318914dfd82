// Rendering a chosen sequence to named event lists.
#include "Generator/CGenEvsNameds.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/clave/CGenClaveMatchFactor.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"

#include <sstream>

namespace {

const char* const kClaveLibNameFamily = "Family";

} // namespace

void CGenPatternGraphBoost::Generate_RenderEvs(const CGenGeneratorParams& params, const CGenDrumMap* /*drumMap*/,
    _TGenInstType /*instType*/, const CGenPatternModAndProbs* list, CGenEvsNameds& evsNameds) const
{
    if (!list || list->empty())
        return;
    for (const CGenPatternModAndProb& el : *list) {
        const int ix = el.mItPattern >= PatternCount() ? -1 : static_cast<int>(el.mItPattern);
        evsNameds.push_back(CGenEvsNamed(_Generate_RenderEvs_PatternName(params, el), el.mBeatPosAbs,
            el.PatternToBeRead().mEvs, mType, ix));
    }
}

std::string CGenPatternGraphBoost::_Generate_RenderEvs_PatternName(const CGenGeneratorParams& params,
    const CGenPatternModAndProb& el) const
{
    std::ostringstream os;
    if (params.mDbgAddPatternAndFillIxToGenEvsNameds)
        os << "#" << (el.mItPattern >= PatternCount() ? -1 : static_cast<long long>(el.mItPattern)) << " ";
    // A private copy plays under its original's name.
    const CGenPattern& pattern =
        el.mPatternGraphType != TPatternGraphType_Undef ? el.OriginalPattern() : el.PatternToBeRead();
    os << pattern.mName;
    if (params.mDbgAddCoordExtToGenEvsNameds) {
        const CGenPatternCoordExt ext = mPatternCoordConv.IntToExt(pattern.mCoord);
        os << " " << ext.Name();
    }
    if (params.mDbgAddClaveNameToGenEvsNameds) {
        const CGenRange<float>& tempo = pattern.mTempoBPMRange;
        if (tempo.mMin == -1.0f && tempo.mMax == -1.0f)
            os << " _tUndef";
        else
            os << " _t" << tempo.mMin << "-" << tempo.mMax;
        static const CGenBeatedPatternIxs kNoHistory;
        const auto hist = params.mEvsClaveClosestIxPatternHistForName.find(kClaveLibNameFamily);
        const CGenBeatedPatternIxs& beatedIxs =
            hist == params.mEvsClaveClosestIxPatternHistForName.end() ? kNoHistory : hist->second;
        const float threshold = mType == TPatternGraphType_AccentFamily
            ? params.mEvsClavePatternsAccentDistHasToMatchLowerThanPercent
            : params.mEvsClavePatternsSystemDistHasToMatchLowerThanPercent;
        float factor = 1.0f;
        int ixClavePattern = -1;
        float match = 0.0f;
        ProbFactorAndIxPatternForEvsClave(&params, mWeakClaveLibs, pattern.mClaveLinks, threshold, beatedIxs,
            GenSubRegardingUndef(el.mBeatPosAbs, params.mGenerateStartLeftBarPosAbs), factor, ixClavePattern, match,
            -1, TGenBeatPos_Undef);
        const CGenClaveLib* lib = mWeakClaveLibs ? mWeakClaveLibs->FindClaveLibForName(kClaveLibNameFamily) : nullptr;
        if (lib && ixClavePattern >= 0 && static_cast<size_t>(ixClavePattern) < lib->size())
            os << " " << (*lib)[static_cast<size_t>(ixClavePattern)].mName;
        else
            os << " ClaveUndef";
        os << " " << match;
    }
    return os.str();
}

void CGenPatternGraphBoost::AddOverlayNotesAndTransformSignTimeForFills(int ixPattern, float pos,
    const CGenEvsSignTime& signTime, CGenEvs& evs) const
{
    if (ixPattern < 0 || mType != TPatternGraphType_Fill || static_cast<size_t>(ixPattern) >= PatternCount())
        return;
    const CGenPattern& pattern = PatternAtIx(static_cast<size_t>(ixPattern));
    const std::pair<const char*, const char*> ranges[] = {
        {kGenPatternProp_Fill_OverlayRangeAcStart, kGenPatternProp_Fill_OverlayRangeAcLength},
        {kGenPatternProp_Fill_OverlayRangeSyStart, kGenPatternProp_Fill_OverlayRangeSyLength},
        {kGenPatternProp_Fill_OverlayRangePercStart, kGenPatternProp_Fill_OverlayRangePercLength}};
    for (const auto& [startKey, lengthKey] : ranges) {
        const float start = pattern.PropertyFloatOrUndef(startKey);
        float length = pattern.PropertyFloatOrUndef(lengthKey);
        if (GenIsDef(start) && GenIsUndef(length))
            length = GenSubRegardingUndef(pattern.Length(), start);
        if (GenIsUndef(start) || GenIsUndef(length))
            continue;
        // Undefined pitch data and an undefined abstract note: a note that
        // marks a range and never sounds as an instrument.
        evs.InsertAtBeatPos(CGenEv(start, length, st_NoteOn, -1, -1));
    }
    const auto sign = signTime.FindSignTimeAtOrBefore(pos);
    if (sign != signTime.end())
        mSignTimeTrafos.TransformFromTo(pattern.mSignTime, sign->SignTime(), evs, TTransformEvsLength_Transform,
            CGenSignTime_Default44);
}
