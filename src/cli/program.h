// The program's top level: start-up, the scan, help and version, the track run, shut-down.
#pragma once

namespace tagwick {

// Returns the exit status: 0 after help or with no track, else the status of the last track.
int runProgram(int argc, char** argv);

// The program path as given in argv[0] (at most 1023 bytes), empty before runProgram.
const char* programPath();

}  // namespace tagwick
