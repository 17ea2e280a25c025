// The version 2 values as the XML and CSV exports write them: UTF-8 texts, the display form of
// the timestamps and the unique file identifier's two parts.
#pragma once

#include <string>

#include "tags/id3v2_fields.h"

namespace tagwick {

// The UTF-8 form of a value; empty when the tag does not hold it.
std::string exportText(const OptText& value);
// The year field (8-bit text) in UTF-8.
std::string exportYear(const Id3v2Tag& tag);
// A timestamp with its first 'T' made a blank, at most 63 bytes.
std::string exportTimestamp(const OptText& value);
// The owner, "Default" when the tag names none.
std::string ufidOwnerText(const Id3v2Tag& tag);
// The identifier as text: up to its first zero byte, at most 64 bytes.
std::string ufidDataText(const Id3v2Tag& tag);

}  // namespace tagwick
