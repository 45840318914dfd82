#pragma once

// Keys of the memento that the host keeps per region and hands back on every
// call, and of the out info dictionary a call returns.

inline constexpr const char* kMemento_Seeds = "Seeds";
inline constexpr const char* kMemento_Seeds_StyleGraphGlobalToMerged = "Seeds_StyleGraphGlobalToMerged";
inline constexpr const char* kMemento_RegionLeftCornerEditOffset = "RegionLeftCornerEditOffset";
inline constexpr const char* kMemento_LastGenerateStartPosAbs = "LastGenerateStartPosAbs";
inline constexpr const char* kMemento_LastGenerateLength = "LastGenerateLength";
inline constexpr const char* kMemento_LastGenerateStartPosInBar = "LastGenerateStartPosInBar";
inline constexpr const char* kMemento_FillLock_ComplexityAtGenerate = "FillLock_ComplexityAtGenerate";
inline constexpr const char* kMemento_FillLock_FillSeedAtGenerate = "FillLock_FillSeedAtGenerate";

inline constexpr const char* kOutInfo_DisableFillLock = "DisableFillLock";

// Tolerance for notes that a drummer can't play together: 150 ms in nanoseconds.
inline constexpr long long kEraseUnplayableNotesToleranceNs = 150000000LL;
