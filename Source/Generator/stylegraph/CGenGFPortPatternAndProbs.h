#pragma once

#include "Generator/patterns/GenPatternModAndProbs.h"
#include "Generator/stylegraph/CGenGFPort.h"

#include <memory>

// A candidate list as a value object: the holder a pattern port hands out.
// Receivers copy the list, so the holder itself is shared only for reading.
class CGenGFPatternAndProbsObject : public ZKGFObject {
public:
    explicit CGenGFPatternAndProbsObject(std::shared_ptr<GenPatternModAndProbs> holder) : mHolder(std::move(holder)) {}

    const std::shared_ptr<GenPatternModAndProbs>& Holder() const { return mHolder; }

    std::string CodingClassName() const override { return GenPatternModAndProbs::kCodingClassName; }
    void EncodeWithCoder(TGenDict& coder) const override { mHolder->EncodeWithCoder(coder); }
    std::shared_ptr<ZKGFObject> CopyObject() const override
    {
        return std::make_shared<CGenGFPatternAndProbsObject>(mHolder->copy());
    }
    bool IsEqualToObject(const ZKGFObject& other) const override;
    // "<GenPatternModAndProbs: 3 entries>"
    std::string Description() const override;

    // A value holding a copy of `list`.
    static ZKGFValue ValueWithList(const CGenPatternModAndProbs& list);

private:
    std::shared_ptr<GenPatternModAndProbs> mHolder;
};

// A port whose value is a candidate list. It owns its holder from the start
// and copies lists into it, so that two ports never share a list and a module
// may change the entries of its own ports freely. A list is never stored in a
// state.
class CGenGFPortPatternAndProbs : public CGenGFPort {
public:
    static const ZKGFPortClass& Class();
    CGenGFPortPatternAndProbs(ZKGFNode& node, const ZKGFPortArguments& arguments);

    TGenGFValueClass valueClass() const override { return TGenGFValueClass::PatternAndProbs; }
    bool acceptValuesOfClass(TGenGFValueClass c) const override { return c == TGenGFValueClass::PatternAndProbs; }
    // The port's holder (not a copy).
    ZKGFValue value() const override;
    // Nothing empties the list, a list is copied in, anything else is
    // ignored; always true.
    bool setValue(const ZKGFValue& value) override;
    bool takeValueFromPort(const CGenGFContext* context, const CGenGFPort& source) override;
    ZKGFValue stateValue() const override { return {}; }
    // Takes a candidate list only, which no stored state holds.
    bool setStateValue(const ZKGFValue& value) override;
    GenPatternModAndProbs* patternAndProbsValue() const override { return mHolder.get(); }
    void setPatternAndProbsValue(const GenPatternModAndProbs* value) override;
    std::string ValueDescription() const override;

    // The list itself, or null when the port has no value.
    CGenPatternModAndProbs* List() const { return mHolder ? &mHolder->data() : nullptr; }
    // Copies a list in, with its trailing fields.
    void SetList(const CGenPatternModAndProbs& list);
    // An empty list with default trailing fields.
    void ClearList();

private:
    std::shared_ptr<GenPatternModAndProbs> mHolder;
};
