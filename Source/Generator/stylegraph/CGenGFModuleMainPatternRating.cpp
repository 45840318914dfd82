#include "Generator/stylegraph/CGenGFModuleMainPatternRating.h"

#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenGFRatingModuleSupport.h"

const CGenGFClassDescription& CGenGFModuleMainPatternRating::ClassDescription()
{
    using M = CGenGFModuleMainPatternRating;
    static const CGenGFClassDescription d("CGenGFModuleMainPatternRating", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<M>, TGenGFExecutionMode_Processor, false,
        {zkgen::rating::StateVersionKey(),
            zkgen::rating::BoolKey<M>("useStandardRatingTables", &M::useStandardRatingTables, &M::setUseStandardRatingTables),
            zkgen::rating::TableKey<M, CGenGFMainPatternRatingMatrix>(
                "mainPatternRatingMatrix", &M::mainPatternRatingMatrix, &M::setMainPatternRatingMatrix)},
        {zkgen::InputPatternsSpec(),
            {"inputFamilyName", &CGenGFPortString::Class(), -1, "Family", "The pattern family the candidates are rated for"},
            zkgen::OutputPatternsSpec()});
    return d;
}

CGenGFModuleMainPatternRating::CGenGFModuleMainPatternRating() : CGenGFModule(ClassDescription())
{
    _bindPort(inputPatterns, "inputPatterns");
    _bindPort(inputFamilyName, "inputFamilyName");
    _bindPort(outputPatterns, "outputPatterns");
}

void CGenGFModuleMainPatternRating::setUseStandardRatingTables(bool on)
{
    if (on == mUseStandardRatingTables)
        return;
    mUseStandardRatingTables = on;
    mOwnMatrix = on ? nullptr : std::make_shared<CGenGFMainPatternRatingMatrix>();
    stateUpdated();
}

void CGenGFModuleMainPatternRating::setMainPatternRatingMatrix(const CGenGFMainPatternRatingMatrix& matrix)
{
    if (mUseStandardRatingTables)
        return;
    mOwnMatrix = std::make_shared<CGenGFMainPatternRatingMatrix>(matrix);
    stateUpdated();
}

bool CGenGFModuleMainPatternRating::setState(const TGenDict& state, std::string* outError)
{
    const bool ok = CGenGFModule::setState(state, outError);
    if (!state.HasKey("stateVersion") || !state.HasKey("useStandardRatingTables"))
        setUseStandardRatingTables(true);
    return ok;
}

void CGenGFModuleMainPatternRating::RateMainPatterns(const CGenPatternModAndProbs& in, CGenPatternModAndProbs& out,
    const CGenGFMainPatternRatingMatrix* table, const std::string& familyName)
{
    if (!table)
        return;
    for (const CGenPatternModAndProb& entry : in) {
        if (!(entry.mProb > 0.0f))
            continue;
        float rating = 0.0f;
        if (!table->mainPatternRatingForFamilyNameAddOnNameOutValue(familyName, entry.PatternToBeRead().mName, rating))
            continue;
        const double d = 5.0 - static_cast<double>(rating);
        const double factor = d == 0.0 ? 0.1 : d * 0.25;
        const float prob = static_cast<float>(static_cast<double>(entry.mProb) * factor);
        if (prob > 0.0f) {
            out.push_back(entry);
            out.back().mProb = prob;
        }
    }
}

bool CGenGFModuleMainPatternRating::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    const std::string family = inputFamilyName->stringValue();
    const CGenPatternModAndProbs* input = inputPatterns->ConstList();
    if (family.empty() || !input || !outputPatterns->ConstList())
        return true;
    const CGenGFMainPatternRatingMatrix* table = mOwnMatrix.get();
    if (mUseStandardRatingTables) {
        const CGenGFRatingTables* tables = zkgen::rating::StandardTables(context);
        table = tables ? &tables->mainPatternRatingMatrix() : nullptr;
    }
    CGenPatternModAndProbs output;
    RateMainPatterns(*input, output, table, family);
    outputPatterns->SetList(std::move(output));
    return true;
}
