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

#include "Generator/instruments/CGenInstTreeUid.h"
#include "Generator/instruments/CKCtr.h"
#include "Generator/instruments/CGenInstTreeEntryCollection.h"
#include "Generator/instruments/CGenInstTreeEntry.h"
#include "Generator/instruments/CGenInstTreeVertex.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreePathParser.h"
#include "Generator/instruments/CGenDrumMap.h"
#include "Generator/instruments/CGenConvertMapping.h"
#include "Generator/instruments/CGenConvertMappingFactory.h"
#include "Generator/instruments/CGenConvertCtrAndUid.h"
#include "Generator/instruments/CGenInstTreeReport.h"
