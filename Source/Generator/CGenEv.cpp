#include "Generator/CGenEv.h"

#include <cctype>
#include <iomanip>

namespace {

const CAbstractNote& UndefAbstractNote()
{
    static const CAbstractNote kUndef;
    return kUndef;
}

constexpr const char* kNoteLetters = "ccddeffggaab";
constexpr const char* kNoteSharps = " # #  # # # ";

int OctaveBase(TShowNoteAs showAs) { return showAs == TShowNoteAs_NameC4 ? -1 : -2; }

} // namespace

CGenEv::CGenEv(float pos, float length, int status, int mb1, int mb2, int relVel, TTransposeEv transposeEv, int mb3,
    const CAbstractNote& note, uint8_t noteGroupID)
    : mBeatPos(pos), mBeatLength(length), mMB0(static_cast<uint8_t>(status)), mMB1(mb1), mMB2(mb2), mMB3(mb3), mRelVel(relVel)
{
    if (transposeEv != TTransposeEv_Dont)
        MelodyVariationInformation().mTransposeEv = transposeEv;
    SetAbstractNote(note);
    if (noteGroupID != kNoteGroupID_None)
        SetNoteGroupID(noteGroupID);
}

CGenEv::CGenEv(float pos, float length, const CAbstractNote& note, uint8_t noteGroupID, float probability, int priority,
    float prefersPosRelInBeat)
    : mBeatPos(pos), mBeatLength(length)
{
    _InitAbstract(note, noteGroupID, probability, priority, prefersPosRelInBeat);
}

CGenEv::CGenEv(float pos, float length, const std::string& noteText, uint8_t noteGroupID, float probability, int priority,
    float prefersPosRelInBeat)
    : mBeatPos(pos), mBeatLength(length)
{
    _InitAbstract(CAbstractNote(noteText), noteGroupID, probability, priority, prefersPosRelInBeat);
}

CGenEv::CGenEv(float pos, float length, TInstTreeUid uid, const CAbstractNote& note, uint8_t noteGroupID,
    float probability, int priority, float prefersPosRelInBeat)
    : mBeatPos(pos), mBeatLength(length)
{
    _InitAbstract(note, noteGroupID, probability, priority, prefersPosRelInBeat);
    mMB1 = static_cast<int>(static_cast<uint32_t>(static_cast<uint64_t>(uid)));
}

CGenEv::CGenEv(float pos, float length, TInstTreeUid uid, const std::string& noteText, uint8_t noteGroupID,
    float probability, int priority, float prefersPosRelInBeat)
    : CGenEv(pos, length, uid, CAbstractNote(noteText), noteGroupID, probability, priority, prefersPosRelInBeat)
{
}

CGenEv::CGenEv(const std::string& /*text*/, float pos, int status, int mb1, int mb2)
    : mBeatPos(pos), mMB0(static_cast<uint8_t>(status)), mMB1(mb1), mMB2(mb2)
{
}

CGenEv::CGenEv(int status, int mb1, int mb2) : mMB0(static_cast<uint8_t>(status)), mMB1(mb1), mMB2(mb2) {}

CGenEv::CGenEv(float pos, float length, CGenBitmask layers)
    : mBeatPos(pos), mBeatLength(length), mMB0(255), mRuntimeLayerBitmask(layers)
{
}

void CGenEv::_InitAbstract(const CAbstractNote& note, uint8_t noteGroupID, float probability, int priority,
    float prefersPosRelInBeat)
{
    mMB0 = st_NoteOn;
    SetAbstractNote(note);
    SetNoteGroupID(noteGroupID);
    SetProbability(probability);
    SetPriority(priority);
    SetPrefersPosRelInBeat(prefersPosRelInBeat);
}

CGenEv::CGenEv(const CGenEv& o)
    : mBeatPos(o.mBeatPos), mBeatLength(o.mBeatLength),
      mRuntimeTimeTrafoInvariantBeatPosOffset(o.mRuntimeTimeTrafoInvariantBeatPosOffset), mMB0(o.mMB0), mMB1(o.mMB1),
      mMB2(o.mMB2), mMB3(o.mMB3), mRelVel(o.mRelVel), mRuntimeTags(o.mRuntimeTags),
      mRuntimeLayerBitmask(o.mRuntimeLayerBitmask), mArrangerClaveWeight(o.mArrangerClaveWeight),
      mArrangerClavePitch(o.mArrangerClavePitch), mConcretize(o.mConcretize),
      mpMelodyVariationInformation(o.mpMelodyVariationInformation
              ? std::make_unique<CMelodyVariationInformation>(*o.mpMelodyVariationInformation)
              : nullptr),
      mpDictionary(o.mpDictionary ? std::make_unique<TGenDict>(*o.mpDictionary) : nullptr)
{
}

void CGenEv::Swap(CGenEv& o) noexcept
{
    using std::swap;
    swap(mBeatPos, o.mBeatPos);
    swap(mBeatLength, o.mBeatLength);
    swap(mRuntimeTimeTrafoInvariantBeatPosOffset, o.mRuntimeTimeTrafoInvariantBeatPosOffset);
    swap(mMB0, o.mMB0);
    swap(mMB1, o.mMB1);
    swap(mMB2, o.mMB2);
    swap(mMB3, o.mMB3);
    swap(mRelVel, o.mRelVel);
    swap(mRuntimeTags, o.mRuntimeTags);
    swap(mRuntimeLayerBitmask, o.mRuntimeLayerBitmask);
    swap(mArrangerClaveWeight, o.mArrangerClaveWeight);
    swap(mArrangerClavePitch, o.mArrangerClavePitch);
    swap(mConcretize, o.mConcretize);
    swap(mpMelodyVariationInformation, o.mpMelodyVariationInformation);
    swap(mpDictionary, o.mpDictionary);
}

TTransposeEv CGenEv::TransposeEv() const
{
    return mpMelodyVariationInformation ? mpMelodyVariationInformation->mTransposeEv : TTransposeEv_Dont;
}
const CAbstractNote& CGenEv::AbstractNoteConst() const
{
    return mpMelodyVariationInformation ? mpMelodyVariationInformation->mAbstractNote : UndefAbstractNote();
}
uint8_t CGenEv::NoteGroupID() const
{
    return mpMelodyVariationInformation ? mpMelodyVariationInformation->mNoteGroupID : kNoteGroupID_None;
}
float CGenEv::Probability() const
{
    return mpMelodyVariationInformation ? mpMelodyVariationInformation->mProbability : -FLT_MAX;
}
int CGenEv::Priority() const { return mpMelodyVariationInformation ? mpMelodyVariationInformation->mPriority : 0; }
float CGenEv::PrefersPosRelInBeat() const
{
    return mpMelodyVariationInformation ? mpMelodyVariationInformation->mPrefersPosRelInBeat : -FLT_MAX;
}

// Setters follow the presence rule: a default value on an event without a
// block changes nothing; any other value creates the block.
void CGenEv::SetTransposeEv(TTransposeEv v)
{
    if (v != TransposeEv())
        MelodyVariationInformation().mTransposeEv = v;
}
void CGenEv::SetAbstractNote(const CAbstractNote& v)
{
    if (!(v == AbstractNoteConst()))
        MelodyVariationInformation().mAbstractNote = v;
}
void CGenEv::SetNoteGroupID(uint8_t v)
{
    if (v != NoteGroupID())
        MelodyVariationInformation().mNoteGroupID = v;
}
void CGenEv::SetProbability(float v)
{
    if (v != Probability())
        MelodyVariationInformation().mProbability = v;
}
void CGenEv::SetPriority(int v)
{
    if (v != Priority())
        MelodyVariationInformation().mPriority = v;
}
void CGenEv::SetPrefersPosRelInBeat(float v)
{
    if (v != PrefersPosRelInBeat())
        MelodyVariationInformation().mPrefersPosRelInBeat = v;
}
void CGenEv::SetNoteGroupIDUndef()
{
    if (mpMelodyVariationInformation)
        mpMelodyVariationInformation->mNoteGroupID = kNoteGroupID_None;
}
bool CGenEv::BelongsToNoteGroup() const
{
    return mpMelodyVariationInformation && mpMelodyVariationInformation->mNoteGroupID != kNoteGroupID_None;
}
CGenEv::CMelodyVariationInformation& CGenEv::MelodyVariationInformation()
{
    if (!mpMelodyVariationInformation)
        mpMelodyVariationInformation = std::make_unique<CMelodyVariationInformation>();
    return *mpMelodyVariationInformation;
}
CAbstractNote& CGenEv::AbstractNoteRef() { return MelodyVariationInformation().mAbstractNote; }

TGenDict& CGenEv::Dictionary()
{
    if (!mpDictionary)
        mpDictionary = std::make_unique<TGenDict>();
    return *mpDictionary;
}

std::string CGenEv::NoteNameForNoteNr(int noteNr, TShowNoteAs showAs)
{
    if (noteNr < 0)
        return {};
    if (showAs == TShowNoteAs_Number)
        return std::to_string(noteNr);
    const int k = noteNr % 12;
    std::string s(1, kNoteLetters[k]);
    if (kNoteSharps[k] == '#')
        s += '#';
    s += std::to_string(noteNr / 12 + OctaveBase(showAs));
    return s;
}

int CGenEv::NoteNrFromNoteName(const std::string& textIn, TShowNoteAs showAs)
{
    size_t b = 0;
    while (b < textIn.size() && std::isspace(static_cast<unsigned char>(textIn[b])))
        ++b;
    const std::string text = textIn.substr(b);
    if (text.empty())
        return -1;
    if (showAs == TShowNoteAs_Number || std::isdigit(static_cast<unsigned char>(text[0]))) {
        int v = 0;
        for (char c : text) {
            if (!std::isdigit(static_cast<unsigned char>(c)))
                return -1;
            v = v * 10 + (c - '0');
            if (v > 127)
                return -1;
        }
        return v;
    }
    const char letter = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    int k = -1;
    for (int i = 0; i < 12; ++i)
        if (kNoteLetters[i] == letter && kNoteSharps[i] == ' ') {
            k = i;
            break;
        }
    if (k < 0)
        return -1;
    size_t i = 1;
    if (i < text.size() && text[i] == '#') {
        ++k;
        ++i;
    } else if (i < text.size() && text[i] == 'b' && i + 1 < text.size()) {
        --k;
        ++i;
    }
    bool neg = false;
    if (i < text.size() && text[i] == '-') {
        neg = true;
        ++i;
    }
    if (i >= text.size() || !std::isdigit(static_cast<unsigned char>(text[i])))
        return -1;
    int oct = 0;
    for (; i < text.size(); ++i) {
        if (!std::isdigit(static_cast<unsigned char>(text[i])))
            return -1;
        oct = oct * 10 + (text[i] - '0');
        if (oct > 20)
            return -1;
    }
    if (neg)
        oct = -oct;
    const int nr = (oct - OctaveBase(showAs)) * 12 + k;
    return (nr < 0 || nr > 127) ? -1 : nr;
}

std::string CGenEv::NoteName(TShowNoteAs showAs) const { return NoteNameForNoteNr(mMB1, showAs); }

bool CGenEv::SetFromNoteName(TShowNoteAs showAs, const std::string& text)
{
    const int nr = NoteNrFromNoteName(text, showAs);
    if (nr < 0)
        return false;
    mMB1 = nr;
    return true;
}

bool CGenEv::operator==(const CGenEv& o) const
{
    return mBeatPos == o.mBeatPos && mBeatLength == o.mBeatLength && mMB0 == o.mMB0 && mMB1 == o.mMB1
        && mMB2 == o.mMB2 && mMB3 == o.mMB3 && mRelVel == o.mRelVel && TransposeEv() == o.TransposeEv()
        && AbstractNoteConst() == o.AbstractNoteConst() && NoteGroupID() == o.NoteGroupID()
        && Probability() == o.Probability() && Priority() == o.Priority()
        && PrefersPosRelInBeat() == o.PrefersPosRelInBeat();
}

namespace {
void StreamFloat(std::ostream& os, float v)
{
    if (GenIsUndef(v))
        os << "Undef";
    else
        os << v;
}
} // namespace

void CGenEv::TraceStream(std::ostream& os) const
{
    os << "CGenEv pos ";
    StreamFloat(os, mBeatPos);
    os << " len ";
    StreamFloat(os, mBeatLength);
    os << " " << TStatusName(mMB0);
    if (mMB0 >= 0x80 && mMB0 < 0xF0)
        os << " ch " << Channel();
    os << " MB1 " << mMB1 << " MB2 " << mMB2 << " MB3 " << mMB3 << " RelVel " << mRelVel;
    if (!mRuntimeLayerBitmask.IsEmpty())
        os << "  RCGenLayerBitmask " << mRuntimeLayerBitmask;
    if (mpMelodyVariationInformation) {
        const auto& m = *mpMelodyVariationInformation;
        os << " " << TTransposeEvName(m.mTransposeEv) << " " << m.mAbstractNote.ToString();
        if (m.mNoteGroupID != kNoteGroupID_None)
            os << " group " << int(m.mNoteGroupID);
        if (GenIsDef(m.mProbability))
            os << " prob " << m.mProbability;
        if (m.mPriority != 0)
            os << " prio " << m.mPriority;
        if (GenIsDef(m.mPrefersPosRelInBeat))
            os << " prefPosInBeat " << m.mPrefersPosRelInBeat;
    }
}

void CGenEv::TraceStreamBrief(std::ostream& os) const
{
    StreamFloat(os, mBeatPos);
    os << " ";
    StreamFloat(os, mBeatLength);
    os << " 0x" << std::hex << int(mMB0) << std::dec << " " << mMB1 << " " << mMB2;
}

std::ostream& operator<<(std::ostream& os, const CGenEv& ev)
{
    ev.TraceStream(os);
    return os;
}

int CompareEv(const CGenEv& a, const CGenEv& b)
{
    if (a.mBeatPos < b.mBeatPos)
        return 1;
    if (a.mBeatPos > b.mBeatPos)
        return -1;
    const unsigned sa = a.mMB0, sb = b.mMB0;
    // The sequencer's own kinds come first when smaller.
    if (sa < 0x80 && sa < sb)
        return 1;
    if (sb < 0x80 && sb < sa)
        return -1;
    const unsigned ha = sa & 0xF0, hb = sb & 0xF0;
    const int da = a.mMB1, db = b.mMB1;
    // Bank select MSB, then LSB.
    if (ha == 0xB0 && da == 0)
        return 1;
    if (hb == 0xB0 && db == 0)
        return -1;
    if (ha == 0xB0 && da == 32)
        return 1;
    if (hb == 0xB0 && db == 32)
        return -1;
    if (sa < sb) {
        if (hb == 0xC0 && ha != 0xC0)
            return -1;
        if (hb == 0xB0 && ha != 0xB0)
            return -1;
        return 1;
    }
    if (sa > sb) {
        if (ha == 0xC0 && hb != 0xC0)
            return 1;
        if (ha == 0xB0 && hb != 0xB0)
            return 1;
        return -1;
    }
    if (sa >= 0xF0 || hb == 0x20)
        return 0;
    if (ha == 0xB0) {
        if (da < 64 && db < 64)
            return da < db ? 1 : (da > db ? -1 : 0);
        return da > db ? 1 : (da < db ? -1 : 0);
    }
    return da < db ? 1 : (da > db ? -1 : 0);
}

bool CGenEvCompare::Equal(const CGenEv& a, const CGenEv& b) const
{
    const bool samePos = a.mBeatPos == b.mBeatPos;
    const bool sameKind = a.StatusHighNibble() == b.StatusHighNibble() && a.mMB1 == b.mMB1;
    switch (mMode) {
    case 0: return a == b;
    case 1: return samePos;
    case 2: return samePos && sameKind;
    case 3: return sameKind;
    case 4: {
        const int d = a.mMB2 - b.mMB2;
        return sameKind && (d < 0 ? -d : d) <= mVelocityTolerance;
    }
    case 5: {
        if (!samePos)
            return false;
        bool listed = false;
        for (int n : mNoteNrs)
            listed = listed || n == a.mMB1;
        if (a.StatusHighNibble() == (mStatus & 0xF0) && listed)
            return sameKind;
        return true;
    }
    default: return false;
    }
}
