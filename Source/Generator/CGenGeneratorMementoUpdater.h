#pragma once

#include "Generator/CGenGeneratorParams.h"
#include "Platform/TGenDict.h"

// Brings a memento written by an older version up to date outside of a
// generation: it adds the start position in the bar that newer fill-lock
// tracking needs.
class CGenGeneratorMementoUpdater {
public:
    explicit CGenGeneratorMementoUpdater(const CGenEvsSignTime& signTimeEvs);

    // Acts only when "LastGenerateStartPosInBar" is missing and
    // "LastGenerateStartPosAbs" present; true when it changed the memento.
    bool updateMemento(TGenDict& memento);

private:
    CGenGeneratorParams mParams;
};
