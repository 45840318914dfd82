#include "Generator/timesig/CGenSignTimeTrafoStep.h"


namespace zkgen {

TSTEdit InverseSTEdit(const TSTEdit& e)
{
    switch (e.mKind) {
    case TSTEditKind::Erase: return {TSTEditKind::InsertSilence, 0.0f, e.mLength, e.mAt};
    case TSTEditKind::InsertSilence: return {TSTEditKind::Erase, 0.0f, e.mLength, e.mAt};
    case TSTEditKind::CopyInsert: return {TSTEditKind::Erase, 0.0f, e.mLength, e.mAt};
    case TSTEditKind::Move: break;
    }
    return e;
}

void ApplySTEdit(CGenRange<float>& range, const TSTEdit& e, float barStart)
{
    if (range.mMin == 0.0f && range.mMax == 0.0f && !range.mMinEnabled && !range.mMaxEnabled)
        return;
    const float len = e.mLength;
    if (!(len > 0.0f) || GenIsUndef(barStart) || GenIsUndef(range.mMin) || GenIsUndef(range.mMax))
        return;
    const float a = barStart + e.mAt;
    float& s = range.mMin;
    float& t = range.mMax;
    switch (e.mKind) {
    case TSTEditKind::Erase: {
        const float b = a + len;
        // The cases in the order they are tried.
        if (s >= a && s <= b && t >= b) {
            t -= (s - a) + (b - s);
            s = a;
        } else if (s <= a && t >= a && t <= b) {
            t = a;
        } else if (s >= a && t <= b) {
            s = t = a;
        } else if (s < a && t > a) {
            t -= len;
        } else if (s >= a && t >= a) {
            s -= len;
            t -= len;
        }
        break;
    }
    case TSTEditKind::InsertSilence:
    case TSTEditKind::CopyInsert:
        if (s >= a)
            s += len;
        if (t >= a)
            t += len;
        break;
    case TSTEditKind::Move: break;
    }
}

} // namespace zkgen

CGenSignTimeTrafoSteps::CGenSignTimeTrafoSteps(const CGenSignTimeTrafoSteps& o)
{
    mSteps.reserve(o.mSteps.size());
    for (const auto& s : o.mSteps)
        mSteps.push_back(s->Clone());
}

CGenSignTimeTrafoSteps& CGenSignTimeTrafoSteps::operator=(const CGenSignTimeTrafoSteps& o)
{
    if (this != &o) {
        CGenSignTimeTrafoSteps copy(o);
        mSteps.swap(copy.mSteps);
    }
    return *this;
}

bool CGenSignTimeTrafoSteps::operator==(const CGenSignTimeTrafoSteps& o) const
{
    if (mSteps.size() != o.mSteps.size())
        return false;
    for (size_t i = 0; i < mSteps.size(); ++i)
        if (!(*mSteps[i] == *o.mSteps[i]))
            return false;
    return true;
}

void CGenSignTimeTrafoSteps::TraceStream(std::ostream& os) const
{
    os << "CGenSignTimeTrafoSteps: ";
    for (size_t i = 0; i < mSteps.size(); ++i) {
        if (i)
            os << "; ";
        mSteps[i]->TraceStream(os);
    }
}
