#pragma once

#include "Generator/CGenEvs.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/patterns/CGenPatternCoord.h"
#include "Generator/timesig/CGenSignTime.h"

#include <boost/serialization/array.hpp>

#include <array>
#include <ostream>

class CGenDrumMap;

// The analysis that measures a pattern's internal coordinates from its
// events. It runs when content is imported; generation reads the stored
// coordinates.

// The places a note can take, each with its weight in the complexity map.
// Places 0 to 15 are the sixteenths of a 4/4 bar (beat * 4 + sixteenth,
// beats beyond the fourth counting as beat modulo 4); 16 to 23 the two
// inner triplet eighths of each beat (beat * 2 + triplet - 1); 24 and 25 any
// other place in the first or second half of a beat. 26 to 30 are bonuses for
// a note on the second or fourth sixteenth of a beat that stands next to
// notes of the same note number.
enum _CGenComplIntMapMemberType : int {
    _CGenComplIntMapMemberType_Sixteenth = 0,
    _CGenComplIntMapMemberType_Triplet = 16,
    _CGenComplIntMapMemberType_OffGridFirstHalf = 24,
    _CGenComplIntMapMemberType_OffGridSecondHalf = 25,
    _CGenComplIntMapMemberType_NeighbourAfter = 26,
    _CGenComplIntMapMemberType_NeighbourBefore = 27,
    _CGenComplIntMapMemberType_SecondNeighbourAfter = 28,
    _CGenComplIntMapMemberType_SecondNeighbourBefore = 29,
    _CGenComplIntMapMemberType_NeighboursOnBothSides = 30,
    _CGenComplIntMapMemberType_Count = 31,
};

// How the complexity of a pattern is measured: bar by bar, or beat by beat
// as a mean over the beats that hold something.
enum TPatternCoordComplAnalysis : int {
    TPatternCoordComplAnalysis_PerBar = 0,
    TPatternCoordComplAnalysis_PerBeatWithoutKitPieces = 1,
};

// How the intensity of a pattern is measured: the mean over the grid bins
// of the summed note intensities, or of the strongest note of each bin.
enum TPatternCoordIntnAnalysis : int {
    TPatternCoordIntnAnalysis_GridBins = 0,
    TPatternCoordIntnAnalysis_NoCount = 1,
};

// How much a note at each place of the sixteenth grid adds to the
// complexity of a bar: a scale and 31 weights, each kept within 0..100.
class CGenComplIntMap : public CGenTraceable<CGenComplIntMap> {
public:
    static constexpr const char* kTraceClassName = "CGenComplIntMap";

    // Scale 1, all weights 0.
    CGenComplIntMap() = default;

    // The weights content is analysed with, and its scale 2.020202.
    static const CGenComplIntMap& defaultMap();
    static float DefaultScaleForBar() { return 2.020202f; }

    float Scale() const { return mScale; }
    void SetScale(float scale) { mScale = scale; }
    // 0 for a member beyond the last.
    float ValueOfMember(int type) const;
    // Clamped to 0..100; a member beyond the last is ignored.
    void SetValueOfMember(int type, float value);

    // The complexity of one beat: each place that holds a sounding note adds
    // its weight once, second and fourth sixteenths their neighbour bonuses;
    // the sum times `scale`.
    float ComplIntInOneBeat(const CGenEvs& evs, float scale, float barStart, float beatStart, float beatLength) const;
    // The sum over the beats of one bar of the metre, counting only notes
    // the drum map knows.
    float ComplIntForOneBarDrums(const CGenDrumMap& drumMap, const CGenEvs& evs, float scale, float barStart,
        const CGenSignTime& signTime) const;

    bool operator==(const CGenComplIntMap& o) const { return mScale == o.mScale && mValues == o.mValues; }

    void TraceStream(std::ostream& os) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mScale", mScale);
        ar& boost::serialization::make_nvp("mValues", mValues);
    }

private:
    // The bonuses of a note on a second or fourth sixteenth (0-based 1 or 3).
    float _ComplIntForPosWithMultipleNotes(int beat, int sixteenth, const CGenEvs& evs, float beatStart,
        float beatLength) const;

    float mScale = 1.0f;
    std::array<float, _CGenComplIntMapMemberType_Count> mValues {};
};

// Whether a note number counts for a layer: System hears hi-hats and rides,
// Percussion the percussion pieces, the accent layers kick, snare, toms and
// cymbals; Fill and Undef hear every note.
bool GenDrumNoteCountsForPatternGraphType(const CGenDrumMap& drumMap, TPatternGraphType type, int noteNr);

// The complexity of a pattern's events (positions from 0, length mLength)
// among the notes of its layer. Per bar: undefined for a bar of length 0,
// 0 for a pattern without positive length, else the sum over the bars of
// the bar's complexity times pattern length / bar length. Per beat: the sum
// over the beats divided by the number of beats that hold something (the
// sum when none does).
float ComplIntForDrumEvs(const CGenDrumMap& drumMap, TPatternCoordComplAnalysis analysis, TPatternGraphType type,
    const CGenEvs& evs, float scale, const CGenSignTime& signTime,
    const CGenComplIntMap& map = CGenComplIntMap::defaultMap());

// The intensity of one drum note, 0..100: the weight of its kit piece times
// a factor of its velocity (soft 1..63: 0.45, medium 64..99 or unset: 0.9,
// hard 100..127: 1.05, silent 0: 0).
float IntnIntForDrumNote(const CGenDrumMap& drumMap, TPatternCoordIntnAnalysis analysis, const CGenEv& ev, int noteNr);

// The intensity of a pattern's events, 0..100: the sounding notes in bins of
// gridLength, each bin the sum (GridBins) or the maximum (NoCount) of its
// notes' intensities, limited to 100, then the mean over the bins that hold
// notes. 0 without notes, grid or length.
float IntnIntForDrumEvs(const CGenDrumMap& drumMap, TPatternCoordIntnAnalysis analysis, const CGenEvs& evs,
    float gridLength);

// Both coordinates of a drum pattern.
CGenPatternCoordInt AnalyzePatternCoordIntForDrums(const CGenDrumMap& drumMap, TPatternCoordComplAnalysis complAnalysis,
    TPatternCoordIntnAnalysis intnAnalysis, TPatternGraphType type, const CGenEvs& evs, const CGenSignTime& signTime,
    float gridLength, const CGenComplIntMap& map = CGenComplIntMap::defaultMap());
