#pragma once

#include "Generator/patterns/GenPatternModAndProbs.h"
#include "Generator/stylegraph/CGenGFPort.h"

#include <memory>

// A candidate list as a value object: the holder a pattern port hands out.
// Receivers share it until they write, and then write to a copy, so the
// holder itself is only ever read through a value.
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
// and shares the lists it receives until it writes to them, so that no write
// ever reaches another port and a module may change the entries of its own
// ports freely. A list is never stored in a
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
    // The holder for writing: unshared first, like List().
    GenPatternModAndProbs* patternAndProbsValue() const override;
    void setPatternAndProbsValue(const GenPatternModAndProbs* value) override;
    std::string ValueDescription() const override;

    // The list itself for writing, or null when the port has no value. A
    // list the port shares is copied first, so a write never reaches
    // another port or a value handed out.
    CGenPatternModAndProbs* List() const;
    // The list for reading, shared or not; null when the port has no value.
    const CGenPatternModAndProbs* ConstList() const { return mHolder ? &mHolder->data() : nullptr; }
    // Copies (or moves) a list in, with its trailing fields.
    void SetList(const CGenPatternModAndProbs& list);
    void SetList(CGenPatternModAndProbs&& list);
    // An empty list with default trailing fields.
    void ClearList();

private:
    // Shared with the ports and values it came from until the first write
    // (copy on write): routing a list through a chain of modules costs no
    // copy until a module changes it. Mutable, since reading for writing
    // may have to unshare it.
    mutable std::shared_ptr<GenPatternModAndProbs> mHolder;
};
