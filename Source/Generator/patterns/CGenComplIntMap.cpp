#include "Generator/patterns/CGenComplIntMap.h"

#include "Generator/instruments/CGenDrumMap.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

namespace {

// A note counts as on a grid place within a sixty-fourth of a beat of it.
constexpr float kGridTolerancePerBeat = 1.0f / 16.0f;

std::set<int> NoteNrsNear(const CGenEvs& evs, float pos, float tolerance)
{
    std::set<int> nrs;
    for (const CGenEv& ev : evs)
        if (ev.IsSoundingNote() && std::fabs(ev.mBeatPos - pos) <= tolerance)
            nrs.insert(ev.mMB1);
    return nrs;
}

bool SharesNoteNr(const std::set<int>& a, const std::set<int>& b)
{
    for (int n : a)
        if (b.count(n))
            return true;
    return false;
}

// The place of a note in its beat (see _CGenComplIntMapMemberType).
int PlaceInBeat(int beat, float rel, float beatLength, int& sixteenth)
{
    const float tolerance = beatLength * kGridTolerancePerBeat;
    const float g = beatLength / 4.0f;
    const long s = std::lround(rel / g);
    sixteenth = -1;
    if (s >= 0 && s <= 3 && std::fabs(rel - float(s) * g) <= tolerance) {
        sixteenth = int(s);
        return _CGenComplIntMapMemberType_Sixteenth + beat * 4 + int(s);
    }
    const float third = beatLength / 3.0f;
    const long t = std::lround(rel / third);
    if ((t == 1 || t == 2) && std::fabs(rel - float(t) * third) <= tolerance)
        return _CGenComplIntMapMemberType_Triplet + beat * 2 + int(t) - 1;
    return rel < beatLength / 2.0f ? _CGenComplIntMapMemberType_OffGridFirstHalf
                                   : _CGenComplIntMapMemberType_OffGridSecondHalf;
}

// Weight of a kit piece for intensity: how loud the piece reads at a medium hit.
float PieceIntensityWeight(TGenDrumPiece piece)
{
    switch (piece) {
    case TGenDrumPiece_Kick:
    case TGenDrumPiece_SnareCenter:
    case TGenDrumPiece_SnareOffcenter:
    case TGenDrumPiece_SnareRimShot: return 90.0f;
    case TGenDrumPiece_SnareRimClick: return 40.0f;
    case TGenDrumPiece_TomPitch1:
    case TGenDrumPiece_TomPitch2:
    case TGenDrumPiece_TomPitch3:
    case TGenDrumPiece_TomPitch4:
    case TGenDrumPiece_TomPitch5:
    case TGenDrumPiece_TomPitch6: return 80.0f;
    case TGenDrumPiece_HiHatClosed: return 50.0f;
    case TGenDrumPiece_HiHatPedal: return 30.0f;
    case TGenDrumPiece_HiHatOpen: return 80.0f;
    case TGenDrumPiece_RideBow: return 60.0f;
    case TGenDrumPiece_RideEdge: return 70.0f;
    case TGenDrumPiece_RideBell: return 75.0f;
    case TGenDrumPiece_CrashPitch1:
    case TGenDrumPiece_CrashPitch2:
    case TGenDrumPiece_CrashPitch3:
    case TGenDrumPiece_CrashPitch4: return 100.0f;
    case TGenDrumPiece_CrashSplash: return 85.0f;
    case TGenDrumPiece_Count: return 50.0f;
    default: return 45.0f; // the percussion pieces
    }
}

float VelocityFactor(int velocity)
{
    if (velocity == 0)
        return 0.0f;
    if (velocity < 0 || (velocity >= 64 && velocity < 100))
        return 0.9f;
    return velocity < 64 ? 0.45f : 1.05f;
}

bool IsSystemPiece(TGenDrumPiece p) { return p >= TGenDrumPiece_HiHatClosed && p <= TGenDrumPiece_RideBell; }
bool IsPercussionPiece(TGenDrumPiece p) { return p >= TGenDrumPiece_Sticks && p < TGenDrumPiece_Count; }

CGenEvs NotesOfLayer(const CGenDrumMap& drumMap, TPatternGraphType type, const CGenEvs& evs)
{
    CGenEvs out(evs.mLength);
    for (const CGenEv& ev : evs)
        if (ev.IsSoundingNote() && GenDrumNoteCountsForPatternGraphType(drumMap, type, ev.mMB1))
            out.push_back(ev);
    return out;
}

} // namespace

const CGenComplIntMap& CGenComplIntMap::defaultMap()
{
    static const CGenComplIntMap map = [] {
        CGenComplIntMap m;
        m.mScale = DefaultScaleForBar();
        m.mValues = {0.0f, 0.0f, 0.1f, 0.1f, 1.0f, 7.0f, 4.0f, 14.0f, 8.0f, 21.0f, 1.0f, 6.0f, 3.0f, 4.0f, 0.0f, 5.0f,
            2.0f, 4.0f, 1.0f, 4.0f, 2.0f, 3.0f, 0.0f, 3.0f, 1.0f, 2.0f, 2.0f, 1.0f, 1.0f, 2.0f, 2.0f};
        return m;
    }();
    return map;
}

float CGenComplIntMap::ValueOfMember(int type) const
{
    return (type >= 0 && type < _CGenComplIntMapMemberType_Count) ? mValues[size_t(type)] : 0.0f;
}

void CGenComplIntMap::SetValueOfMember(int type, float value)
{
    if (type >= 0 && type < _CGenComplIntMapMemberType_Count)
        mValues[size_t(type)] = std::clamp(value, 0.0f, 100.0f);
}

float CGenComplIntMap::_ComplIntForPosWithMultipleNotes(int beat, int sixteenth, const CGenEvs& evs, float beatStart,
    float beatLength) const
{
    const float g = beatLength / 4.0f;
    const float tolerance = beatLength * kGridTolerancePerBeat;
    auto at = [&](int k) { return NoteNrsNear(evs, beatStart + float(k) * g, tolerance); };
    const std::set<int> here = at(sixteenth);
    const bool before = SharesNoteNr(here, at(sixteenth - 1));
    // A kick on the last sixteenth of the bar leads into the next bar's downbeat.
    const bool after = SharesNoteNr(here, at(sixteenth + 1)) || (beat == 3 && sixteenth == 3 && here.count(36));
    float bonus = 0.0f;
    if (before)
        bonus += ValueOfMember(_CGenComplIntMapMemberType_NeighbourBefore);
    if (after)
        bonus += ValueOfMember(_CGenComplIntMapMemberType_NeighbourAfter);
    if (SharesNoteNr(here, at(sixteenth - 2)))
        bonus += ValueOfMember(_CGenComplIntMapMemberType_SecondNeighbourBefore);
    if (SharesNoteNr(here, at(sixteenth + 2)))
        bonus += ValueOfMember(_CGenComplIntMapMemberType_SecondNeighbourAfter);
    if (before && after)
        bonus += ValueOfMember(_CGenComplIntMapMemberType_NeighboursOnBothSides);
    return bonus;
}

float CGenComplIntMap::ComplIntInOneBeat(const CGenEvs& evs, float scale, float barStart, float beatStart,
    float beatLength) const
{
    if (!(beatLength > 0.0f) || GenIsUndef(beatStart) || GenIsUndef(barStart))
        return 0.0f;
    const long beatInBar = std::lround((beatStart - barStart) / beatLength);
    const int beat = int(((beatInBar % 4) + 4) % 4);
    const float tolerance = beatLength * kGridTolerancePerBeat;
    std::map<int, int> places; // place -> sixteenth (-1 off the sixteenths)
    for (const CGenEv& ev : evs) {
        if (!ev.IsSoundingNote() || GenIsUndef(ev.mBeatPos))
            continue;
        const float rel = ev.mBeatPos - beatStart;
        if (rel < -tolerance || rel >= beatLength - tolerance)
            continue;
        int sixteenth = -1;
        const int place = PlaceInBeat(beat, std::max(rel, 0.0f), beatLength, sixteenth);
        places.emplace(place, sixteenth);
    }
    float sum = 0.0f;
    for (const auto& [place, sixteenth] : places) {
        sum += ValueOfMember(place);
        if (sixteenth == 1 || sixteenth == 3)
            sum += _ComplIntForPosWithMultipleNotes(beat, sixteenth, evs, beatStart, beatLength);
    }
    return sum * scale;
}

float CGenComplIntMap::ComplIntForOneBarDrums(const CGenDrumMap& drumMap, const CGenEvs& evs, float scale,
    float barStart, const CGenSignTime& signTime) const
{
    const float beatLength = signTime.DenomLength();
    if (GenIsUndef(beatLength) || !(beatLength > 0.0f))
        return 0.0f;
    CGenEvs known(evs.mLength);
    for (const CGenEv& ev : evs)
        if (drumMap.PieceForNoteNr(ev.mMB1) != TGenDrumPiece_Count)
            known.push_back(ev);
    float sum = 0.0f;
    for (int i = 0; i < signTime.Nom(); ++i)
        sum += ComplIntInOneBeat(known, scale, barStart, barStart + float(i) * beatLength, beatLength);
    return sum;
}

void CGenComplIntMap::TraceStream(std::ostream& os) const
{
    os << "CGenComplIntMap scale " << mScale;
    for (float v : mValues)
        os << " " << v;
}

bool GenDrumNoteCountsForPatternGraphType(const CGenDrumMap& drumMap, TPatternGraphType type, int noteNr)
{
    if (type == TPatternGraphType_Fill || type == TPatternGraphType_Undef)
        return true;
    const TGenDrumPiece piece = drumMap.PieceForNoteNr(noteNr);
    if (piece == TGenDrumPiece_Count)
        return false;
    if (type == TPatternGraphType_System)
        return IsSystemPiece(piece);
    if (type == TPatternGraphType_Percussion)
        return IsPercussionPiece(piece);
    return !IsSystemPiece(piece) && !IsPercussionPiece(piece);
}

float ComplIntForDrumEvs(const CGenDrumMap& drumMap, TPatternCoordComplAnalysis analysis, TPatternGraphType type,
    const CGenEvs& evs, float scale, const CGenSignTime& signTime, const CGenComplIntMap& map)
{
    const CGenEvs notes = NotesOfLayer(drumMap, type, evs);
    const float length = evs.mLength;
    const float barLength = signTime.BarLength();
    if (analysis == TPatternCoordComplAnalysis_PerBar) {
        if (GenIsUndef(barLength) || barLength == 0.0f)
            return TComplInt_Undef;
        if (GenIsUndef(length) || !(length > 0.0f))
            return 0.0f;
        const float factor = length / barLength;
        const long bars = std::lround(std::ceil(double(length) / double(barLength)));
        float sum = 0.0f;
        for (long k = 0; k < bars; ++k)
            sum += map.ComplIntForOneBarDrums(drumMap, notes, scale, float(k) * barLength, signTime) * factor;
        return sum;
    }
    const float beatLength = signTime.DenomLength();
    if (GenIsUndef(length) || !(length > 0.0f) || GenIsUndef(beatLength) || !(beatLength > 0.0f))
        return 0.0f;
    const long beats = std::max(1L, std::lround(std::ceil(double(length) / double(beatLength))));
    long count = beats;
    float sum = 0.0f;
    for (long i = 0; i < beats; ++i) {
        const float beatStart = float(i) * beatLength;
        const float barStart = barLength > 0.0f ? std::floor(beatStart / barLength) * barLength : 0.0f;
        const float c = map.ComplIntInOneBeat(notes, scale, barStart, beatStart, beatLength);
        if (c == 0.0f)
            --count;
        sum += c;
    }
    return count > 0 ? sum / float(count) : sum;
}

float IntnIntForDrumNote(const CGenDrumMap& drumMap, TPatternCoordIntnAnalysis /*analysis*/, const CGenEv& ev,
    int noteNr)
{
    const float v = PieceIntensityWeight(drumMap.PieceForNoteNr(noteNr)) * VelocityFactor(ev.mMB2);
    return std::clamp(v, 0.0f, 100.0f);
}

float IntnIntForDrumEvs(const CGenDrumMap& drumMap, TPatternCoordIntnAnalysis analysis, const CGenEvs& evs,
    float gridLength)
{
    const float length = evs.mLength;
    if (!(gridLength > 0.0f) || GenIsUndef(length) || !(length > 0.0f))
        return 0.0f;
    const long binCount = std::max(1L, std::lround(std::ceil(double(length) / double(gridLength))));
    std::map<long, float> bins;
    for (const CGenEv& ev : evs) {
        if (!ev.IsSoundingNote() || GenIsUndef(ev.mBeatPos))
            continue;
        const long bin = std::clamp(long(std::floor(ev.mBeatPos / gridLength)), 0L, binCount - 1);
        const float v = IntnIntForDrumNote(drumMap, analysis, ev, ev.mMB1);
        float& b = bins[bin];
        b = analysis == TPatternCoordIntnAnalysis_GridBins ? std::min(100.0f, b + v) : std::max(b, v);
    }
    if (bins.empty())
        return 0.0f;
    float sum = 0.0f;
    for (const auto& [bin, v] : bins)
        sum += v;
    return std::clamp(sum / float(bins.size()), 0.0f, 100.0f);
}

CGenPatternCoordInt AnalyzePatternCoordIntForDrums(const CGenDrumMap& drumMap, TPatternCoordComplAnalysis complAnalysis,
    TPatternCoordIntnAnalysis intnAnalysis, TPatternGraphType type, const CGenEvs& evs, const CGenSignTime& signTime,
    float gridLength, const CGenComplIntMap& map)
{
    return CGenPatternCoordInt(ComplIntForDrumEvs(drumMap, complAnalysis, type, evs, map.Scale(), signTime, map),
        IntnIntForDrumEvs(drumMap, intnAnalysis, NotesOfLayer(drumMap, type, evs), gridLength));
}
