#pragma once

#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTypes.h"

#include <map>
#include <string>

// Which clave pattern of a library is closest to the song's clave, bar by bar:
// (absolute beat position, clave pattern index).
class CGenBeatedPatternIx {
public:
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    int mPatternIx = -1;

    CGenBeatedPatternIx() = default;
    CGenBeatedPatternIx(float pos, int ix) : mBeatPosAbs(pos), mPatternIx(ix) {}
    bool operator==(const CGenBeatedPatternIx&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        ar& boost::serialization::make_nvp("mPatternIx", mPatternIx);
    }
};

using CGenBeatedPatternIxs = CGenEvs_Templ<CGenBeatedPatternIx>;
// Per clave library name.
using CGenBeatedPatternIxsForName = std::map<std::string, CGenBeatedPatternIxs>;
