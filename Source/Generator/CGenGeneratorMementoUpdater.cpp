#include "Generator/CGenGeneratorMementoUpdater.h"

#include "Generator/CGenGeneratorKeys.h"

CGenGeneratorMementoUpdater::CGenGeneratorMementoUpdater(const CGenEvsSignTime& signTimeEvs)
{
    mParams.mEvsSignTime = signTimeEvs;
}

bool CGenGeneratorMementoUpdater::updateMemento(TGenDict& memento)
{
    if (memento.HasKey(kMemento_LastGenerateStartPosInBar) || !memento.HasKey(kMemento_LastGenerateStartPosAbs))
        return false;
    mParams.mGenerateStartPosAbs = static_cast<float>(memento.DoubleForKey(kMemento_LastGenerateStartPosAbs));
    const float leftBar = mParams.CalcGenerateStartLeftBarPosAbs();
    memento.SetValueForKey(static_cast<double>(GenSubRegardingUndef(mParams.mGenerateStartPosAbs, leftBar)),
        kMemento_LastGenerateStartPosInBar);
    return true;
}
