// The keyed archive: property-list bytes, XML or binary, decoded into a
// dictionary. What decodes must encode in both forms and decode again: the
// XML form to bytes that stay the same from the second trip on (its dates
// keep whole seconds), the binary form to the same dictionary, dates within
// the microsecond the property-list library may lose on each trip.

#include "FuzzSupport.h"

#include "Platform/ZKKeyedArchive.h"

#include <cmath>
#include <sstream>

namespace {

bool Near(const TGenDict& a, const TGenDict& b);

bool Near(const TGenDictValue& a, const TGenDictValue& b)
{
    if (a.GetKind() != b.GetKind())
        return false;
    switch (a.GetKind()) {
    case TGenDictValue::Kind::Real: {
        // NaN is no value equal to itself; it must come back as NaN.
        const double x = a.AsDouble();
        const double y = b.AsDouble();
        return x == y || (std::isnan(x) && std::isnan(y));
    }
    case TGenDictValue::Kind::Date:
        return std::fabs(a.AsDate()->mSecondsSinceReferenceDate - b.AsDate()->mSecondsSinceReferenceDate) <= 1.5e-6;
    case TGenDictValue::Kind::Array: {
        const TGenArray& x = *a.AsArray();
        const TGenArray& y = *b.AsArray();
        if (x.size() != y.size())
            return false;
        for (size_t i = 0; i < x.size(); ++i)
            if (!Near(x[i], y[i]))
                return false;
        return true;
    }
    case TGenDictValue::Kind::Dict: return Near(*a.AsDict(), *b.AsDict());
    default: return a == b;
    }
}

bool Near(const TGenDict& a, const TGenDict& b)
{
    if (a.size() != b.size())
        return false;
    for (auto x = a.begin(), y = b.begin(); x != a.end(); ++x, ++y)
        if (!(x->first == y->first) || !Near(x->second, y->second))
            return false;
    return true;
}

std::optional<TGenDict> Trip(const TGenDict& dict, ZKKeyedArchiveFormat format)
{
    std::string error;
    const std::optional<TGenData> bytes = ZKKeyedArchiveEncode(dict, format, &error);
    if (!bytes)
        return std::nullopt;
    ZKKeyedArchiveFormat detected = format;
    std::optional<TGenDict> back = ZKKeyedArchiveDecode(*bytes, &error, &detected);
    if (!back)
        zkfuzz::Fail("an encoded keyed archive doesn't decode");
    if (detected != format)
        zkfuzz::Fail("an encoded keyed archive is taken for the other format");
    return back;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    std::string error;
    const std::optional<TGenDict> dict = ZKKeyedArchiveDecode(data, size, &error);
    if (!dict)
        return 0;
    std::ostringstream trace;
    TGenDictValue(*dict).TraceStream(trace, 0);

    // Values no archive can hold (a string that isn't UTF-8, say) are refused
    // by the encoder; that is no failure.
    if (const std::optional<TGenDict> once = Trip(*dict, ZKKeyedArchiveFormat_XML)) {
        const std::optional<TGenData> bytes = ZKKeyedArchiveEncode(*once, ZKKeyedArchiveFormat_XML);
        const std::optional<TGenDict> twice = Trip(*once, ZKKeyedArchiveFormat_XML);
        if (!bytes || !twice || ZKKeyedArchiveEncode(*twice, ZKKeyedArchiveFormat_XML) != bytes)
            zkfuzz::Fail("a keyed archive's XML changes on a second round trip");
    }
    if (const std::optional<TGenDict> back = Trip(*dict, ZKKeyedArchiveFormat_Binary))
        if (!Near(*back, *dict))
            zkfuzz::Fail("a keyed archive's binary form reads back as another dictionary");
    return 0;
}
