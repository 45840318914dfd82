// Grooves as the manifest writes them. What reads must pass the engine's
// check of grooves, survive the library's archive, and move events without
// fault; a mistake ends as TContentError.

#include "FuzzSupport.h"

#include "content/ContentError.h"
#include "content/GrooveSource.h"

#include "Generator/CGenArchiveIO.h"
#include "Generator/CGenEvs.h"
#include "Generator/instruments/CGenDrumMap.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    const std::string text(reinterpret_cast<const char*>(data), size);
    toml::table root;
    try {
        root = toml::parse(text, std::string("fuzz.toml"));
    } catch (const toml::parse_error&) {
        return 0;
    }
    const toml::node* node = root.get("grooves");
    if (!node)
        return 0;
    CGenGrooves grooves;
    try {
        grooves = zkgen::cli::ReadGrooves(*node, "fuzz.toml");
    } catch (const zkgen::cli::TContentError&) {
        return 0;
    }
    std::string report;
    if (!grooves.CheckContentSanity("", report))
        zkfuzz::Fail("grooves read that the engine's check refuses");
    CGenGrooves loaded;
    std::string reason;
    if (!zkgen::LoadTextArchiveFromData(loaded, zkgen::SaveTextArchiveToData(grooves), &reason) || !(loaded == grooves))
        zkfuzz::Fail("grooves don't come back from their archive");

    // A bar of sixteenths through every groove's tracks.
    CGenGrooveApply apply;
    for (const CGenGroove& groove : grooves)
        for (int instType = -1; instType <= 6; ++instType) {
            CGenEvs evs;
            for (int i = 0; i < 16; ++i)
                evs.push_back(CGenEv(0.25f * i, 0.25f, st_NoteOn, 36 + i, 90));
            groove.ApplyToInstType(evs, 0.0f, apply, instType, CGenDrumMap::GeneralMidi(), TPatternGraphType_Undef);
            for (const CGenEv& ev : evs)
                if (!(ev.mMB2 >= 1 && ev.mMB2 <= 127))
                    zkfuzz::Fail("a groove gives a velocity outside 1..127");
        }
    return 0;
}
