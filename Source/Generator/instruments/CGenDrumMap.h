#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"

#include <boost/serialization/array.hpp>

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

// The kit pieces a drum map gives note numbers to. Appending is safe: older
// archives fill new pieces with the General MIDI default.
enum TGenDrumPiece : int {
    TGenDrumPiece_Kick = 0,
    TGenDrumPiece_SnareCenter,
    TGenDrumPiece_SnareOffcenter,
    TGenDrumPiece_SnareRimClick,
    TGenDrumPiece_SnareRimShot,
    TGenDrumPiece_TomPitch1,
    TGenDrumPiece_TomPitch2,
    TGenDrumPiece_TomPitch3,
    TGenDrumPiece_TomPitch4,
    TGenDrumPiece_TomPitch5,
    TGenDrumPiece_TomPitch6,
    TGenDrumPiece_HiHatClosed,
    TGenDrumPiece_HiHatPedal,
    TGenDrumPiece_HiHatOpen,
    TGenDrumPiece_RideBow,
    TGenDrumPiece_RideEdge,
    TGenDrumPiece_RideBell,
    TGenDrumPiece_CrashPitch1,
    TGenDrumPiece_CrashPitch2,
    TGenDrumPiece_CrashPitch3,
    TGenDrumPiece_CrashPitch4,
    TGenDrumPiece_CrashSplash,
    TGenDrumPiece_Sticks,
    TGenDrumPiece_Cowbell,
    TGenDrumPiece_ShakerForward,
    TGenDrumPiece_ShakerBackward,
    TGenDrumPiece_Tambourine,
    TGenDrumPiece_Claps,
    TGenDrumPiece_Fingersnaps,
    TGenDrumPiece_BongoPitch1,
    TGenDrumPiece_BongoPitch3,
    TGenDrumPiece_Count,
};

// Name of a kit piece ("Kick", "HiHatOpen"); "?" outside the range.
const char* TGenDrumPieceName(TGenDrumPiece piece);

// The note numbers of a sound set's kit pieces, and the three channel bytes
// that articulation patterns pick by stroke (stroke 1 to 3). The default is the
// General MIDI percussion map on channel 10 (byte 9); this table is the one
// place where the engine's General MIDI choices are written down:
//
//   Kick 36 Bass Drum 1               HiHatClosed 42 Closed Hi-Hat
//   SnareCenter 38 Acoustic Snare     HiHatPedal 44 Pedal Hi-Hat
//   SnareOffcenter 38 Acoustic Snare  HiHatOpen 46 Open Hi-Hat
//   SnareRimClick 37 Side Stick       RideBow 51 Ride Cymbal 1
//   SnareRimShot 40 Electric Snare    RideEdge 59 Ride Cymbal 2
//   TomPitch1 50 High Tom             RideBell 53 Ride Bell
//   TomPitch2 48 Hi-Mid Tom           CrashPitch1 49 Crash Cymbal 1
//   TomPitch3 47 Low-Mid Tom          CrashPitch2 57 Crash Cymbal 2
//   TomPitch4 45 Low Tom              CrashPitch3 52 Chinese Cymbal
//   TomPitch5 43 High Floor Tom       CrashPitch4 55 Splash Cymbal
//   TomPitch6 41 Low Floor Tom        CrashSplash 55 Splash Cymbal
//   Sticks 31 Sticks (GM2)            Cowbell 56 Cowbell
//   ShakerForward 70 Maracas          ShakerBackward 82 Shaker (GM2)
//   Tambourine 54 Tambourine          Claps 39 Hand Clap
//   Fingersnaps 75 Claves (General MIDI has no finger snap)
//   BongoPitch1 60 Hi Bongo           BongoPitch3 61 Low Bongo
//
// Hi-hat openness, where a mapping sends it as a controller, is controller 4,
// which General MIDI kits ignore and electronic kits read as the pedal.
class CGenDrumMap : public CGenTraceable<CGenDrumMap> {
public:
    static constexpr const char* kTraceClassName = "CGenDrumMap";
    static constexpr uint8_t kGeneralMidiDrumChannel = 9;
    static constexpr int kStrokeCount = 3;

    std::string mName;
    std::vector<int> mNoteNrs;
    std::array<uint8_t, kStrokeCount> mStrokeChannels {};

    // The General MIDI map.
    CGenDrumMap();
    static const CGenDrumMap& GeneralMidi();
    static int GeneralMidiNoteNr(TGenDrumPiece piece);

    // -1 outside the range of pieces.
    int NoteNr(TGenDrumPiece piece) const;
    void SetNoteNr(TGenDrumPiece piece, int noteNr);
    // The channel byte of stroke 1 to 3; 255 for any other stroke.
    uint8_t StrokeChannel(int stroke) const;
    void SetStrokeChannel(int stroke, uint8_t channel);
    // The first piece with this note number, or TGenDrumPiece_Count.
    TGenDrumPiece PieceForNoteNr(int noteNr) const;

    bool operator==(const CGenDrumMap& o) const
    {
        return mName == o.mName && mNoteNrs == o.mNoteNrs && mStrokeChannels == o.mStrokeChannels;
    }

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mName", mName);
        ar& make_nvp("mNoteNrs", mNoteNrs);
        ar& make_nvp("mStrokeChannels", mStrokeChannels);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mName", mName);
        ar& make_nvp("mNoteNrs", mNoteNrs);
        ar& make_nvp("mStrokeChannels", mStrokeChannels);
        _CompleteNoteNrs();
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    // Fills pieces an older or shorter list lacks with the defaults, drops extra ones.
    void _CompleteNoteNrs();
};
BOOST_CLASS_VERSION(CGenDrumMap, 0)

std::ostream& operator<<(std::ostream& os, const CGenDrumMap& map);
