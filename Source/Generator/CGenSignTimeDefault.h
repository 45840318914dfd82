#pragma once

#include "Generator/timesig/CGenSignTimeTrafos.h"

class CGenCharContext;
class CGenEvsSignTime;

// Conversions of positions between the two frames (TSTDefaultOrTarget):
// Default, the 4/4 authoring frame counted in bars of 4 beats from the bar of
// mGenerateStartLeftBarPosAbs (default bar 1 starts at 0), and Target, the
// song's own signature map. Default bar k is the k-th target bar from the
// left bar, one later when the generate range begins with a pickup bar;
// inside a bar a position goes through the layer's signature transformation
// from 4/4 into the signature in force (and back).
//
// Every conversion gives TGenBeatPos_Undef (TGenBarNr_Undef for bar numbers)
// for an undefined input, a missing context, params, transformations or
// signature element. The element in force at a position is the last one at
// or before it, or the first one for a position before all.
class CGenSignTimeDefault {
public:
    // Target: posInBar. Default: posInBar in [0, 4) transformed from 4/4 into
    // the signature in force at beatPos.
    static float RelPosInBarFromSTDefaultOrTargetToSTTarget(float posInBar, TSTDefaultOrTarget frame, float beatPos,
        const CGenEvsSignTime* evsSignTime, const CGenSignTimeTrafos* trafos);
    // Default: posInBar. Target: posInBar brought into the bar by whole bars
    // of the signature in force at beatPos, transformed back into 4/4, and
    // the same number of bars (of 4 beats) taken off again.
    static float RelPosInBarFromSTDefaultOrTargetToSTDefault(float posInBar, TSTDefaultOrTarget frame, float beatPos,
        const CGenEvsSignTime* evsSignTime, const CGenSignTimeTrafos* trafos);

    // An absolute position into the default frame: (B - L - p) * 4 plus the
    // position in its bar transformed back into 4/4, with B the target bar of
    // pos, L the left bar and p 1 for a pickup bar.
    static float BeatPosAbsFromSTDefaultOrTargetToSTDefault(float pos, TSTDefaultOrTarget frame,
        const CGenCharContext& charContext);
    // The reverse: the target bar of the default bar, and the position in the
    // bar transformed into the signature in force there.
    static float BeatPosAbsFromSTDefaultOrTargetToSTTarget(float pos, TSTDefaultOrTarget frame,
        const CGenCharContext& charContext);

    // The bar shift alone: default bar = target bar - L - p + 1, and back.
    static int ConvertBarNrInternFromSTTargetToSTDefault(const CGenCharContext& charContext, int barNr);
    static int ConvertBarNrInternFromSTDefaultToSTTarget(const CGenCharContext& charContext, int barNr);
    // (barNr - 1) * 4.
    static float BarStartPosAbsSTDefault(int barNr, const CGenCharContext& charContext);
    // The start of default bar barNr in the song.
    static float BarStartPosAbsSTTarget(int barNr, const CGenCharContext& charContext);

    // A bar counted from the generate range's left bar (1 the first) and a
    // position in it, as an absolute default position.
    static float ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTDefault(int barRel, float posInBar,
        TSTDefaultOrTarget frame, const CGenCharContext& charContext);
    // The same as an absolute position in the song.
    static float ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTTarget(int barRel, float posInBar,
        TSTDefaultOrTarget frame, const CGenCharContext& charContext);

    // pos when it is a bar start, else the next bar start.
    static float FirstCompleteBarBPAbs(float pos, const CGenEvsSignTime& evsSignTime);
};
