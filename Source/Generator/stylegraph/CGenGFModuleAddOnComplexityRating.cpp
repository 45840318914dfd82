#include "Generator/stylegraph/CGenGFModuleAddOnComplexityRating.h"

#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenGFRatingModuleSupport.h"

namespace {

constexpr const char* kRatingVarianceKey = "inputRatingVariance";

} // namespace

// ----- CGenGFModuleComplexityRatingBase

std::vector<ZKGFPortSpec> CGenGFModuleComplexityRatingBase::_ports()
{
    return {zkgen::InputPatternsSpec(),
        {"inputFamilyName", &CGenGFPortString::Class(), -1, "Family", "The family the candidates are rated in"},
        {"inputNormalizedComplexity", &CGenGFPortNumeric::Class(), -1, "Complexity",
            "Where the target lies in the range of the candidates' ratings, from 0 to 1"},
        zkgen::OutputPatternsSpec()};
}

TGenDict CGenGFModuleComplexityRatingBase::_xmlAttributes()
{
    return TGenDict {{"_localInputRatingVarianceAttributes",
        TGenDict {{"name", "Variance"}, {"description", "Half the width of the window of ratings kept around the target"}}}};
}

CGenGFModuleComplexityRatingBase::CGenGFModuleComplexityRatingBase(const CGenGFClassDescription& description)
    : CGenGFModule(description)
{
    _bindPort(inputPatterns, "inputPatterns");
    _bindPort(inputFamilyName, "inputFamilyName");
    _bindPort(inputNormalizedComplexity, "inputNormalizedComplexity");
    _bindPort(outputPatterns, "outputPatterns");
    inputNormalizedComplexity->setMinDoubleValue(0.0);
    inputNormalizedComplexity->setMaxDoubleValue(1.0);
    inputNormalizedComplexity->setDoubleValue(1.0);
}

CGenGFPortNumeric* CGenGFModuleComplexityRatingBase::inputRatingVariance() const
{
    return dynamic_cast<CGenGFPortNumeric*>(inputGFPortForKey(kRatingVarianceKey));
}

void CGenGFModuleComplexityRatingBase::setUseRatingVariance(bool on)
{
    if (on == mUseRatingVariance)
        return;
    mUseRatingVariance = on;
    ZKGFNotificationPause pause(*this);
    if (on) {
        const TGenDict* attributes = nodeClassDescription().xmlAttributes().DictForKey("_localInputRatingVarianceAttributes");
        CGenGFPort* port = createInputWithPortClassForKeyAttributes(CGenGFPortNumeric::Class(), kRatingVarianceKey,
            attributes ? *attributes : TGenDict());
        port->setMinDoubleValue(0.0);
        port->setMaxDoubleValue(50.0);
        port->setDoubleValue(kDefaultRatingVariance);
    } else {
        deleteInputPortForKey(kRatingVarianceKey);
    }
    stateUpdated();
}

void CGenGFModuleComplexityRatingBase::setFlipFamilyAndAddOnStrings(bool on)
{
    if (on == mFlipFamilyAndAddOnStrings)
        return;
    mFlipFamilyAndAddOnStrings = on;
    stateUpdated();
}

bool CGenGFModuleComplexityRatingBase::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    const std::string family = inputFamilyName->stringValue();
    const CGenPatternModAndProbs* input = inputPatterns->ConstList();
    if (family.empty() || !input || !outputPatterns->ConstList())
        return true;
    const float normalized = static_cast<float>(inputNormalizedComplexity->doubleValue());
    const CGenGFPortNumeric* variancePort = mUseRatingVariance ? inputRatingVariance() : nullptr;
    const float variance = static_cast<float>(variancePort ? variancePort->doubleValue() : kDefaultRatingVariance);
    CGenPatternModAndProbs output;
    CGenGFAddOnComplexityRatingHelper helper(*input, output, _complexityTable(context), family,
        mFlipFamilyAndAddOnStrings ? CGenGFAddOnComplexityRatingHelper::TFamilyStringMode_PatternName
                                   : CGenGFAddOnComplexityRatingHelper::TFamilyStringMode_Port);
    helper.doIt(normalized, variance);
    outputPatterns->SetList(std::move(output));
    return true;
}

// ----- CGenGFModuleAddOnComplexityRating

const CGenGFClassDescription& CGenGFModuleAddOnComplexityRating::ClassDescription()
{
    using M = CGenGFModuleAddOnComplexityRating;
    static const CGenGFClassDescription d("CGenGFModuleAddOnComplexityRating", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<M>, TGenGFExecutionMode_Processor, false,
        {zkgen::rating::StateVersionKey(),
            zkgen::rating::BoolKey<M>("useRatingVariance", &M::useRatingVariance, &M::setUseRatingVariance),
            zkgen::rating::BoolKey<M>("flipFamilyAndAddOnStrings", &M::flipFamilyAndAddOnStrings,
                &M::setFlipFamilyAndAddOnStrings),
            zkgen::rating::BoolKey<M>("useStandardRatingTables", &M::useStandardRatingTables, &M::setUseStandardRatingTables),
            zkgen::rating::TableKey<M, CGenGFComplexityMatrix>("complexityMatrix", &M::complexityMatrix, &M::setComplexityMatrix)},
        _ports(), _xmlAttributes());
    return d;
}

CGenGFModuleAddOnComplexityRating::CGenGFModuleAddOnComplexityRating()
    : CGenGFModuleComplexityRatingBase(ClassDescription())
{
}

void CGenGFModuleAddOnComplexityRating::setUseStandardRatingTables(bool on)
{
    if (on == mUseStandardRatingTables)
        return;
    mUseStandardRatingTables = on;
    mOwnMatrix = on ? nullptr : std::make_shared<CGenGFComplexityMatrix>();
    stateUpdated();
}

void CGenGFModuleAddOnComplexityRating::setComplexityMatrix(const CGenGFComplexityMatrix& matrix)
{
    if (mUseStandardRatingTables)
        return;
    mOwnMatrix = std::make_shared<CGenGFComplexityMatrix>(matrix);
    stateUpdated();
}

bool CGenGFModuleAddOnComplexityRating::setState(const TGenDict& state, std::string* outError)
{
    const bool ok = CGenGFModuleComplexityRatingBase::setState(state, outError);
    if (!state.HasKey("stateVersion") || !state.HasKey("useStandardRatingTables"))
        setUseStandardRatingTables(true);
    return ok;
}

const CGenGFComplexityTable* CGenGFModuleAddOnComplexityRating::_complexityTable(const CGenGFContext& context) const
{
    if (!mUseStandardRatingTables)
        return mOwnMatrix.get();
    const CGenGFRatingTables* tables = zkgen::rating::StandardTables(context);
    return tables ? &tables->complexityMatrix() : nullptr;
}
