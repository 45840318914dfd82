#include "Generator/patterns/GenPatternModAndProbs.h"

#include "Generator/CGenArchiveIO.h"

namespace {

// The fields of an element as the stored list holds them; the layer goes
// through an int.
template <class Archive, class TEl>
void ElementFields(Archive& ar, TEl& el, int& type)
{
    using boost::serialization::make_nvp;
    ar& make_nvp("mProb", el.mProb);
    ar& make_nvp("mConsecProb", el.mConsecProb);
    ar& make_nvp("mMatchedLastFilter", el.mMatchedLastFilter);
    ar& make_nvp("mBeatPosAbs", el.mBeatPosAbs);
    ar& make_nvp("mBeatPosAbsSTTarget", el.mBeatPosAbsSTTarget);
    ar& make_nvp("mOverlayRangeAc", el.mOverlayRangeAc);
    ar& make_nvp("mOverlayRangeSy", el.mOverlayRangeSy);
    ar& make_nvp("mOverlayRangePerc", el.mOverlayRangePerc);
    ar& make_nvp("mOverlayLayerBitmaskAndBPRanges", el.mOverlayLayerBitmaskAndBPRanges);
    ar& make_nvp("mItPattern", el.mItPattern);
    ar& make_nvp("mPatternGraphType", type);
    ar& make_nvp("mPoolPatternIx", el.mPoolPatternIx);
}

// The stored form of a list: each element with the pattern it reads, no pointers.
struct TModAndProbsSnapshot {
    CGenPatternModAndProbs* mList = nullptr;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        const uint64_t count = mList->size();
        ar& boost::serialization::make_nvp("count", count);
        for (const CGenPatternModAndProb& el : *mList) {
            int type = el.mPatternGraphType;
            ElementFields(ar, el, type);
            ar& boost::serialization::make_nvp("pattern", el.PatternToBeRead());
        }
    }

    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/)
    {
        uint64_t count = 0;
        ar& boost::serialization::make_nvp("count", count);
        mList->clear();
        for (uint64_t i = 0; i < count; ++i) {
            CGenPatternModAndProb el;
            int type = TPatternGraphType_Undef;
            ElementFields(ar, el, type);
            ar& boost::serialization::make_nvp("pattern", el.NewPatternToBeModified());
            el.mPatternGraphType = static_cast<TPatternGraphType>(type);
            mList->push_back(std::move(el));
        }
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};

} // namespace

void GenPatternModAndProbs::EncodeWithCoder(TGenDict& coder) const
{
    TModAndProbsSnapshot snapshot {const_cast<CGenPatternModAndProbs*>(&mData)};
    coder.SetValueForKey(TGenDictValue(zkgen::SaveTextArchiveToData(snapshot)), kKey_ModAndProbs);
    coder.SetValueForKey(TGenDictValue(double(mData.mChosenProb)), kKey_ChosenProb);
    coder.SetValueForKey(TGenDictValue(mData.mComplete), kKey_Complete);
    coder.SetValueForKey(TGenDictValue(int64_t(mData.mSTDefaultOrTarget)), kKey_STDefaultOrTarget);
}

std::unique_ptr<GenPatternModAndProbs> GenPatternModAndProbs::DecodeFromCoder(const TGenDict& coder, std::string* outError)
{
    const TGenDictValue* bytes = coder.ValueForKey(kKey_ModAndProbs);
    auto holder = std::make_unique<GenPatternModAndProbs>();
    TModAndProbsSnapshot snapshot {&holder->mData};
    if (!bytes || !bytes->AsData() || !zkgen::LoadTextArchiveFromData(snapshot, *bytes->AsData())) {
        if (outError)
            *outError = "GenPatternModAndProbs: no readable candidate list";
        return nullptr;
    }
    holder->mData.mChosenProb = static_cast<float>(coder.DoubleForKey(kKey_ChosenProb, double(TGenBeatPos_Undef)));
    holder->mData.mComplete = coder.BoolForKey(kKey_Complete, false);
    holder->mData.mSTDefaultOrTarget = coder.IntegerForKey(kKey_STDefaultOrTarget, 0) == 1 ? TSTDefaultOrTarget::Target
                                                                                          : TSTDefaultOrTarget::Default;
    return holder;
}

void GenPatternModAndProbs::RegisterCodingClass(ZKCodingClassRegistry& registry)
{
    registry.RegisterClass(kCodingClassName,
        [](const TGenDict& coder, const ZKCodingClassRegistry&, std::string* outError) -> std::unique_ptr<ZKCoding> {
            return DecodeFromCoder(coder, outError);
        });
}
