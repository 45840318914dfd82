#pragma once

#include "Generator/stylegraph/CGenGFAddOnComplexityRatingHelper.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"

#include <memory>

// What the add-on and the bass pattern rating modules share: the ports, the
// rating variance and the flip of the two strings. They differ in the table
// only. The rescaling is CGenGFAddOnComplexityRatingHelper's.
//
// "inputRatingVariance" exists only while "useRatingVariance" is on; the
// variance is 5 otherwise.
class CGenGFModuleComplexityRatingBase : public CGenGFModule {
public:
    static constexpr double kDefaultRatingVariance = 5.0;

    bool useRatingVariance() const { return mUseRatingVariance; }
    // Makes or deletes "inputRatingVariance".
    void setUseRatingVariance(bool on);
    bool flipFamilyAndAddOnStrings() const { return mFlipFamilyAndAddOnStrings; }
    // On: the pattern's name is the family, the port's string the add-on.
    void setFlipFamilyAndAddOnStrings(bool on);
    CGenGFPortNumeric* inputRatingVariance() const;

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortPatternAndProbs* inputPatterns = nullptr;
    CGenGFPortString* inputFamilyName = nullptr;
    CGenGFPortNumeric* inputNormalizedComplexity = nullptr;
    CGenGFPortPatternAndProbs* outputPatterns = nullptr;

protected:
    explicit CGenGFModuleComplexityRatingBase(const CGenGFClassDescription& description);
    // The table of this run, or null (every candidate drops).
    virtual const CGenGFComplexityTable* _complexityTable(const CGenGFContext& context) const = 0;
    static std::vector<ZKGFPortSpec> _ports();
    static TGenDict _xmlAttributes();

private:
    bool mUseRatingVariance = false;
    bool mFlipFamilyAndAddOnStrings = false;
};

// Rates add-ons by the complexity table of their family: the generator's
// standard table while "useStandardRatingTables" is on, else the module's
// own, which is kept in its state.
class CGenGFModuleAddOnComplexityRating : public CGenGFModuleComplexityRatingBase {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleAddOnComplexityRating();

    bool useStandardRatingTables() const { return mUseStandardRatingTables; }
    // On drops the module's own table; off gives it an empty one to fill.
    void setUseStandardRatingTables(bool on);
    // The module's own table, null while it uses the standard ones.
    std::shared_ptr<CGenGFComplexityMatrix> complexityMatrix() const { return mOwnMatrix; }
    // Stores a copy; ignored while the standard tables are in use.
    void setComplexityMatrix(const CGenGFComplexityMatrix& matrix);

    // A state without "stateVersion" predates own tables: standard tables.
    bool setState(const TGenDict& state, std::string* outError = nullptr) override;

protected:
    const CGenGFComplexityTable* _complexityTable(const CGenGFContext& context) const override;

private:
    bool mUseStandardRatingTables = true;
    std::shared_ptr<CGenGFComplexityMatrix> mOwnMatrix;
};
