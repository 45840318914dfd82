#include "Platform/ZKCompression.h"

#include <gtest/gtest.h>

#include <random>

namespace {

TGenData Repetitive(size_t n)
{
    TGenData d(n);
    for (size_t i = 0; i < n; ++i)
        d[i] = static_cast<uint8_t>("kick snare hat "[i % 15]);
    return d;
}

TGenData Random(size_t n)
{
    std::mt19937 rng(7);
    TGenData d(n);
    for (auto& b : d)
        b = static_cast<uint8_t>(rng());
    return d;
}

std::string UncompressError(const TGenData& data)
{
    std::string error;
    return zkUncompressedData(data, &error) ? "uncompressed" : error;
}

} // namespace

TEST(ZKCompression, RoundTripsAtEveryLevel)
{
    for (const TGenData& input : {TGenData {}, TGenData {42}, Repetitive(100000), Random(10000)}) {
        for (int level : {-1, 0, 1, 6, 9}) {
            std::string error;
            const auto packed = zkCompressedDataWithCompressionLevel(input, level, &error);
            ASSERT_TRUE(packed) << error;
            const auto unpacked = zkUncompressedData(*packed, &error);
            ASSERT_TRUE(unpacked) << error;
            EXPECT_EQ(*unpacked, input) << "level " << level << ", " << input.size() << " bytes";
        }
    }
    EXPECT_LT(zkCompressedDataWithCompressionLevel(Repetitive(100000), 9)->size(), 1000u);
}

TEST(ZKCompression, FramesTheLengthBeforeAZlibStream)
{
    const TGenData input = Repetitive(70000); // 0x00011170
    const TGenData packed = *zkCompressedDataWithCompressionLevel(input, -1);
    EXPECT_EQ((TGenData(packed.begin(), packed.begin() + 4)), (TGenData {0x00, 0x01, 0x11, 0x70}));
    EXPECT_EQ(packed[4], 0x78); // zlib header: deflate, 32K window
    EXPECT_EQ((packed[4] * 256 + packed[5]) % 31, 0);
    // -1 is zlib's default, which is level 6.
    EXPECT_EQ(packed, *zkCompressedDataWithCompressionLevel(input, 6));
    EXPECT_NE(packed, *zkCompressedDataWithCompressionLevel(input, 1));

    std::string error;
    EXPECT_FALSE(zkCompressedDataWithCompressionLevel(input, 10, &error));
    EXPECT_EQ(error, "compression: level 10 is not -1 or 0 to 9");
    EXPECT_FALSE(zkCompressedDataWithCompressionLevel(input, -2, &error));
    EXPECT_EQ(error, "compression: level -2 is not -1 or 0 to 9");
}

TEST(ZKCompression, RefusesDamagedInput)
{
    const TGenData packed = *zkCompressedDataWithCompressionLevel(Repetitive(5000), -1);

    EXPECT_EQ(UncompressError({}), "compression: data too short for the length header");
    EXPECT_EQ(UncompressError({0, 0, 1}), "compression: data too short for the length header");
    EXPECT_EQ(UncompressError({0, 0, 0, 0}), "compression: truncated stream");
    EXPECT_EQ(UncompressError({0, 0, 0x13, 0x88, 0x78}), "compression: stated length 5000 does not fit 1 compressed bytes");

    TGenData longer = packed;
    longer[3] += 1;
    EXPECT_EQ(UncompressError(longer), "compression: stream holds 5000 bytes, header states 5001");
    TGenData shorter = packed;
    shorter[3] -= 1;
    EXPECT_EQ(UncompressError(shorter), "compression: stream holds more than the stated 4999 bytes");

    TGenData trailing = packed;
    trailing.push_back(0);
    EXPECT_EQ(UncompressError(trailing), "compression: 1 stray bytes after the stream");

    // An absurd length in the header is refused before anything is allocated.
    TGenData absurd = packed;
    absurd[0] = 0xFF;
    EXPECT_EQ(UncompressError(absurd).rfind("compression: stated length 42", 0), 0u);

    TGenData checksum = packed;
    checksum.back() ^= 1;
    EXPECT_EQ(UncompressError(checksum), "compression: damaged stream (incorrect data check)");

    // Very short prefixes already fail the length check.
    for (size_t n = 12; n < packed.size(); ++n)
        EXPECT_EQ(UncompressError(TGenData(packed.begin(), packed.begin() + n)), "compression: truncated stream") << n;

    for (size_t i = 4; i < packed.size(); ++i) {
        TGenData damaged = packed;
        damaged[i] ^= 0xA5;
        EXPECT_NE(UncompressError(damaged), "uncompressed") << i;
    }
}
