#include "Generator/stylegraph/CGenGFModuleLog.h"

#include <utility>

const CGenGFClassDescription& CGenGFModuleLog::ClassDescription()
{
    // The two switches are kept as port values; the class has no state keys.
    static const CGenGFClassDescription d("CGenGFModuleLog", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleLog>, TGenGFExecutionMode_Consumer, false, {},
        {{"inputValue", &CGenGFVirtualPort::Class(), -1, "Value", "Any value to be shown"},
            {"inputLogToConsole", &CGenGFPortBoolean::Class(), -1, "Log to Console",
                "Write the value to the log"},
            {"inputLogToUI", &CGenGFPortBoolean::Class(), -1, "Log to UI",
                "Append the value to the text the editor shows"}});
    return d;
}

CGenGFModuleLog::CGenGFModuleLog() : CGenGFModule(ClassDescription())
{
    _bindPort(inputValue, "inputValue");
    _bindPort(inputLogToConsole, "inputLogToConsole");
    _bindPort(inputLogToUI, "inputLogToUI");
}

std::string CGenGFModuleLog::LogTextForValue(const ZKGFValue& value)
{
    if (value.IsNothing())
        return "(null)";
    // Scalars as their plain text, so that a string is not quoted; the rest
    // as its readable description.
    if (const TGenDictValue* p = value.Plist()) {
        switch (p->GetKind()) {
        case TGenDictValue::Kind::Integer:
        case TGenDictValue::Kind::Real:
        case TGenDictValue::Kind::Bool:
        case TGenDictValue::Kind::String: return value.StringValue().value_or(std::string());
        default: break;
        }
    }
    return value.Description();
}

void CGenGFModuleLog::_setLogString(std::string text)
{
    mLogString = std::move(text);
    if (mLogStringObserver)
        mLogStringObserver(*this);
}

bool CGenGFModuleLog::setup(const CGenGFContext& /*context*/)
{
    if (!mLogString.empty())
        _setLogString(std::string());
    return true;
}

bool CGenGFModuleLog::executeArguments(const CGenGFContext& /*context*/, const TGenDict* /*arguments*/)
{
    const bool toConsole = inputLogToConsole->booleanValue();
    const bool toUI = inputLogToUI->booleanValue();
    if (!(toConsole || toUI) || !inputValue->connectedPortAlongProxies())
        return true;
    const std::string text = LogTextForValue(inputValue->rawValue());
    if (toConsole)
        logMessage("%@", {text});
    if (toUI) {
        std::string appended = mLogString;
        appended.append(text).append("\n");
        _setLogString(std::move(appended));
    }
    return true;
}
