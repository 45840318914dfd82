#pragma once

#include "Platform/TGenDict.h"

#include <memory>
#include <string>
#include <vector>

// A player's personality: a name, properties and (loaded on first use) the
// keyed style graphs. The graphs and the style file arrive with the style-graph
// runtime; a style holds its name and properties until then.
class CGenStyle {
public:
    CGenStyle() = default;
    explicit CGenStyle(std::string name) : mName(std::move(name)) {}

    const std::string& Name() const { return mName; }
    void SetName(const std::string& name) { mName = name; }
    TGenDict& Properties() { return mProperties; }
    const TGenDict& Properties() const { return mProperties; }

    // Loads the graphs from the style's file unless they are cached.
    bool LoadStyleGraphsIfNotCachedAlready() { return true; }

private:
    std::string mName;
    TGenDict mProperties;
};

// The styles of an instrument library.
class CGenStyles : public std::vector<CGenStyle> {
public:
    using std::vector<CGenStyle>::vector;
    bool LoadStyleGraphsIfNotCachedAlready(size_t ix)
    {
        return ix < size() && (*this)[ix].LoadStyleGraphsIfNotCachedAlready();
    }
};
