#include "Platform/ZKKeyedArchive.h"

#include "Platform/ZKPlistLimits.h"

#include <plist/plist.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>

namespace zkgen {
namespace {

struct PlistDeleter {
    void operator()(void* node) const
    {
        if (node)
            plist_free(node);
    }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

void SetError(std::string* outError, std::string message)
{
    if (outError)
        *outError = std::move(message);
}

bool IsValidUtf8(const char* s, size_t n)
{
    size_t i = 0;
    while (i < n) {
        const auto c = static_cast<unsigned char>(s[i]);
        if (c == 0)
            return false;
        if (c < 0x80) {
            ++i;
            continue;
        }
        size_t extra;
        uint32_t cp;
        if ((c & 0xE0) == 0xC0) {
            extra = 1;
            cp = c & 0x1F;
        } else if ((c & 0xF0) == 0xE0) {
            extra = 2;
            cp = c & 0x0F;
        } else if ((c & 0xF8) == 0xF0) {
            extra = 3;
            cp = c & 0x07;
        } else {
            return false;
        }
        if (n - i <= extra)
            return false;
        for (size_t k = 1; k <= extra; ++k) {
            const auto cc = static_cast<unsigned char>(s[i + k]);
            if ((cc & 0xC0) != 0x80)
                return false;
            cp = (cp << 6) | (cc & 0x3F);
        }
        // Overlong forms, surrogates and values beyond U+10FFFF are not UTF-8.
        static const uint32_t kMin[] = {0, 0x80, 0x800, 0x10000};
        if (cp < kMin[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
            return false;
        i += extra + 1;
    }
    return true;
}

bool IsValidText(const std::string& s) { return IsValidUtf8(s.data(), s.size()); }

// Quoted text for messages, cut short so that a huge key cannot flood a log.
std::string Quoted(const std::string& s)
{
    constexpr size_t kMax = 64;
    return "\"" + (s.size() > kMax ? s.substr(0, kMax) + "..." : s) + "\"";
}

const char* const kUidKey = "CF$UID";

bool LooksLikeUidReference(const TGenDict& dict)
{
    if (dict.size() != 1)
        return false;
    const auto& [key, value] = *dict.begin();
    return key.IsString() && key.String() == kUidKey && value.IsInteger();
}

// ---- encoding ----

class Encoder {
public:
    explicit Encoder(std::string* outError) : mError(outError) {}

    PlistPtr EncodeDict(const TGenDict& dict, int depth, const std::string& path)
    {
        if (depth > kZKKeyedArchiveMaxDepth)
            return Fail(path, "containers nested deeper than " + std::to_string(kZKKeyedArchiveMaxDepth));
        if (LooksLikeUidReference(dict))
            return Fail(path, "a dictionary with the single integer key \"CF$UID\" would read as an object reference");
        PlistPtr node(plist_new_dict());
        for (const auto& [key, value] : dict) {
            const std::string plistKey = ZKKeyedArchiveEscapeKey(key);
            const std::string childPath = path + "/" + key.ToString();
            if (!IsValidText(plistKey))
                return Fail(childPath, "key is not valid UTF-8 text without NUL characters");
            PlistPtr child = EncodeValue(value, depth, childPath);
            if (!child)
                return nullptr;
            plist_dict_set_item(node.get(), plistKey.c_str(), child.release());
        }
        return node;
    }

private:
    PlistPtr EncodeValue(const TGenDictValue& value, int depth, const std::string& path)
    {
        switch (value.GetKind()) {
        case TGenDictValue::Kind::Integer:
            return PlistPtr(plist_new_uint(static_cast<uint64_t>(value.AsInteger())));
        case TGenDictValue::Kind::Real: return PlistPtr(plist_new_real(value.AsDouble()));
        case TGenDictValue::Kind::Bool: return PlistPtr(plist_new_bool(value.AsBool() ? 1 : 0));
        case TGenDictValue::Kind::String: {
            static const std::string kNone;
            const std::string& s = value.AsString(kNone);
            if (!IsValidText(s))
                return Fail(path, "string is not valid UTF-8 text without NUL characters");
            return PlistPtr(plist_new_string(s.c_str()));
        }
        case TGenDictValue::Kind::Data: {
            const TGenData& d = *value.AsData();
            return PlistPtr(plist_new_data(reinterpret_cast<const char*>(d.data()), d.size()));
        }
        case TGenDictValue::Kind::Date: return EncodeDate(value.AsDate()->mSecondsSinceReferenceDate, path);
        case TGenDictValue::Kind::Array: {
            if (depth + 1 > kZKKeyedArchiveMaxDepth)
                return Fail(path, "containers nested deeper than " + std::to_string(kZKKeyedArchiveMaxDepth));
            PlistPtr node(plist_new_array());
            const TGenArray& a = *value.AsArray();
            for (size_t i = 0; i < a.size(); ++i) {
                PlistPtr child = EncodeValue(a[i], depth + 1, path + "[" + std::to_string(i) + "]");
                if (!child)
                    return nullptr;
                plist_array_append_item(node.get(), child.release());
            }
            return node;
        }
        case TGenDictValue::Kind::Dict: return EncodeDict(*value.AsDict(), depth + 1, path);
        }
        return Fail(path, "unknown value kind");
    }

    PlistPtr EncodeDate(double seconds, const std::string& path)
    {
        // Whole seconds rounded down and a non-negative fraction, so that dates
        // before the reference date keep their value.
        if (!std::isfinite(seconds))
            return Fail(path, "date is not a finite number of seconds");
        double whole = std::floor(seconds);
        long micro = std::lround((seconds - whole) * 1e6);
        if (micro >= 1000000) {
            whole += 1;
            micro -= 1000000;
        }
        if (whole < std::numeric_limits<int32_t>::min() || whole > std::numeric_limits<int32_t>::max())
            return Fail(path, "date lies more than 2^31 seconds away from 2001-01-01");
        return PlistPtr(plist_new_date(static_cast<int32_t>(whole), static_cast<int32_t>(micro)));
    }

    PlistPtr Fail(const std::string& path, const std::string& why)
    {
        SetError(mError, "keyed archive: cannot encode " + (path.empty() ? std::string("/") : path) + ": " + why);
        return nullptr;
    }

    std::string* mError;
};

// ---- decoding ----

class Decoder {
public:
    explicit Decoder(std::string* outError) : mError(outError) {}

    std::optional<TGenDict> DecodeDict(void* node, const std::string& path)
    {
        TGenDict dict;
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(node, &it);
        if (!it)
            return Fail(path, "cannot iterate dictionary");
        bool ok = true;
        for (;;) {
            char* rawKey = nullptr;
            plist_t child = nullptr;
            plist_dict_next_item(node, it, &rawKey, &child);
            if (!child) {
                std::free(rawKey);
                break;
            }
            const std::string plistKey = rawKey ? rawKey : "";
            std::free(rawKey);
            const std::string childPath = path + "/" + plistKey;
            if (!IsValidText(plistKey)) {
                Fail(childPath, "key is not valid UTF-8 text");
                ok = false;
                break;
            }
            const auto key = ZKKeyedArchiveUnescapeKey(plistKey);
            if (!key) {
                Fail(childPath, "key " + Quoted(plistKey) + " begins with '#' but is no integer key");
                ok = false;
                break;
            }
            if (dict.HasKey(*key)) {
                Fail(childPath, "duplicate key " + Quoted(plistKey));
                ok = false;
                break;
            }
            auto value = DecodeValue(child, childPath);
            if (!value) {
                ok = false;
                break;
            }
            dict.SetValueForKey(std::move(*value), *key);
        }
        std::free(it);
        if (!ok)
            return std::nullopt;
        if (LooksLikeUidReference(dict)) {
            Fail(path, "object reference (CF$UID) is not an allowed class");
            return std::nullopt;
        }
        return dict;
    }

private:
    std::optional<TGenDictValue> DecodeValue(void* node, const std::string& path)
    {
        switch (plist_get_node_type(node)) {
        case PLIST_DICT: {
            auto d = DecodeDict(node, path);
            if (!d)
                return std::nullopt;
            return TGenDictValue(std::move(*d));
        }
        case PLIST_ARRAY: {
            TGenArray a;
            const uint32_t n = plist_array_get_size(node);
            a.reserve(n);
            for (uint32_t i = 0; i < n; ++i) {
                auto v = DecodeValue(plist_array_get_item(node, i), path + "[" + std::to_string(i) + "]");
                if (!v)
                    return std::nullopt;
                a.push_back(std::move(*v));
            }
            return TGenDictValue(std::move(a));
        }
        case PLIST_STRING: {
            uint64_t len = 0;
            const char* s = plist_get_string_ptr(node, &len);
            if (!s)
                return Fail(path, "unreadable string");
            if (!IsValidUtf8(s, len))
                return Fail(path, "string is not valid UTF-8 text without NUL characters");
            return TGenDictValue(std::string(s, len));
        }
        case PLIST_UINT: {
            uint64_t u = 0;
            plist_get_uint_val(node, &u);
            return TGenDictValue(static_cast<int64_t>(u));
        }
        case PLIST_REAL: {
            double d = 0;
            plist_get_real_val(node, &d);
            return TGenDictValue(d);
        }
        case PLIST_BOOLEAN: {
            uint8_t b = 0;
            plist_get_bool_val(node, &b);
            return TGenDictValue(b != 0);
        }
        case PLIST_DATA: {
            uint64_t len = 0;
            const char* p = plist_get_data_ptr(node, &len);
            const auto* bytes = reinterpret_cast<const uint8_t*>(p);
            return TGenDictValue(p ? TGenData(bytes, bytes + len) : TGenData {});
        }
        case PLIST_DATE: {
            int32_t sec = 0, usec = 0;
            plist_get_date_val(node, &sec, &usec);
            // The reader splits a negative time into a truncated second and the
            // magnitude of the fraction.
            const double fraction = std::fabs(static_cast<double>(usec)) / 1e6;
            return TGenDictValue(TGenDate {sec < 0 ? sec - fraction : sec + fraction});
        }
        case PLIST_UID: return Fail(path, "uid objects are not an allowed class");
        case PLIST_KEY: return Fail(path, "stray key object");
        default: return Fail(path, "unsupported property-list class");
        }
    }

    std::nullopt_t Fail(const std::string& path, const std::string& why)
    {
        SetError(mError, "keyed archive: cannot decode " + (path.empty() ? std::string("/") : path) + ": " + why);
        return std::nullopt;
    }

    std::string* mError;
};

bool StartsWithMagic(const uint8_t* bytes, size_t length)
{
    const size_t n = std::strlen(kZKKeyedArchiveBinaryMagic);
    return bytes && length >= n && std::memcmp(bytes, kZKKeyedArchiveBinaryMagic, n) == 0;
}

// Canonical decimal: what std::to_string writes for an int64.
std::optional<int64_t> ParseCanonicalInteger(std::string_view s)
{
    if (s.empty() || s == "-0")
        return std::nullopt;
    const size_t digits = s[0] == '-' ? 1 : 0;
    if (s.size() == digits || (s[digits] == '0' && s.size() > digits + 1))
        return std::nullopt;
    int64_t v = 0;
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (ec != std::errc() || end != s.data() + s.size())
        return std::nullopt;
    return v;
}

} // namespace
} // namespace zkgen

using namespace zkgen;

std::string ZKKeyedArchiveEscapeKey(const TGenDictKey& key)
{
    // Appending rather than "#" + text: GCC 12 warns falsely about the latter.
    std::string out;
    const std::string text = key.IsInteger() ? std::to_string(key.Integer()) : key.String();
    if (key.IsInteger() || (!text.empty() && text[0] == '#'))
        out.push_back('#');
    out.append(text);
    return out;
}

std::optional<TGenDictKey> ZKKeyedArchiveUnescapeKey(const std::string& plistKey)
{
    if (plistKey.empty() || plistKey[0] != '#')
        return TGenDictKey(plistKey);
    if (plistKey.size() > 1 && plistKey[1] == '#')
        return TGenDictKey(plistKey.substr(1));
    if (auto v = ParseCanonicalInteger(std::string_view(plistKey).substr(1)))
        return TGenDictKey(*v);
    return std::nullopt;
}

ZKKeyedArchiveFormat ZKKeyedArchiveDetectFormat(const uint8_t* bytes, size_t length)
{
    return StartsWithMagic(bytes, length) ? ZKKeyedArchiveFormat_Binary : ZKKeyedArchiveFormat_XML;
}

std::optional<TGenData> ZKKeyedArchiveEncode(const TGenDict& dict, ZKKeyedArchiveFormat format, std::string* outError)
{
    if (format != ZKKeyedArchiveFormat_XML && format != ZKKeyedArchiveFormat_Binary) {
        SetError(outError, "keyed archive: unknown format " + std::to_string(static_cast<int>(format)));
        return std::nullopt;
    }
    Encoder encoder(outError);
    PlistPtr root = encoder.EncodeDict(dict, 1, "");
    if (!root)
        return std::nullopt;

    char* out = nullptr; // the writers refuse to run unless this starts out null
    uint32_t length = 0;
    if (format == ZKKeyedArchiveFormat_XML)
        plist_to_xml(root.get(), &out, &length);
    else
        plist_to_bin(root.get(), &out, &length);
    if (!out) {
        SetError(outError, "keyed archive: the property-list writer failed");
        return std::nullopt;
    }
    TGenData bytes(reinterpret_cast<const uint8_t*>(out), reinterpret_cast<const uint8_t*>(out) + length);
    if (format == ZKKeyedArchiveFormat_XML)
        plist_to_xml_free(out);
    else
        plist_to_bin_free(out);
    return bytes;
}

std::optional<TGenDict> ZKKeyedArchiveDecode(
    const uint8_t* bytes, size_t length, std::string* outError, ZKKeyedArchiveFormat* outFormat)
{
    const ZKKeyedArchiveFormat format = ZKKeyedArchiveDetectFormat(bytes, length);
    if (outFormat)
        *outFormat = format;
    if (!bytes || length == 0) {
        SetError(outError, "keyed archive: no bytes");
        return std::nullopt;
    }
    if (length > std::numeric_limits<uint32_t>::max()) {
        SetError(outError, "keyed archive: " + std::to_string(length) + " bytes are more than a property list may hold");
        return std::nullopt;
    }
    const auto* chars = reinterpret_cast<const char*>(bytes);
    const auto n = static_cast<uint32_t>(length);

    std::string limitError;
    plist_t raw = nullptr;
    if (format == ZKKeyedArchiveFormat_Binary) {
        // The binary reader recurses without a limit and expands shared
        // objects; check the object table before handing it the bytes.
        if (!CheckBinaryPlistLimits(bytes, length, kZKKeyedArchiveMaxDepth, &limitError)) {
            SetError(outError, "keyed archive: damaged binary property list: " + limitError);
            return std::nullopt;
        }
        plist_from_bin(chars, n, &raw);
    } else {
        if (!CheckXmlPlistDepth(bytes, length, kZKKeyedArchiveMaxDepth, &limitError)) {
            SetError(outError, "keyed archive: " + limitError);
            return std::nullopt;
        }
        plist_from_xml(chars, n, &raw);
    }
    if (!raw) {
        SetError(outError, std::string("keyed archive: damaged ")
                + (format == ZKKeyedArchiveFormat_Binary ? "binary" : "XML") + " property list");
        return std::nullopt;
    }
    // The scan above is a text scan; the tree decides, since freeing and
    // converting recurse.
    if (format == ZKKeyedArchiveFormat_XML && !CheckPlistTreeDepth(raw, kZKKeyedArchiveMaxDepth)) {
        FreePlistTreeIteratively(raw);
        SetError(outError, "keyed archive: containers nested deeper than " + std::to_string(kZKKeyedArchiveMaxDepth));
        return std::nullopt;
    }
    PlistPtr root(raw);
    if (plist_get_node_type(root.get()) != PLIST_DICT) {
        SetError(outError, "keyed archive: the root object is not a dictionary");
        return std::nullopt;
    }
    Decoder decoder(outError);
    return decoder.DecodeDict(root.get(), "");
}

std::optional<TGenDict> ZKKeyedArchiveDecode(const TGenData& bytes, std::string* outError, ZKKeyedArchiveFormat* outFormat)
{
    return ZKKeyedArchiveDecode(bytes.data(), bytes.size(), outError, outFormat);
}

std::optional<TGenDict> ZKCodingClone(const TGenDict& dict, std::string* outError)
{
    auto bytes = ZKKeyedArchiveEncode(dict, ZKKeyedArchiveFormat_Binary, outError);
    if (!bytes)
        return std::nullopt;
    return ZKKeyedArchiveDecode(*bytes, outError);
}
