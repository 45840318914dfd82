#include "MidiFile.h"

// smf.h includes glib.h inside its extern "C" block, which breaks glib's C++
// templates unless glib.h was included first.
#include <glib.h>
#include <smf.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstring>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <system_error>

namespace zkgen::cli {
namespace {

// The largest pulse a file gets: every delta time then fits a four-byte
// variable-length quantity and libsmf's int pulses.
constexpr int64_t kMaxTick = 0x0FFFFFFF;
// Slowest tempo a Set Tempo event holds: 0xFFFFFF microseconds per quarter.
constexpr int64_t kMaxMicrosPerQuarter = 0xFFFFFF;
// A song file is far smaller; the limit keeps a wrong path from eating memory.
constexpr off_t kMaxFileSize = 64 * 1024 * 1024;

std::string ErrnoText(int err)
{
    return std::generic_category().message(err);
}

std::string Num(double value)
{
    std::ostringstream s;
    s << value;
    return s.str();
}

// ---------------------------------------------------------------------------
// libsmf reports through glib's log in the domain "libsmf", straight to
// stderr. While a call runs its warnings are collected for the error text
// instead; calls are serialized so that a handler sees only its own call.

std::mutex sSmfMutex;

class TSmfLogCapture {
public:
    TSmfLogCapture()
    {
        mId = g_log_set_handler("libsmf",
            GLogLevelFlags(G_LOG_LEVEL_MASK | G_LOG_FLAG_FATAL | G_LOG_FLAG_RECURSION), &TSmfLogCapture::Handle, this);
    }
    ~TSmfLogCapture() { g_log_remove_handler("libsmf", mId); }
    TSmfLogCapture(const TSmfLogCapture&) = delete;
    TSmfLogCapture& operator=(const TSmfLogCapture&) = delete;

    // What libsmf complained about, or `fallback` if it said nothing.
    std::string Messages(const std::string& fallback) const
    {
        return mMessages.empty() ? fallback : std::string("libsmf: ") + mMessages;
    }

private:
    static void Handle(const gchar*, GLogLevelFlags level, const gchar* message, gpointer self)
    {
        auto* capture = static_cast<TSmfLogCapture*>(self);
        if ((level & (G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING)) == 0 || message == nullptr)
            return;
        if (!capture->mMessages.empty())
            capture->mMessages += "; ";
        capture->mMessages += message;
    }

    guint mId = 0;
    std::string mMessages;
};

// libsmf deletes a track's events from the last to the first, and finds
// each in the track's array by a scan from the front: quadratic, a hundred
// milliseconds for a long song. Detached from its track first, an event is
// freed at once; the emptied tracks then go with the file.
struct TSmfDeleter {
    void operator()(smf_t* smf) const
    {
        for (int t = 1; t <= smf->number_of_tracks; ++t) {
            smf_track_t* track = smf_get_track_by_number(smf, t);
            if (track == nullptr || track->events_array == nullptr)
                continue;
            for (guint i = 0; i < track->events_array->len; ++i) {
                auto* event = static_cast<smf_event_t*>(g_ptr_array_index(track->events_array, i));
                event->track = nullptr;
                smf_event_delete(event);
            }
            g_ptr_array_set_size(track->events_array, 0);
            track->number_of_events = 0;
        }
        smf_delete(smf);
    }
};
using TSmfPtr = std::unique_ptr<smf_t, TSmfDeleter>;

// ---------------------------------------------------------------------------
// Writing

// Order of events at one pulse. In the conductor track the name comes first,
// the meter before the tempo; in a note track note-offs come first, so a note
// may end where the next of its key starts, and controllers precede note-ons,
// so that e.g. the hi-hat openness is set when its note sounds.
enum : int {
    kRankName = 0,
    kRankMeter = 1,
    kRankTempo = 2,
    kRankMarker = 3,
    kRankNoteOff = 1,
    kRankController = 2,
    kRankNoteOn = 3,
};

struct TOutEvent {
    int64_t mTick = 0;
    int mRank = 0;
    size_t mSeq = 0; // order of creation, so that sorting keeps the given order
    std::vector<uint8_t> mBytes;
};

class TOutTrack {
public:
    void Add(int64_t tick, int rank, std::vector<uint8_t> bytes)
    {
        mEvents.push_back(TOutEvent{tick, rank, mEvents.size(), std::move(bytes)});
    }
    std::vector<TOutEvent> Sorted() const
    {
        std::vector<TOutEvent> events = mEvents;
        std::sort(events.begin(), events.end(), [](const TOutEvent& a, const TOutEvent& b) {
            if (a.mTick != b.mTick)
                return a.mTick < b.mTick;
            if (a.mRank != b.mRank)
                return a.mRank < b.mRank;
            return a.mSeq < b.mSeq;
        });
        return events;
    }

private:
    std::vector<TOutEvent> mEvents;
};

// Sets `reason` to "<where><what> <value> is outside <lo>..<hi>" if so.
bool InRange(int value, int lo, int hi, const std::string& where, const char* what, std::string& reason)
{
    if (value >= lo && value <= hi)
        return true;
    reason = where + what + " " + std::to_string(value) + " is outside " + std::to_string(lo) + ".."
        + std::to_string(hi);
    return false;
}

bool BeatToTick(double beat, int64_t& tick, std::string& reason)
{
    const double ticks = std::round(beat * kMidiPpqn);
    if (!std::isfinite(ticks) || ticks < 0.0) {
        reason = std::string("beat ") + Num(beat) + " is not a position at or after the song start";
        return false;
    }
    if (ticks > double(kMaxTick)) {
        reason = std::string("beat ") + Num(beat) + " lies beyond the longest song a MIDI file holds";
        return false;
    }
    tick = int64_t(ticks);
    return true;
}

std::vector<uint8_t> TextMeta(uint8_t type, const std::string& text)
{
    size_t n = std::min(text.size(), kMidiMaxMetaText);
    if (n < text.size()) {
        // Step back to the start of the character the cut would split.
        while (n > 0 && (uint8_t(text[n]) & 0xC0) == 0x80)
            --n;
    }
    std::vector<uint8_t> bytes(3 + n);
    bytes[0] = 0xFF;
    bytes[1] = type;
    bytes[2] = uint8_t(n);
    std::memcpy(bytes.data() + 3, text.data(), n);
    return bytes;
}

bool BuildConductor(const TPerformance& p, TOutTrack& out, std::string& reason)
{
    if (!p.mTitle.empty())
        out.Add(0, kRankName, TextMeta(0x03, p.mTitle));

    std::vector<TTempoChange> tempos = p.mTempos;
    if (tempos.empty())
        tempos.push_back(TTempoChange{0.0, 120.0});
    for (size_t i = 0; i < tempos.size(); ++i) {
        const TTempoChange& t = tempos[i];
        const std::string where = std::string("tempo change ") + std::to_string(i + 1) + ": ";
        int64_t tick = 0;
        if (!BeatToTick(t.mBeat, tick, reason)) {
            reason = where + reason;
            return false;
        }
        if (!(t.mBpm > 0.0 && t.mBpm <= 1000.0)) {
            reason = where + Num(t.mBpm) + " bpm is outside (0, 1000]";
            return false;
        }
        const int64_t micros = std::llround(60000000.0 / t.mBpm);
        if (micros > kMaxMicrosPerQuarter) {
            reason = where + Num(t.mBpm) + " bpm is slower than a MIDI file holds (3.58 bpm)";
            return false;
        }
        out.Add(tick, kRankTempo,
            {0xFF, 0x51, 0x03, uint8_t(micros >> 16), uint8_t((micros >> 8) & 0xFF), uint8_t(micros & 0xFF)});
    }

    std::vector<TMeterChange> meters = p.mMeters;
    if (meters.empty())
        meters.push_back(TMeterChange{0.0, 4, 4});
    for (size_t i = 0; i < meters.size(); ++i) {
        const TMeterChange& m = meters[i];
        const std::string where = std::string("meter change ") + std::to_string(i + 1) + ": ";
        int64_t tick = 0;
        if (!BeatToTick(m.mBeat, tick, reason)) {
            reason = where + reason;
            return false;
        }
        if (!InRange(m.mNumerator, 1, 255, where, "numerator", reason))
            return false;
        int power = 0;
        while (power <= 6 && (1 << power) != m.mDenominator)
            ++power;
        if (power > 6) {
            reason = where + "denominator " + std::to_string(m.mDenominator) + " is not a power of two from 1 to 64";
            return false;
        }
        // 24 MIDI clocks per metronome click and 8 thirty-seconds per quarter:
        // the values every sequencer expects.
        out.Add(tick, kRankMeter, {0xFF, 0x58, 0x04, uint8_t(m.mNumerator), uint8_t(power), 24, 8});
    }

    for (size_t i = 0; i < p.mMarkers.size(); ++i) {
        int64_t tick = 0;
        if (!BeatToTick(p.mMarkers[i].mBeat, tick, reason)) {
            reason = std::string("marker ") + std::to_string(i + 1) + ": " + reason;
            return false;
        }
        out.Add(tick, kRankMarker, TextMeta(0x06, p.mMarkers[i].mText));
    }
    return true;
}

bool BuildTrack(const TTrack& track, size_t index, TOutTrack& out, std::string& reason)
{
    std::string name = std::string("track ") + std::to_string(index + 1);
    if (!track.mName.empty())
        name += std::string(" \"") + track.mName + "\"";
    if (!track.mName.empty())
        out.Add(0, kRankName, TextMeta(0x03, track.mName));
    if (track.mProgram >= 0) {
        if (!InRange(track.mProgram, 0, 127, name + ": ", "program", reason)
            || !InRange(track.mProgramChannel, 0, 15, name + ": ", "program channel", reason))
            return false;
        // Before the first note: a controller rank at tick 0 sorts ahead of note-ons.
        out.Add(0, kRankController, {uint8_t(0xC0 | track.mProgramChannel), uint8_t(track.mProgram)});
    }

    for (size_t i = 0; i < track.mNotes.size(); ++i) {
        const TNote& n = track.mNotes[i];
        const std::string where = name + ", note " + std::to_string(i + 1) + ": ";
        if (!InRange(n.mChannel, 0, 15, where, "channel", reason) || !InRange(n.mKey, 0, 127, where, "key", reason)
            || !InRange(n.mVelocity, 1, 127, where, "velocity", reason))
            return false;
        int64_t on = 0;
        if (!BeatToTick(n.mBeat, on, reason)) {
            reason = where + reason;
            return false;
        }
        if (!std::isfinite(n.mLength)) {
            reason = where + "length " + Num(n.mLength) + " is not a number of beats";
            return false;
        }
        // A note too short to last a pulse still needs its note-off after
        // the note-on, or players would see an unbalanced pair.
        int64_t off = int64_t(std::max(std::round((n.mBeat + n.mLength) * kMidiPpqn), double(on + 1)));
        if (off > kMaxTick) {
            reason = where + "ends beyond the longest song a MIDI file holds";
            return false;
        }
        out.Add(on, kRankNoteOn, {uint8_t(0x90 | n.mChannel), n.mKey, n.mVelocity});
        out.Add(off, kRankNoteOff, {uint8_t(0x80 | n.mChannel), n.mKey, 0x40});
    }

    for (size_t i = 0; i < track.mControllers.size(); ++i) {
        const TController& c = track.mControllers[i];
        const std::string where = name + ", controller event " + std::to_string(i + 1) + ": ";
        if (!InRange(c.mChannel, 0, 15, where, "channel", reason)
            || !InRange(c.mNumber, 0, 127, where, "controller number", reason)
            || !InRange(c.mValue, 0, 127, where, "value", reason))
            return false;
        int64_t tick = 0;
        if (!BeatToTick(c.mBeat, tick, reason)) {
            reason = where + reason;
            return false;
        }
        out.Add(tick, kRankController, {uint8_t(0xB0 | c.mChannel), c.mNumber, c.mValue});
    }
    return true;
}

bool BuildTracks(const TPerformance& p, std::vector<std::vector<TOutEvent>>& tracks, std::string& reason)
{
    if (p.mTracks.size() + 1 > 0xFFFF) {
        reason = std::to_string(p.mTracks.size()) + " tracks are more than a MIDI file holds";
        return false;
    }
    TOutTrack conductor;
    if (!BuildConductor(p, conductor, reason))
        return false;
    tracks.push_back(conductor.Sorted());
    for (size_t i = 0; i < p.mTracks.size(); ++i) {
        TOutTrack out;
        if (!BuildTrack(p.mTracks[i], i, out, reason))
            return false;
        tracks.push_back(out.Sorted());
    }
    return true;
}

// The file's bytes: a header chunk and one track chunk per track, each event
// after the delta time to its predecessor, no running status, and an End Of
// Track at the song's last tick in every track, so that players and editors
// agree on the song's length. Written here rather than through libsmf: its
// save reads the file back and frees that copy one event at a time with a
// scan of the track each, which cost 60 ms on a 500-bar song.
std::vector<uint8_t> StandardMidiFileBytes(const std::vector<std::vector<TOutEvent>>& tracks)
{
    std::vector<uint8_t> out;
    const auto put32 = [&out](uint32_t v) {
        for (int shift = 24; shift >= 0; shift -= 8)
            out.push_back(static_cast<uint8_t>(v >> shift));
    };
    const auto putText = [&out](const char* text) {
        for (; *text; ++text)
            out.push_back(static_cast<uint8_t>(*text));
    };
    const auto put16 = [&out](uint32_t v) {
        out.push_back(static_cast<uint8_t>(v >> 8));
        out.push_back(static_cast<uint8_t>(v));
    };
    const auto putVariable = [&out](uint64_t v) {
        uint8_t bytes[10];
        int n = 0;
        do {
            bytes[n++] = static_cast<uint8_t>(v & 0x7F);
            v >>= 7;
        } while (v != 0);
        while (n > 1)
            out.push_back(static_cast<uint8_t>(bytes[--n] | 0x80));
        out.push_back(bytes[0]);
    };
    int64_t endTick = 0;
    for (const auto& events : tracks)
        for (const TOutEvent& e : events)
            endTick = std::max(endTick, e.mTick);

    putText("MThd");
    put32(6);
    put16(1); // format 1: a conductor track and the instruments' tracks
    put16(static_cast<uint32_t>(tracks.size()));
    put16(kMidiPpqn);
    for (const auto& events : tracks) {
        putText("MTrk");
        const size_t lengthAt = out.size();
        put32(0);
        int64_t last = 0;
        for (const TOutEvent& e : events) {
            putVariable(static_cast<uint64_t>(e.mTick - last));
            for (const uint8_t b : e.mBytes)
                out.push_back(b);
            last = e.mTick;
        }
        putVariable(static_cast<uint64_t>(endTick - last));
        out.push_back(0xFF); // End Of Track
        out.push_back(0x2F);
        out.push_back(0x00);
        const auto length = static_cast<uint32_t>(out.size() - lengthAt - 4);
        for (int i = 0; i < 4; ++i)
            out[lengthAt + static_cast<size_t>(i)] = static_cast<uint8_t>(length >> (24 - 8 * i));
    }
    return out;
}

bool SaveStandardMidiFile(const std::vector<std::vector<TOutEvent>>& tracks, const std::string& file, std::string& reason)
{
    const std::vector<uint8_t> bytes = StandardMidiFileBytes(tracks);
    const int fd = ::open(file.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (fd < 0) {
        reason = ErrnoText(errno);
        return false;
    }
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t put = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0) {
            reason = ErrnoText(errno);
            ::close(fd);
            return false;
        }
        done += static_cast<size_t>(put);
    }
    if (::close(fd) != 0) {
        reason = ErrnoText(errno);
        return false;
    }
    return true;
}

// ---------------------------------------------------------------------------
// Reading

bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& data, std::string& reason)
{
    reason.clear();
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        reason = ErrnoText(errno);
        return false;
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0)
        reason = ErrnoText(errno);
    else if (!S_ISREG(st.st_mode))
        reason = "not a regular file";
    else if (st.st_size > kMaxFileSize)
        reason = "larger than 64 MiB, not a song";
    if (!reason.empty()) {
        ::close(fd);
        return false;
    }
    data.resize(size_t(st.st_size));
    size_t done = 0;
    while (done < data.size()) {
        const ssize_t got = ::read(fd, data.data() + done, data.size() - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) {
            reason = got < 0 ? ErrnoText(errno) : std::string("the file shrank while being read");
            ::close(fd);
            return false;
        }
        done += size_t(got);
    }
    ::close(fd);
    return true;
}

uint32_t Be32(const uint8_t* p)
{
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}

unsigned Be16(const uint8_t* p)
{
    return (unsigned(p[0]) << 8) | unsigned(p[1]);
}

bool ReadVlq(const uint8_t*& p, const uint8_t* end, uint32_t& value)
{
    value = 0;
    for (int i = 0; i < 4 && p < end; ++i) {
        const uint8_t b = *p++;
        value = (value << 7) | (b & 0x7F);
        if ((b & 0x80) == 0)
            return true;
    }
    return false;
}

bool CheckTrack(const uint8_t* p, const uint8_t* end, const std::string& where, std::string& reason)
{
    auto fail = [&](const std::string& what) {
        reason = where + what;
        return false;
    };
    uint8_t running = 0;
    uint64_t tick = 0;
    for (;;) {
        uint32_t delta = 0;
        if (p >= end)
            return fail("ends without End Of Track");
        if (!ReadVlq(p, end, delta))
            return fail("broken delta time");
        tick += delta;
        if (tick > uint64_t(INT_MAX))
            return fail("events lie beyond the longest time libsmf holds");
        if (p >= end)
            return fail("ends without End Of Track");
        uint8_t status = *p;
        if (status & 0x80) {
            ++p;
        } else if (running != 0) {
            status = running;
        } else {
            return fail("data byte without a status byte");
        }

        if (status == 0xFF || status == 0xF0) {
            uint8_t type = 0;
            if (status == 0xFF) {
                if (p >= end)
                    return fail("truncated meta event");
                type = *p++;
            }
            uint32_t length = 0;
            if (!ReadVlq(p, end, length) || length > uint32_t(end - p))
                return fail("truncated meta or system exclusive event");
            if (status == 0xFF) {
                if (length > kMidiMaxMetaText)
                    return fail("a meta event of " + std::to_string(length)
                        + " bytes is longer than libsmf reads (127)");
                if (type == 0x2F)
                    return true; // libsmf stops here too
                if (type == 0x51 && (length != 3 || (p[0] | p[1] | p[2]) == 0))
                    return fail("broken Set Tempo event");
                if (type == 0x58 && length != 4)
                    return fail("broken Time Signature event");
            }
            p += length;
            running = 0; // meta and system exclusive events end running status
        } else if (status >= 0xF0) {
            static const char* const kHex = "0123456789ABCDEF";
            return fail(std::string("system message 0x") + kHex[status >> 4] + kHex[status & 0x0F]
                + " is not supported in a file");
        } else {
            const std::ptrdiff_t dataBytes = (status & 0xE0) == 0xC0 ? 1 : 2; // program change, channel pressure
            if (end - p < dataBytes)
                return fail("truncated channel event");
            for (std::ptrdiff_t i = 0; i < dataBytes; ++i) {
                if (p[i] & 0x80)
                    return fail("channel event with a data byte above 127");
            }
            p += dataBytes;
            running = status;
        }
    }
}

// libsmf 1.3 asserts, aborting the program, on some broken files (a track
// without End Of Track, an empty track chunk) and misreads meta events of
// 128 bytes or more; a file gets to it only after this walk accepted it.
bool CheckStructure(const std::vector<uint8_t>& data, unsigned& trackCount, std::string& reason)
{
    auto failFile = [&](const std::string& what) {
        reason = what;
        return false;
    };
    if (data.size() < 14 || std::memcmp(data.data(), "MThd", 4) != 0)
        return failFile("not a Standard MIDI File (no MThd header)");
    if (Be32(&data[4]) != 6)
        return failFile("MThd chunk length is not 6");
    const unsigned format = Be16(&data[8]);
    trackCount = Be16(&data[10]);
    const unsigned division = Be16(&data[12]);
    if (format > 1)
        return failFile(std::string("format ") + std::to_string(format) + " is not supported (only 0 and 1)");
    if (trackCount == 0)
        return failFile("the file declares no tracks");
    if (division & 0x8000)
        return failFile("SMPTE time is not supported, only pulses per quarter note");
    if (division == 0)
        return failFile("0 pulses per quarter note");
    size_t offset = 14;
    for (unsigned t = 0; t < trackCount; ++t) {
        const std::string where = std::string("track ") + std::to_string(t + 1) + ": ";
        if (data.size() - offset < 8)
            return failFile(std::string("the file declares ") + std::to_string(trackCount) + " tracks but holds "
                + std::to_string(t) + " (truncated?)");
        if (std::memcmp(&data[offset], "MTrk", 4) != 0)
            return failFile(where + "expected an MTrk chunk");
        const uint32_t length = Be32(&data[offset + 4]);
        if (length > data.size() - offset - 8)
            return failFile(where + "the chunk runs past the end of the file (truncated?)");
        const uint8_t* begin = data.data() + offset + 8;
        if (!CheckTrack(begin, begin + length, where, reason))
            return false;
        offset += 8 + size_t(length);
    }
    return true;
}

// Where a meta event's data starts and how long it is.
bool MetaData(const std::vector<uint8_t>& b, const uint8_t*& data, uint32_t& length)
{
    if (b.size() < 3 || b[0] != 0xFF)
        return false;
    const uint8_t* p = b.data() + 2;
    const uint8_t* end = b.data() + b.size();
    if (!ReadVlq(p, end, length) || length > uint32_t(end - p))
        return false;
    data = p;
    return true;
}

TPerformance ToPerformance(const TMidiFileInfo& info)
{
    TPerformance p;
    const double ppqn = info.mPpqn;
    for (size_t t = 0; t < info.mTracks.size(); ++t) {
        TTrack track;
        bool named = false;
        bool hasChannelEvents = false;
        int lastTick = 0;
        std::vector<int> onTicks;                // per note in `track`
        std::map<int, std::deque<size_t>> open; // channel * 128 + key -> notes waiting for their note-off
        for (const TMidiEvent& e : info.mTracks[t]) {
            const std::vector<uint8_t>& b = e.mBytes;
            lastTick = std::max(lastTick, e.mTick);
            const double beat = e.mTick / ppqn;
            const uint8_t* data = nullptr;
            uint32_t length = 0;
            if (MetaData(b, data, length)) {
                const std::string text(reinterpret_cast<const char*>(data), length);
                if (b[1] == 0x03 && !named) {
                    track.mName = text;
                    named = true;
                } else if (b[1] == 0x06) {
                    p.mMarkers.push_back(TMarker{beat, text});
                } else if (b[1] == 0x51 && length == 3) {
                    const uint32_t micros = (uint32_t(data[0]) << 16) | (uint32_t(data[1]) << 8) | data[2];
                    if (micros > 0)
                        p.mTempos.push_back(TTempoChange{beat, 60000000.0 / micros});
                } else if (b[1] == 0x58 && length >= 2 && data[1] <= 30) {
                    p.mMeters.push_back(TMeterChange{beat, data[0], 1 << data[1]});
                }
                continue;
            }
            if (b.size() == 2 && (b[0] & 0xF0) == 0xC0) {
                hasChannelEvents = true;
                track.mProgram = b[1];
                track.mProgramChannel = b[0] & 0x0F;
                continue;
            }
            if (b.size() != 3 || b[0] < 0x80 || b[0] >= 0xF0)
                continue;
            const uint8_t kind = b[0] & 0xF0;
            const uint8_t channel = b[0] & 0x0F;
            const int key = channel * 128 + b[1];
            if (kind == 0x90 && b[2] > 0) {
                hasChannelEvents = true;
                open[key].push_back(track.mNotes.size());
                onTicks.push_back(e.mTick);
                track.mNotes.push_back(TNote{beat, 0.0, channel, b[1], b[2]});
            } else if (kind == 0x80 || kind == 0x90) {
                hasChannelEvents = true;
                auto it = open.find(key);
                if (it == open.end() || it->second.empty())
                    continue; // a note-off without its note-on
                const size_t n = it->second.front();
                it->second.pop_front();
                track.mNotes[n].mLength = (e.mTick - onTicks[n]) / ppqn;
            } else if (kind == 0xB0) {
                hasChannelEvents = true;
                track.mControllers.push_back(TController{beat, channel, b[1], b[2]});
            }
        }
        for (auto& [key, waiting] : open)
            for (size_t n : waiting)
                track.mNotes[n].mLength = (lastTick - onTicks[n]) / ppqn;
        if (t == 0) {
            p.mTitle = track.mName;
            if (!hasChannelEvents)
                continue;
        }
        p.mTracks.push_back(std::move(track));
    }
    auto byBeat = [](const auto& a, const auto& b) { return a.mBeat < b.mBeat; };
    std::stable_sort(p.mTempos.begin(), p.mTempos.end(), byBeat);
    std::stable_sort(p.mMeters.begin(), p.mMeters.end(), byBeat);
    std::stable_sort(p.mMarkers.begin(), p.mMarkers.end(), byBeat);
    return p;
}

} // namespace

// ---------------------------------------------------------------------------

bool CreateTempFileBeside(const std::string& target, std::string& tempPath, std::string& reason)
{
    namespace fs = std::filesystem;
    const fs::path t(target);
    const std::string name = t.filename().string();
    if (name.empty() || name == "." || name == "..") {
        reason = "not a file name";
        return false;
    }
    static std::atomic<unsigned> sCounter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        const fs::path candidate = t.parent_path()
            / (std::string(".") + name + ".tmp" + std::to_string(::getpid()) + "_" + std::to_string(sCounter++));
        const int fd = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            ::close(fd);
            tempPath = candidate.string();
            return true;
        }
        if (errno != EEXIST) {
            reason = ErrnoText(errno);
            return false;
        }
    }
    reason = "no free name for a temporary file";
    return false;
}

bool ReplaceWithTempFile(const std::string& tempPath, const std::string& target, std::string& reason)
{
    const int fd = ::open(tempPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 || ::fsync(fd) != 0) {
        reason = ErrnoText(errno);
        if (fd >= 0)
            ::close(fd);
        ::unlink(tempPath.c_str());
        return false;
    }
    ::close(fd);
    if (::rename(tempPath.c_str(), target.c_str()) != 0) {
        reason = ErrnoText(errno);
        ::unlink(tempPath.c_str());
        return false;
    }
    return true;
}

bool WriteMidiFile(const TPerformance& p, const std::string& path, std::string& error)
{
    const std::string prefix = std::string("cannot write ") + path + ": ";
    std::vector<std::vector<TOutEvent>> tracks;
    std::string reason;
    if (!BuildTracks(p, tracks, reason)) {
        error = prefix + reason;
        return false;
    }
    std::string tempPath;
    if (!CreateTempFileBeside(path, tempPath, reason)) {
        error = prefix + reason;
        return false;
    }
    if (!SaveStandardMidiFile(tracks, tempPath, reason)) {
        ::unlink(tempPath.c_str());
        error = prefix + reason;
        return false;
    }
    if (!ReplaceWithTempFile(tempPath, path, reason)) {
        error = prefix + reason;
        return false;
    }
    return true;
}

std::optional<TMidiFileInfo> ReadMidiFileInfo(const std::string& path, std::string& error)
{
    const std::string prefix = std::string("cannot read ") + path + ": ";
    std::vector<uint8_t> data;
    std::string reason;
    unsigned trackCount = 0;
    if (!ReadWholeFile(path, data, reason) || !CheckStructure(data, trackCount, reason)) {
        error = prefix + reason;
        return std::nullopt;
    }

    std::lock_guard<std::mutex> lock(sSmfMutex);
    TSmfLogCapture log;
    TSmfPtr smf(smf_load_from_memory(data.data(), int(data.size())));
    if (!smf) {
        error = prefix + log.Messages("libsmf could not read it");
        return std::nullopt;
    }
    TMidiFileInfo info;
    info.mFormat = smf->format;
    info.mPpqn = smf->ppqn;
    for (int t = 1; t <= smf->number_of_tracks; ++t) {
        smf_track_t* track = smf_get_track_by_number(smf.get(), t);
        if (track == nullptr) {
            error = prefix + log.Messages("libsmf lost a track");
            return std::nullopt;
        }
        std::vector<TMidiEvent> events;
        for (int n = 1; n <= track->number_of_events; ++n) {
            const smf_event_t* event = smf_track_get_event_by_number(track, n);
            if (event == nullptr || event->midi_buffer == nullptr || event->midi_buffer_length <= 0) {
                error = prefix + log.Messages("libsmf lost an event");
                return std::nullopt;
            }
            const uint8_t* bytes = event->midi_buffer;
            events.push_back(TMidiEvent{event->time_pulses,
                std::vector<uint8_t>(bytes, bytes + event->midi_buffer_length)});
        }
        info.mTracks.push_back(std::move(events));
    }
    if (info.mTracks.size() != trackCount) {
        error = prefix + log.Messages(std::string("libsmf read ") + std::to_string(info.mTracks.size()) + " of "
            + std::to_string(trackCount) + " tracks");
        return std::nullopt;
    }
    return info;
}

std::optional<TPerformance> ReadMidiFile(const std::string& path, std::string& error)
{
    const std::optional<TMidiFileInfo> info = ReadMidiFileInfo(path, error);
    if (!info)
        return std::nullopt;
    return ToPerformance(*info);
}

double MidiFileSeconds(const TMidiFileInfo& info)
{
    if (info.mPpqn <= 0)
        return 0.0;
    std::vector<std::pair<int, uint32_t>> tempos; // pulse, microseconds per quarter
    int endTick = 0;
    for (const auto& track : info.mTracks) {
        for (const TMidiEvent& e : track) {
            endTick = std::max(endTick, e.mTick);
            const uint8_t* data = nullptr;
            uint32_t length = 0;
            if (MetaData(e.mBytes, data, length) && e.mBytes[1] == 0x51 && length == 3)
                tempos.emplace_back(e.mTick, (uint32_t(data[0]) << 16) | (uint32_t(data[1]) << 8) | data[2]);
        }
    }
    std::stable_sort(tempos.begin(), tempos.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    double seconds = 0.0;
    int tick = 0;
    double micros = 500000.0; // 120 bpm until the first Set Tempo
    for (const auto& [at, value] : tempos) {
        seconds += (at - tick) * micros / 1e6 / info.mPpqn;
        tick = at;
        micros = value;
    }
    return seconds + (endTick - tick) * micros / 1e6 / info.mPpqn;
}

} // namespace zkgen::cli
