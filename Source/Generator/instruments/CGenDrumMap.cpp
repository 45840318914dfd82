#include "Generator/instruments/CGenDrumMap.h"

namespace {

struct TPieceDefault {
    const char* mName;
    int mNoteNr;
};

// Indexed by TGenDrumPiece; the table in the header documents it.
constexpr TPieceDefault kPieceDefaults[TGenDrumPiece_Count] = {
    { "Kick", 36 },
    { "SnareCenter", 38 },
    { "SnareOffcenter", 38 },
    { "SnareRimClick", 37 },
    { "SnareRimShot", 40 },
    { "TomPitch1", 50 },
    { "TomPitch2", 48 },
    { "TomPitch3", 47 },
    { "TomPitch4", 45 },
    { "TomPitch5", 43 },
    { "TomPitch6", 41 },
    { "HiHatClosed", 42 },
    { "HiHatPedal", 44 },
    { "HiHatOpen", 46 },
    { "RideBow", 51 },
    { "RideEdge", 59 },
    { "RideBell", 53 },
    { "CrashPitch1", 49 },
    { "CrashPitch2", 57 },
    { "CrashPitch3", 52 },
    { "CrashPitch4", 55 },
    { "CrashSplash", 55 },
    { "Sticks", 31 },
    { "Cowbell", 56 },
    { "ShakerForward", 70 },
    { "ShakerBackward", 82 },
    { "Tambourine", 54 },
    { "Claps", 39 },
    { "Fingersnaps", 75 },
    { "BongoPitch1", 60 },
    { "BongoPitch3", 61 },
};

bool IsPiece(TGenDrumPiece piece) { return piece >= 0 && piece < TGenDrumPiece_Count; }

} // namespace

const char* TGenDrumPieceName(TGenDrumPiece piece) { return IsPiece(piece) ? kPieceDefaults[piece].mName : "?"; }

CGenDrumMap::CGenDrumMap() : mName("General MIDI")
{
    mNoteNrs.reserve(TGenDrumPiece_Count);
    for (const TPieceDefault& d : kPieceDefaults)
        mNoteNrs.push_back(d.mNoteNr);
    mStrokeChannels.fill(kGeneralMidiDrumChannel);
}

const CGenDrumMap& CGenDrumMap::GeneralMidi()
{
    static const CGenDrumMap kMap;
    return kMap;
}

int CGenDrumMap::GeneralMidiNoteNr(TGenDrumPiece piece) { return IsPiece(piece) ? kPieceDefaults[piece].mNoteNr : -1; }

int CGenDrumMap::NoteNr(TGenDrumPiece piece) const
{
    return IsPiece(piece) && static_cast<std::size_t>(piece) < mNoteNrs.size() ? mNoteNrs[piece] : -1;
}

void CGenDrumMap::SetNoteNr(TGenDrumPiece piece, int noteNr)
{
    if (!IsPiece(piece))
        return;
    _CompleteNoteNrs();
    mNoteNrs[piece] = noteNr;
}

uint8_t CGenDrumMap::StrokeChannel(int stroke) const
{
    return stroke >= 1 && stroke <= kStrokeCount ? mStrokeChannels[stroke - 1] : 255;
}

void CGenDrumMap::SetStrokeChannel(int stroke, uint8_t channel)
{
    if (stroke >= 1 && stroke <= kStrokeCount)
        mStrokeChannels[stroke - 1] = channel;
}

TGenDrumPiece CGenDrumMap::PieceForNoteNr(int noteNr) const
{
    for (std::size_t i = 0; i < mNoteNrs.size(); ++i)
        if (mNoteNrs[i] == noteNr)
            return static_cast<TGenDrumPiece>(i);
    return TGenDrumPiece_Count;
}

void CGenDrumMap::_CompleteNoteNrs()
{
    if (mNoteNrs.size() > static_cast<std::size_t>(TGenDrumPiece_Count))
        mNoteNrs.resize(TGenDrumPiece_Count);
    for (std::size_t i = mNoteNrs.size(); i < static_cast<std::size_t>(TGenDrumPiece_Count); ++i)
        mNoteNrs.push_back(kPieceDefaults[i].mNoteNr);
}

void CGenDrumMap::TraceStream(std::ostream& os) const
{
    os << "CGenDrumMap " << mName << " strokeChannels " << int(mStrokeChannels[0]) << " " << int(mStrokeChannels[1]) << " "
       << int(mStrokeChannels[2]);
    for (std::size_t i = 0; i < mNoteNrs.size(); ++i)
        os << "\n  " << TGenDrumPieceName(static_cast<TGenDrumPiece>(i)) << " " << mNoteNrs[i];
}

void CGenDrumMap::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenDrumMap " << mName << " pieces " << mNoteNrs.size();
}

std::ostream& operator<<(std::ostream& os, const CGenDrumMap& map)
{
    map.TraceStream(os);
    return os;
}
