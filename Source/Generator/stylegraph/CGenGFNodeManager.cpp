#include "Generator/stylegraph/CGenGFNodeManager.h"

#include "Generator/stylegraph/CGenGFMatrix.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFModule2DMatrix.h"
#include "Generator/stylegraph/CGenGFModuleAddOnComplexityRating.h"
#include "Generator/stylegraph/CGenGFModuleAddOnComplexityRatingTable.h"
#include "Generator/stylegraph/CGenGFModuleBassPatternComplexityRating.h"
#include "Generator/stylegraph/CGenGFModuleBassPatternComplexityRatingTable.h"
#include "Generator/stylegraph/CGenGFModuleContextAcAddonSeq.h"
#include "Generator/stylegraph/CGenGFModuleContextAcFamSeq.h"
#include "Generator/stylegraph/CGenGFModuleContextComplIntn.h"
#include "Generator/stylegraph/CGenGFModuleContextCurrentArrangePartName.h"
#include "Generator/stylegraph/CGenGFModuleCreateFill.h"
#include "Generator/stylegraph/CGenGFModuleFilterPatternName.h"
#include "Generator/stylegraph/CGenGFModuleLog.h"
#include "Generator/stylegraph/CGenGFModuleLua.h"
#include "Generator/stylegraph/CGenGFModuleMainPatternRating.h"
#include "Generator/stylegraph/CGenGFModuleMultiplexer.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenGFModulePatternsIterator.h"
#include "Generator/stylegraph/CGenGFModulePatternsMerger.h"
#include "Generator/stylegraph/CGenGFModuleRandomPatternPicker.h"
#include "Generator/stylegraph/CGenGFModuleRegionParameters.h"
#include "Generator/stylegraph/CGenGFModuleStringSwitch.h"
#include "Generator/stylegraph/CGenGFRegex.h"
#include "Generator/stylegraph/CGenGFStringBins.h"

const CGenGFNodeManager& CGenGFNodeManager::setupDefaultNodeManager()
{
    // The one lookup of the namespace is kept: after the first call the
    // registry is only read.
    static const CGenGFNodeManager& manager = static_cast<const CGenGFNodeManager&>(
        ZKGFNodeManager::managerForNodeNamespaceCreating(kCGenGFNodeManager_DefaultNamespace, [] {
            auto m = std::make_unique<CGenGFNodeManager>(kCGenGFNodeManager_DefaultNamespace);
            m->registerBuiltInNodes();
            return std::unique_ptr<ZKGFNodeManager>(std::move(m));
        }));
    return manager;
}

void CGenGFNodeManager::registerBuiltInNodes()
{
    // The fixed order of the module classes.
    for (const CGenGFClassDescription* d : {
             &CGenGFModule::ClassDescription(),
             &CGenGFModuleFilterPatternName::ClassDescription(),
             &CGenGFModulePatternProbConsumer::ClassDescription(),
             &CGenGFModulePatternProbProvider::ClassDescription(),
             &CGenGFModuleSplitter::ClassDescription(),
             &CGenGFModuleDemultiplexer::ClassDescription(),
             &CGenGFModuleMultiplexer::ClassDescription(),
             &CGenGFModuleMainPatternRating::ClassDescription(),
             &CGenGFModuleStringSwitch::ClassDescription(),
             &CGenGFModuleValueSwitch::ClassDescription(),
             &CGenGFModuleContextAcFamSeq::ClassDescription(),
             &CGenGFModuleContextAcAddonSeq::ClassDescription(),
             &CGenGFModuleContextCurrentArrangePartName::ClassDescription(),
             &CGenGFModulePatternsMerger::ClassDescription(),
             &CGenGFModuleLog::ClassDescription(),
             &CGenGFModuleContextComplIntn::ClassDescription(),
             &CGenGFModuleRegionParameters::ClassDescription(),
             &CGenGFModulePatternsIterator::ClassDescription(),
             &CGenGFModulePatternsIteratorProvider::ClassDescription(),
             &CGenGFModulePatternsIteratorConsumer::ClassDescription(),
             &CGenGFModuleAddOnComplexityRating::ClassDescription(),
             &CGenGFModuleAddOnComplexityRatingTable::ClassDescription(),
             &CGenGFModuleBassPatternComplexityRating::ClassDescription(),
             &CGenGFModuleBassPatternComplexityRatingTable::ClassDescription(),
             &CGenGFModuleRandomPatternPicker::ClassDescription(),
             &CGenGFModuleTopProbFilter::ClassDescription(),
             &CGenGFModuleCreateFill::ClassDescription(),
             &CGenGFModuleLua::ClassDescription(),
             &CGenGFModule2DMatrix::ClassDescription(),
         })
        registerNodeWithClass(*d);

    for (const ZKGFPortClass* c : {&CGenGFPort::Class(), &CGenGFVirtualPort::Class(), &CGenGFProxyPort::Class(),
             &CGenGFPortBoolean::Class(), &CGenGFPortNumeric::Class(), &CGenGFPortIndexed::Class(),
             &CGenGFPortString::Class(), &CGenGFPortPatternAndProbs::Class(),
             &CGenGFModuleMultiplexerVirtualPort::Class(), &CGenGFModuleMultiplexerBooleanPort::Class(),
             &CGenGFModuleMultiplexerIndexPort::Class(), &CGenGFModuleMultiplexerNumberPort::Class(),
             &CGenGFModuleMultiplexerStringPort::Class(), &CGenGFModuleMultiplexerPortPatternAndProbs::Class(),
             &CGenGFPortSplitterIndexed::Class()})
        registerPortClass(*c);

    registerObjectClass(CGenGFRegex::kClassName, CGenGFRegex::DecodeWithCoder);
    registerObjectClass(CGenGFStringBins::kClassName, CGenGFStringBins::DecodeWithCoder);
    registerObjectClass(CGenGFMatrix::kClassName, CGenGFMatrix::DecodeWithCoder);
    registerObjectClass(CGenGFComplexityMatrix::kClassName, CGenGFComplexityMatrix::DecodeWithCoder);
    registerObjectClass(CGenGFComplexityMatrixImmutable::kClassName, CGenGFComplexityMatrixImmutable::DecodeWithCoder);
    registerObjectClass(CGenGFMainPatternRatingMatrix::kClassName, CGenGFMainPatternRatingMatrix::DecodeWithCoder);
    registerObjectClass(CGenGFMainPatternRatingMatrixImmutable::kClassName,
        CGenGFMainPatternRatingMatrixImmutable::DecodeWithCoder);
    registerObjectClass(CGenGFBassPatternComplexityMatrix::kClassName, CGenGFBassPatternComplexityMatrix::DecodeWithCoder);
}
