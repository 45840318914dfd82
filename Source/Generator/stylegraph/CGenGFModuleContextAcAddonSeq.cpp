#include "Generator/stylegraph/CGenGFModuleContextAcAddonSeq.h"

#include "Generator/CGenContext.h"
#include "Generator/stylegraph/CGenGFModuleContextAcFamSeq.h"

const CGenGFClassDescription& CGenGFModuleContextAcAddonSeq::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleContextAcAddonSeq", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleContextAcAddonSeq>, TGenGFExecutionMode_Provider, false, {},
        {{"outputCurrentAddonName", &CGenGFPortString::Class(), 1, "Current Add-on",
             "The accent add-on playing at the position; empty before the first"},
            {"outputPreviousAddonName", &CGenGFPortString::Class(), 1, "Previous Add-on",
                "The accent add-on that played before the current one; empty at the first"}});
    return d;
}

CGenGFModuleContextAcAddonSeq::CGenGFModuleContextAcAddonSeq() : CGenGFModule(ClassDescription())
{
    _bindPort(outputCurrentAddonName, "outputCurrentAddonName");
    _bindPort(outputPreviousAddonName, "outputPreviousAddonName");
}

void CGenGFModuleContextAcAddonSeq::_clearOutputs()
{
    outputCurrentAddonName->setStringValue(std::string());
    outputPreviousAddonName->setStringValue(std::string());
}

bool CGenGFModuleContextAcAddonSeq::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    _clearOutputs();
    const CGenContext* gen = context.genContext();
    if (!gen)
        return true;
    const zkgen::TPatternNamesInForce names =
        zkgen::PatternNamesInForceAt(*gen, TPatternGraphType_AccentAddon, gen->GeneratePosAbs());
    outputCurrentAddonName->setStringValue(names.mCurrent);
    outputPreviousAddonName->setStringValue(names.mPrevious);
    return true;
}

void CGenGFModuleContextAcAddonSeq::cleanup(const CGenGFContext& /*context*/)
{
    _clearOutputs();
}
