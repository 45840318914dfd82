#pragma once

#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"

// Runs its sub-modules once for each candidate with a probability above 0,
// handing them that one candidate through a CGenGFModulePatternsIteratorProvider
// and collecting what reaches a CGenGFModulePatternsIteratorConsumer. The
// position gate holds inside it too: at a defined position the sub-modules
// run for the first candidate only.
class CGenGFModulePatternsIterator : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModulePatternsIterator();

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    // The candidate of the current pass.
    const CGenPatternModAndProbs& currentPatterns() const { return mCurrentPatterns; }

    CGenGFPortPatternAndProbs* inputPatterns = nullptr;
    CGenGFPortPatternAndProbs* outputPatterns = nullptr;

private:
    CGenPatternModAndProbs mCurrentPatterns;
};

// Hands the iterator's current candidate to its output.
class CGenGFModulePatternsIteratorProvider : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModulePatternsIteratorProvider();

    // Finds the nearest iterator among the ancestors.
    bool setup(const CGenGFContext& context) override;
    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;
    CGenGFModulePatternsIterator* iterator() const { return mIterator; }

    CGenGFPortPatternAndProbs* outputPatterns = nullptr;

private:
    CGenGFModulePatternsIterator* mIterator = nullptr;
};

// Appends what reaches its input to the iterator's output.
class CGenGFModulePatternsIteratorConsumer : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModulePatternsIteratorConsumer();

    bool setup(const CGenGFContext& context) override;
    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;
    CGenGFModulePatternsIterator* iterator() const { return mIterator; }

    CGenGFPortPatternAndProbs* inputPatterns = nullptr;

private:
    CGenGFModulePatternsIterator* mIterator = nullptr;
};
