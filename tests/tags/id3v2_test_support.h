// Short ways to build and parse a version 2 tag, and what a parse yields as named texts compared
// key by key (Facts), shared by the tag tests.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/log_capture.h"
#include "support/tag_builders.h"
#include "tags/id3v2_reader.h"

namespace tagwick::test {

using support::ByteVec;
using support::LogCapture;
using support::V2Frame;
using Facts = std::map<std::string, std::string>;

struct Parsed {
    Id3v2Tag tag;
    V2ParseOutcome outcome;
};

// Parses a copy of exactly the tag's length, so that any read past the span is a heap overflow.
inline Parsed parseBytes(const ByteVec& bytes, int mode = 0, bool conversion = true) {
    Parsed parsed;
    std::vector<uint8_t> exact(bytes.begin(), bytes.end());
    parsed.outcome = parseV2(parsed.tag, exact, V2ReadSettings{mode, conversion});
    return parsed;
}

inline ByteVec buildTag(int major, std::vector<V2Frame> frames, size_t padding = 0, uint8_t flags = 0) {
    support::V2TagLayout layout;
    layout.major = major;
    layout.flags = flags;
    layout.frames = std::move(frames);
    layout.padding = padding;
    return support::buildV2Tag(layout);
}

inline Parsed parseFrames(int major, std::vector<V2Frame> frames, int mode = 0, bool conversion = true) {
    return parseBytes(buildTag(major, std::move(frames)), mode, conversion);
}

inline V2Frame frame(std::string id, ByteVec payload, uint16_t flags = 0) {
    V2Frame f;
    f.id = std::move(id);
    f.payload = std::move(payload);
    f.flags = flags;
    return f;
}

inline V2Frame text(std::string id, std::string_view value) {
    return frame(std::move(id), support::latin1Payload(value));
}

inline ByteVec bytesOf(std::string_view text) { return ByteVec(text.begin(), text.end()); }

inline std::string utf8Of(const OptText& text) { return text ? text->utf8() : std::string("<absent>"); }

// Everything a test may look at in a parse, as texts ("<absent>" for a field not set).
inline Facts factsOf(const Parsed& p) {
    static const char* const statuses[] = {"complete", "stopped", "unsynchronised", "too short"};
    const Id3v2Tag& t = p.tag;
    auto pair = [](uint16_t a, uint16_t b) { return std::to_string(a) + "/" + std::to_string(b); };
    auto yes = [](bool flag) { return std::string(flag ? "yes" : "no"); };
    Facts f = {{"found", yes(p.outcome.found)}, {"status", statuses[p.outcome.status]},
               {"minor", std::to_string(p.outcome.minor)}, {"title", utf8Of(t.title)}, {"artist", utf8Of(t.artist)},
               {"year", t.year}, {"genre", utf8Of(t.genre)}, {"comment", utf8Of(t.comment)},
               {"lyrics", utf8Of(t.lyrics)},
               {"track", pair(t.trackNumber, t.trackTotal)}, {"set", pair(t.setNumber, t.setTotal)},
               {"orchestra", utf8Of(t.orchestra)}, {"bpm", utf8Of(t.bpm)}, {"compilation", yes(t.compilation)},
               {"group", utf8Of(t.contentGroup)}, {"subtitle", utf8Of(t.subtitle)},
               {"recording time", utf8Of(t.recordingTime)}, {"release time", utf8Of(t.releaseTime)},
               {"url", utf8Of(t.url)}, {"artist url", utf8Of(t.artistUrl)}, {"feed", utf8Of(t.podcastFeed)},
               {"podcast", yes(t.podcast)}, {"advisory", std::to_string(t.advisory)},
               {"rating", t.hasRating ? std::to_string(t.rating) : "<absent>"},
               {"ufid", t.hasUfid ? t.ufidOwner + "|" + t.ufid : "<absent>"},
               {"cd bytes", std::to_string(t.cdIdentifier.size())}, {"user texts", std::to_string(t.userTexts.size())},
               {"pictures", std::to_string(t.pictures.size())}, {"kept", ""}};
    if (!t.pictures.empty()) {
        f["picture"] = t.pictures[0].mime + "|" + t.pictures[0].format;
        f["picture bytes"] = std::to_string(t.pictures[0].data.size());
    }
    for (size_t i = 0; i < t.userTexts.size(); ++i)
        f["user text " + std::to_string(i + 1)] = std::string(t.userTexts[i].begin(), t.userTexts[i].end());
    for (const KeptFrame& k : t.keptFrames) {
        f["kept"] += (f["kept"].empty() ? "" : " ") + k.id;
        f["kept " + k.id] = std::string(k.data.begin(), k.data.end());
    }
    return f;
}

// Compares only the facts named in `expected`.
inline void expectFacts(const Facts& actual, const Facts& expected) {
    for (const auto& [key, value] : expected) {
        auto found = actual.find(key);
        EXPECT_EQ(found == actual.end() ? "<none>" : found->second, value) << key;
    }
}

}  // namespace tagwick::test
