#pragma once

// Small module classes for the tests of the graph runtime: a number source,
// a doubler, a number sink and a container of mode 4, each counting its runs.

#include "Generator/stylegraph/CGenGFModule.h"

#include <vector>

namespace zkgtest {

class TestSource : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription()
    {
        static const CGenGFClassDescription d("TestSource", &CGenGFModule::ClassDescription(),
            zkgen::MakeModule<TestSource>, TGenGFExecutionMode_Provider, false, {},
            {{"outputValue", &CGenGFPortNumeric::Class(), 1, "Value", "the source's number"}});
        return d;
    }
    TestSource() : CGenGFModule(ClassDescription()) { _bindPort(outputValue, "outputValue"); }
    bool executeArguments(const CGenGFContext&, const TGenDict*) override
    {
        ++mRuns;
        outputValue->setDoubleValue(mValue);
        return mResult;
    }

    CGenGFPortNumeric* outputValue = nullptr;
    double mValue = 1.5;
    bool mResult = true;
    int mRuns = 0;
};

class TestDoubler : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription()
    {
        static const CGenGFClassDescription d("TestDoubler", &CGenGFModule::ClassDescription(),
            zkgen::MakeModule<TestDoubler>, TGenGFExecutionMode_Processor, false,
            {{"factor", [](const CGenGFModule& m) { return ZKGFValue::Double(static_cast<const TestDoubler&>(m).mFactor); },
                [](CGenGFModule& m, const ZKGFValue& v) { static_cast<TestDoubler&>(m).mFactor = v.DoubleValue().value_or(0.0); },
                [](const CGenGFModule&, const ZKGFValue& v, std::string& error) {
                    if (v.IsNumber() && v.DoubleValue().value_or(-1.0) >= 0.0)
                        return true;
                    error = "the factor must be a number at or above 0";
                    return false;
                }}},
            {{"inputValue", &CGenGFPortNumeric::Class(), -1, "Value", ""},
                {"outputValue", &CGenGFPortNumeric::Class(), 1, "Doubled", ""}});
        return d;
    }
    TestDoubler() : CGenGFModule(ClassDescription())
    {
        _bindPort(inputValue, "inputValue");
        _bindPort(outputValue, "outputValue");
    }
    bool executeArguments(const CGenGFContext&, const TGenDict*) override
    {
        ++mRuns;
        outputValue->setDoubleValue(inputValue->doubleValue() * mFactor);
        return true;
    }

    CGenGFPortNumeric* inputValue = nullptr;
    CGenGFPortNumeric* outputValue = nullptr;
    double mFactor = 2.0;
    int mRuns = 0;
};

class TestSink : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription()
    {
        static const CGenGFClassDescription d("TestSink", &CGenGFModule::ClassDescription(),
            zkgen::MakeModule<TestSink>, TGenGFExecutionMode_Consumer, false, {},
            {{"inputValue", &CGenGFPortNumeric::Class(), -1, "Value", ""}});
        return d;
    }
    TestSink() : CGenGFModule(ClassDescription()) { _bindPort(inputValue, "inputValue"); }
    bool setup(const CGenGFContext&) override
    {
        ++mSetups;
        return mSetupResult;
    }
    void cleanup(const CGenGFContext&) override { ++mCleanups; }
    bool executeArguments(const CGenGFContext&, const TGenDict*) override
    {
        mSeen.push_back(inputValue->doubleValue());
        return true;
    }

    CGenGFPortNumeric* inputValue = nullptr;
    std::vector<double> mSeen;
    bool mSetupResult = true;
    int mSetups = 0;
    int mCleanups = 0;
};

// A container whose class mode is "automatic, never consumer".
class TestNeverConsumer : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription()
    {
        static const CGenGFClassDescription d("TestNeverConsumer", &CGenGFModule::ClassDescription(),
            zkgen::MakeModule<TestNeverConsumer>, TGenGFExecutionMode_AutomaticNeverConsumer, true);
        return d;
    }
    TestNeverConsumer() : CGenGFModule(ClassDescription()) {}
};

template <class T>
T* AddModule(CGenGFModule& parent, const std::string& key)
{
    return static_cast<T*>(parent.addSubpatch(std::make_unique<T>(), key));
}

} // namespace zkgtest
