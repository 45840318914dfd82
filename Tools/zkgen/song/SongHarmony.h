#pragma once

// The song's harmony as the engine reads it: the chord charts of the
// sections as one chord track and the keys as key changes, in beats from
// the song's start.

#include "song/SongFile.h"

#include <Generator/harmony/CGenEvChord.h>
#include <Generator/timesig/CGenEvsSignKey.h>

#include <optional>
#include <string>
#include <vector>

namespace zkgen::cli {

struct TSongHarmony {
    CGenEvsChord mChords;
    CGenEvsSignKey mKeys;
    bool HasChords() const { return !mChords.empty(); }
};

// `sectionStarts` holds each section's first beat. Each chord name is read
// with the engine's chord vocabulary; an unknown one fails with one line
// naming the song, the section and the bar ("demo.toml:40: section 'Verse'
// bar 3: 'Hm7' is not a chord name"). A section without chords plays on
// the chord before it.
std::optional<TSongHarmony> BuildSongHarmony(const TSong& song, const std::vector<double>& sectionStarts,
    const std::string& sourceName, std::string& error);

} // namespace zkgen::cli
