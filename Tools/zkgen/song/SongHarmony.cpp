#include "song/SongHarmony.h"

#include <Generator/harmony/CChordHeavy.h>
#include <Generator/harmony/CSignKey.h>

namespace zkgen::cli {

std::optional<TSongHarmony> BuildSongHarmony(const TSong& song, const std::vector<double>& sectionStarts,
    const std::string& sourceName, std::string& error)
{
    TSongHarmony harmony;
    const CChordNamePrefs prefs;
    const TSongKey* lastKey = nullptr;
    for (size_t i = 0; i < song.mSections.size() && i < sectionStarts.size(); ++i) {
        const TSongSection& s = song.mSections[i];
        const double start = sectionStarts[i];
        const TSongKey* key = s.mKey ? &*s.mKey : (song.mKey ? &*song.mKey : nullptr);
        if (key && (!lastKey || !(key->mSignKey == lastKey->mSignKey))) {
            harmony.mKeys.InsertAtCorrectBeatPos(CGenEvSignKey(static_cast<float>(start), key->mSignKey));
            lastKey = key;
        }
        for (const TSongChord& c : s.mChords) {
            CGenEvChord ev(static_cast<float>(start + c.mBeat));
            if (c.IsNoChord()) {
                ev.mChord.mNoChord = TNoChord_Force;
            } else if (!SetFromString(c.mName, ev.mChord, prefs)) {
                error = sourceName + ":" + std::to_string(s.mLine) + ": section '" + s.mName + "' bar "
                    + std::to_string(c.mBar) + ": '" + c.mName + "' is not a chord name (write e.g. C, Am7, F#m7b5, G/B)";
                return std::nullopt;
            }
            ev.mRootNoteSpecified = true;
            harmony.mChords.InsertAtCorrectBeatPos(ev);
        }
    }
    return harmony;
}

} // namespace zkgen::cli
