// Fuzz entry points keep the logger quiet: with the highest level shown set to the run headers,
// every message of a track is dropped before it is formatted, so an input costs its parsing
// and nothing else.
#pragma once

#include "base/logger.h"

inline void quietLogger() { tagwick::Logger::setMaxLevel(tagwick::LogHeader); }
