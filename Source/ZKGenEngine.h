#pragma once

// Umbrella header: the whole public API of the engine.

#include "ZKGenEngineVersion.h"

#include "Platform/TGenDict.h"

#include "Generator/CGenTypes.h"
#include "Generator/CGenAssert.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenRange.h"
#include "Generator/CGenBitmask.h"
#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenRandom.h"
#include "Generator/CGenEv.h"
#include "Generator/CGenEvs.h"
#include "Generator/CGenEvsNamed.h"
#include "Generator/CGenEvsNameds.h"
#include "Generator/harmony/CAbstractNote.h"
#include "Generator/harmony/CNoteGroupInfos.h"

#include "Generator/timesig/CGenSignTime.h"
#include "Generator/timesig/CGenEvsSignTime.h"
#include "Generator/timesig/CGenEvsTempo.h"
#include "Generator/timesig/CGenEvsSignKey.h"
#include "Generator/clave/CGenEvsClave.h"
#include "Generator/timesig/CGenSignTimeTrafoStep.h"
#include "Generator/timesig/CGenSignTimeTrafos.h"
#include "Generator/timesig/CGenSTTrafoCalcFallback.h"
