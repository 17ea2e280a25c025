#include "cli/program.h"

#include <cstdio>

#include "base/text.h"
#include "cli/help_text.h"
#include "cli/options.h"
#include "cli/run_log.h"
#include "cli/track_run.h"
#include "export/export_file.h"

namespace tagwick {

namespace {

constexpr size_t PathBufferSize = 1024;

char programPathBuffer[PathBufferSize] = "";

}  // namespace

const char* programPath() { return programPathBuffer; }

int runProgram(int argc, char** argv) {
    copyBounded(programPathBuffer, sizeof programPathBuffer, argc > 0 && argv[0] ? argv[0] : "");
    formBuildText();
    // Closed on every way out, after the scan's buffers (declared later) are gone.
    RunLog log(buildText());

    const TagUpdate update = scan(argc, argv);
    if (update.versionRequested || update.helpRequested) printVersionLine();
    if (update.helpRequested) {
        printHelp();
        return 0;
    }
    if (update.tracks.empty()) {
        std::printf("No target track specified (use -h for help)\n");
        return 0;
    }
    const int status = runTracks(update, update.tracks);
    closeKeptExportFiles();
    return status;
}

}  // namespace tagwick
