#pragma once

#include <string>

namespace zkgen::lua {

// Compiles a script in a scratch state, as the engine checks it, and on a
// mistake gives its line (from 1; 0 when the message names none) and the
// interpreter's message without the chunk name. For authoring tools, which
// name the file themselves.
bool CheckLuaSyntax(const std::string& text, int& line, std::string& message);

} // namespace zkgen::lua
