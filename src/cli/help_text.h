// The program's name, version and build text, the version line and the help text.
#pragma once

#include <cstdio>
#include <string>

namespace tagwick {

inline constexpr const char* ProductName = "Tagwick";
inline constexpr int VersionMajor = 1;
inline constexpr int VersionMinor = 24;
inline constexpr int VersionPatch = 38;

// "unknown" until formBuildText() has run at start-up, then "1.17.78.342".
const char* buildText();
void formBuildText();

// "Tagwick version: 1.24.38 (<build text>) " and a blank line.
void printVersionLine(FILE* out = stdout);
// The usage line, the option groups and the notes.
void printHelp(FILE* out = stdout);
std::string helpText();

}  // namespace tagwick
