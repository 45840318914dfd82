#include "Platform/ZKCompression.h"

#include <zlib.h>

#include <limits>

namespace {

constexpr size_t kHeaderSize = 4;

std::nullopt_t Fail(std::string* outError, std::string message)
{
    if (outError)
        *outError = "compression: " + std::move(message);
    return std::nullopt;
}

} // namespace

std::optional<TGenData> zkCompressedDataWithCompressionLevel(const TGenData& data, int level, std::string* outError)
{
    if (level < -1 || level > 9)
        return Fail(outError, "level " + std::to_string(level) + " is not -1 or 0 to 9");
    if (data.size() >= kZKCompressionMaxLength)
        return Fail(outError, std::to_string(data.size()) + " bytes are too many to compress in one piece");

    const auto sourceLength = static_cast<uLong>(data.size());
    const uLong bound = compressBound(sourceLength);
    TGenData out(kHeaderSize + bound);
    const auto length = static_cast<uint32_t>(data.size());
    out[0] = static_cast<uint8_t>(length >> 24);
    out[1] = static_cast<uint8_t>(length >> 16);
    out[2] = static_cast<uint8_t>(length >> 8);
    out[3] = static_cast<uint8_t>(length);

    uLongf destLength = bound;
    // compress2 wants a readable pointer even for no input.
    static const Bytef kNothing = 0;
    const int rc = compress2(out.data() + kHeaderSize, &destLength, data.empty() ? &kNothing : data.data(), sourceLength,
        level == -1 ? Z_DEFAULT_COMPRESSION : level);
    if (rc != Z_OK)
        return Fail(outError, std::string("zlib failed: ") + zError(rc));
    out.resize(kHeaderSize + destLength);
    return out;
}

std::optional<TGenData> zkUncompressedData(const TGenData& data, std::string* outError)
{
    if (data.size() < kHeaderSize)
        return Fail(outError, "data too short for the length header");
    if (data.size() - kHeaderSize > std::numeric_limits<uInt>::max())
        return Fail(outError, "compressed data too long");
    const uint64_t length = (uint64_t(data[0]) << 24) | (uint64_t(data[1]) << 16) | (uint64_t(data[2]) << 8) | data[3];
    const uint64_t streamLength = data.size() - kHeaderSize;
    // Deflate cannot expand beyond the ratio; the slack covers tiny streams.
    if (length > streamLength * kZKCompressionMaxRatio + 64)
        return Fail(outError, "stated length " + std::to_string(length) + " does not fit " + std::to_string(streamLength)
                + " compressed bytes");

    if (length >= kZKCompressionMaxLength)
        return Fail(outError, "stated length " + std::to_string(length) + " is beyond what compression writes");

    // One byte more than stated, so that a longer stream shows itself.
    TGenData out(static_cast<size_t>(length) + 1);
    z_stream z {};
    if (inflateInit(&z) != Z_OK)
        return Fail(outError, "zlib failed to initialise");
    z.next_in = const_cast<Bytef*>(data.data() + kHeaderSize);
    z.avail_in = static_cast<uInt>(streamLength);
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    const int rc = inflate(&z, Z_FINISH);
    const std::string zmsg = z.msg ? z.msg : "";
    const uLong produced = z.total_out;
    const uInt leftover = z.avail_in;
    inflateEnd(&z);

    if (produced > length)
        return Fail(outError, "stream holds more than the stated " + std::to_string(length) + " bytes");
    if (rc == Z_STREAM_END) {
        if (produced != length)
            return Fail(outError, "stream holds " + std::to_string(produced) + " bytes, header states " + std::to_string(length));
        if (leftover != 0)
            return Fail(outError, std::to_string(leftover) + " stray bytes after the stream");
        out.resize(static_cast<size_t>(length));
        return out;
    }
    if (rc == Z_DATA_ERROR)
        return Fail(outError, "damaged stream" + (zmsg.empty() ? std::string() : " (" + zmsg + ")"));
    if (rc == Z_BUF_ERROR || rc == Z_OK)
        return Fail(outError, "truncated stream");
    return Fail(outError, std::string("zlib failed: ") + zError(rc));
}
