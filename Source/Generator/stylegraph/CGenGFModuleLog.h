#pragma once

#include "Generator/stylegraph/CGenGFModule.h"

#include <functional>
#include <string>

// A debugging sink: shows what reaches inputValue at each pull. With
// inputLogToConsole the value goes to the graph log (category
// "generator.styles", warning level, prefixed with the module's name); with
// inputLogToUI it is appended, with a line break, to logString, which an
// editor shows. Nothing is written while inputValue has no connection. Each
// run starts with an empty logString.
//
// Values are written as a text: strings as they are, numbers as "%0.16g"
// writes them (true and false as 1 and 0), other objects by their
// description, nothing as "(null)".
class CGenGFModuleLog : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleLog();

    // The text a value is logged as.
    static std::string LogTextForValue(const ZKGFValue& value);

    const std::string& logString() const { return mLogString; }
    // Called after each change of logString.
    using TLogStringObserver = std::function<void(const CGenGFModuleLog& module)>;
    void setLogStringObserver(TLogStringObserver observer) { mLogStringObserver = std::move(observer); }

    bool setup(const CGenGFContext& context) override;
    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFVirtualPort* inputValue = nullptr;
    CGenGFPortBoolean* inputLogToConsole = nullptr;
    CGenGFPortBoolean* inputLogToUI = nullptr;

private:
    void _setLogString(std::string text);

    std::string mLogString;
    TLogStringObserver mLogStringObserver;
};
