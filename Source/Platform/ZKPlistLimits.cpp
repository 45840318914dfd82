#include "Platform/ZKPlistLimits.h"

#include <plist/plist.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

namespace zkgen {
namespace {

constexpr size_t kTrailerSize = 32;
constexpr size_t kHeaderSize = 8;

uint64_t ReadBigEndian(const uint8_t* p, size_t n)
{
    uint64_t v = 0;
    for (size_t i = 0; i < n; ++i)
        v = (v << 8) | p[i];
    return v;
}

bool Fail(std::string* outError, std::string message)
{
    if (outError)
        *outError = std::move(message);
    return false;
}

// One object of the binary object table, as far as the limits care.
struct ObjectInfo {
    bool container = false;
    bool isString = false;
    uint64_t refCount = 0; // references that follow at refsPos (keys and values for a dict)
    size_t refsPos = 0;
};

class BinaryChecker {
public:
    BinaryChecker(const uint8_t* bytes, size_t length, std::string* outError)
        : mBytes(bytes), mLength(length), mError(outError)
    {
    }

    bool Run(int maxDepth)
    {
        if (!ReadTrailer())
            return false;
        // A writer stores each container once; only shared scalars make the
        // expanded tree bigger than the reference count, which the input
        // length bounds.
        mMaxNodes = 4 * static_cast<uint64_t>(mLength) + 1024;
        return Walk(maxDepth);
    }

private:
    bool ReadTrailer()
    {
        if (mLength < kHeaderSize + 1 + kTrailerSize)
            return Fail(mError, "too short for a binary property list");
        const uint8_t* t = mBytes + mLength - kTrailerSize;
        mOffsetSize = t[6];
        mRefSize = t[7];
        const uint64_t numObjects = ReadBigEndian(t + 8, 8);
        mTop = ReadBigEndian(t + 16, 8);
        mTableOffset = ReadBigEndian(t + 24, 8);
        if (mOffsetSize < 1 || mOffsetSize > 8 || mRefSize < 1 || mRefSize > 8)
            return Fail(mError, "bad offset or reference size in the trailer");
        const uint64_t tableEnd = mLength - kTrailerSize;
        if (mTableOffset <= kHeaderSize || mTableOffset > tableEnd)
            return Fail(mError, "offset table outside the file");
        if (numObjects == 0 || numObjects > (tableEnd - mTableOffset) / mOffsetSize)
            return Fail(mError, "object count does not fit the offset table");
        if (mTop >= numObjects)
            return Fail(mError, "top object out of range");
        mOffsets.resize(numObjects);
        for (uint64_t i = 0; i < numObjects; ++i) {
            mOffsets[i] = ReadBigEndian(mBytes + mTableOffset + i * mOffsetSize, mOffsetSize);
            if (mOffsets[i] < kHeaderSize || mOffsets[i] >= mTableOffset)
                return Fail(mError, "object offset outside the object area");
        }
        return true;
    }

    // Reads the length of a variable-size object: the low nibble, or an
    // integer object that follows when the nibble is 0xF.
    bool ReadCount(size_t& pos, uint8_t nibble, uint64_t& count)
    {
        if (nibble != 0xF) {
            count = nibble;
            return true;
        }
        if (pos >= mTableOffset)
            return Fail(mError, "truncated object length");
        const uint8_t marker = mBytes[pos++];
        if ((marker >> 4) != 0x1 || (marker & 0xF) > 3)
            return Fail(mError, "bad object length");
        const size_t n = size_t(1) << (marker & 0xF);
        if (n > mTableOffset - pos)
            return Fail(mError, "truncated object length");
        count = ReadBigEndian(mBytes + pos, n);
        pos += n;
        return true;
    }

    bool NeedBytes(size_t pos, uint64_t count, uint64_t unit)
    {
        if (pos > mTableOffset || count > (mTableOffset - pos) / unit)
            return Fail(mError, "object runs past the object area");
        return true;
    }

    bool HasNul(size_t pos, uint64_t count, size_t unit) const
    {
        for (uint64_t i = 0; i < count; ++i) {
            const uint8_t* c = mBytes + pos + i * unit;
            if (c[0] == 0 && (unit == 1 || c[1] == 0))
                return true;
        }
        return false;
    }

    bool Examine(uint64_t index, ObjectInfo& info)
    {
        size_t pos = static_cast<size_t>(mOffsets[index]);
        const uint8_t marker = mBytes[pos++];
        const uint8_t type = marker >> 4;
        const uint8_t nibble = marker & 0xF;
        uint64_t count = 0;
        switch (type) {
        case 0x0:
            if (nibble == 0x8 || nibble == 0x9)
                return true;
            return Fail(mError, nibble == 0 ? "null objects are not an allowed class" : "unknown simple object");
        case 0x1:
            if (nibble > 4)
                return Fail(mError, "integer wider than 128 bits");
            return NeedBytes(pos, uint64_t(1) << nibble, 1);
        case 0x2:
            if (nibble != 2 && nibble != 3)
                return Fail(mError, "bad real width");
            return NeedBytes(pos, uint64_t(1) << nibble, 1);
        case 0x3:
            if (nibble != 3)
                return Fail(mError, "bad date width");
            return NeedBytes(pos, 8, 1);
        case 0x4:
        case 0x5:
        case 0x6:
            if (!ReadCount(pos, nibble, count))
                return false;
            info.isString = type != 0x4;
            if (!NeedBytes(pos, count, type == 0x6 ? 2 : 1))
                return false;
            // The reader asserts on keys with a NUL inside, and no string of ours has one.
            if (info.isString && HasNul(pos, count, type == 0x6 ? 2 : 1))
                return Fail(mError, "string with a NUL character");
            return true;
        case 0x8: return Fail(mError, "uid objects are not an allowed class");
        case 0xA:
        case 0xD:
            if (!ReadCount(pos, nibble, count))
                return false;
            if (type == 0xD && count > UINT64_MAX / 2)
                return Fail(mError, "object runs past the object area");
            info.container = true;
            info.refCount = type == 0xD ? 2 * count : count;
            info.refsPos = pos;
            return NeedBytes(pos, info.refCount, mRefSize);
        case 0xB:
        case 0xC: return Fail(mError, "sets are not an allowed class");
        default: return Fail(mError, "unknown object type");
        }
    }

    // Depth-first over the reference graph with memoised depth and expanded
    // size per object, so that shared objects are visited once.
    bool Walk(int maxDepth)
    {
        enum : uint8_t { kUnseen, kOpen, kDone };
        const size_t n = mOffsets.size();
        std::vector<uint8_t> state(n, kUnseen);
        std::vector<int> depth(n, 0);
        std::vector<uint64_t> size(n, 0);

        struct Frame {
            uint64_t index;
            ObjectInfo info;
            uint64_t next = 0;
            int childDepth = 0;
            uint64_t childSize = 0;
            bool dict = false;
        };
        std::vector<Frame> stack;

        auto saturatingAdd = [this](uint64_t a, uint64_t b) { return std::min(mMaxNodes + 1, a + std::min(b, mMaxNodes + 1)); };

        ObjectInfo rootInfo;
        if (!Examine(mTop, rootInfo))
            return false;
        if (!rootInfo.container) {
            // Not our concern here; the caller refuses a non-dictionary root.
            return true;
        }
        state[mTop] = kOpen;
        stack.push_back({mTop, rootInfo, 0, 0, 0, (mBytes[mOffsets[mTop]] >> 4) == 0xD});

        while (!stack.empty()) {
            Frame& f = stack.back();
            if (f.next < f.info.refCount) {
                const uint64_t slot = f.next++;
                const uint64_t ref = ReadBigEndian(mBytes + f.info.refsPos + slot * mRefSize, mRefSize);
                if (ref >= n)
                    return Fail(mError, "object reference out of range");
                const bool isKey = f.dict && slot < f.info.refCount / 2;
                if (state[ref] == kOpen)
                    return Fail(mError, "object reference cycle");
                if (state[ref] == kUnseen) {
                    ObjectInfo info;
                    if (!Examine(ref, info))
                        return false;
                    if (isKey && !info.isString)
                        return Fail(mError, "dictionary key is not a string");
                    if (info.container) {
                        if (static_cast<int>(stack.size()) >= maxDepth)
                            return Fail(mError, "containers nested deeper than " + std::to_string(maxDepth));
                        state[ref] = kOpen;
                        const bool dict = (mBytes[mOffsets[ref]] >> 4) == 0xD;
                        stack.push_back({ref, info, 0, 0, 0, dict});
                        continue;
                    }
                    state[ref] = kDone;
                    size[ref] = 1;
                } else if (isKey && !IsString(ref)) {
                    return Fail(mError, "dictionary key is not a string");
                }
                f.childDepth = std::max(f.childDepth, depth[ref]);
                f.childSize = saturatingAdd(f.childSize, size[ref]);
                if (f.childSize > mMaxNodes)
                    return Fail(mError, "shared objects expand beyond a sensible size");
                continue;
            }
            const uint64_t done = f.index;
            depth[done] = f.childDepth + 1;
            size[done] = saturatingAdd(f.childSize, 1);
            state[done] = kDone;
            stack.pop_back();
            if (depth[done] > maxDepth)
                return Fail(mError, "containers nested deeper than " + std::to_string(maxDepth));
            if (!stack.empty()) {
                Frame& parent = stack.back();
                parent.childDepth = std::max(parent.childDepth, depth[done]);
                parent.childSize = saturatingAdd(parent.childSize, size[done]);
                if (parent.childSize > mMaxNodes)
                    return Fail(mError, "shared objects expand beyond a sensible size");
            }
        }
        return true;
    }

    bool IsString(uint64_t index) const
    {
        const uint8_t type = mBytes[mOffsets[index]] >> 4;
        return type == 0x5 || type == 0x6;
    }

    const uint8_t* mBytes;
    size_t mLength;
    std::string* mError;
    size_t mOffsetSize = 0;
    size_t mRefSize = 0;
    uint64_t mTop = 0;
    uint64_t mTableOffset = 0;
    uint64_t mMaxNodes = 0;
    std::vector<uint64_t> mOffsets;
};

bool IsContainer(plist_t node)
{
    const plist_type t = plist_get_node_type(node);
    return t == PLIST_ARRAY || t == PLIST_DICT;
}

} // namespace

bool CheckBinaryPlistLimits(const uint8_t* bytes, size_t length, int maxDepth, std::string* outError)
{
    if (!bytes)
        return Fail(outError, "no bytes");
    BinaryChecker checker(bytes, length, outError);
    return checker.Run(maxDepth);
}

bool CheckXmlPlistDepth(const uint8_t* bytes, size_t length, int maxDepth, std::string* outError)
{
    const std::string_view text(reinterpret_cast<const char*>(bytes), bytes ? length : 0);
    // The reader cuts text at a NUL without saying so.
    if (text.find('\0') != std::string_view::npos)
        return Fail(outError, "NUL character in XML text");
    auto skipPast = [&text](size_t from, std::string_view end) {
        const size_t p = text.find(end, from);
        return p == std::string_view::npos ? text.size() : p + end.size();
    };
    int depth = 0;
    size_t i = 0;
    while (i < text.size()) {
        i = text.find('<', i);
        if (i == std::string_view::npos)
            break;
        const std::string_view rest = text.substr(i);
        if (rest.starts_with("<!--")) {
            i = skipPast(i + 4, "-->");
            continue;
        }
        if (rest.starts_with("<![CDATA[")) {
            i = skipPast(i + 9, "]]>");
            continue;
        }
        if (rest.starts_with("<?")) {
            i = skipPast(i + 2, "?>");
            continue;
        }
        const bool closing = rest.size() > 1 && rest[1] == '/';
        size_t nameEnd = i + 1 + (closing ? 1 : 0);
        const size_t nameBegin = nameEnd;
        while (nameEnd < text.size() && (std::isalnum(static_cast<unsigned char>(text[nameEnd])) || text[nameEnd] == '!'))
            ++nameEnd;
        const std::string_view name = text.substr(nameBegin, nameEnd - nameBegin);
        // The end of the tag, stepping over quoted attribute values.
        size_t end = nameEnd;
        char quote = 0;
        for (; end < text.size(); ++end) {
            const char c = text[end];
            if (quote) {
                if (c == quote)
                    quote = 0;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '>') {
                break;
            }
        }
        const bool selfClosing = end < text.size() && end > nameEnd && text[end - 1] == '/';
        if (name == "dict" || name == "array") {
            if (closing) {
                depth = std::max(0, depth - 1);
            } else if (!selfClosing && ++depth > maxDepth) {
                return Fail(outError, "containers nested deeper than " + std::to_string(maxDepth));
            }
        }
        i = end + 1;
    }
    return true;
}

bool CheckPlistTreeDepth(void* root, int maxDepth)
{
    if (!root || !IsContainer(root))
        return true;
    struct Frame {
        plist_t node;
        plist_dict_iter dictIter = nullptr;
        uint32_t arrayIndex = 0;
    };
    std::vector<Frame> stack;
    auto push = [&stack](plist_t node) {
        Frame f {node};
        if (plist_get_node_type(node) == PLIST_DICT)
            plist_dict_new_iter(node, &f.dictIter);
        stack.push_back(f);
    };
    auto pop = [&stack]() {
        std::free(stack.back().dictIter);
        stack.pop_back();
    };
    bool ok = true;
    push(root);
    while (!stack.empty()) {
        Frame& f = stack.back();
        plist_t child = nullptr;
        if (f.dictIter) {
            char* key = nullptr;
            plist_dict_next_item(f.node, f.dictIter, &key, &child);
            std::free(key);
        } else if (plist_get_node_type(f.node) == PLIST_ARRAY && f.arrayIndex < plist_array_get_size(f.node)) {
            child = plist_array_get_item(f.node, f.arrayIndex++);
        }
        if (!child) {
            pop();
            continue;
        }
        if (IsContainer(child)) {
            if (static_cast<int>(stack.size()) >= maxDepth) {
                ok = false;
                break;
            }
            push(child);
        }
    }
    while (!stack.empty())
        pop();
    return ok;
}

void FreePlistTreeIteratively(void* root)
{
    if (!root)
        return;
    // Empties containers from the bottom up, so that every plist_free call
    // meets a node without nested children.
    auto hasChildren = [](plist_t node) {
        const plist_type t = plist_get_node_type(node);
        return (t == PLIST_ARRAY && plist_array_get_size(node) > 0) || (t == PLIST_DICT && plist_dict_get_size(node) > 0);
    };
    std::vector<plist_t> stack {root};
    while (!stack.empty()) {
        plist_t node = stack.back();
        if (!hasChildren(node)) {
            stack.pop_back();
            continue;
        }
        if (plist_get_node_type(node) == PLIST_ARRAY) {
            const uint32_t last = plist_array_get_size(node) - 1;
            plist_t child = plist_array_get_item(node, last);
            if (hasChildren(child))
                stack.push_back(child);
            else
                plist_array_remove_item(node, last);
        } else {
            plist_dict_iter it = nullptr;
            plist_dict_new_iter(node, &it);
            char* key = nullptr;
            plist_t child = nullptr;
            if (it)
                plist_dict_next_item(node, it, &key, &child);
            std::free(it);
            if (child && hasChildren(child))
                stack.push_back(child);
            else if (key)
                plist_dict_remove_item(node, key);
            else
                stack.pop_back(); // cannot take it apart; leave it to plist_free
            std::free(key);
        }
    }
    plist_free(root);
}

} // namespace zkgen
