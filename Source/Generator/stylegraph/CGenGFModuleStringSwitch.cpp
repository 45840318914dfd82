#include "Generator/stylegraph/CGenGFModuleStringSwitch.h"

#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"

#include <algorithm>

namespace {

constexpr int64_t kMaxSwitchOutputs = 128;
constexpr int64_t kSwitchOutputsWhenMade = 2;

std::string IndexKey(size_t n)
{
    return "index_" + std::to_string(n);
}

std::vector<ZKGFPortSpec> SwitchPorts(ZKGFPortSpec selector, bool withNormalizedValue)
{
    std::vector<ZKGFPortSpec> ports {zkgen::InputPatternsSpec(), std::move(selector),
        {"outputActiveIndex", &CGenGFPortIndexed::Class(), 1, "Active Index",
            "The output that took the candidates, counted from 1; 0 for the default"}};
    if (withNormalizedValue)
        ports.push_back({"outputNormalizedValue", &CGenGFPortNumeric::Class(), 1, "Normalized Value",
            "Where the value lies in its range, from 0 to 1"});
    ports.push_back(zkgen::OutputPatternsSpec("outputDefault", "Default"));
    return ports;
}

ZKGFValue CountValue(const CGenGFModule& m)
{
    return ZKGFValue::Integer(static_cast<int64_t>(static_cast<const CGenGFModuleSwitch&>(m).outputCount()));
}

void SetCountValue(CGenGFModule& m, const ZKGFValue& v)
{
    static_cast<CGenGFModuleSwitch&>(m).setOutputCount(v.IntegerValue().value_or(0));
}

bool ValidateCount(const CGenGFModule&, const ZKGFValue& v, std::string& error)
{
    if (v.IsNumber())
        return true;
    error = "a number is expected";
    return false;
}

TGenDict RangeDict(const CGenRange<double>& r)
{
    return TGenDict {{"min", r.mMin}, {"max", r.mMax}, {"minEnabled", r.mMinEnabled}, {"maxEnabled", r.mMaxEnabled}};
}

} // namespace

// ----- CGenGFModuleSwitch

size_t CGenGFModuleSwitch::outputCount() const
{
    size_t n = 0;
    while (outputPortForKey(IndexKey(n + 1)))
        ++n;
    return n;
}

void CGenGFModuleSwitch::setOutputCount(int64_t count)
{
    const size_t n = static_cast<size_t>(std::clamp<int64_t>(count, 0, kMaxSwitchOutputs));
    ZKGFNotificationPause pause(*this);
    for (size_t i = outputCount(); i < n; ++i)
        createOutputWithPortClassForKeyAttributes(CGenGFPortPatternAndProbs::Class(), IndexKey(i + 1),
            TGenDict {{"name", "Index " + std::to_string(i + 1)}, {"description", "The candidates of case " + std::to_string(i + 1)}});
    for (size_t i = outputCount(); i > n; --i)
        deleteOutputPortForKey(IndexKey(i));
    stateUpdated();
}

void CGenGFModuleSwitch::_bindSwitchPorts()
{
    _bindPort(inputPatterns, "inputPatterns");
    _bindPort(outputActiveIndex, "outputActiveIndex");
    _bindPort(outputDefault, "outputDefault");
}

bool CGenGFModuleSwitch::_route(const CGenGFContext& context, std::optional<size_t> i)
{
    CGenGFPort* target = i ? outputGFPortForKey(IndexKey(*i + 1)) : nullptr;
    if (i && target) {
        outputActiveIndex->setIndexValue(*i + 1);
    } else {
        outputActiveIndex->setIndexValue(0);
        target = outputDefault;
    }
    return target->takeValueFromPort(&context, *inputPatterns);
}

// ----- CGenGFModuleStringSwitch

const CGenGFClassDescription& CGenGFModuleStringSwitch::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleStringSwitch", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleStringSwitch>, TGenGFExecutionMode_Processor, false,
        {{"stringBins", [](const CGenGFModule& m) { return ZKGFValue(static_cast<const CGenGFModuleStringSwitch&>(m).mBins); },
             [](CGenGFModule& m, const ZKGFValue& v) {
                 if (auto* bins = v.ObjectAs<CGenGFStringBins>())
                     static_cast<CGenGFModuleStringSwitch&>(m).mBins = std::make_shared<CGenGFStringBins>(*bins);
             },
             [](const CGenGFModule&, const ZKGFValue& v, std::string& error) {
                 if (v.ObjectAs<CGenGFStringBins>())
                     return true;
                 error = "a CGenGFStringBins is expected";
                 return false;
             }},
            {"outputCount", CountValue, SetCountValue, ValidateCount}},
        SwitchPorts({"inputString", &CGenGFPortString::Class(), -1, "String", "The text whose bin selects the output"}, false));
    return d;
}

CGenGFModuleStringSwitch::CGenGFModuleStringSwitch() : CGenGFModuleSwitch(ClassDescription())
{
    _bindSwitchPorts();
    _bindPort(inputString, "inputString");
    setOutputCount(kSwitchOutputsWhenMade);
}

void CGenGFModuleStringSwitch::setOutputCount(int64_t count)
{
    CGenGFModuleSwitch::setOutputCount(count);
    const size_t n = outputCount();
    while (mBins->binCount() < n)
        mBins->appendBin();
    while (mBins->binCount() > n)
        mBins->removeLastBin();
}

bool CGenGFModuleStringSwitch::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    const int64_t i = mBins->indexOfBinForString(inputString->stringValue());
    const bool found = i != CGenGFStringBins::kNotFound && i >= 0;
    return _route(context, found ? std::optional<size_t>(static_cast<size_t>(i)) : std::nullopt);
}

// ----- CGenGFModuleValueSwitch

const CGenGFClassDescription& CGenGFModuleValueSwitch::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleValueSwitch", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleValueSwitch>, TGenGFExecutionMode_Processor, false,
        {{"ranges",
             [](const CGenGFModule& m) {
                 TGenArray ranges;
                 for (const CGenRange<double>& r : static_cast<const CGenGFModuleValueSwitch&>(m).mRanges)
                     ranges.emplace_back(RangeDict(r));
                 return ZKGFValue(TGenDictValue(std::move(ranges)));
             },
             [](CGenGFModule& m, const ZKGFValue& v) {
                 std::vector<CGenRange<double>> ranges;
                 for (const TGenDictValue& el : *v.Plist()->AsArray()) {
                     const TGenDict& r = *el.AsDict();
                     ranges.emplace_back(r.DoubleForKey("min"), r.DoubleForKey("max"), r.BoolForKey("minEnabled", true),
                         r.BoolForKey("maxEnabled", true));
                 }
                 // A stored state restores its ranges before its count: the
                 // ranges bring their count along, or a third range would
                 // be cut to the two outputs a new switch has.
                 auto& module = static_cast<CGenGFModuleValueSwitch&>(m);
                 if (ranges.size() != module.outputCount())
                     module.setOutputCount(static_cast<int64_t>(ranges.size()));
                 module.setRanges(ranges);
             },
             [](const CGenGFModule&, const ZKGFValue& v, std::string& error) {
                 const TGenArray* array = v.Plist() ? v.Plist()->AsArray() : nullptr;
                 if (array && std::all_of(array->begin(), array->end(), [](const TGenDictValue& el) { return el.AsDict(); }))
                     return true;
                 error = "an array of ranges is expected";
                 return false;
             }},
            {"outputCount", CountValue, SetCountValue, ValidateCount}},
        SwitchPorts({"inputValue", &CGenGFPortNumeric::Class(), -1, "Value", "The number whose range selects the output"}, true));
    return d;
}

CGenGFModuleValueSwitch::CGenGFModuleValueSwitch() : CGenGFModuleSwitch(ClassDescription())
{
    _bindSwitchPorts();
    _bindPort(inputValue, "inputValue");
    _bindPort(outputNormalizedValue, "outputNormalizedValue");
    setOutputCount(kSwitchOutputsWhenMade);
}

void CGenGFModuleValueSwitch::setOutputCount(int64_t count)
{
    CGenGFModuleSwitch::setOutputCount(count);
    mRanges.resize(outputCount(), CGenRange<double>(0.0, 1.0));
}

void CGenGFModuleValueSwitch::setRanges(const std::vector<CGenRange<double>>& ranges)
{
    mRanges = ranges;
    mRanges.resize(outputCount(), CGenRange<double>(0.0, 1.0));
    stateUpdated();
}

void CGenGFModuleValueSwitch::setRangeAtIndex(const CGenRange<double>& range, size_t index)
{
    if (index < mRanges.size()) {
        mRanges[index] = range;
        stateUpdated();
    }
}

std::optional<size_t> CGenGFModuleValueSwitch::indexOfRangeForValue(double value) const
{
    for (size_t i = 0; i < mRanges.size(); ++i) {
        const CGenRange<double>& r = mRanges[i];
        // A NaN fails every bound in force.
        if (r.mMinEnabled && !(value >= r.mMin))
            continue;
        if (r.mMaxEnabled && !(r.mMax >= value))
            continue;
        return i;
    }
    return std::nullopt;
}

bool CGenGFModuleValueSwitch::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    const double v = inputValue->doubleValue();
    const std::optional<size_t> i = indexOfRangeForValue(v);
    double normalized = 0.0;
    if (i) {
        const CGenRange<double>& r = mRanges[*i];
        const double width = r.mMax - r.mMin;
        normalized = width == 0.0 ? 0.0 : (v - r.mMin) / width;
    }
    outputNormalizedValue->setDoubleValue(normalized);
    _route(context, i);
    return true;
}
