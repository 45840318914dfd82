#pragma once

#include "Generator/instruments/CGenConvertMapping.h"

#include <string>

class CGenDrumMap;

// Keys of the built-in mappings.
extern const char* const kConvertMappingKey_MB3;
extern const char* const kConvertMappingKey_CtrlEvs;
extern const char* const kConvertMappingKey_InstTreeToTolvarZamplerGroupName;

// The built-in mappings of instrument paths to output events, fitted to the
// General MIDI percussion map (see CGenDrumMap for the note numbers).
//
// Both event mappings put the kit piece's note on the drum channel (the drum
// map's first stroke channel) and move it to the note of the struck variant
// (rim click 37, open hi-hat 46, ride bell 53, ...); tom pitches shift the note
// of the high tom. What General MIDI has no note for, strokes, percussion
// articulations, shaker and tambourine tempo and crash length, adds an
// articulation number to the note's MB3. They differ in two things:
// - kConvertMappingKey_MB3 (130 paths, the default): every hi-hat openness
//   step picks the closed (o1 to o3) or the open (o4 to o7) hi-hat note.
// - kConvertMappingKey_CtrlEvs (126 paths): hi-hat openness travels as
//   controller 4 (127 closed to 0 open) ahead of a closed hi-hat note, and
//   snare eccentricity as controller 16 (0 center, 64 off center).
// - kConvertMappingKey_InstTreeToTolvarZamplerGroupName (67 paths): sample
//   group names of the sounds, without controllers.
class CGenConvertMappingFactory {
public:
    // An empty mapping for an unknown key. Note numbers and channels come from
    // the General MIDI drum map.
    static CGenConvertMapping MappingForKey(const std::string& key);
    // The same with the note numbers and stroke channels of `drumMap`.
    static CGenConvertMapping MappingForKeyAndDrumMap(const std::string& key, const CGenDrumMap& drumMap);
};
