#include "support/export_tracks.h"

#include <csignal>
#include <stdexcept>

#include "support/mpeg_builders.h"

namespace tagwick::support {

namespace {

V2Frame text(const char* id, std::string_view value) { return latin1Frame(id, value); }
V2Frame picture(const char* mime, std::string_view bytes) {
    return v2Frame("APIC", apicPayload(mime, 3, "", bytesOf(bytes)));
}

}  // namespace

ByteVec everyFieldTrack() {
    V2TagLayout tag;
    tag.major = 4;
    tag.frames = {
        text("TRCK", "3/12"), v2Frame("TIT2", textPayload(1, utf16Bytes(u"Rock & \"Roll\" <live> 'x' Καλημέρα"))),
        v2Frame("TPE1", textPayload(2, utf16Bytes(u"Björk", true, false))), text("TALB", "Caf\xE9 Album"),
        text("TYER", "2004"), text("TCON", "(17)"),
        v2Frame("COMM", commentPayload(0, "eng", {}, bytesOf("First line\r\nSecond\n\nThird\rFourth & more"))),
        text("TCOM", "Com,poser"), text("TCOP", "Line\nbreak"), text("TOPE", " Someone"),
        text("TENC", "\tEncoder\\Person"), v2Frame("WXXX", userUrlPayload(0, {}, "http://example.com/track?a=1&b=2")),
        text("TCMP", "1"), picture("image/jpeg", std::string(200, 'A')), picture("image/png", "PNG"),
        picture("image/gif", "GIF89"), picture("image/bmp", "BMPxx"), picture("image/tiff", "MM"),
        picture("image/jpeg", "J"), picture("image/jpeg", "JPEG"),
        v2Frame("USLT", commentPayload(1, "eng", utf16Bytes(u""), utf16Bytes(u"Verse one\nVerse two\n\n\nChorus"))),
        text("TPE3", "The Conductor"), text("TEXT", "O'Brien"), text("TPE2", "The Orchestra"),
        text("TPUB", "He said \"hi\""), text("TIT1", "The Group"), text("TIT3", "Sub\ntitle"), text("TPOS", "1/2"),
        text("TSRC", "USABC0400001"), text("TDRC", "2004-05-06T07:08:09"), text("TDRL", "2004-07-08T10:11"),
        text("TKEY", "Am"), text("TBPM", "120"), v2Frame("WOAR", bytesOf("http://example.com/artist")),
        v2Frame("PCST", ByteVec(4, 0)), text("TGID", "pod-42"), text("WFED", "http://example.com/feed"),
        text("TDES", "Pod\r\n\r\ndescription"), text("TRTG", "2"), text("TMOO", "Calm"), text("TPRO", "2004 Producer"),
        text("TSWC", "T-034.524.680-1"),
        v2Frame("UFID", ufidPayload("http://example.org", bytesOf(std::string_view("abc\0def", 7)))),
    };
    return concat({buildV2Tag(tag), buildStream({}, 20), buildV1({"Caf\xE9 V1 <1>", "Band", "Record", "1999",
                                                                  "Two\nlines", 5, 17})});
}

FileSizeLimit::FileSizeLimit(rlim_t bytes) {
    if (getrlimit(RLIMIT_FSIZE, &previous_) != 0) throw std::runtime_error("getrlimit failed");
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit = previous_;
    limit.rlim_cur = bytes;
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("setrlimit failed");
}

FileSizeLimit::~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &previous_); }

}  // namespace tagwick::support
