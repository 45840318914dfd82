#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"

bool CGenGFPatternAndProbsObject::IsEqualToObject(const ZKGFObject& other) const
{
    const auto* o = dynamic_cast<const CGenGFPatternAndProbsObject*>(&other);
    if (!o)
        return false;
    const CGenPatternModAndProbs& a = mHolder->data();
    const CGenPatternModAndProbs& b = o->mHolder->data();
    return mHolder == o->mHolder
        || (static_cast<const CGenPatternModAndProbs::TBase&>(a) == static_cast<const CGenPatternModAndProbs::TBase&>(b)
            && a.mComplete == b.mComplete && a.mSTDefaultOrTarget == b.mSTDefaultOrTarget);
}

std::string CGenGFPatternAndProbsObject::Description() const
{
    const size_t n = mHolder->data().size();
    return "<GenPatternModAndProbs: " + std::to_string(n) + (n == 1 ? " entry>" : " entries>");
}

ZKGFValue CGenGFPatternAndProbsObject::ValueWithList(const CGenPatternModAndProbs& list)
{
    return ZKGFValue(std::make_shared<CGenGFPatternAndProbsObject>(std::make_shared<GenPatternModAndProbs>(list)));
}

const ZKGFPortClass& CGenGFPortPatternAndProbs::Class()
{
    static const ZKGFPortClass c("CGenGFPortPatternAndProbs", &CGenGFPort::Class(),
        zkgen::MakePort<CGenGFPortPatternAndProbs>);
    return c;
}

CGenGFPortPatternAndProbs::CGenGFPortPatternAndProbs(ZKGFNode& node, const ZKGFPortArguments& arguments)
    : CGenGFPort(node, arguments, &CGenGFPortPatternAndProbs::Class()), mHolder(std::make_shared<GenPatternModAndProbs>())
{
}

ZKGFValue CGenGFPortPatternAndProbs::value() const
{
    return mHolder ? ZKGFValue(std::make_shared<CGenGFPatternAndProbsObject>(mHolder)) : ZKGFValue();
}

GenPatternModAndProbs* CGenGFPortPatternAndProbs::patternAndProbsValue() const
{
    if (mHolder && mHolder.use_count() > 1)
        mHolder = mHolder->copy();
    return mHolder.get();
}

CGenPatternModAndProbs* CGenGFPortPatternAndProbs::List() const
{
    GenPatternModAndProbs* holder = patternAndProbsValue();
    return holder ? &holder->data() : nullptr;
}

void CGenGFPortPatternAndProbs::SetList(const CGenPatternModAndProbs& list)
{
    willChangeValue();
    if (!mHolder || mHolder.use_count() > 1)
        mHolder = std::make_shared<GenPatternModAndProbs>(list);
    else if (&mHolder->data() != &list)
        mHolder->setData(list);
    didChangeValue();
}

void CGenGFPortPatternAndProbs::SetList(CGenPatternModAndProbs&& list)
{
    willChangeValue();
    if (!mHolder || mHolder.use_count() > 1)
        mHolder = std::make_shared<GenPatternModAndProbs>();
    if (&mHolder->data() != &list)
        mHolder->data() = std::move(list);
    didChangeValue();
}

void CGenGFPortPatternAndProbs::ClearList()
{
    SetList(CGenPatternModAndProbs());
}

bool CGenGFPortPatternAndProbs::setValue(const ZKGFValue& value)
{
    if (value.IsNothing())
        ClearList();
    else if (const auto* object = value.ObjectAs<CGenGFPatternAndProbsObject>()) {
        // Shared until one side writes.
        willChangeValue();
        mHolder = object->Holder() ? object->Holder() : std::make_shared<GenPatternModAndProbs>();
        didChangeValue();
    }
    return true;
}

bool CGenGFPortPatternAndProbs::takeValueFromPort(const CGenGFContext* /*context*/, const CGenGFPort& source)
{
    if (const auto* port = dynamic_cast<const CGenGFPortPatternAndProbs*>(&source)) {
        // Shared until one side writes.
        willChangeValue();
        mHolder = port->mHolder ? port->mHolder : std::make_shared<GenPatternModAndProbs>();
        didChangeValue();
        return true;
    }
    if (&source.baseClass() == &CGenGFPortPatternAndProbs::Class()) {
        const GenPatternModAndProbs* holder = source.patternAndProbsValue();
        if (holder)
            SetList(holder->data());
        else
            ClearList();
        return true;
    }
    return setValue(source.IsVirtual() ? source.rawValue() : source.value());
}

bool CGenGFPortPatternAndProbs::setStateValue(const ZKGFValue& value)
{
    return value.ObjectAs<CGenGFPatternAndProbsObject>() && setValue(value);
}

void CGenGFPortPatternAndProbs::setPatternAndProbsValue(const GenPatternModAndProbs* value)
{
    if (value)
        SetList(value->data());
    else
        ClearList();
}

std::string CGenGFPortPatternAndProbs::ValueDescription() const
{
    return mHolder ? CGenGFPatternAndProbsObject(mHolder).Description() : std::string("nil");
}
