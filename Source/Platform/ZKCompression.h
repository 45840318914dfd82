#pragma once

#include "Platform/TGenDict.h"

#include <cstdint>
#include <optional>
#include <string>

// The compression pair of the content library, on zlib.
//
// Framing of compressed data:
//   bytes 0..3  the uncompressed length, unsigned 32-bit big-endian;
//   bytes 4..   one zlib stream (RFC 1950: header, deflate data, Adler-32),
//               with nothing after it.
// The stored length lets decompression allocate once and tell a damaged
// stream from a complete one.
//
// Limits: inputs of kZKCompressionMaxLength bytes or more are refused, and a
// stored length that deflate could not have reached from the compressed size
// (more than kZKCompressionMaxRatio times it) counts as damage, so a corrupt
// header never leads to a huge allocation.

inline constexpr uint32_t kZKCompressionMaxLength = 0xFFFFFFFFu;
// Deflate's best case is a little above 1000:1.
inline constexpr uint64_t kZKCompressionMaxRatio = 1040;

// `data` compressed at `level`: 0 (store) to 9 (smallest), or -1 for zlib's
// default (Z_DEFAULT_COMPRESSION). Empty with a message for another level or
// an input that is too long.
std::optional<TGenData> zkCompressedDataWithCompressionLevel(
    const TGenData& data, int level, std::string* outError = nullptr);

// The original bytes of framed compressed data; empty with a message when the
// frame or the stream is damaged, truncated, longer than stated or followed by
// extra bytes.
std::optional<TGenData> zkUncompressedData(const TGenData& data, std::string* outError = nullptr);
