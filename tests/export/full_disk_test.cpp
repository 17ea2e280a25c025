// The exports on a full disk: an XML document or a picture that cannot be finished is removed
// (the other pictures are still written), a CSV row is taken back from its table; each with
// its message and status 11.
#include <gtest/gtest.h>

#include <filesystem>

#include "export/csv_export.h"
#include "export/picture_export.h"
#include "export/xml_export.h"
#include "support/cli_runner.h"
#include "support/export_tracks.h"
#include "support/log_capture.h"
#include "tags/id3_tag.h"

namespace tagwick {
namespace {

using namespace support;

class FullDisk : public testing::Test {
protected:
    void SetUp() override {
        writeFile(dir.file("t.mp3"), everyFieldTrack());
        ASSERT_NE(track.open(dir.file("t.mp3").c_str()), 0);
    }
    TempDir dir;
    ID3Tag track;
};

TEST_F(FullDisk, XmlDocumentIsRemoved) {
    track.v2.pictures[0].data.assign(20000, 'x');
    LogCapture log;
    const std::string xml = dir.file("t.xml");
    {
        FileSizeLimit limit(8192);
        EXPECT_EQ(exportXml(xml, &track, 2, true), ExportStatus::NotCreatable);
    }
    EXPECT_TRUE(log.has(LogError, "Failed to write the picture data to the XML file (27)")) << log.text();
    EXPECT_TRUE(log.has(LogError, "Failed to write the tag data to the XML file '" + xml + "' (27)")) << log.text();
    EXPECT_FALSE(std::filesystem::exists(xml));
}

TEST_F(FullDisk, CsvTableKeepsItsEarlierRowsOnly) {
    const std::string csv = dir.file("t.csv");
    ASSERT_EQ(exportCsv(csv, &track, 2), ExportStatus::Ok);
    const std::vector<uint8_t> table = readFile(csv);
    LogCapture log;
    {
        FileSizeLimit limit(table.size() + 100);
        EXPECT_EQ(exportCsv(csv, &track, 2), ExportStatus::NotCreatable);
    }
    EXPECT_TRUE(log.has(LogError, "Failed to write the tag data to the CSV file '" + csv + "' (27)")) << log.text();
    EXPECT_EQ(readFile(csv), table);
}

TEST_F(FullDisk, UnfinishedPictureIsRemovedAndTheOthersWritten) {
    track.v2.pictures.resize(3);
    track.v2.pictures[1].data.assign(50000, 'p');
    LogCapture log;
    {
        FileSizeLimit limit(4096);
        EXPECT_EQ(exportPictures(&track, dir.path(), true), ExportStatus::NotCreatable);
    }
    EXPECT_TRUE(log.has(LogError, "Failed to write the picture data to the file (27) (wrote 4096 of 50000)"))
        << log.text();
    EXPECT_EQ(readFile(dir.file("Picture.jpg")).size(), 200u);
    EXPECT_FALSE(std::filesystem::exists(dir.file("Picture1.png")));
    EXPECT_EQ(readFile(dir.file("Picture2.gif")).size(), 5u);
}

}  // namespace
}  // namespace tagwick
