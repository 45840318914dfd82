#pragma once

#include "Generator/stylegraph/CGenGFRegex.h"
#include "Generator/stylegraph/foundation/ZKGFValue.h"

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

// Bins of strings with a lookup of the bin a string belongs to, plainly or
// by regular expressions. A string lies in one bin at most.
// Keyed archive: "stringBins", "stringToBinMap", "binNames" (may be missing in
// older states) and "stringsAreRegularExpression".
class CGenGFStringBins : public ZKGFObject {
public:
    static constexpr const char* kClassName = "CGenGFStringBins";
    // What indexOfBinForString gives when no bin holds the string.
    static constexpr int64_t kNotFound = std::numeric_limits<int64_t>::max();

    void appendBin();
    void removeLastBin();
    size_t binCount() const { return mStringBins.size(); }
    // Plainly the bin of the string; with regular expressions on, the bin of
    // the first expression (in the order of their texts) that matches.
    int64_t indexOfBinForString(const std::string& text) const;
    const std::vector<std::string>& stringsInBinAtIndex(size_t index) const;
    // Moves the string out of any other bin.
    void addStringToBinAtIndex(const std::string& text, size_t index);
    void removeString(const std::string& text);
    void removeStringsInBinAtIndex(size_t index);
    void renameStringToString(const std::string& from, const std::string& to);
    void setNameForBinAtIndex(const std::string& name, size_t index);
    std::string nameForBinAtIndex(size_t index) const;
    void setStringsAreRegularExpression(bool on);
    bool stringsAreRegularExpression() const { return mStringsAreRegularExpression; }
    // "Bin 1", "Bin 2", ...
    static std::vector<std::string> createDefaultBinNamesForNumberOfBins(size_t count);

    std::string CodingClassName() const override { return kClassName; }
    void EncodeWithCoder(TGenDict& coder) const override;
    static std::unique_ptr<ZKCoding> DecodeWithCoder(const TGenDict& coder, const ZKCodingClassRegistry&, std::string* outError);
    std::shared_ptr<ZKGFObject> CopyObject() const override { return std::make_shared<CGenGFStringBins>(*this); }
    std::string Description() const override;

private:
    void _updateExpressions();

    std::vector<std::vector<std::string>> mStringBins;
    std::map<std::string, int64_t> mStringToBinMap;
    std::vector<std::string> mBinNames;
    bool mStringsAreRegularExpression = false;
    // Derived: the valid expressions by their text.
    std::map<std::string, std::shared_ptr<CGenGFRegex>> mExpressions;
};
