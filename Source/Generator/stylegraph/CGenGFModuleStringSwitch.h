#pragma once

#include "Generator/CGenRange.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"
#include "Generator/stylegraph/CGenGFStringBins.h"

#include <memory>
#include <optional>
#include <vector>

// What the two switches share: candidates go to one of the "index_<n>"
// outputs (counted from 1) or to outputDefault, and outputActiveIndex tells
// which (0 for the default).
class CGenGFModuleSwitch : public CGenGFModule {
public:
    using CGenGFModule::CGenGFModule;

    size_t outputCount() const;
    // Clamps to at most 128.
    virtual void setOutputCount(int64_t count);

    CGenGFPortPatternAndProbs* inputPatterns = nullptr;
    CGenGFPortIndexed* outputActiveIndex = nullptr;
    CGenGFPortPatternAndProbs* outputDefault = nullptr;

protected:
    void _bindSwitchPorts();
    // Routes the input to index port `i` (0-based) or, for none, to the default.
    bool _route(const CGenGFContext& context, std::optional<size_t> i);
};

// Routes candidates by a text: the bin of inputString (CGenGFStringBins)
// selects the output, one bin for each "index_<n>" output.
class CGenGFModuleStringSwitch : public CGenGFModuleSwitch {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleStringSwitch();

    CGenGFStringBins& stringBins() { return *mBins; }
    const CGenGFStringBins& stringBins() const { return *mBins; }
    // Appends or removes bins along with the ports.
    void setOutputCount(int64_t count) override;

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortString* inputString = nullptr;

private:
    std::shared_ptr<CGenGFStringBins> mBins = std::make_shared<CGenGFStringBins>();
};

// Routes candidates by a number: the first range that holds inputValue
// selects the output, one range for each "index_<n>" output; a range holds v
// where each bound in force holds (min <= v, v <= max).
// outputNormalizedValue is (v - min) / (max - min) of that range.
class CGenGFModuleValueSwitch : public CGenGFModuleSwitch {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleValueSwitch();

    const std::vector<CGenRange<double>>& ranges() const { return mRanges; }
    // One for each "index_<n>" output; extra ranges are dropped, missing ones
    // are [0, 1].
    void setRanges(const std::vector<CGenRange<double>>& ranges);
    void setRangeAtIndex(const CGenRange<double>& range, size_t index);
    // Adds or removes a range along with each port.
    void setOutputCount(int64_t count) override;
    // The first range that holds `value`, or none.
    std::optional<size_t> indexOfRangeForValue(double value) const;

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortNumeric* inputValue = nullptr;
    CGenGFPortNumeric* outputNormalizedValue = nullptr;

private:
    std::vector<CGenRange<double>> mRanges;
};
