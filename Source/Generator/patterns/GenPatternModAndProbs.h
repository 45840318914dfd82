#pragma once

#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Platform/TGenDict.h"
#include "Platform/ZKCoding.h"

#include <memory>
#include <string>

// A shared holder of one candidate list, the object that a pattern port of a
// style graph holds. Copying copies the list, so that a module may change
// its entries freely.
//
// In the keyed archive each element travels with the pattern it reads (its
// private copy, or its original), so a decoded list is self-contained: its
// elements are modified copies without graph or pool, keeping their index,
// layer and positions.
class GenPatternModAndProbs : public ZKCoding {
public:
    static constexpr const char* kCodingClassName = "GenPatternModAndProbs";
    // Keys of the encoded object.
    static constexpr const char* kKey_ModAndProbs = "modAndProbs";
    static constexpr const char* kKey_ChosenProb = "mChosenProb";
    static constexpr const char* kKey_Complete = "mComplete";
    static constexpr const char* kKey_STDefaultOrTarget = "mSTDefaultOrTarget";

    GenPatternModAndProbs() = default;
    // Copies the list in.
    explicit GenPatternModAndProbs(const CGenPatternModAndProbs& list) : mData(list) {}

    const CGenPatternModAndProbs& data() const { return mData; }
    CGenPatternModAndProbs& data() { return mData; }
    void setData(const CGenPatternModAndProbs& list) { mData = list; }

    // An independent holder with a copy of the list.
    std::shared_ptr<GenPatternModAndProbs> copy() const { return std::make_shared<GenPatternModAndProbs>(mData); }
    // The list's text form.
    std::string description() const { return mData.TraceString(); }

    std::string CodingClassName() const override { return kCodingClassName; }
    void EncodeWithCoder(TGenDict& coder) const override;
    // Rebuilds a holder from its encoded dictionary; null with a message for
    // a dictionary that holds no readable list.
    static std::unique_ptr<GenPatternModAndProbs> DecodeFromCoder(const TGenDict& coder, std::string* outError);
    // Lets decodes of `registry` create this class.
    static void RegisterCodingClass(ZKCodingClassRegistry& registry);

private:
    CGenPatternModAndProbs mData;
};
