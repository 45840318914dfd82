#include "Generator/stylegraph/CGenGFModule2DMatrix.h"

#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenGFRatingModuleSupport.h"

namespace {

constexpr const char* kColumnKey = "inputColumn";

} // namespace

const CGenGFClassDescription& CGenGFModule2DMatrix::ClassDescription()
{
    using M = CGenGFModule2DMatrix;
    static const CGenGFClassDescription d("CGenGFModule2DMatrix", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<M>, TGenGFExecutionMode_Processor, false,
        {{"matrix", [](const CGenGFModule& m) { return ZKGFValue(static_cast<const M&>(m).mMatrix); },
             [](CGenGFModule& m, const ZKGFValue& v) {
                 if (const CGenGFMatrix* matrix = v.ObjectAs<CGenGFMatrix>())
                     static_cast<M&>(m).setMatrix(*matrix);
             },
             [](const CGenGFModule&, const ZKGFValue& v, std::string& error) {
                 if (v.ObjectAs<CGenGFMatrix>())
                     return true;
                 error = "a CGenGFMatrix is expected";
                 return false;
             }},
            zkgen::rating::BoolKey<M>("useColumn", &M::useColumn, &M::setUseColumn)},
        {zkgen::InputPatternsSpec(),
            {"inputRow", &CGenGFPortString::Class(), -1, "Row", "The row of the table"},
            zkgen::OutputPatternsSpec()},
        TGenDict {{"_localInputColumnAttributes",
            TGenDict {{"name", "Column"}, {"description", "The column of the table, instead of the pattern's name"}}}});
    return d;
}

CGenGFModule2DMatrix::CGenGFModule2DMatrix() : CGenGFModule(ClassDescription())
{
    _bindPort(inputPatterns, "inputPatterns");
    _bindPort(inputRow, "inputRow");
    _bindPort(outputPatterns, "outputPatterns");
}

void CGenGFModule2DMatrix::setMatrix(const CGenGFMatrix& matrix)
{
    mMatrix = std::make_shared<CGenGFMatrix>(matrix);
    stateUpdated();
}

CGenGFPortString* CGenGFModule2DMatrix::inputColumn() const
{
    return dynamic_cast<CGenGFPortString*>(inputGFPortForKey(kColumnKey));
}

void CGenGFModule2DMatrix::setUseColumn(bool on)
{
    if (on == mUseColumn)
        return;
    mUseColumn = on;
    ZKGFNotificationPause pause(*this);
    if (on) {
        const TGenDict* attributes = nodeClassDescription().xmlAttributes().DictForKey("_localInputColumnAttributes");
        createInputWithPortClassForKeyAttributes(CGenGFPortString::Class(), kColumnKey, attributes ? *attributes : TGenDict());
    } else {
        deleteInputPortForKey(kColumnKey);
    }
    stateUpdated();
}

void CGenGFModule2DMatrix::WeightByMatrix(const CGenPatternModAndProbs& in, CGenPatternModAndProbs& out,
    const CGenGFMatrix& matrix, const std::string& row, const std::string* column)
{
    const std::string rowLabel = zkgen::LowercasedLabel(row);
    const std::string fixedColumn = column ? zkgen::LowercasedLabel(*column) : std::string();
    for (const CGenPatternModAndProb& entry : in) {
        float value = 0.0f;
        const std::string col = column ? fixedColumn : zkgen::LowercasedLabel(entry.PatternToBeRead().mName);
        float prob = entry.mProb;
        if (matrix.valueForRowColOutValue(rowLabel, col, value))
            prob = static_cast<float>(static_cast<double>(prob) * (static_cast<double>(value) / 100.0));
        if (prob > 0.0f) {
            out.push_back(entry);
            out.back().mProb = prob;
        }
    }
}

bool CGenGFModule2DMatrix::executeArguments(const CGenGFContext& /*context*/, const TGenDict* /*arguments*/)
{
    const std::string row = inputRow->stringValue();
    const CGenPatternModAndProbs* input = inputPatterns->ConstList();
    if (row.empty() || !input || !outputPatterns->ConstList())
        return true;
    CGenPatternModAndProbs output;
    const CGenGFPortString* columnPort = inputColumn();
    const std::string column = columnPort ? columnPort->stringValue() : std::string();
    WeightByMatrix(*input, output, *mMatrix, row, columnPort ? &column : nullptr);
    outputPatterns->SetList(std::move(output));
    return true;
}
