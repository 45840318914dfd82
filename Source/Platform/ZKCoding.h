#pragma once

#include "Platform/TGenDict.h"
#include "Platform/ZKKeyedArchive.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

// Object graphs on top of the keyed archive. An archivable object writes its
// state into a TGenDict; the encoder adds the object's class name under
// kZKCodingClassKey, and nested objects are nested dictionaries of the same
// shape, so a whole graph is one TGenDict and travels through the archive
// like any other. References between objects that are not a tree (a
// connection naming two nodes) are the objects' own business: they store
// keys or indices, not pointers.
//
// Decoding creates only classes that the caller's registry allows; an
// unknown or missing class name makes the whole decode fail with a message.

// Reserved key of an encoded object: its class name.
inline constexpr const char* kZKCodingClassKey = "$class";

class ZKCoding {
public:
    virtual ~ZKCoding() = default;
    // The name decoding looks up in a ZKCodingClassRegistry.
    virtual std::string CodingClassName() const = 0;
    // Writes the object's state; nested objects go in as ZKCodingEncodeObject(child).
    virtual void EncodeWithCoder(TGenDict& coder) const = 0;
};

// The classes a decode may create. A factory rebuilds an object from its
// dictionary and may decode nested objects through `registry`; it reports a
// failure by returning null (with a message in `outError`). A factory that
// throws counts as a failure too.
class ZKCodingClassRegistry {
public:
    using TFactory = std::function<std::unique_ptr<ZKCoding>(
        const TGenDict& coder, const ZKCodingClassRegistry& registry, std::string* outError)>;

    void RegisterClass(const std::string& className, TFactory factory);
    bool IsClassAllowed(const std::string& className) const { return mFactories.count(className) != 0; }

    std::unique_ptr<ZKCoding> DecodeObject(const TGenDict& coder, std::string* outError = nullptr) const;

    // DecodeObject, and a failure unless the object is a T.
    template <class T>
    std::unique_ptr<T> DecodeObjectOfClass(const TGenDict& coder, std::string* outError = nullptr) const
    {
        std::unique_ptr<ZKCoding> object = DecodeObject(coder, outError);
        if (!object)
            return nullptr;
        if (auto* typed = dynamic_cast<T*>(object.get())) {
            object.release();
            return std::unique_ptr<T>(typed);
        }
        if (outError)
            *outError = "keyed archive: object of class \"" + object->CodingClassName() + "\" is not of the expected class";
        return nullptr;
    }

private:
    std::map<std::string, TFactory> mFactories;
};

// The dictionary of `object`: its state plus its class name.
TGenDict ZKCodingEncodeObject(const ZKCoding& object);

// An object graph as archive bytes and back.
std::optional<TGenData> ZKKeyedArchiveEncodeObject(
    const ZKCoding& root, ZKKeyedArchiveFormat format, std::string* outError = nullptr);
std::unique_ptr<ZKCoding> ZKKeyedArchiveDecodeObject(
    const TGenData& bytes, const ZKCodingClassRegistry& registry, std::string* outError = nullptr);

// A deep copy of an object graph through the binary archive.
std::unique_ptr<ZKCoding> ZKCodingCloneObject(
    const ZKCoding& object, const ZKCodingClassRegistry& registry, std::string* outError = nullptr);
