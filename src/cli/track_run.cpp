#include "cli/track_run.h"

namespace tagwick {

int runTracks(const TagUpdate&, const std::vector<std::string>&) { return 0; }

}  // namespace tagwick
