// Chord names and keys as a lead sheet writes them. A chord that reads must
// be named with a text that reads as the same chord, survive its archive
// form (the note set), and answer every query of a player without fault;
// a key that reads must do the same with its name.

#include "FuzzSupport.h"

#include "Generator/harmony/CChordHeavy.h"
#include "Generator/harmony/CScaleHeavy.h"
#include "Generator/harmony/CSignKey.h"

namespace {

void CheckChord(const CChordHeavy& chord)
{
    const CChordNamePrefs prefs;
    const std::string name = chord.Name(prefs);
    CChordHeavy back;
    if (!SetFromString(name, back, prefs))
        zkfuzz::Fail("a chord's name doesn't read");
    if (!(back == chord))
        zkfuzz::Fail("a chord's name reads as another chord");
    CChordHeavy fromNotes;
    if (!fromNotes.FromNoteSet(chord.ToNoteSet()) || !(fromNotes == chord))
        zkfuzz::Fail("a chord doesn't come back from its note set");
    if (chord.IsUndef())
        return;
    const CSignKeyHeavy cMajor(CKeyEnh(0, TEnh_Natural), TSignKeyType_Major);
    const CScaleHeavy scale = chord.ConstructScaleInSignKey(cMajor);
    if (scale.IsUndef() || scale.RootKeyNr() != chord.RootKeyEnh().mKeyNr)
        zkfuzz::Fail("a chord's scale doesn't stand on its root");
    for (long note = 0; note < 128; note += 7) {
        const long q = chord.QuantizeToBasicChord(note, TQuantizeDirection_Nearest);
        if (q < 0 || q > 139)
            zkfuzz::Fail("a chord quantizes a note far away");
        if (scale.MoveInScale(note, 3, true) < 0 || scale.MoveInScale(note, -3, true) > 127)
            zkfuzz::Fail("a chord's scale moves a note out of the note range");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    const std::string text(reinterpret_cast<const char*>(data), size);
    const CChordNamePrefs prefs;
    CChordHeavy chord;
    if (SetFromString(text, chord, prefs))
        CheckChord(chord);
    else if (!(chord == CChordHeavy()))
        zkfuzz::Fail("a refused chord name changed the chord");

    const CSignKeyHeavy key = SignKeyFromString(text);
    if (!key.IsUndef()) {
        const CSignKeyHeavy back = SignKeyFromString(key.Name(prefs));
        if (!(back == key))
            zkfuzz::Fail("a key's name reads as another key");
        if (key.Scale().DegreesPerOctave() != 7)
            zkfuzz::Fail("a key's scale has no seven degrees");
    }
    return 0;
}
