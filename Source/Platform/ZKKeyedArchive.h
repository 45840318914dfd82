#pragma once

#include "Platform/TGenDict.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

// The keyed archive: a TGenDict as XML or binary property list bytes.
//
// Value kinds map one to one onto property-list classes: Integer -> integer
// (64-bit signed), Real -> real, String -> string, Bool -> true/false,
// Data -> data, Date -> date, Array -> array, Dict -> dict. The root is always
// a dict.
//
// Dictionary keys. Property-list keys are strings, but a TGenDictKey may be an
// integer, so keys are escaped:
//   - the integer key N is written "#N" in canonical decimal ("#0", "#4", "#-12");
//   - a string key that begins with '#' gets one more '#' in front ("#a" -> "##a");
//   - every other string key is written unchanged.
// On decoding, "##..." loses one '#', "#N" with N in canonical decimal (no
// leading zeros, no '+', no "-0", within int64) becomes an integer key, and
// any other key that begins with a single '#' makes the archive invalid. The
// mapping is therefore one to one in both directions.
//
// Limits and precision:
//   - Strings and keys must be valid UTF-8 without NUL characters; encoding
//     refuses others.
//   - Dates keep whole seconds in XML form and microseconds in binary form
//     (a fraction that is no exact binary fraction may come back one
//     microsecond low), and must lie within +-2^31 seconds of 2001-01-01. A
//     date less than one second before the reference date comes back with a
//     positive fraction.
//   - Integers are signed 64-bit; an unsigned value above INT64_MAX in a
//     foreign archive reads as its two's complement.
//   - Nesting is limited to kZKKeyedArchiveMaxDepth containers on both sides.
//   - A dict whose only entry is the integer "CF$UID" is an object reference of
//     object-graph archives; like binary uid objects it is not one of our
//     classes, so decoding refuses it and encoding refuses to write one.
//
// Decoding accepts only dict, array, string, integer, real, bool, data and
// date; anything else, malformed or truncated bytes and a root other than a
// dict give an empty result and a message. Nothing here throws.

enum ZKKeyedArchiveFormat {
    ZKKeyedArchiveFormat_XML,
    ZKKeyedArchiveFormat_Binary,
};

// Containers nested deeper than this are refused by encoder and decoder.
inline constexpr int kZKKeyedArchiveMaxDepth = 512;

// The first bytes of every binary property list.
inline constexpr const char* kZKKeyedArchiveBinaryMagic = "bplist00";

// The bytes of `dict` in `format`; empty with a message in `outError` when a
// value cannot be represented (see above).
std::optional<TGenData> ZKKeyedArchiveEncode(
    const TGenDict& dict, ZKKeyedArchiveFormat format, std::string* outError = nullptr);

// The dictionary stored in `bytes`; the format is detected from the magic
// bytes and reported through `outFormat`.
std::optional<TGenDict> ZKKeyedArchiveDecode(
    const TGenData& bytes, std::string* outError = nullptr, ZKKeyedArchiveFormat* outFormat = nullptr);
std::optional<TGenDict> ZKKeyedArchiveDecode(const uint8_t* bytes, size_t length,
    std::string* outError = nullptr, ZKKeyedArchiveFormat* outFormat = nullptr);

// The format the decoder would use for `bytes`: binary when they start with
// "bplist00", XML otherwise.
ZKKeyedArchiveFormat ZKKeyedArchiveDetectFormat(const uint8_t* bytes, size_t length);

// Property-list form of a dictionary key and back (see the escape above);
// the reverse is empty for a key that no encoder writes.
std::string ZKKeyedArchiveEscapeKey(const TGenDictKey& key);
std::optional<TGenDictKey> ZKKeyedArchiveUnescapeKey(const std::string& plistKey);

// A deep clone that goes through the binary archive, so that the clone is
// exactly what a save and a load would give; empty with a message when the
// dictionary cannot be archived.
std::optional<TGenDict> ZKCodingClone(const TGenDict& dict, std::string* outError = nullptr);
