#include "Generator/instruments/CGenConvertMappingFactory.h"

#include "Generator/instruments/CGenDrumMap.h"

const char* const kConvertMappingKey_MB3 = "ConvertMappingKey_MB3";
const char* const kConvertMappingKey_CtrlEvs = "ConvertMappingKey_CtrlEvs";
const char* const kConvertMappingKey_InstTreeToTolvarZamplerGroupName = "ConvertMappingKey_InstTreeToTolvarZamplerGroupName";

namespace {

struct TRow {
    const char* mPath;
    const char* mToken;
};

// Value-only controllers: events below status 0x10 that write their byte into
// the event before them. Their channel nibbles keep the two kinds apart, so
// that one of each survives the removal of duplicates.
constexpr uint8_t kValueChannel_NoteNr = 1;
constexpr uint8_t kValueChannel_CtrValue = 2;
constexpr CKCtr kSetNoteNr { kCKCtrStatus_Any, kValueChannel_NoteNr, -1, -1, -1, TKCtrMidiValuePosition_MB1 };
constexpr CKCtr kSetCtrValue { kCKCtrStatus_Any, kValueChannel_CtrValue, -1, -1, -1, TKCtrMidiValuePosition_MB2 };

constexpr int kCtrHiHatPedal = 4;
constexpr int kCtrSnarePosition = 16;

// Rows both event mappings share.
constexpr TRow kRowsCommon[] = {
    { "Drums", "channel" },
    { "Percussion", "channel" },
    // The drum channel is the channel of the first stroke. The walk sets the
    // channel of the family last, so strokes can't pick channels here; the
    // stroke channels serve the articulation patterns.
    // The kit pieces' own notes.
    { "Drums.Ki", "noteNrKi" },
    { "Drums.Sn", "noteNrSn" },
    { "Drums.Tm", "noteNrTm" },
    { "Drums.Hh", "noteNrHh" },
    { "Drums.Rd", "noteNrRd" },
    { "Drums.Cr", "noteNrCr" },
    { "Drums.Sticks", "noteNrSt" },
    { "Percussion.Cowbell", "noteNrCo" },
    { "Percussion.Shaker", "noteNrSh" },
    { "Percussion.Tambourine", "noteNrTambourine" },
    { "Percussion.Claps", "noteNrCl" },
    { "Percussion.Fingersnaps", "noteNrFingersnaps" },
    { "Percussion.HandDrumPercussion.BongoHand", "noteNrHandDrumPercussionBongoHandPitch1" },
    { "Drums[Ki.note;Sn.note;Hh.note]", "note" },
    // Variants that move to another note.
    { "Drums.Ki.note.s1", "noteNrKi" },
    { "Drums.Sn.note.rimClick", "noteNrSnRimClick" },
    { "Drums.Sn.note.rimClick.leaf", "noteNrSnRimClick" },
    { "Drums.Sn.note.rimShot", "noteNrSnRimShot" },
    { "Drums.Hh.note.hit.move[opening;opening.leaf;closing fastsus1;closing slowsus1;closing slowsus1.leaf;"
      "closing slowsus2;closing slowsus2.leaf]",
        "noteNrHhOpen" },
    { "Drums.Hh.note.foot", "noteNrFo" },
    { "Drums.Hh.note.foot[close;stop]", "noteNrFo" },
    { "Drums.Hh.note.foot.splash", "noteNrFootSplash" },
    { "Drums.Rd.pos.edge", "noteNrRdEdge" },
    { "Drums.Rd.pos[nrm;inner]", "noteNrRdBow" },
    { "Drums.Rd.pos.bell", "noteNrRdBell" },
    { "Drums.Cr.pitch.1", "noteNrCrPitch1" },
    { "Drums.Cr.pitch.2", "noteNrCrPitch2" },
    { "Drums.Cr.pitch.3", "noteNrCrPitch3" },
    { "Drums.Cr.pitch.4", "noteNrCrPitch4" },
    { "Drums.Cr.pitch.splash", "noteNrCrSplash" },
    { "Percussion.Shaker.articulation.forward", "articShakerDirectionForward" },
    { "Percussion.Shaker.articulation.backward", "articShakerDirectionBackward" },
    { "Percussion.Shaker.articulation.accentForward", "articShakerDirectionAccentForward" },
    { "Percussion.Shaker.articulation.accentBackward", "articShakerDirectionAccentBackward" },
    { "Percussion.HandDrumPercussion.BongoHand.pitch.1", "noteNrBongoPitch1" },
    { "Percussion.HandDrumPercussion.BongoHand.pitch.3", "noteNrBongoPitch3" },
    // Tom pitches shift the high tom's note.
    { "Drums.Tm.pitch.1", "pitchTm1" },
    { "Drums.Tm.pitch.2", "pitchTm2" },
    { "Drums.Tm.pitch.3", "pitchTm3" },
    { "Drums.Tm.pitch.4", "pitchTm4" },
    { "Drums.Tm.pitch.5", "pitchTm5" },
    { "Drums.Tm.pitch.6", "pitchTm6" },
    // Articulation numbers on MB3.
    { "Percussion.Cowbell.articulation.open", "articCowbellOpen" },
    { "Percussion.Cowbell.articulation.muted", "articCowbellMuted" },
    { "Percussion.Cowbell.articulation.sidehit", "articCowbellSidehit" },
    { "Percussion.Tambourine.articulation.left", "articTambourineDirectionLeft" },
    { "Percussion.Tambourine.articulation.right", "articTambourineDirectionRight" },
    { "Percussion.Tambourine.articulation.hitLeft", "articTambourineDirectionHitLeft" },
    { "Percussion.Tambourine.articulation.hitRight", "articTambourineDirectionHitRight" },
    { "Percussion.Claps.articulation.tight", "articClapsTightnessTight" },
    { "Percussion.Claps.articulation.sloppy", "articClapsTightnessSloppy" },
    { "Percussion.Fingersnaps.articulation.tight", "articFingersnapsTightnessTight" },
    { "Percussion.Fingersnaps.articulation.sloppy", "articFingersnapsTightnessSloppy" },
    { "Percussion[Shaker.tempo.20;Tambourine.tempo.20]", "tempo20" },
    { "Percussion[Shaker.tempo.40;Tambourine.tempo.40]", "tempo40" },
    { "Percussion[Shaker.tempo.60;Tambourine.tempo.60]", "tempo60" },
    { "Percussion[Shaker.tempo.80;Tambourine.tempo.80]", "tempo80" },
    { "Percussion[Shaker.tempo.100;Tambourine.tempo.100]", "tempo100" },
    { "Percussion[Shaker.tempo.120;Tambourine.tempo.120]", "tempo120" },
    { "Percussion[Shaker.tempo.140;Tambourine.tempo.140]", "tempo140" },
    { "Percussion[Shaker.tempo.160;Tambourine.tempo.160]", "tempo160" },
    { "Percussion[Shaker.tempo.180;Tambourine.tempo.180]", "tempo180" },
    { "Percussion[Shaker.tempo.200;Tambourine.tempo.200]", "tempo200" },
    { "Drums[Sn.note.nrm.stroke.s1;Tm.stroke.s1;Hh.note.hit.move.static.stroke.s1;Rd.stroke.s1;Cr.stroke.s1]",
        "strokeS1" },
    { "Drums[Sn.note.nrm.stroke.s3l;Tm.stroke.s3l;Hh.note.hit.move.static.stroke.s3l]", "strokeS3l" },
    { "Drums[Sn.note.nrm.stroke.s3r;Tm.stroke.s3r;Hh.note.hit.move.static.stroke.s3r]", "strokeS3r" },
    { "Drums[Rd.stroke.s3;Cr.stroke.s3]", "strokeS3" },
    { "Drums.Rd.stroke.s5", "strokeS5" },
    { "Drums.Cr.length.sustain", "lengthSustain" },
    { "Drums.Cr.length.stop slow", "lengthStopSlow" },
    { "Drums.Cr.length.stop fast", "lengthStopFast" },
    // Explicit defaults of a technique or position.
    { "Drums.Sn.note.nrm", "noteNrSnNrmCenter" },
    { "Drums.Hh.note.hit", "noteNrHhClosed" },
    { "Drums.Hh.note.hit.move.static", "noteNrHhClosed" },
    { "Drums.Rd.pos", "noteNrRdBow" },
    { "Drums.Cr.pitch", "noteNrCrPitch1" },
    { "Percussion.HandDrumPercussion.BongoHand.pitch", "noteNrBongoPitch1" },
};

constexpr TRow kRowsMB3[] = {
    { "Drums.Hh.note.hit.pos.tt", "noteNrTt" },
    { "Drums.Hh.note.hit.pos.ts", "noteNrTs" },
    { "Drums.Hh.note.hit.pos.es", "noteNrEs" },
    { "Drums.Sn.note.nrm.eccentricity.center", "noteNrSnNrmCenter" },
    { "Drums.Sn.note.nrm.eccentricity.offcenter", "noteNrSnNrmOffcenter" },
    { "Drums.Sn.note.rimShot.eccentricity[center;offcenter]", "noteNrSnRimShot" },
    { "Drums.Hh.note.hit.move.static.open[o1;o2;o3]", "noteNrHhClosed" },
    { "Drums.Hh.note.hit.move.static.open[o4;o5;o6;o7]", "noteNrHhOpen" },
    { "Drums.Hh.note.hit.move.closing fastsus1.open[o5;o6;o7]", "noteNrHhOpen" },
    { "Drums[Sn.note.nrm.stroke;Tm.stroke;Hh.note.hit.move.static.stroke;Rd.stroke;Cr.stroke]", "stroke" },
};

constexpr TRow kRowsCtrlEvs[] = {
    { "Drums.Sn.note.nrm.eccentricity", "noteNrAddSnNrmEccentricityCtr" },
    { "Drums.Sn.note.nrm.eccentricity.center", "noteNrAddSnNrmEccentricityCenterVal" },
    { "Drums.Sn.note.nrm.eccentricity.offcenter", "noteNrAddSnNrmEccentricityOffcenterVal" },
    { "Drums.Sn.note.rimShot.eccentricity", "noteNrAddSnRimshotEccentricityCtr" },
    { "Drums.Sn.note.rimShot.eccentricity.center", "noteNrAddSnRimshotEccentricityCenterVal" },
    { "Drums.Sn.note.rimShot.eccentricity.offcenter", "noteNrAddSnRimshotEccentricityOffcenterVal" },
    { "Drums.Hh.note.hit.move[static.open;closing fastsus1.open]", "ctrHhOpenness" },
    { "Drums.Hh.note.hit.move.static.open.o1", "ctrHhOpennessO1" },
    { "Drums.Hh.note.hit.move.static.open.o2", "ctrHhOpennessO2" },
    { "Drums.Hh.note.hit.move.static.open.o3", "ctrHhOpennessO3" },
    { "Drums.Hh.note.hit.move[static.open.o4]", "ctrHhOpennessO4" },
    { "Drums.Hh.note.hit.move[static.open.o5;closing fastsus1.open.o5]", "ctrHhOpennessO5" },
    { "Drums.Hh.note.hit.move[static.open.o6;closing fastsus1.open.o6]", "ctrHhOpennessO6" },
    { "Drums.Hh.note.hit.move[static.open.o7;closing fastsus1.open.o7]", "ctrHhOpennessO7" },
};

// Sample groups of the sounds, and of the pieces and techniques that may be
// struck without naming a variant.
constexpr TRow kRowsZamplerGroupNames[] = {
    { "Drums.Ki", "Kick" },
    { "Drums.Ki.note.s1", "Kick" },
    { "Drums.Sn", "SnareCenter" },
    { "Drums.Sn.note.nrm", "SnareCenter" },
    { "Drums.Sn.note.nrm.eccentricity.center", "SnareCenter" },
    { "Drums.Sn.note.nrm.eccentricity.offcenter", "SnareOffcenter" },
    { "Drums.Sn.note.rimClick.leaf", "SnareRimClick" },
    { "Drums.Sn.note.rimShot.eccentricity.center", "SnareRimShotCenter" },
    { "Drums.Sn.note.rimShot.eccentricity.offcenter", "SnareRimShotOffcenter" },
    { "Drums.Tm", "Tom1" },
    { "Drums.Tm.pitch.1", "Tom1" },
    { "Drums.Tm.pitch.2", "Tom2" },
    { "Drums.Tm.pitch.3", "Tom3" },
    { "Drums.Tm.pitch.4", "Tom4" },
    { "Drums.Tm.pitch.5", "Tom5" },
    { "Drums.Tm.pitch.6", "Tom6" },
    { "Drums.Hh", "HiHatClosed" },
    { "Drums.Hh.note.hit", "HiHatClosed" },
    { "Drums.Hh.note.hit.pos.tt", "HiHatTt" },
    { "Drums.Hh.note.hit.pos.ts", "HiHatTs" },
    { "Drums.Hh.note.hit.pos.es", "HiHatEs" },
    { "Drums.Hh.note.hit.move.static.open.o1", "HiHatOpen1" },
    { "Drums.Hh.note.hit.move.static.open.o2", "HiHatOpen2" },
    { "Drums.Hh.note.hit.move.static.open.o3", "HiHatOpen3" },
    { "Drums.Hh.note.hit.move.static.open.o4", "HiHatOpen4" },
    { "Drums.Hh.note.hit.move.static.open.o5", "HiHatOpen5" },
    { "Drums.Hh.note.hit.move.static.open.o6", "HiHatOpen6" },
    { "Drums.Hh.note.hit.move.static.open.o7", "HiHatOpen7" },
    { "Drums.Hh.note.hit.move.opening.leaf", "HiHatOpening" },
    { "Drums.Hh.note.hit.move.closing fastsus1.open.o5", "HiHatClosingFast5" },
    { "Drums.Hh.note.hit.move.closing fastsus1.open.o6", "HiHatClosingFast6" },
    { "Drums.Hh.note.hit.move.closing fastsus1.open.o7", "HiHatClosingFast7" },
    { "Drums.Hh.note.hit.move.closing slowsus1.leaf", "HiHatClosingSlow1" },
    { "Drums.Hh.note.hit.move.closing slowsus2.leaf", "HiHatClosingSlow2" },
    { "Drums.Hh.note.foot", "HiHatFootClose" },
    { "Drums.Hh.note.foot.close", "HiHatFootClose" },
    { "Drums.Hh.note.foot.splash", "HiHatFootSplash" },
    { "Drums.Hh.note.foot.stop", "HiHatFootStop" },
    { "Drums.Rd", "RideBow" },
    { "Drums.Rd.pos.edge", "RideEdge" },
    { "Drums.Rd.pos.nrm", "RideBow" },
    { "Drums.Rd.pos.inner", "RideInner" },
    { "Drums.Rd.pos.bell", "RideBell" },
    { "Drums.Cr", "Crash1" },
    { "Drums.Cr.pitch.1", "Crash1" },
    { "Drums.Cr.pitch.2", "Crash2" },
    { "Drums.Cr.pitch.3", "Crash3" },
    { "Drums.Cr.pitch.4", "Crash4" },
    { "Drums.Cr.pitch.splash", "CrashSplash" },
    { "Drums.Sticks", "Sticks" },
    { "Percussion.Cowbell.articulation.open", "CowbellOpen" },
    { "Percussion.Cowbell.articulation.muted", "CowbellMuted" },
    { "Percussion.Cowbell.articulation.sidehit", "CowbellSidehit" },
    { "Percussion.Shaker.articulation.forward", "ShakerForward" },
    { "Percussion.Shaker.articulation.backward", "ShakerBackward" },
    { "Percussion.Shaker.articulation.accentForward", "ShakerAccentForward" },
    { "Percussion.Shaker.articulation.accentBackward", "ShakerAccentBackward" },
    { "Percussion.Tambourine.articulation.left", "TambourineLeft" },
    { "Percussion.Tambourine.articulation.right", "TambourineRight" },
    { "Percussion.Tambourine.articulation.hitLeft", "TambourineHitLeft" },
    { "Percussion.Tambourine.articulation.hitRight", "TambourineHitRight" },
    { "Percussion.Claps.articulation.tight", "ClapsTight" },
    { "Percussion.Claps.articulation.sloppy", "ClapsSloppy" },
    { "Percussion.Fingersnaps.articulation.tight", "FingersnapsTight" },
    { "Percussion.Fingersnaps.articulation.sloppy", "FingersnapsSloppy" },
    { "Percussion.HandDrumPercussion.BongoHand.pitch.1", "BongoHigh" },
    { "Percussion.HandDrumPercussion.BongoHand.pitch.3", "BongoLow" },
};

template <std::size_t N>
void AddRows(CGenConvertMapping& mapping, const TRow (&rows)[N])
{
    for (const TRow& row : rows)
        mapping.AddTokenForPath(row.mPath, row.mToken);
}

CKCtr DrumCtr(const CGenDrumMap& drumMap, int ctrNr)
{
    return CKCtr(st_CtrChange, drumMap.StrokeChannel(1), ctrNr, -1, -1, TKCtrMidiValuePosition_MB2);
}

void AddCommonTokens(CGenConvertMapping& m, const CGenDrumMap& dm)
{
    const auto note = [&](const char* token, TGenDrumPiece piece) { m.AddCKCtrForToken(token, CKCtr_NoteNr, dm.NoteNr(piece)); };
    const auto setNote = [&](const char* token, TGenDrumPiece piece) { m.AddCKCtrForToken(token, kSetNoteNr, dm.NoteNr(piece)); };
    const auto mb3 = [&](const char* token, int value) { m.AddCKCtrForToken(token, CKCtr_AddToMB3, value); };

    m.AddCKCtrForToken("channel", CKCtr_Channel, dm.StrokeChannel(1));
    // Level markers: they name the byte of a level for the way back from
    // controllers and carry no value of their own.
    m.AddCKCtrForToken("note", CKCtr_NoteNr, kCKCtrValue_Undef);
    m.AddCKCtrForToken("stroke", CKCtr_AddToMB1, kCKCtrValue_Undef);

    note("noteNrKi", TGenDrumPiece_Kick);
    note("noteNrSn", TGenDrumPiece_SnareCenter);
    note("noteNrTm", TGenDrumPiece_TomPitch1);
    note("noteNrHh", TGenDrumPiece_HiHatClosed);
    note("noteNrRd", TGenDrumPiece_RideBow);
    note("noteNrCr", TGenDrumPiece_CrashPitch1);
    note("noteNrSt", TGenDrumPiece_Sticks);
    note("noteNrCo", TGenDrumPiece_Cowbell);
    note("noteNrSh", TGenDrumPiece_ShakerForward);
    note("noteNrTambourine", TGenDrumPiece_Tambourine);
    note("noteNrCl", TGenDrumPiece_Claps);
    note("noteNrFingersnaps", TGenDrumPiece_Fingersnaps);
    note("noteNrHandDrumPercussionBongoHandPitch1", TGenDrumPiece_BongoPitch1);

    setNote("noteNrSnNrmCenter", TGenDrumPiece_SnareCenter);
    setNote("noteNrSnNrmOffcenter", TGenDrumPiece_SnareOffcenter);
    setNote("noteNrSnRimClick", TGenDrumPiece_SnareRimClick);
    setNote("noteNrSnRimShot", TGenDrumPiece_SnareRimShot);
    setNote("noteNrHhClosed", TGenDrumPiece_HiHatClosed);
    setNote("noteNrHhOpen", TGenDrumPiece_HiHatOpen);
    setNote("noteNrTt", TGenDrumPiece_HiHatClosed);
    setNote("noteNrTs", TGenDrumPiece_HiHatClosed);
    setNote("noteNrEs", TGenDrumPiece_HiHatClosed);
    setNote("noteNrFo", TGenDrumPiece_HiHatPedal);
    setNote("noteNrFootSplash", TGenDrumPiece_HiHatOpen);
    setNote("noteNrRdBow", TGenDrumPiece_RideBow);
    setNote("noteNrRdEdge", TGenDrumPiece_RideEdge);
    setNote("noteNrRdBell", TGenDrumPiece_RideBell);
    setNote("noteNrCrPitch1", TGenDrumPiece_CrashPitch1);
    setNote("noteNrCrPitch2", TGenDrumPiece_CrashPitch2);
    setNote("noteNrCrPitch3", TGenDrumPiece_CrashPitch3);
    setNote("noteNrCrPitch4", TGenDrumPiece_CrashPitch4);
    setNote("noteNrCrSplash", TGenDrumPiece_CrashSplash);
    setNote("noteNrBongoPitch1", TGenDrumPiece_BongoPitch1);
    setNote("noteNrBongoPitch3", TGenDrumPiece_BongoPitch3);
    setNote("articShakerDirectionForward", TGenDrumPiece_ShakerForward);
    setNote("articShakerDirectionBackward", TGenDrumPiece_ShakerBackward);
    setNote("articShakerDirectionAccentForward", TGenDrumPiece_ShakerForward);
    setNote("articShakerDirectionAccentBackward", TGenDrumPiece_ShakerBackward);

    const int highTom = dm.NoteNr(TGenDrumPiece_TomPitch1);
    const char* const pitchTokens[] = { "pitchTm1", "pitchTm2", "pitchTm3", "pitchTm4", "pitchTm5", "pitchTm6" };
    for (int i = 0; i < 6; ++i)
        m.AddCKCtrForToken(pitchTokens[i], CKCtr_AddToMB1, dm.NoteNr(static_cast<TGenDrumPiece>(TGenDrumPiece_TomPitch1 + i)) - highTom);

    // Articulation numbers: strokes count 1 to 5, a percussion articulation 1
    // to 4, a tempo step or a crash length in eights, so that the sums stay apart.
    mb3("articCowbellOpen", 1);
    mb3("articCowbellMuted", 2);
    mb3("articCowbellSidehit", 3);
    mb3("articTambourineDirectionLeft", 1);
    mb3("articTambourineDirectionRight", 2);
    mb3("articTambourineDirectionHitLeft", 3);
    mb3("articTambourineDirectionHitRight", 4);
    mb3("articClapsTightnessTight", 1);
    mb3("articClapsTightnessSloppy", 2);
    mb3("articFingersnapsTightnessTight", 1);
    mb3("articFingersnapsTightnessSloppy", 2);
    const char* const tempoTokens[] = { "tempo20", "tempo40", "tempo60", "tempo80", "tempo100", "tempo120", "tempo140",
        "tempo160", "tempo180", "tempo200" };
    for (int i = 0; i < 10; ++i)
        mb3(tempoTokens[i], 8 * (i + 1));
    mb3("strokeS1", 1);
    mb3("strokeS3l", 2);
    mb3("strokeS3r", 3);
    mb3("strokeS3", 4);
    mb3("strokeS5", 5);
    mb3("lengthSustain", 8);
    mb3("lengthStopSlow", 16);
    mb3("lengthStopFast", 24);
}

CGenConvertMapping MappingMB3(const CGenDrumMap& dm)
{
    CGenConvertMapping m(kConvertMappingKey_MB3);
    AddRows(m, kRowsCommon);
    AddRows(m, kRowsMB3);
    AddCommonTokens(m, dm);
    return m;
}

CGenConvertMapping MappingCtrlEvs(const CGenDrumMap& dm)
{
    CGenConvertMapping m(kConvertMappingKey_CtrlEvs);
    AddRows(m, kRowsCommon);
    AddRows(m, kRowsCtrlEvs);
    AddCommonTokens(m, dm);

    // Snare position: the vertex sends the controller at "center", the leaf sets its value.
    m.AddCKCtrForToken("noteNrAddSnNrmEccentricityCtr", DrumCtr(dm, kCtrSnarePosition), 0);
    m.AddCKCtrForToken("noteNrAddSnNrmEccentricityCenterVal", kSetCtrValue, 0);
    m.AddCKCtrForToken("noteNrAddSnNrmEccentricityOffcenterVal", kSetCtrValue, 64);
    m.AddCKCtrForToken("noteNrAddSnRimshotEccentricityCtr", DrumCtr(dm, kCtrSnarePosition), 0);
    m.AddCKCtrForToken("noteNrAddSnRimshotEccentricityCenterVal", kSetCtrValue, 0);
    m.AddCKCtrForToken("noteNrAddSnRimshotEccentricityOffcenterVal", kSetCtrValue, 64);

    // Hi-hat pedal: 127 closed down to 0 fully open.
    m.AddCKCtrForToken("ctrHhOpenness", DrumCtr(dm, kCtrHiHatPedal), 127);
    const char* const steps[] = { "ctrHhOpennessO1", "ctrHhOpennessO2", "ctrHhOpennessO3", "ctrHhOpennessO4",
        "ctrHhOpennessO5", "ctrHhOpennessO6", "ctrHhOpennessO7" };
    const int values[] = { 127, 106, 85, 64, 42, 21, 0 };
    for (int i = 0; i < 7; ++i)
        m.AddCKCtrForToken(steps[i], kSetCtrValue, values[i]);
    return m;
}

CGenConvertMapping MappingZamplerGroupNames()
{
    CGenConvertMapping m(kConvertMappingKey_InstTreeToTolvarZamplerGroupName);
    AddRows(m, kRowsZamplerGroupNames);
    return m;
}

} // namespace

CGenConvertMapping CGenConvertMappingFactory::MappingForKey(const std::string& key)
{
    return MappingForKeyAndDrumMap(key, CGenDrumMap::GeneralMidi());
}

CGenConvertMapping CGenConvertMappingFactory::MappingForKeyAndDrumMap(const std::string& key, const CGenDrumMap& drumMap)
{
    if (key == kConvertMappingKey_MB3)
        return MappingMB3(drumMap);
    if (key == kConvertMappingKey_CtrlEvs)
        return MappingCtrlEvs(drumMap);
    if (key == kConvertMappingKey_InstTreeToTolvarZamplerGroupName)
        return MappingZamplerGroupNames();
    return CGenConvertMapping();
}
