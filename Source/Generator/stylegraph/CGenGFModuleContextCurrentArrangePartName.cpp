#include "Generator/stylegraph/CGenGFModuleContextCurrentArrangePartName.h"

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"

const CGenGFClassDescription& CGenGFModuleContextCurrentArrangePartName::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleContextCurrentArrangePartName",
        &CGenGFModule::ClassDescription(), zkgen::MakeModule<CGenGFModuleContextCurrentArrangePartName>,
        TGenGFExecutionMode_Provider, false, {},
        {{"outputArrangePartName", &CGenGFPortString::Class(), 1, "Arrange Part",
            "The name of the arrangement marker in force at the position; empty before the first"}});
    return d;
}

CGenGFModuleContextCurrentArrangePartName::CGenGFModuleContextCurrentArrangePartName()
    : CGenGFModule(ClassDescription())
{
    _bindPort(outputArrangePartName, "outputArrangePartName");
}

bool CGenGFModuleContextCurrentArrangePartName::executeArguments(const CGenGFContext& context,
    const TGenDict* /*arguments*/)
{
    const CGenContext* gen = context.genContext();
    const CGenGeneratorParams* params = gen ? gen->mParams : nullptr;
    if (!params)
        return false;
    std::string name;
    const float pos = gen->GeneratePosAbs();
    if (GenIsDef(pos)) {
        const CGenArrangeMarkersExt& markers = params->mArrangeMarkersExt;
        if (const auto it = markers.ElInForceAt(pos); it != markers.end())
            name = it->mName;
    }
    outputArrangePartName->setStringValue(name);
    return true;
}

void CGenGFModuleContextCurrentArrangePartName::cleanup(const CGenGFContext& /*context*/)
{
    outputArrangePartName->setStringValue(std::string());
}
