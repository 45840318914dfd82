#pragma once

// Grooves in the manifest: timing and dynamics per instrument track, as
// played against a straight grid.
//
//   [[grooves]]
//   name = "swing 8ths"
//   tracks = [
//     # The shorthand: an element at every grid step of the loop. `swing`
//     # moves the second step of each pair of steps to ratio * the pair's
//     # length (eighths 0.6: 0.5 -> 0.6; sixteenths 0.6: 0.25 -> 0.3 and
//     # 0.75 -> 0.8); `shift` moves every step early (-) or late (+), in
//     # beats; `velocities` are played velocities 0..127, repeated over the
//     # steps. `grid` is 0.25 unless given; swing needs it given.
//     { type = "All", grid = 0.5, swing = 0.6 },
//     { type = "Bass", grid = 0.5, swing = 0.6, velocities = [110, 85] },
//     # Elements as played: source position, optional end of the stretch it
//     # captures (default: the next element's source, the last one's: the
//     # loop's end), target position, optional velocity (none when absent).
//     { type = "Kick", length = 4, elements = [
//         { source = 0, target = -0.01, velocity = 118 },
//         { source = 2, end = 3, target = 2.02 } ] },
//   ]
//
// A track's `type` is the display text of its kind ("All", "Kick", "Snare",
// "SystemHand", "Bass", "System (cymbals)", ...), `length` its loop in beats
// (default 1). Positions are beats from the loop's start; sources rise.

#include <toml++/toml.h>

#include <Generator/shaping/CGenGroove.h>

#include <string>

namespace zkgen::cli {

// The grooves of the manifest's `grooves` array, in written order, each
// checked by the engine's sanity check. Throws TContentError naming
// `fileName` and the line of the first mistake.
CGenGrooves ReadGrooves(const toml::node& grooves, const std::string& fileName);

} // namespace zkgen::cli
