// The walk through the track list: one kind of work on every track, and the run's status.
#pragma once

#include <string>
#include <vector>

namespace tagwick {

struct TagUpdate;

// Runs every track of `tracks` with the scanned options; returns the status of the last track.
int runTracks(const TagUpdate& update, const std::vector<std::string>& tracks);

}  // namespace tagwick
