#pragma once

#include "Generator/CGenTypes.h"

class CGenEvsSignTime;
class CGenEvsTempo;

// Decides whether a region's fill lock has to go because the user moved or
// resized the region so that the locked fill no longer fits.
class CGenGeneratorDisableFillLockEvaluator {
public:
    struct Parameters {
        float mStartPosAbs = TGenBeatPosAbs_Undef;
        float mLength = TGenBeatLength_Undef;
        float mStartPosInBar = TGenBeatPos_Undef;
        float mLastStartPosAbs = TGenBeatPosAbs_Undef;
        float mLastLength = TGenBeatLength_Undef;
        float mLastStartPosInBar = TGenBeatPos_Undef;
        const CGenEvsSignTime* mEvsSignTime = nullptr;
        const CGenEvsTempo* mEvsTempo = nullptr;
    };

    explicit CGenGeneratorDisableFillLockEvaluator(const Parameters& parameters) : mParameters(parameters) {}

    // The four tests in order; the first that holds decides.
    bool shouldDisableFillLock() const;
    bool regionDidMoveToNewRelativeStartPosition() const;
    bool regionDidChangeLength() const;
    bool regionMovedSomewhereWithDifferentSignTime() const;
    bool regionMovedSomewhereWithDifferentTempo() const;

private:
    Parameters mParameters;
};
