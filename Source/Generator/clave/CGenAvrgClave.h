#pragma once

// The average clave: the bars of a played clave that belong together (the
// song's repeating groups) are found and averaged, which gives a cleaner
// clave than any single bar.
//
// Two ways of grouping, chosen by TSimilarBarssParams::mStrategy (Lua key
// "Strategy"):
//   0 similar to the first bar: bars in song order join the first group whose
//     first bar they match well enough; cheap and order dependent.
//   1 similarity matrix (default): agglomerative clustering over all pairs of
//     bars, cut at a threshold; independent of the order of the bars.
//
// The match of two bars of equal length L (0 for different lengths) is
//     grid * wGrid + velTerm + ratioTerm
// with
//   grid      the velocity grid match (VelGridMatch), wGrid its weight
//             ("MatchWeightForVelGridMatch", undefined counts as 1);
//   velTerm   wVel * (1 - min(|avrgA - avrgB| / 127, 1)), wVel the weight
//             "MatchWeightForAvrgVelDiff" (no term when it is 0 or
//             undefined): two bars of the same average loudness add the full
//             weight, a difference of the whole velocity range adds nothing;
//   ratioTerm wStd * q, q = sA / sB or its inverse, whichever is <= 1, sA and
//             sB the weighted standard deviations of the bars' velocities
//             ("MatchWeightForStdDevRatio", no term when 0 or undefined). Two
//             bars without spread have q 1, one of them alone q 0.
//
// Linkage. When two clusters merge, their match to every other cluster comes
// from their two stored matches by TSimilarBarssParams::mLinkage (Lua key
// "SimilarityMatrix_Linkage"): 2 the smaller (complete linkage), 1 the larger
// (single linkage), anything else (default 0) the average weighted by the
// clusters' bar counts (average linkage). Average linkage is the default
// because a single odd bar neither splits a group (as with complete linkage)
// nor chains two different groups together (as with single linkage).
//
// The older analysis by song parts (FindSongPartsAndAvrgEvsClave and its
// helpers) keeps only its interface: no generation path reaches it, and its
// calls return empty results (no song parts, no events).

#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenEvsClave.h"

#include <ostream>
#include <string>
#include <vector>

class CGenEvsSignTime;
class CGenEvsChord;

// Any int may arrive from a script; the sanity check refuses the others.
enum TCreateClaveInRange : int {
    // From position 0 to the clave's length (the given end when it has none).
    TCreateClaveInRange_WholeSong = 0,
    // The given range only.
    TCreateClaveInRange_GenerateRegion = 1,
};

// A bar of the song that clustering works on.
struct TClusterableBar {
    int32_t mBarNr = TGenBarNr_Undef; // internal bar number
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    float mLength = TGenBeatLength_Undef;
};
class TClusterableBars : public std::vector<TClusterableBar> {
public:
    // Every bar whose start lies in [bar start at start, end), each with the
    // length up to the next bar start; none for an empty range or a map
    // without bars.
    void FillFromRange(const CGenEvsSignTime& signTime, float start, float end);
};

namespace zkgen {
struct TAvrgClaveBeatPosAndWeight {
    float mBeatPos = TGenBeatPos_Undef;
    float mWeight = 0.0f;
    bool operator==(const TAvrgClaveBeatPosAndWeight&) const = default;
};
// Weight 1 at every sixteenth of the first 8 beats: the default of the three
// grid lists, so that without a script's lists every grid point of a bar up
// to 8 beats counts fully (a list without an entry for a point lets the
// point match whatever it holds).
std::vector<TAvrgClaveBeatPosAndWeight> AvrgClaveDefaultGridWeights();
} // namespace zkgen

class CGenAvrgClave : public CGenTraceable<CGenAvrgClave> {
public:
    static constexpr const char* kTraceClassName = "CGenAvrgClave";

    enum TStrategy : int { TStrategy_SimilarToFirstBar = 0, TStrategy_SimilarityMatrix = 1 };
    enum TLinkage : int { TLinkage_Average = 0, TLinkage_Single = 1, TLinkage_Complete = 2 };

    // A weight for one position of a bar (0-based beats from the bar start).
    using TBeatPosAndWeight = zkgen::TAvrgClaveBeatPosAndWeight;
    using TBeatPosAndWeights = std::vector<TBeatPosAndWeight>;

    // The defaults make a plain rhythmic comparison: the grid match alone on
    // a sixteenth grid with the generator's reading tolerance, every grid
    // point weighted 1 and every position 1 in the average velocity.
    struct TSimilarBarssParams {
        // The velocity of the events made at chord changes when the song has
        // no clave (turned into the weight of that velocity).
        int mEvClaveOnChordChangeVelocity = 100;
        TCreateClaveInRange mCreateClaveInRange = TCreateClaveInRange_WholeSong;
        float mSimilarToFirstBar_SimilarIsAboveThresh = 0.8f;
        float mSimilarityMatrix_SimilarIsAboveThresh = 0.8f;
        float mMatchWeightForVelGridMatch = 1.0f;
        float mMatchWeightForAvrgVelDiff = 0.0f;
        float mMatchWeightForStdDevRatio = 0.0f;
        float mVelGridMatch_MatchGridLength = 0.25f;
        float mVelGridMatch_MatchWithin = 0.125f;
        // Without an entry near an event's position its weight is 1.
        TBeatPosAndWeights mVelGridMatch_BeatPosAndWeightsAvrgVel;
        TBeatPosAndWeights mVelGridMatch_BeatPosAndWeightsIfEvAbsentInBoth = zkgen::AvrgClaveDefaultGridWeights();
        TBeatPosAndWeights mVelGridMatch_BeatPosAndWeightsIfEvPresentInOnlyOne = zkgen::AvrgClaveDefaultGridWeights();
        TBeatPosAndWeights mVelGridMatch_BeatPosAndWeightsIfEvPresentInBoth = zkgen::AvrgClaveDefaultGridWeights();
        int mStrategy = TStrategy_SimilarityMatrix;
        int mLinkage = TLinkage_Average;

        // "" when sane, else "<key> must be > 0" for the first of the grid
        // length and the tolerance that is not positive.
        std::string PositiveValuesCheck() const;
        // Positive grid length and tolerance, a known range, strategy and a
        // velocity in 0..127.
        bool ParamsAreSane() const;

        bool operator==(const TSimilarBarssParams&) const = default;
        void TraceStream(std::ostream& os) const;
    };

    // Position weight of a list: the entry nearest to relPos within
    // tolerance (the earlier when equal); `none` without one.
    static float WeightNear(const TBeatPosAndWeights& list, float relPos, float tolerance, float none);
    // The weight of the entry at exactly pos; false without one.
    static bool WeightAt(const TBeatPosAndWeights& list, float pos, float& weight);

    // The level 0..1 of an event of weighted velocity v in a bar of weighted
    // average a and largest weighted velocity m.
    static float VelLevel(float v, float a, float m);

    // The velocity grid match of the bar of a at posA with the bar of b at
    // posB, both `length` long; the grid walks g = k * step for g < length.
    // avrgA/avrgB (may be null) receive the weighted average velocities.
    static float VelGridMatch(const CGenEvsClave& a, float posA, const CGenEvsClave& b, float posB, float length,
        const TSimilarBarssParams& params, float abortThreshold = TPercent_Undef, float* avrgA = nullptr,
        float* avrgB = nullptr);
    // The whole match of two bars (see the top of this file).
    static float BarMatch(const CGenEvsClave& a, float posA, float lengthA, const CGenEvsClave& b, float posB,
        float lengthB, const TSimilarBarssParams& params);
    // The events of [start, start + length) relative to start, with that length.
    static CGenEvsClave EvsOfBar(const CGenEvsClave& clave, float start, float length);

    // One group of similar bars.
    struct TSimilarBars {
        std::vector<int32_t> mBarNrs; // ascending
        std::vector<float> mBarStartsAbs; // parallel to mBarNrs
        CGenEvsClave mFirstBarEvs; // the first bar's events, relative to its start
        CGenEvsClave mAvrgEvs; // relative to a bar start
        float mLength = TGenBeatLength_Undef;

        void AddBar(const TClusterableBar& bar);
        // The average of the bars' events: each relative position x is read
        // as floor(4x)/4 plus the rest x mod 0.25 when that rest lies below
        // the tolerance (else the rest is dropped); at each position the
        // summed weights (an undefined weight counting 0) over the bar count,
        // rounded; weight 0 makes no event.
        void CalcAvrgEvsClave(const CGenEvsSignTime& signTime, const CGenEvsClave& clave,
            const TSimilarBarssParams& params);
        void TraceStream(std::ostream& os) const;
    };

    class TSimilarBarss : public std::vector<TSimilarBars> {
    public:
        void FindSimilarBarssAndCalcTheirAvrgEvsClave(const CGenEvsSignTime& signTime, const CGenEvsClave& clave,
            float start, float end, const TSimilarBarssParams& params);
        void _FindSimilarBarss(const CGenEvsSignTime& signTime, const CGenEvsClave& clave, float start, float end,
            const TSimilarBarssParams& params);
        void _FindSimilarBarss_Strategy_SimilarToFirstBar(const CGenEvsSignTime& signTime, const CGenEvsClave& clave,
            float start, float end, const TSimilarBarssParams& params);
        void _FindSimilarBarss_Strategy_SimilarityMatrix(const CGenEvsSignTime& signTime, const CGenEvsClave& clave,
            float start, float end, const TSimilarBarssParams& params);
        // Joins the first group whose first bar it matches at or above the
        // threshold among the groups of its length; an empty bar otherwise joins
        // the one group with an empty first bar; else a new group.
        void _StrategySimilarToFirstBar_AddBar(const TClusterableBar& bar, const CGenEvsClave& clave,
            const TSimilarBarssParams& params);
        void _CalcAvrgEvsClave(const CGenEvsSignTime& signTime, const CGenEvsClave& clave,
            const TSimilarBarssParams& params);
    };

    // Every bar of the groups in song order.
    struct TChronologicalSimilarBar {
        int32_t mBarNr = TGenBarNr_Undef;
        float mBeatPosAbs = TGenBeatPosAbs_Undef;
        bool mIsFirstBarOfSimilarBarGroup = false;
        int mSimilarBarsIx = -1; // index of its group
        void TraceStream(std::ostream& os) const;
    };
    class TChronologicalSimilarBars : public std::vector<TChronologicalSimilarBar> {
    public:
        void FillFromSimilarBarss(const TSimilarBarss& barss);
    };

    struct TSongPart {
        float mStartBeatPosAbs = TGenBeatPosAbs_Undef;
    };
    using TSongParts = std::vector<TSongPart>;

    // The entry point: when the clave is empty one is made from the chord
    // changes; then the range is set by mCreateClaveInRange, the bars are
    // grouped by the selected strategy, averaged, and laid out in song
    // order as AvrgEvsClave (absolute positions). False, with nothing run,
    // for parameters that are not sane.
    bool FindSimilarBarssAndAvrgEvsClave(const CGenEvsSignTime& signTime, const CGenEvsChord& chords,
        const CGenEvsClave& clave, float start, float end);

    // A clave event at every chord change in [start, end) (an undefined
    // chord or a repeat of the one before is no change), with the weight of
    // the velocity mEvClaveOnChordChangeVelocity; the length is end.
    CGenEvsClave _CreateEvClaveOnEachChordChange(const CGenEvsChord& chords, float start, float end) const;

    // The older song-part analysis: interface only, see the top of the file.
    bool FindSongPartsAndAvrgEvsClave(const CGenEvsSignTime& signTime, const CGenEvsClave& clave, float start, float end);
    TSongParts _FindSongPartsStart(const CGenEvsSignTime& signTime, const CGenEvsClave& clave, float start, float end) const;
    float _FindAveragingLoopLengthForSongPart(const CGenEvsClave& clave, float start, float end) const;
    CGenEvsClave _FindAvrgEvsClave(const CGenEvsSignTime& signTime, const CGenEvsClave& clave, float end) const;
    CGenEvsClave _FindAvrgEvsClaveForSongPart(const CGenEvsClave& clave, float start, float end, float loopLength) const;
    // The start of the next song part, or end after the last one.
    float _SongPartEndBeatPosAbs(size_t ixSongPart, float end) const;

    TSimilarBarssParams& SimilarBarssParams() { return mSimilarBarssParams; }
    const TSimilarBarssParams& SimilarBarssParams() const { return mSimilarBarssParams; }
    const TSimilarBarss& SimilarBarss() const { return mSimilarBarss; }
    const TChronologicalSimilarBars& ChronologicalSimilarBars() const { return mChronologicalSimilarBars; }
    const CGenEvsClave& AvrgEvsClave() const { return mAvrgEvsClave; }
    const TSongParts& SongParts() const { return mSongParts; }

    void TraceStream(std::ostream& os) const;

private:
    TSimilarBarssParams mSimilarBarssParams;
    TSimilarBarss mSimilarBarss;
    TChronologicalSimilarBars mChronologicalSimilarBars;
    CGenEvsClave mAvrgEvsClave;
    TSongParts mSongParts;
};

std::ostream& operator<<(std::ostream& os, const CGenAvrgClave::TSimilarBars& bars);
std::ostream& operator<<(std::ostream& os, const CGenAvrgClave::TChronologicalSimilarBar& bar);
