#include "Generator/stylegraph/CGenGFStringBins.h"

#include <algorithm>
#include <sstream>

namespace {

const std::vector<std::string> kNoStrings;

} // namespace

std::vector<std::string> CGenGFStringBins::createDefaultBinNamesForNumberOfBins(size_t count)
{
    std::vector<std::string> names;
    for (size_t i = 1; i <= count; ++i)
        names.push_back("Bin " + std::to_string(i));
    return names;
}

void CGenGFStringBins::appendBin()
{
    mStringBins.emplace_back();
    mBinNames.push_back("Bin " + std::to_string(mStringBins.size()));
}

void CGenGFStringBins::removeLastBin()
{
    if (mStringBins.empty())
        return;
    removeStringsInBinAtIndex(mStringBins.size() - 1);
    mStringBins.pop_back();
    if (mBinNames.size() > mStringBins.size())
        mBinNames.resize(mStringBins.size());
}

int64_t CGenGFStringBins::indexOfBinForString(const std::string& text) const
{
    if (!mStringsAreRegularExpression) {
        const auto it = mStringToBinMap.find(text);
        return it == mStringToBinMap.end() ? kNotFound : it->second;
    }
    for (const auto& [source, regex] : mExpressions)
        if (regex->doesMatch(text)) {
            const auto it = mStringToBinMap.find(source);
            return it == mStringToBinMap.end() ? kNotFound : it->second;
        }
    return kNotFound;
}

const std::vector<std::string>& CGenGFStringBins::stringsInBinAtIndex(size_t index) const
{
    return index < mStringBins.size() ? mStringBins[index] : kNoStrings;
}

void CGenGFStringBins::addStringToBinAtIndex(const std::string& text, size_t index)
{
    if (index >= mStringBins.size())
        return;
    removeString(text);
    mStringBins[index].push_back(text);
    mStringToBinMap[text] = static_cast<int64_t>(index);
    _updateExpressions();
}

void CGenGFStringBins::removeString(const std::string& text)
{
    const auto it = mStringToBinMap.find(text);
    if (it == mStringToBinMap.end())
        return;
    auto& bin = mStringBins[static_cast<size_t>(it->second)];
    bin.erase(std::remove(bin.begin(), bin.end(), text), bin.end());
    mStringToBinMap.erase(it);
    _updateExpressions();
}

void CGenGFStringBins::removeStringsInBinAtIndex(size_t index)
{
    if (index >= mStringBins.size())
        return;
    for (const std::string& s : mStringBins[index])
        mStringToBinMap.erase(s);
    mStringBins[index].clear();
    _updateExpressions();
}

void CGenGFStringBins::renameStringToString(const std::string& from, const std::string& to)
{
    const auto it = mStringToBinMap.find(from);
    if (it == mStringToBinMap.end() || from == to)
        return;
    const size_t index = static_cast<size_t>(it->second);
    removeString(to);
    std::replace(mStringBins[index].begin(), mStringBins[index].end(), from, to);
    mStringToBinMap.erase(from);
    mStringToBinMap[to] = static_cast<int64_t>(index);
    _updateExpressions();
}

void CGenGFStringBins::setNameForBinAtIndex(const std::string& name, size_t index)
{
    if (index < mBinNames.size())
        mBinNames[index] = name;
}

std::string CGenGFStringBins::nameForBinAtIndex(size_t index) const
{
    return index < mBinNames.size() ? mBinNames[index] : std::string();
}

void CGenGFStringBins::setStringsAreRegularExpression(bool on)
{
    mStringsAreRegularExpression = on;
    _updateExpressions();
}

void CGenGFStringBins::_updateExpressions()
{
    mExpressions.clear();
    if (!mStringsAreRegularExpression)
        return;
    for (const auto& [source, bin] : mStringToBinMap) {
        auto regex = std::make_shared<CGenGFRegex>(source);
        if (regex->isValid())
            mExpressions.emplace(source, std::move(regex));
    }
}

void CGenGFStringBins::EncodeWithCoder(TGenDict& coder) const
{
    TGenArray bins;
    for (const auto& bin : mStringBins) {
        TGenArray strings;
        for (const std::string& s : bin)
            strings.emplace_back(s);
        bins.emplace_back(std::move(strings));
    }
    TGenDict map;
    for (const auto& [s, bin] : mStringToBinMap)
        map.SetValueForKey(bin, s);
    TGenArray names;
    for (const std::string& n : mBinNames)
        names.emplace_back(n);
    coder.SetValueForKey(std::move(bins), "stringBins");
    coder.SetValueForKey(std::move(map), "stringToBinMap");
    coder.SetValueForKey(std::move(names), "binNames");
    coder.SetValueForKey(mStringsAreRegularExpression, "stringsAreRegularExpression");
}

std::unique_ptr<ZKCoding> CGenGFStringBins::DecodeWithCoder(const TGenDict& coder, const ZKCodingClassRegistry&,
    std::string* outError)
{
    auto bins = std::make_unique<CGenGFStringBins>();
    if (const TGenArray* stored = coder.ArrayForKey("stringBins")) {
        for (const TGenDictValue& bin : *stored) {
            const TGenArray* strings = bin.AsArray();
            if (!strings) {
                if (outError)
                    *outError = "a bin of \"stringBins\" is no array";
                return nullptr;
            }
            auto& out = bins->mStringBins.emplace_back();
            for (const TGenDictValue& s : *strings)
                out.push_back(s.AsString(std::string()));
        }
    }
    if (const TGenDict* map = coder.DictForKey("stringToBinMap"))
        for (const auto& [s, bin] : *map) {
            const int64_t ix = bin.AsInteger(-1);
            if (ix >= 0 && static_cast<size_t>(ix) < bins->mStringBins.size())
                bins->mStringToBinMap[s.ToString()] = ix;
        }
    if (const TGenArray* names = coder.ArrayForKey("binNames"))
        for (const TGenDictValue& n : *names)
            bins->mBinNames.push_back(n.AsString(std::string()));
    // Names keep in step with the bins: missing ones get their default name.
    const std::vector<std::string> defaults = createDefaultBinNamesForNumberOfBins(bins->mStringBins.size());
    for (size_t i = bins->mBinNames.size(); i < defaults.size(); ++i)
        bins->mBinNames.push_back(defaults[i]);
    bins->mBinNames.resize(bins->mStringBins.size());
    bins->mStringsAreRegularExpression = coder.BoolForKey("stringsAreRegularExpression");
    bins->_updateExpressions();
    return bins;
}

std::string CGenGFStringBins::Description() const
{
    std::ostringstream os;
    os << "<CGenGFStringBins" << (mStringsAreRegularExpression ? " (regular expressions)" : "");
    for (size_t i = 0; i < mStringBins.size(); ++i) {
        os << (i ? "; " : " ") << nameForBinAtIndex(i) << ":";
        for (const std::string& s : mStringBins[i])
            os << " \"" << s << "\"";
    }
    os << ">";
    return os.str();
}
