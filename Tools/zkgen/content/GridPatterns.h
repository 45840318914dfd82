#pragma once

// Patterns written as drum grids, and pattern-graph edges trained from
// example phrases.
//
// A grid file holds one or more patterns:
//
//   # a comment, from a "#" at a line's start or after a blank
//   pattern rock_8a
//   time = 4/4            # the metre the pattern is written in (default 4/4)
//   steps = 16            # grid cells per bar (default 16; 12 for triplets)
//   bars = 1              # or: beats = 2; default: the cells of the rows / steps
//   complexity = 30       # the pattern's coordinate, 0..100
//   intensity = 45
//   tempo = 60-180        # optional tempo range in bpm
//   rating = 1            # optional main pattern rating
//   target = 0            # fills: where in the bar the fill ends ("FlTarget")
//   overlay = accents systems percussion   # fills: layers the fill replaces
//   info = free text
//   kick  | X . . . . . x . | X . . . . . . . |
//   snare | . . . . X . . . | . . . . X . . g |
//   hh    | x . x . x . x . | x . x . x . X . |
//
//   pattern rock_8a_2 like rock_8a   # the same music under another name,
//                                    # for a phrase that plays it twice
//
// A row is a kit piece of the manifest's drum map or an instrument path
// expression ("Drums.Hh.note.hit.move.static.open.o6"). Cells: "." or "-" is a
// rest; g p x X ! are hits at velocity 35, 55, 80, 105, 125. "|" and blanks
// only help the eye. Every row holds exactly steps * bars cells.
//
// Pitched grids (bass, keys, guitar) have the same form, but a row names an
// abstract note in its text form, and "=" holds the note begun before it for
// one more cell, so that the cells give each note its length:
//
//   pattern bass.rootfifth.1
//   steps = 8
//   group = 0             # note group of all notes (shared root and octave);
//                         # 255 or none given: no group
//   {1}       | X = = = | . . . . |     # a half note on the root
//   {5}       | . . . . | x = . . |     # a quarter note on the fifth
//   {n1[c-1]} | . . . . | . . . p |     # an eighth a semitone below the
//                                       # next chord's root
//
// Each note is an abstract-note event (status 0x90, MB1 -1) with its velocity
// in MB2; a note must read back as written ("{1x}" is refused), and "="
// after a rest or at the row's start has nothing to hold.
//
// A phrases file lists example phrases, one per line, as pattern names:
//
//   rock_8a rock_8a rock_8a rock_8b
//
// A phrase repeats, so its last pattern leads back to its first. With a
// style graph the engine follows a pattern's first edge, so a phrase that
// plays one bar at several places names a copy for each ("like" above):
// then every pattern has one successor and the phrase plays as written.
// Counting
// every transition with the patterns that led to it gives each edge its
// probabilities, one per history (up to four patterns long, oldest first,
// the last being the edge's source), with the history-free probability
// first.

#include "content/ContentError.h"

#include <map>
#include <string>
#include <vector>

class CGenPattern;
class CGenPatternGraphBoost;

namespace zkgen::cli {

// Short names of kit pieces ("kick") and the path expressions they stand for.
using TDrumMapAliases = std::map<std::string, std::string>;

// Patterns of a grid file in written order. `fileName` names the file in
// errors. Throws TContentError with the line of the mistake.
std::vector<CGenPattern> ParseGridPatterns(const std::string& text, const std::string& fileName,
    const TDrumMapAliases& aliases);

// Patterns of a pitched grid file (rows of abstract notes) in written order;
// errors as above.
std::vector<CGenPattern> ParsePitchedGridPatterns(const std::string& text, const std::string& fileName);

// Adds the edges trained from a phrases file to `graph`, whose patterns
// are already in place. Throws TContentError for an unknown pattern name or
// a phrase of fewer than one pattern.
void TrainEdgesFromPhrases(const std::string& text, const std::string& fileName, CGenPatternGraphBoost& graph);

// "E1-G3" (note names with C4 = 60, so E1 = 28) or "28-55", lowest first.
// False with `error` saying what is wrong.
bool ParseNoteRangeText(const std::string& value, std::pair<int, int>& range, std::string& error);

} // namespace zkgen::cli
