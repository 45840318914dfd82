#pragma once

#include "Generator/CGenArchivePointers.h"

#include "Generator/CGenBitmask.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/harmony/CAbstractNote.h"
#include "Platform/TGenDict.h"

#include <boost/serialization/unique_ptr.hpp>

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>

class CGenEvsSignTime;

// The smallest positioned element; base of the positioned elements of other
// subsystems.
class CGenEvPossed {
public:
    float mBeatPos = TGenBeatPos_Undef;

    CGenEvPossed() = default;
    explicit CGenEvPossed(float pos) : mBeatPos(pos) {}
    bool operator==(const CGenEvPossed&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("CGenEvPossed", mBeatPos);
    }
};

// An event: a note, a controller change or a symbolic placeholder at a beat
// position. Drum events stay small: what only melodic events need lives in a
// block that is created on first need.
class CGenEv : public CGenTraceable<CGenEv> {
public:
    static constexpr const char* kTraceClassName = "CGenEv";
    static constexpr uint8_t kNoteGroupID_None = 255;

    class CMelodyVariationInformation {
    public:
        TTransposeEv mTransposeEv = TTransposeEv_Dont;
        CAbstractNote mAbstractNote;
        uint8_t mNoteGroupID = kNoteGroupID_None;
        float mProbability = -FLT_MAX;
        int mPriority = 0;
        float mPrefersPosRelInBeat = -FLT_MAX;

        bool operator==(const CMelodyVariationInformation&) const = default;

        template <class Archive>
        void serialize(Archive& ar, const unsigned int /*version*/)
        {
            ar& boost::serialization::make_nvp("mTransposeEv", mTransposeEv);
            ar& boost::serialization::make_nvp("mAbstractNote", mAbstractNote);
            ar& boost::serialization::make_nvp("mNoteGroupID", mNoteGroupID);
            ar& boost::serialization::make_nvp("mProbability", mProbability);
            ar& boost::serialization::make_nvp("mPriority", mPriority);
            ar& boost::serialization::make_nvp("mPrefersPosRelInBeat", mPrefersPosRelInBeat);
        }
    };

    float mBeatPos = TGenBeatPos_Undef;
    float mBeatLength = TGenBeatLength_Undef;
    float mRuntimeTimeTrafoInvariantBeatPosOffset = -FLT_MAX;
    uint8_t mMB0 = st_NoteOn;
    int mMB1 = -1;
    int mMB2 = -1;
    int mMB3 = -1;
    int mRelVel = -1;
    uint64_t mRuntimeTags = 0;
    CGenBitmask mRuntimeLayerBitmask = kGenLayerBitmask_None;
    uint8_t mArrangerClaveWeight = 128;
    uint8_t mArrangerClavePitch = 128;
    bool mConcretize = true;
    std::unique_ptr<CMelodyVariationInformation> mpMelodyVariationInformation;
    std::unique_ptr<TGenDict> mpDictionary;

    CGenEv() = default;
    // The general form.
    CGenEv(float pos, float length, int status, int mb1, int mb2, int relVel = -1,
        TTransposeEv transposeEv = TTransposeEv_Dont, int mb3 = -1, const CAbstractNote& note = CAbstractNote(),
        uint8_t noteGroupID = kNoteGroupID_None);
    // An abstract note: status 0x90, all data words -1.
    CGenEv(float pos, float length, const CAbstractNote& note, uint8_t noteGroupID = kNoteGroupID_None,
        float probability = -FLT_MAX, int priority = 0, float prefersPosRelInBeat = -FLT_MAX);
    CGenEv(float pos, float length, const std::string& noteText, uint8_t noteGroupID = kNoteGroupID_None,
        float probability = -FLT_MAX, int priority = 0, float prefersPosRelInBeat = -FLT_MAX);
    // An abstract note that also carries an instrument uid in MB1.
    CGenEv(float pos, float length, TInstTreeUid uid, const CAbstractNote& note, uint8_t noteGroupID = kNoteGroupID_None,
        float probability = -FLT_MAX, int priority = 0, float prefersPosRelInBeat = -FLT_MAX);
    CGenEv(float pos, float length, TInstTreeUid uid, const std::string& noteText,
        uint8_t noteGroupID = kNoteGroupID_None, float probability = -FLT_MAX, int priority = 0,
        float prefersPosRelInBeat = -FLT_MAX);
    // A non-note event at a position with undefined length; the text is not kept.
    CGenEv(const std::string& text, float pos, int status, int mb1, int mb2);
    // A controller without position or length.
    CGenEv(int status, int mb1, int mb2);
    // An empty marker event of the given layers: status 255, data words -1.
    CGenEv(float pos, float length, CGenBitmask layers);

    CGenEv(const CGenEv& o);
    CGenEv(CGenEv&& o) noexcept = default;
    // Copy assignment swaps with a copy; a move takes both pointers over
    // member by member, which keeps shifting events inside a list cheap.
    CGenEv& operator=(const CGenEv& o)
    {
        CGenEv copy(o);
        Swap(copy);
        return *this;
    }
    CGenEv& operator=(CGenEv&& o) noexcept = default;
    ~CGenEv() = default;
    void Swap(CGenEv& o) noexcept;

    // Positions.
    float BeatPos() const { return mBeatPos; }
    float BeatLength() const { return mBeatLength; }
    // Undefined if position or length is.
    float EndBeatPos() const { return GenAddRegardingUndef(mBeatPos, mBeatLength); }

    // Status and data.
    int Status() const { return mMB0; }
    int StatusHighNibble() const { return mMB0 & 0xF0; }
    int Channel() const { return mMB0 & 0x0F; }
    bool IsNote() const { return StatusHighNibble() == st_NoteOn; }
    // A note sounds unless its velocity is 0 or less (-1 means "not set" and sounds).
    bool IsSoundingNote() const { return IsNote() && (mMB2 == -1 || mMB2 >= 1); }
    bool IsCtr() const { return StatusHighNibble() == st_CtrChange; }
    bool IsPrgChange() const { return StatusHighNibble() == st_PrgChange; }
    TInstTreeUid Uid() const { return mMB1; }

    // Melody block, created only on need.
    TTransposeEv TransposeEv() const;
    const CAbstractNote& AbstractNoteConst() const;
    uint8_t NoteGroupID() const;
    float Probability() const;
    int Priority() const;
    float PrefersPosRelInBeat() const;
    void SetTransposeEv(TTransposeEv v);
    void SetAbstractNote(const CAbstractNote& v);
    void SetNoteGroupID(uint8_t v);
    void SetProbability(float v);
    void SetPriority(int v);
    void SetPrefersPosRelInBeat(float v);
    void SetNoteGroupIDUndef();
    bool BelongsToNoteGroup() const;
    bool HasMelodyVariationInformation() const { return mpMelodyVariationInformation != nullptr; }
    CMelodyVariationInformation& MelodyVariationInformation();
    CAbstractNote& AbstractNoteRef();

    // Free properties for scripts, created on first use.
    TGenDict& Dictionary();
    const TGenDict* DictionaryConst() const { return mpDictionary.get(); }

    // Run-time flags, never archived.
    float RuntimeTimeTrafoInvariantBeatPosOffset() const { return mRuntimeTimeTrafoInvariantBeatPosOffset; }
    uint64_t RuntimeTags() const { return mRuntimeTags; }
    const CGenBitmask& RuntimeLayerBitmask() const { return mRuntimeLayerBitmask; }
    void SetRuntimeLayerBitmask(CGenBitmask m) { mRuntimeLayerBitmask = m; }
    uint8_t ArrangerClaveWeight() const { return mArrangerClaveWeight; }
    uint8_t ArrangerClavePitch() const { return mArrangerClavePitch; }
    bool Concretize() const { return mConcretize; }

    // Position in the bar and beat through a signature map; `evsNamedStart` is
    // the absolute position this event's position is relative to.
    float BeatPosAbsInBar(float evsNamedStart, const CGenEvsSignTime& signTimes) const;
    void SetBeatPosAbsInBar(float evsNamedStart, const CGenEvsSignTime& signTimes, float posInBar, TSetBeatPosAbsOption option);
    float BeatPosAbsInBeat(float evsNamedStart, const CGenEvsSignTime& signTimes) const;
    void SetBeatPosAbsInBeat(float evsNamedStart, const CGenEvsSignTime& signTimes, float posInBeat, TSetBeatPosAbsOption option);
    float EndBeatPosAbsInBar(float evsNamedStart, const CGenEvsSignTime& signTimes) const;

    // Note numbers as text ("c#3"); empty for an undefined note.
    std::string NoteName(TShowNoteAs showAs) const;
    // Sets MB1 from a text written by NoteName; false (MB1 untouched) when unreadable.
    bool SetFromNoteName(TShowNoteAs showAs, const std::string& text);
    static std::string NoteNameForNoteNr(int noteNr, TShowNoteAs showAs);
    static int NoteNrFromNoteName(const std::string& text, TShowNoteAs showAs);

    // Full equality: positions, data words, length and melody information.
    bool operator==(const CGenEv& o) const;

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mBeatPos", mBeatPos);
        ar& make_nvp("mBeatLength", mBeatLength);
        const uint16_t mb0 = mMB0;
        ar& make_nvp("mMB0", mb0);
        ar& make_nvp("mMB1", mMB1);
        ar& make_nvp("mMB2", mMB2);
        ar& make_nvp("mMB3", mMB3);
        ar& make_nvp("mRelVel", mRelVel);
        const CMelodyVariationInformation* p = mpMelodyVariationInformation.get();
        ar& make_nvp("mpMelodyVariationInformation", p);
    }

    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mBeatPos", mBeatPos);
        ar& make_nvp("mBeatLength", mBeatLength);
        uint16_t mb0 = 0;
        ar& make_nvp("mMB0", mb0);
        mMB0 = static_cast<uint8_t>(mb0);
        ar& make_nvp("mMB1", mMB1);
        ar& make_nvp("mMB2", mMB2);
        if (version >= 1)
            ar& make_nvp("mMB3", mMB3);
        else
            mMB3 = -1;
        ar& make_nvp("mRelVel", mRelVel);
        mpMelodyVariationInformation.reset();
        if (version >= 6) {
            // Each event owns its block: a damaged archive naming one block
            // for two events is refused.
            bool created = false;
            mpMelodyVariationInformation.reset(zkgen::LoadArchivePointer<CMelodyVariationInformation>(
                ar, "mpMelodyVariationInformation", zkgen::TArchivePointer::Owned, created));
            return;
        }
        // Older archives hold the block's fields flat; the presence rule decides
        // whether a block is made.
        TTransposeEv transposeEv = TTransposeEv_Dont;
        ar& make_nvp("transposeEv", transposeEv);
        SetTransposeEv(transposeEv);
        if (version >= 2) {
            CAbstractNote note;
            ar& make_nvp("abstractNote", note);
            SetAbstractNote(note);
        }
        if (version >= 4) {
            uint8_t group = kNoteGroupID_None;
            ar& make_nvp("noteGroupID", group);
            SetNoteGroupID(group);
        }
        if (version >= 5) {
            float probability = -FLT_MAX;
            int priority = 0;
            float beatPosRel = -FLT_MAX;
            ar& make_nvp("probability", probability);
            ar& make_nvp("priority", priority);
            ar& make_nvp("beatPosRel", beatPosRel);
            SetProbability(probability);
            SetPriority(priority);
            SetPrefersPosRelInBeat(beatPosRel);
        }
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    void _InitAbstract(const CAbstractNote& note, uint8_t noteGroupID, float probability, int priority, float prefersPosRelInBeat);
};
BOOST_CLASS_VERSION(CGenEv, 6)
ZKG_ARCHIVE_NOTE_CREATED(CGenEv::CMelodyVariationInformation)

std::ostream& operator<<(std::ostream& os, const CGenEv& ev);

// Order of events: 1 when `a` sorts before `b`, -1 when after, 0 when neither.
// At one position: bank selects, program changes, other controllers, notes.
// Not a strict weak ordering (two identical bank selects each sort first), so
// it is never handed to a standard algorithm that checks the ordering.
int CompareEv(const CGenEv& a, const CGenEv& b);
inline bool Pred_CmpEv(const CGenEv& a, const CGenEv& b) { return CompareEv(a, b) == 1; }

// A compare rule for two events.
class CGenEvCompare {
public:
    int mMode = 0;
    int mVelocityTolerance = 0;
    int mStatus = st_NoteOn;
    std::vector<int> mNoteNrs;

    CGenEvCompare() = default;
    explicit CGenEvCompare(int mode, int velocityTolerance = 0, int status = st_NoteOn, std::vector<int> noteNrs = {})
        : mMode(mode), mVelocityTolerance(velocityTolerance), mStatus(status), mNoteNrs(std::move(noteNrs))
    {
    }
    bool Equal(const CGenEv& a, const CGenEv& b) const;
};
