#pragma once

#include "Generator/CGenEv.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"

#include <cstdint>
#include <ostream>
#include <vector>

// Where a controller's value lies in an event, and what SetValue writes.
enum TKCtrMidiValuePosition : int {
    TKCtrMidiValuePosition_None = 0,
    TKCtrMidiValuePosition_StatusHighNibble = 1, // status = v
    TKCtrMidiValuePosition_Channel = 2,          // channel = v
    TKCtrMidiValuePosition_MB1 = 3,              // MB1 = v
    TKCtrMidiValuePosition_MB2 = 4,              // MB2 = v
    TKCtrMidiValuePosition_MB1MB2 = 5,           // 14 bits: MB1 = v / 128, MB2 = v % 128
    TKCtrMidiValuePosition_MB3 = 6,              // MB3 = v
    TKCtrMidiValuePosition_AddToStatus = 7,      // status += v
    TKCtrMidiValuePosition_AddToChannel = 8,     // channel += v
    TKCtrMidiValuePosition_AddToMB1 = 9,         // MB1 += v
    TKCtrMidiValuePosition_AddToMB2 = 10,        // MB2 += v
    TKCtrMidiValuePosition_AddToMB3 = 11,        // MB3 += v
};

inline constexpr int kCKCtrStatus_Any = 256;
inline constexpr uint8_t kCKCtrChannel_Any = 255;
inline constexpr int kCKCtrMB_Any = -1;
// A controller value that was not found or not set.
inline constexpr int kCKCtrValue_Undef = static_cast<int>(0x80000001u);

// A pattern for MIDI-style events: which events belong to a controller and
// which byte of them holds its value. Fields set to "any" match everything.
class CKCtr : public CGenTraceable<CKCtr> {
public:
    static constexpr const char* kTraceClassName = "CKCtr";

    // 1 for a defined controller; any other value never matches.
    int mValid = 0;
    // Status high nibble 0x80 to 0xF0, or kCKCtrStatus_Any.
    int mMidiStatus = kCKCtrStatus_Any;
    uint8_t mMidiChannel = kCKCtrChannel_Any;
    int mMB1 = kCKCtrMB_Any;
    int mMB2 = kCKCtrMB_Any;
    int mMB3 = kCKCtrMB_Any;
    TKCtrMidiValuePosition mMidiValuePosition = TKCtrMidiValuePosition_None;

    constexpr CKCtr() = default;
    constexpr CKCtr(int status, uint8_t channel, int mb1, int mb2, int mb3, TKCtrMidiValuePosition position)
        : mValid(1), mMidiStatus(status), mMidiChannel(channel), mMB1(mb1), mMB2(mb2), mMB3(mb3), mMidiValuePosition(position)
    {
    }

    bool IsValid() const { return mValid == 1; }
    bool EvMatches(const CGenEv& ev) const;
    // kCKCtrValue_Undef for a null event or a position outside 1 to 11.
    int ExtractCtrValueFromEv(const CGenEv* ev) const;
    // An "any" field counts as 0 for the adding positions.
    void SetValue(int value);
    // An event at `pos` from the fields. The controller's own channel wins; else
    // `channel` (255 for none, then 0). A status of "any" makes a value-only
    // event (status below 0x10) that carries its bytes into the event before it.
    CGenEv ConvertToEv(float pos, int channel) const;

    bool operator==(const CKCtr& o) const = default;

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mValid", mValid);
        ar& make_nvp("mMidiStatus", mMidiStatus);
        ar& make_nvp("mMidiChannel", mMidiChannel);
        ar& make_nvp("mMB1", mMB1);
        ar& make_nvp("mMB2", mMB2);
        ar& make_nvp("mMB3", mMB3);
        ar& make_nvp("mMidiValuePosition", mMidiValuePosition);
    }
};
BOOST_CLASS_VERSION(CKCtr, 0)

std::ostream& operator<<(std::ostream& os, const CKCtr& ctr);

inline constexpr CKCtr CKCtr_Undef {};
inline constexpr CKCtr CKCtr_Channel { kCKCtrStatus_Any, kCKCtrChannel_Any, -1, -1, -1, TKCtrMidiValuePosition_Channel };
inline constexpr CKCtr CKCtr_NoteNr { st_NoteOn, kCKCtrChannel_Any, -1, -1, -1, TKCtrMidiValuePosition_MB1 };
inline constexpr CKCtr CKCtr_Vel { st_NoteOn, kCKCtrChannel_Any, -1, -1, -1, TKCtrMidiValuePosition_MB2 };
inline constexpr CKCtr CKCtr_RelVel { st_NoteOn, kCKCtrChannel_Any, -1, -1, -1, TKCtrMidiValuePosition_AddToMB2 };
inline constexpr CKCtr CKCtr_MB3 { kCKCtrStatus_Any, kCKCtrChannel_Any, -1, -1, -1, TKCtrMidiValuePosition_MB3 };
inline constexpr CKCtr CKCtr_AddToMB1 { kCKCtrStatus_Any, kCKCtrChannel_Any, -1, -1, -1, TKCtrMidiValuePosition_AddToMB1 };
inline constexpr CKCtr CKCtr_AddToMB3 { kCKCtrStatus_Any, kCKCtrChannel_Any, -1, -1, -1, TKCtrMidiValuePosition_AddToMB3 };
inline constexpr CKCtr CKCtr_AnyCtrChange { st_CtrChange, kCKCtrChannel_Any, -1, -1, -1, TKCtrMidiValuePosition_MB2 };
inline constexpr CKCtr CKCtr_PitchBend { st_PitchBend, kCKCtrChannel_Any, -1, -1, -1, TKCtrMidiValuePosition_MB1MB2 };
inline constexpr CKCtr CKCtr_MonoPress { st_Aftertouch, kCKCtrChannel_Any, -1, -1, -1, TKCtrMidiValuePosition_MB1 };
inline constexpr CKCtr CKCtr_Modulation { st_CtrChange, kCKCtrChannel_Any, 1, -1, -1, TKCtrMidiValuePosition_MB2 };
inline constexpr CKCtr CKCtr_Volume { st_CtrChange, kCKCtrChannel_Any, 7, -1, -1, TKCtrMidiValuePosition_MB2 };
inline constexpr CKCtr CKCtr_Expression { st_CtrChange, kCKCtrChannel_Any, 11, -1, -1, TKCtrMidiValuePosition_MB2 };
inline constexpr CKCtr CKCtr_Sustain { st_CtrChange, kCKCtrChannel_Any, 64, -1, -1, TKCtrMidiValuePosition_MB2 };
// The foot controller, which electronic kits read as the hi-hat pedal.
inline constexpr CKCtr CKCtr_FootController { st_CtrChange, kCKCtrChannel_Any, 4, -1, -1, TKCtrMidiValuePosition_MB2 };

// A controller with its value.
class CKCtrAndValue : public CGenTraceable<CKCtrAndValue> {
public:
    static constexpr const char* kTraceClassName = "CKCtrAndValue";

    CKCtr mCtr;
    int mValue = kCKCtrValue_Undef;

    CKCtrAndValue() = default;
    CKCtrAndValue(const CKCtr& ctr, int value) : mCtr(ctr), mValue(value) {}

    void SetValueFromEv(const CGenEv& ev) { mValue = mCtr.ExtractCtrValueFromEv(&ev); }
    bool operator==(const CKCtrAndValue& o) const = default;

    void TraceStream(std::ostream& os) const;
};

// Controllers with values, in insertion order, each controller at most once,
// for the events of one status and channel.
class CKCtrAndValues : public std::vector<CKCtrAndValue>, public CGenTraceable<CKCtrAndValues> {
public:
    static constexpr const char* kTraceClassName = "CKCtrAndValues";

    uint8_t mMidiStatus = st_NoteOn;
    uint8_t mMidiChannel = kCKCtrChannel_Any;

    CKCtrAndValues() = default;
    CKCtrAndValues(uint8_t midiStatus, uint8_t midiChannel) : mMidiStatus(midiStatus), mMidiChannel(midiChannel) {}

    // Sets the value of an equal controller, or appends the pair.
    void UpdateFromCtrAndValue(const CKCtrAndValue& ctrAndValue);
    // Appends the controller with an undefined value unless it is invalid or present.
    void AddCtrIfUniqueAndNotUndef(const CKCtr& ctr);
    // kCKCtrValue_Undef when the controller isn't held.
    int ValueForCtr(const CKCtr& ctr) const;
    bool ContainsCtr(const CKCtr& ctr) const;

    bool operator==(const CKCtrAndValues& o) const
    {
        return static_cast<const std::vector<CKCtrAndValue>&>(*this) == static_cast<const std::vector<CKCtrAndValue>&>(o) &&
            mMidiStatus == o.mMidiStatus && mMidiChannel == o.mMidiChannel;
    }

    void TraceStream(std::ostream& os) const;
};
