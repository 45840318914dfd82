#pragma once

// What the tests of content sources share: writing a source tree, the first
// mistake the compiler reports, and the look of an abstract-note event.

#include "TestSupport/TempDir.h"
#include "content/ContentCompiler.h"
#include "content/ContentError.h"

#include <Generator/CGenEv.h>
#include <Generator/CGenGenerator.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace zkgtest {

inline void WriteFile(const std::filesystem::path& root, const std::string& relative, const std::string& text)
{
    const std::filesystem::path file = root / relative;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
}

// The message of the first mistake in the sources at `dir`, or "no error".
inline std::string CompileError(const std::filesystem::path& dir)
{
    CGenGenerator generator;
    try {
        zkgen::cli::CompileContent(dir.string(), generator);
    } catch (const zkgen::cli::TContentError& e) {
        return e.what();
    }
    return "no error";
}

// The same for a library of nothing but this manifest.
inline std::string ManifestError(const std::string& manifest)
{
    TempDir dir("zkgen_manifest");
    WriteFile(dir.Path(), "library.toml", manifest);
    return CompileError(dir.Path());
}

// A note of a pitched grid: an abstract note with no note number yet.
inline void ExpectAbstractNote(const CGenEv& ev, float pos, float length, const std::string& note, int velocity)
{
    EXPECT_FLOAT_EQ(ev.mBeatPos, pos);
    EXPECT_FLOAT_EQ(ev.mBeatLength, length);
    EXPECT_EQ(ev.mMB0, st_NoteOn);
    EXPECT_EQ(ev.mMB1, -1);
    EXPECT_EQ(ev.mMB2, velocity);
    EXPECT_EQ(ev.AbstractNoteConst().ToString(), note);
}

} // namespace zkgtest
