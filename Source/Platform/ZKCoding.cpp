#include "Platform/ZKCoding.h"

#include <exception>
#include <string_view>

namespace {

constexpr std::string_view kPrefix = "keyed archive: ";

void SetError(std::string* outError, std::string message)
{
    if (outError)
        *outError = std::move(message);
}

} // namespace

void ZKCodingClassRegistry::RegisterClass(const std::string& className, TFactory factory)
{
    mFactories[className] = std::move(factory);
}

std::unique_ptr<ZKCoding> ZKCodingClassRegistry::DecodeObject(const TGenDict& coder, std::string* outError) const
{
    const TGenDictValue* name = coder.ValueForKey(kZKCodingClassKey);
    if (!name || !name->IsString()) {
        SetError(outError, "keyed archive: object without a class name");
        return nullptr;
    }
    const std::string className = name->AsString(std::string());
    const auto it = mFactories.find(className);
    if (it == mFactories.end() || !it->second) {
        SetError(outError, "keyed archive: class \"" + className + "\" is not allowed here");
        return nullptr;
    }
    std::string error;
    std::unique_ptr<ZKCoding> object;
    try {
        object = it->second(coder, *this, &error);
    } catch (const std::exception& e) {
        error = e.what();
        object.reset();
    } catch (...) {
        error = "unknown exception";
        object.reset();
    }
    if (!object) {
        // A nested failure already names its cause; pass it up unchanged.
        if (error.starts_with(kPrefix))
            SetError(outError, error);
        else
            SetError(outError, std::string(kPrefix) + "cannot decode an object of class \"" + className + "\""
                    + (error.empty() ? std::string() : ": " + error));
        return nullptr;
    }
    return object;
}

TGenDict ZKCodingEncodeObject(const ZKCoding& object)
{
    TGenDict coder;
    object.EncodeWithCoder(coder);
    coder.SetValueForKey(object.CodingClassName(), kZKCodingClassKey);
    return coder;
}

std::optional<TGenData> ZKKeyedArchiveEncodeObject(const ZKCoding& root, ZKKeyedArchiveFormat format, std::string* outError)
{
    return ZKKeyedArchiveEncode(ZKCodingEncodeObject(root), format, outError);
}

std::unique_ptr<ZKCoding> ZKKeyedArchiveDecodeObject(
    const TGenData& bytes, const ZKCodingClassRegistry& registry, std::string* outError)
{
    const auto dict = ZKKeyedArchiveDecode(bytes, outError);
    if (!dict)
        return nullptr;
    return registry.DecodeObject(*dict, outError);
}

std::unique_ptr<ZKCoding> ZKCodingCloneObject(const ZKCoding& object, const ZKCodingClassRegistry& registry, std::string* outError)
{
    const auto bytes = ZKKeyedArchiveEncodeObject(object, ZKKeyedArchiveFormat_Binary, outError);
    if (!bytes)
        return nullptr;
    return ZKKeyedArchiveDecodeObject(*bytes, registry, outError);
}
