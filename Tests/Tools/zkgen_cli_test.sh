#!/usr/bin/env bash
# The command-line front end: versions, help, plain refusals of missing
# content and bad input, and the memento round trip through a file.
set -uo pipefail
zkgen=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*"; exit 1; }

out=$("$zkgen" --version) || fail "--version exited non-zero"
[[ $out == zkgen\ * ]] || fail "--version printed '$out'"
"$zkgen" --help | grep -q generate || fail "--help doesn't list generate"
"$zkgen" generate --help | grep -q -- --memento || fail "generate --help doesn't list --memento"

# Without a library the demo bundle of the build plays.
out=$("$zkgen" generate --bars 2 2>&1) || fail "generate with the demo library: $out"
grep -q "Performance: [1-9][0-9]* events" <<<"$out" || fail "generate with the demo library said: $out"
"$zkgen" generate --help | grep -q "Exit codes" || fail "generate --help doesn't document the exit codes"

# Missing or empty content: a plain message and a non-zero exit, no crash.
out=$("$zkgen" generate --library "$work/none.glibb" 2>&1); rc=$?
[ $rc -ne 0 ] && [ $rc -lt 128 ] || fail "missing library: rc $rc"
grep -q "content library not found: $work/none.glibb" <<<"$out" || fail "missing library said: $out"
mkdir "$work/empty.glibb"
out=$("$zkgen" generate --library "$work/empty.glibb" 2>&1); rc=$?
[ $rc -ne 0 ] && [ $rc -lt 128 ] || fail "empty library: rc $rc"
grep -q "can't be loaded" <<<"$out" || fail "empty library said: $out"

# Bad region input.
out=$("$zkgen" generate --builtin-default-genre --time-signature 7/9 2>&1); rc=$?
[ $rc -ne 0 ] && [ $rc -lt 128 ] || fail "bad signature: rc $rc"
grep -q "time signature '7/9'" <<<"$out" || fail "bad signature said: $out"
"$zkgen" generate --builtin-default-genre --complexity 150 >/dev/null 2>&1 && fail "complexity 150 accepted"
out=$("$zkgen" generate --builtin-default-genre --genre Nope 2>&1); rc=$?
[ $rc -ne 0 ] || fail "unknown genre accepted"

# The memento survives from call to call.
m="$work/region.memento"
"$zkgen" generate --builtin-default-genre --bars 2 --memento "$m" --seed-mode increment --what fills --json >"$work/1.json" || fail "first generate"
grep -q '"seeds":\[0,0,0,1,0\]' "$work/1.json" || fail "first seeds: $(cat "$work/1.json")"
"$zkgen" generate --builtin-default-genre --bars 2 --memento "$m" --seed-mode increment --what fills --json >"$work/2.json" || fail "second generate"
grep -q '"seeds":\[0,0,0,2,0\]' "$work/2.json" || fail "second seeds: $(cat "$work/2.json")"
grep -q "<key>Seeds</key>" "$m" || fail "memento is not an XML property list"
# A damaged memento is reported and left as it was.
echo "garbage" >"$m"
"$zkgen" generate --builtin-default-genre --memento "$m" >/dev/null 2>&1 && fail "damaged memento accepted"
[ "$(cat "$m")" = "garbage" ] || fail "damaged memento was overwritten"

# Instrument paths for content authors.
out=$("$zkgen" inst resolve 'Drums.Sn.note.nrm[eccentricity.center;stroke.s1]') || fail "inst resolve exited non-zero"
grep -q "uid 0x12111000" <<<"$out" || fail "inst resolve said: $out"
"$zkgen" inst resolve 'a[]' >/dev/null 2>&1 && fail "malformed expression accepted"
[ "$("$zkgen" inst tree Drums.Ki | wc -l)" -eq 3 ] || fail "inst tree Drums.Ki"
out=$("$zkgen" inst convert 0x14101400 --mapping ctrl) || fail "inst convert exited non-zero"
grep -q "ctr 4 value 64" <<<"$out" && grep -q "note 42" <<<"$out" || fail "inst convert said: $out"
"$zkgen" inst convert zz >/dev/null 2>&1 && fail "bad uid accepted"
# Bundles: made, shown, checked, played, and refused when damaged.
b="$work/Made.glibb"
"$zkgen" bundle create "$b" || fail "bundle create exited non-zero"
[ -f "$b/library.glib" ] && [ -d "$b/StyleGraphs" ] || fail "bundle create made no bundle"
"$zkgen" bundle create "$b" >/dev/null 2>&1 && fail "bundle create overwrote a bundle"
out=$("$zkgen" bundle info "$b") || fail "bundle info exited non-zero"
grep -q "Genre DefaultGenre" <<<"$out" && grep -q "style Default" <<<"$out" || fail "bundle info said: $out"
out=$("$zkgen" bundle check "$b") || fail "bundle check exited non-zero: $out"
grep -q "No faults found." <<<"$out" || fail "bundle check said: $out"
out=$("$zkgen" generate --library "$b" --bars 2) || fail "generate --library on a bundle exited non-zero"
grep -q "Performance: 0 events" <<<"$out" || fail "generate --library said: $out"
printf 'damaged' >"$b/library.glib"
out=$("$zkgen" bundle info "$b" 2>&1); rc=$?
[ $rc -eq 1 ] || fail "damaged bundle info: rc $rc"
grep -q "can't be loaded" <<<"$out" || fail "damaged bundle info said: $out"
"$zkgen" bundle check "$work/none.glibb" >/dev/null 2>&1 && fail "bundle check of nothing succeeded"
# Song files: one line naming the file and line of a mistake, exit 2, and
# nothing written.
song="$work/song.toml"
printf 'title = "t"\ntempo = 100\n\n[[section]]\nname = "A"\nbars = 2\nspeed = 3\n' >"$song"
out=$("$zkgen" generate "$song" -o "$work/s.mid" 2>&1); rc=$?
[ $rc -eq 2 ] || fail "unknown song key: rc $rc"
grep -q "song.toml:7: unknown key 'speed' in section 'A'" <<<"$out" || fail "unknown song key said: $out"
[ ! -e "$work/s.mid" ] || fail "a refused song wrote a MIDI file"
printf 'time-signature = "65/4"\n[[section]]\nname = "A"\nbars = 2\n' >"$song"
out=$("$zkgen" generate "$song" -o "$work/s.mid" 2>&1); rc=$?
[ $rc -eq 2 ] && grep -q "numerator" <<<"$out" || fail "65/4 said (rc $rc): $out"
printf 'genre = "Nope"\n[[section]]\nname = "A"\nbars = 2\n' >"$song"
out=$("$zkgen" generate "$song" -o "$work/s.mid" 2>&1); rc=$?
[ $rc -eq 2 ] && grep -q "no genre named 'Nope'" <<<"$out" || fail "unknown genre said (rc $rc): $out"
printf '[[section]]\nname = "A"\nbars = 2\nstyle = 5\n' >"$song"
out=$("$zkgen" generate "$song" -o "$work/s.mid" 2>&1); rc=$?
[ $rc -eq 2 ] && grep -q "style 5" <<<"$out" || fail "unknown style said (rc $rc): $out"
printf '[[section]]\nname = "A"\nbars = 2\ntempo-scale = 3\n' >"$song"
"$zkgen" generate "$song" -o "$work/s.mid" >/dev/null 2>&1 && fail "tempo-scale 3 accepted"
# A song that plays: the MIDI file and the take; the same bytes again; an
# unwritable output leaves what was there.
printf 'title = "t"\n[[section]]\nname = "A"\nbars = 4\ncomplexity = 60\n' >"$song"
"$zkgen" generate "$song" -o "$work/s.mid" >/dev/null || fail "song generate"
[ -s "$work/s.mid" ] && [ -s "$work/s.take" ] || fail "song generate wrote no MIDI file or take"
cp "$work/s.mid" "$work/first.mid"
"$zkgen" generate "$song" -o "$work/s.mid" >/dev/null || fail "second song generate"
cmp -s "$work/s.mid" "$work/first.mid" || fail "the same song and take gave other bytes"
out=$("$zkgen" generate "$song" -o "$work/s.mid/x.mid" --take-file "$work/s.take" 2>&1); rc=$?
[ $rc -eq 1 ] || fail "unwritable output: rc $rc ($out)"
cmp -s "$work/s.mid" "$work/first.mid" || fail "a failed write damaged the MIDI file"
out=$("$zkgen" generate "$song" -o "$work/s.mid" --section B --take new 2>&1); rc=$?
[ $rc -eq 2 ] && grep -q "no section named 'B'" <<<"$out" || fail "unknown section said (rc $rc): $out"
# Chords the engine can't read, a groove the library lacks, and grooves
# without a song: one line, exit 2.
printf 'key = "C"\n[[section]]\nname = "A"\nbars = 2\nchords = "C | Hm7"\n' >"$song"
out=$("$zkgen" generate "$song" -o "$work/s.mid" 2>&1); rc=$?
[ $rc -eq 2 ] && grep -q "section 'A' bar 2: 'Hm7' is not a chord name" <<<"$out" || fail "unknown chord said (rc $rc): $out"
printf 'key = "C"\n[[section]]\nname = "A"\nbars = 2\nchords = "C | G7"\n' >"$song"
out=$("$zkgen" generate "$song" -o "$work/s.mid" --groove nope 2>&1); rc=$?
[ $rc -eq 2 ] && grep -q "no groove named 'nope'" <<<"$out" || fail "unknown groove said (rc $rc): $out"
"$zkgen" generate "$song" -o "$work/s.mid" --groove "swing 16ths" --swing 50 >/dev/null || fail "a song with chords and a groove"
out=$("$zkgen" generate --swing 50 2>&1); rc=$?
[ $rc -eq 2 ] && grep -q "give a song file" <<<"$out" || fail "--swing without a song said (rc $rc): $out"
# The content compiler names the file and line of a mistake.
mkdir -p "$work/content"
printf 'genre = "G"\n[drums]\nsystems = "missing.grid"\n' >"$work/content/library.toml"
out=$("$zkgen" content build "$work/content" "$work/out.glibb" 2>&1); rc=$?
[ $rc -eq 2 ] && grep -q "library.toml:3: cannot read 'missing.grid'" <<<"$out" || fail "content build said (rc $rc): $out"
[ ! -e "$work/out.glibb" ] || fail "a failed content build left a bundle"
# Every module class a style can use; without a file or --classes, exit 2.
out=$("$zkgen" style dump --classes) || fail "style dump --classes failed"
for c in CGenGFModuleLua CGenGFModuleAddOnComplexityRating CGenGFModule2DMatrix; do
  grep -q "class: $c " <<<"$out" || fail "style dump --classes lacks $c"
done
"$zkgen" style dump >/dev/null 2>&1; rc=$?
[ $rc -eq 2 ] || fail "style dump without a file gave rc $rc"
# A script module's mistake is told with the script's file and line.
mkdir -p "$work/scripted"
printf '[scripts]\nh = "h.lua"\n' >"$work/scripted/library.toml"
printf 'x = 1\nif x then\n' >"$work/scripted/h.lua"
out=$("$zkgen" content build "$work/scripted" "$work/scripted.glibb" 2>&1); rc=$?
[ $rc -eq 2 ] && grep -q "h.lua:3: 'end' expected" <<<"$out" || fail "script mistake said (rc $rc): $out"
echo "zkgen cli: ok"
