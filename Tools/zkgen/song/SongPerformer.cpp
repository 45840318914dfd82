#include "song/SongPerformer.h"

#include "song/SongHarmony.h"

#include <Generator/CGenGenerator.h>
#include <Generator/CGenGeneratorKeys.h>
#include <Generator/CGenGeneratorParams.h>
#include <Generator/instruments/CGenConvertCtrAndUid.h>
#include <Generator/instruments/CGenConvertMappingFactory.h>
#include <Generator/instruments/CGenDrumMap.h>
#include <Generator/library/CGenGenreLib.h>
#include <Generator/library/CGenInstLib.h>
#include <Generator/shaping/CGenGroove.h>
#include <Generator/timesig/CGenSignTime.h>

#include <algorithm>
#include <cmath>

namespace zkgen::cli {

namespace {

struct TSectionPlan {
    const TSongSection* mSection = nullptr;
    double mStart = 0.0;
    double mLength = 0.0;
    TSongTimeSignature mSign;
    double mTempo = 120.0;
};

// The song's timeline: sections one after the other, each in the metre and
// tempo in force at its start.
std::vector<TSectionPlan> PlanSections(const TSong& song)
{
    std::vector<TSectionPlan> plans;
    double pos = 0.0;
    TSongTimeSignature sign = song.mTimeSignature;
    double tempo = song.mTempo;
    for (const TSongSection& s : song.mSections) {
        if (s.mTimeSignature)
            sign = *s.mTimeSignature;
        if (s.mTempo)
            tempo = *s.mTempo;
        TSectionPlan p;
        p.mSection = &s;
        p.mStart = pos;
        p.mLength = s.mBars * sign.BarLength();
        p.mSign = sign;
        p.mTempo = tempo;
        plans.push_back(p);
        pos += p.mLength;
    }
    return plans;
}

TGenDict FreshMemento(uint32_t seed)
{
    TGenDict memento;
    TGenDict& seeds = memento.DictForKeyCreating(kMemento_Seeds);
    for (int t = TPatternGraphType_Min; t <= TPatternGraphType_Max; ++t)
        seeds.SetValueForKey(TGenDictValue(static_cast<int64_t>(seed)), TGenDictKey(static_cast<int64_t>(t)));
    seeds.SetValueForKey(TGenDictValue(static_cast<int64_t>(seed)), kMemento_Seeds_StyleGraphGlobalToMerged);
    return memento;
}

// Turns the engine's instrument events into General MIDI notes, with the
// hi-hat's openness also sent as controller 4 ahead of its note: the note
// choice (closed or open) is what a General MIDI kit hears, the controller
// what a kit with a continuous pedal reads.
class TDrumConverter {
public:
    TDrumConverter(const CGenInstTree& tree, const CGenDrumMap& drumMap)
        : mNotes(tree, CGenConvertMappingFactory::MappingForKeyAndDrumMap(kConvertMappingKey_MB3, drumMap)),
          mControls(tree, CGenConvertMappingFactory::MappingForKeyAndDrumMap(kConvertMappingKey_CtrlEvs, drumMap))
    {
    }

    void Convert(const CGenEv& ev, double beat, TTrack& track)
    {
        mOut.clear();
        mControls.CreateEvsWithCtrForEvWithUid(ev, mOut);
        for (const CGenEv& c : mOut)
            if ((c.mMB0 & 0xF0) == 0xB0 && c.mMB1 == 4 && c.mMB2 >= 0 && c.mMB2 <= 127)
                track.mControllers.push_back({beat, static_cast<uint8_t>(c.mMB0 & 0x0F), 4, static_cast<uint8_t>(c.mMB2)});
        mOut.clear();
        mNotes.CreateEvsWithCtrForEvWithUid(ev, mOut);
        for (const CGenEv& n : mOut) {
            if ((n.mMB0 & 0xF0) != 0x90 || n.mMB1 < 0 || n.mMB1 > 127)
                continue;
            const int velocity = std::clamp(n.mMB2 < 0 ? ev.mMB2 : n.mMB2, 1, 127);
            const double length = GenIsDef(ev.mBeatLength) && ev.mBeatLength > 0.0f ? ev.mBeatLength : 0.25;
            track.mNotes.push_back({beat, length, static_cast<uint8_t>(n.mMB0 & 0x0F), static_cast<uint8_t>(n.mMB1),
                static_cast<uint8_t>(velocity)});
        }
    }

private:
    CGenConvertCtrAndUid mNotes;
    CGenConvertCtrAndUid mControls;
    CGenEvs mOut;
};

// A section's complexity and intensity; 50 where the song gives none.
CGenPatternCoordExt SectionCoord(const TSongSection& s)
{
    const auto control = [&s](const char* key) {
        const auto found = s.mControls.find(key);
        return static_cast<float>(found == s.mControls.end() ? 50.0 : found->second);
    };
    return CGenPatternCoordExt(control(CGenGeneratorParamsRegion::kComplexity), control(CGenGeneratorParamsRegion::kIntensity));
}

CGenGeneratorParams SectionParams(const TSong& song, const std::vector<TSectionPlan>& plans, size_t ix,
    const TPerformRequest& request, const TSongHarmony& harmony)
{
    const TSectionPlan& plan = plans[ix];
    const TSongSection& s = *plan.mSection;
    CGenGeneratorParams params(static_cast<float>(plan.mLength), -1);
    params.mGenre = song.mGenre;
    params.mInstType = TGenInstType_Drums;
    params.mGenerateStartPosAbs = static_cast<float>(plan.mStart);
    params.mStyleIx = s.mStyle;
    params.mTempoScale = s.mTempoScale;
    params.mSuperPatterns_Active = s.mSuperPattern;
    // A four-bar phrase, varied at its odd places.
    params.mSuperPatterns_LengthStrategy = 1;
    params.mSuperPattern_FixedBarLength = 4;
    params.mSuperPatterns_Variation = 3;
    params.mEdgesAndHistory_Active = request.mEdgesAndHistory;
    // Instrument events come back as they are; the tool makes the MIDI.
    params.mConvertUidEvsTo = 0;
    params.mSongName = song.mTitle;
    params.mRegionName = s.mName;
    params.mTrackName = "Drums";
    params.mEvsChord = harmony.mChords;
    params.mEvsSignKey = harmony.mKeys;
    // The whole song's metre, tempo and sections, so that a region knows
    // what surrounds it. A section's last bar carries a marker "<name> end",
    // which a style graph can route on to play a fill into the next section.
    for (size_t i = 0; i < plans.size(); ++i) {
        const TSectionPlan& p = plans[i];
        if (i == 0 || p.mSection->mTimeSignature)
            params.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(static_cast<float>(p.mStart),
                CGenSignTime(p.mSign.mNumerator, p.mSign.DenominatorExponent())));
        if (i == 0 || p.mSection->mTempo)
            params.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(static_cast<float>(p.mStart), p.mTempo));
        const CGenPatternCoordExt coord = SectionCoord(*p.mSection);
        params.mArrangeMarkersExt.InsertAtCorrectBeatPos(CGenArrangeMarkerExt(static_cast<float>(p.mStart),
            TGenArrangeMarkerType_Undef, coord, CGenFillCoord(), p.mSection->mName));
        if (p.mSection->mBars > 1) {
            const double lastBar = p.mStart + p.mLength - p.mSign.BarLength();
            params.mArrangeMarkersExt.InsertAtCorrectBeatPos(CGenArrangeMarkerExt(static_cast<float>(lastBar),
                TGenArrangeMarkerType_Undef, coord, CGenFillCoord(), p.mSection->mName + " end"));
        }
    }
    const CGenPatternCoordExt coord = SectionCoord(s);
    params.mPatternCoordStaticAcExt = coord;
    params.SetRegionParameterFloat(CGenGeneratorParamsRegion::kComplexity, coord.mCompl);
    params.SetRegionParameterFloat(CGenGeneratorParamsRegion::kIntensity, coord.mIntn);
    for (const auto& [key, value] : s.mControls)
        params.SetRegionParameterFloat(key, value);
    return params;
}

// The memento a section plays with, after the renewal asked for; `what` and
// `seedMode` say how to call the generator.
TGenDict SectionMemento(const TGenDict& mementos, const std::string& section, const std::string& seedName,
    const TPerformRequest& request, TGenerateWhat& what, TRandomSeedMode& seedMode);

TTrack PerformBass(CGenGenerator& generator, const TSong& song, const std::vector<TSectionPlan>& plans,
    const TSongHarmony& harmony, TGenDict& take, const TPerformRequest& request, const CGenInstLib& bass,
    const CGenGroove* groove);

// The strengths of a requested groove: timing as asked, dynamics in full.
CGenGrooveApply GrooveApplyFor(const TPerformRequest& request)
{
    CGenGrooveApply apply;
    apply.mBeatStrategy = kBeatStrategy_InterpolateAlike;
    apply.mApplyBeatPos = static_cast<float>(request.mSwing < 0.0 ? 1.0 : request.mSwing / 100.0);
    apply.mVelocityStrategy = kVelocityStrategy_Deviate;
    apply.mApplyVelocity = 1.0f;
    return apply;
}

} // namespace

const CGenGroove* RequestedGroove(const CGenGrooves& grooves, const TPerformRequest& request, std::string& error)
{
    error.clear();
    if (request.mGroove.empty() && request.mSwing < 0.0)
        return nullptr;
    const std::string name = request.mGroove.empty() ? "swing 16ths" : request.mGroove;
    for (const CGenGroove& g : grooves)
        if (g.mName == name)
            return &g;
    std::string names;
    for (const CGenGroove& g : grooves)
        names += (names.empty() ? "'" : ", '") + g.mName + "'";
    error = "the library has no groove named '" + name + "' (it has: " + (names.empty() ? "none" : names) + ")";
    return nullptr;
}

uint32_t FirstTakeSeed(const std::string& sectionName)
{
    // FNV-1a, kept to the 31 bits that the engine's generators use.
    uint32_t h = 2166136261u;
    for (const unsigned char c : sectionName) {
        h ^= c;
        h *= 16777619u;
    }
    return h & 0x7fffffffu;
}

std::optional<TSongPerformance> PerformSong(CGenGenerator& generator, const TSong& song, TGenDict& take,
    const TPerformRequest& request, std::string& error)
{
    const CGenGenreLib* genreLib = generator.GenreLibs().FindGenreLib(song.mGenre);
    if (!genreLib) {
        std::string names;
        for (const std::string& n : generator.GenreLibs().GenreNames())
            names += (names.empty() ? "" : ", ") + n;
        error = "no genre named '" + song.mGenre + "' in the library (it has: " + names + ")";
        return std::nullopt;
    }
    const CGenInstLib* drums = genreLib->FindInstLib(TGenInstType_Drums);
    if (!drums || !drums->InstTree()) {
        error = "genre '" + song.mGenre + "' has no drummer in this library";
        return std::nullopt;
    }
    for (const TSongSection& s : song.mSections)
        if (s.mStyle >= static_cast<int>(drums->mStyles.size())) {
            error = "section '" + s.mName + "' asks for style " + std::to_string(s.mStyle) + ", but the drummer has "
                + std::to_string(drums->mStyles.size()) + (drums->mStyles.size() == 1 ? " style" : " styles");
            return std::nullopt;
        }
    if (!request.mOnlySection.empty()
        && std::none_of(song.mSections.begin(), song.mSections.end(),
            [&](const TSongSection& s) { return s.mName == request.mOnlySection; })) {
        error = "the song has no section named '" + request.mOnlySection + "'";
        return std::nullopt;
    }

    const CGenGroove* groove = RequestedGroove(genreLib->mGrooves, request, error);
    if (!groove && !error.empty())
        return std::nullopt;
    const CGenGrooveApply grooveApply = GrooveApplyFor(request);
    const std::vector<TSectionPlan> plans = PlanSections(song);
    std::vector<double> starts;
    for (const TSectionPlan& p : plans)
        starts.push_back(p.mStart);
    const std::optional<TSongHarmony> harmonyRead = BuildSongHarmony(song, starts, request.mSourceName, error);
    if (!harmonyRead)
        return std::nullopt;
    const TSongHarmony& harmony = *harmonyRead;
    TSongPerformance result;
    TPerformance& perf = result.mPerformance;
    perf.mTitle = song.mTitle;
    TTrack track;
    track.mName = "Drums";
    const CGenDrumMap& drumMap = genreLib->DrumMap() ? *genreLib->DrumMap() : CGenDrumMap::GeneralMidi();
    TDrumConverter converter(*drums->InstTree(), drumMap);
    TGenDict& mementos = take.DictForKeyCreating(kTake_Sections);

    for (size_t ix = 0; ix < plans.size(); ++ix) {
        const TSectionPlan& plan = plans[ix];
        const TSongSection& s = *plan.mSection;
        if (ix == 0 || s.mTimeSignature)
            perf.mMeters.push_back({plan.mStart, plan.mSign.mNumerator, plan.mSign.mDenominator});
        if (ix == 0 || s.mTempo)
            perf.mTempos.push_back({plan.mStart, plan.mTempo});
        perf.mMarkers.push_back({plan.mStart, s.mName});

        TGenerateWhat what = TGenerateWhat_All;
        TRandomSeedMode seedMode = TRandomSeedMode_Keep;
        const TGenDict memento = SectionMemento(mementos, s.mName, s.mName, request, what, seedMode);

        CGenGeneratorParams params = SectionParams(song, plans, ix, request, harmony);
        CGenEvsNameds evs;
        TGenDict used = memento;
        if (!generator.Generate(what, seedMode, params, &used, evs)) {
            error = "genre '" + song.mGenre + "' has no drummer in this library";
            return std::nullopt;
        }
        mementos.SetValueForKey(TGenDictValue(used), s.mName);

        const double end = plan.mStart + plan.mLength;
        // The groove counts its loop from the section's first bar.
        if (groove)
            for (CGenEvsNamed& el : evs)
                groove->ApplyToDrumsUidEvs(el.mEvs, el.mBeatPosAbs - static_cast<float>(plan.mStart), grooveApply,
                    *drums->InstTree(), TPatternGraphType_Undef);
        for (const CGenEvsNamed& el : evs)
            for (const CGenEv& ev : el.mEvs) {
                if ((ev.mMB0 & 0xF0) != 0x90 || ev.mMB2 == 0)
                    continue;
                const double beat = static_cast<double>(el.mBeatPosAbs) + ev.mBeatPos;
                // A region's events lie inside it; a note that a pattern
                // carried past the end would collide with the next section.
                if (beat < plan.mStart - 1e-4 || beat >= end - 1e-4)
                    continue;
                converter.Convert(ev, beat, track);
            }

        TSectionPerformance section;
        section.mName = s.mName;
        section.mStartBeat = plan.mStart;
        section.mLength = plan.mLength;
        section.mBars = s.mBars;
        section.mTimeSignature = plan.mSign;
        section.mTempo = plan.mTempo;
        if (request.mCollectPatterns) {
            // The same call again with the layers kept apart names the
            // pattern of every element; the seeds are those just used.
            CGenGeneratorParams separate = SectionParams(song, plans, ix, request, harmony);
            separate.mDbgKeepEvsNamedsSeparate = true;
            TGenDict again = used;
            CGenEvsNameds parts;
            generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, separate, &again, parts);
            for (const CGenEvsNamed& el : parts)
                if (el.mRenderingPatternGraphType != TPatternGraphType_Undef)
                    section.mPatterns.push_back(
                        {el.mBeatPosAbs, el.mEvs.mLength, el.mRenderingPatternGraphType, el.mName});
            std::stable_sort(section.mPatterns.begin(), section.mPatterns.end(),
                [](const TPlayedPattern& a, const TPlayedPattern& b) {
                    return a.mBeat != b.mBeat ? a.mBeat < b.mBeat : a.mLayer < b.mLayer;
                });
        }
        result.mSections.push_back(std::move(section));
    }
    perf.mTracks.push_back(std::move(track));
    const CGenInstLib* bass = genreLib->FindInstLib(TGenInstType_Bass);
    if (bass && !bass->mStyles.empty() && harmony.HasChords())
        perf.mTracks.push_back(PerformBass(generator, song, plans, harmony, take, request, *bass, groove));
    return result;
}

} // namespace zkgen::cli

namespace zkgen::cli {

namespace {

TGenDict SectionMemento(const TGenDict& mementos, const std::string& section, const std::string& seedName,
    const TPerformRequest& request, TGenerateWhat& what, TRandomSeedMode& seedMode)
{
    const bool renewHere = request.mOnlySection.empty() || request.mOnlySection == section;
    const TGenDict* stored = mementos.DictForKey(section);
    TGenDict memento = stored ? *stored : FreshMemento(FirstTakeSeed(seedName));
    what = TGenerateWhat_All;
    seedMode = TRandomSeedMode_Keep;
    if (renewHere && request.mRenewal == TRenewal::NewTake) {
        // Every section of a new take differs from the others, yet the
        // take as a whole comes from one number.
        memento = FreshMemento((request.mNewSeed + FirstTakeSeed(seedName)) & 0x7fffffffu);
    } else if (renewHere && request.mRenewal == TRenewal::Layer) {
        what = request.mLayer;
        seedMode = TRandomSeedMode_Increment;
    }
    return memento;
}

TTrack PerformBass(CGenGenerator& generator, const TSong& song, const std::vector<TSectionPlan>& plans,
    const TSongHarmony& harmony, TGenDict& take, const TPerformRequest& request, const CGenInstLib& bass,
    const CGenGroove* groove)
{
    const CGenGrooveApply grooveApply = GrooveApplyFor(request);
    TTrack track;
    track.mName = "Bass";
    track.mProgram = kBassProgram;
    track.mProgramChannel = kBassChannel;
    TGenDict& mementos = take.DictForKeyCreating(kTake_BassSections);
    for (size_t ix = 0; ix < plans.size(); ++ix) {
        const TSectionPlan& plan = plans[ix];
        const TSongSection& s = *plan.mSection;
        TGenerateWhat what = TGenerateWhat_All;
        TRandomSeedMode seedMode = TRandomSeedMode_Keep;
        // The bass's seeds differ from the drummer's of the same section.
        TGenDict used = SectionMemento(mementos, s.mName, "bass " + s.mName, request, what, seedMode);
        CGenGeneratorParams params = SectionParams(song, plans, ix, request, harmony);
        params.mInstType = TGenInstType_Bass;
        params.mTrackName = "Bass";
        if (params.mStyleIx >= static_cast<int>(bass.mStyles.size()))
            params.mStyleIx = -1;
        CGenEvsNameds evs;
        generator.Generate(what, seedMode, params, &used, evs);
        mementos.SetValueForKey(TGenDictValue(used), s.mName);
        const double end = plan.mStart + plan.mLength;
        // The bass follows the groove's bass track, when it has one.
        if (groove && groove->TrackForType(CGenGrooveTrack::TType_Bass) != groove->end())
            for (CGenEvsNamed& el : evs)
                groove->ApplyToInstType(el.mEvs, el.mBeatPosAbs - static_cast<float>(plan.mStart), grooveApply,
                    TGenInstType_Bass, CGenDrumMap::GeneralMidi(), TPatternGraphType_Undef);
        for (const CGenEvsNamed& el : evs)
            for (const CGenEv& ev : el.mEvs) {
                // A note without a number had no chord to be played against.
                if ((ev.mMB0 & 0xF0) != 0x90 || ev.mMB2 == 0 || ev.mMB1 < 0 || ev.mMB1 > 127)
                    continue;
                const double beat = static_cast<double>(el.mBeatPosAbs) + ev.mBeatPos;
                if (beat < plan.mStart - 1e-4 || beat >= end - 1e-4)
                    continue;
                const double length = GenIsDef(ev.mBeatLength) && ev.mBeatLength > 0.0f ? ev.mBeatLength : 0.5;
                const int velocity = std::clamp(ev.mMB2 < 0 ? 96 : ev.mMB2, 1, 127);
                // A note never rings past its section: the next may change key.
                track.mNotes.push_back({beat, std::min(length, end - beat), kBassChannel, static_cast<uint8_t>(ev.mMB1),
                    static_cast<uint8_t>(velocity)});
            }
    }
    return track;
}

} // namespace

} // namespace zkgen::cli
