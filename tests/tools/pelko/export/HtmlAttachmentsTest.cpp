#include "tests/tools/pelko/export/HtmlTest.h"

namespace pelkotest {

using testing::HasSubstr;
using testing::Not;

class HtmlAttachmentsTest : public HtmlTest {
protected:
    /// Adds a message with an attachment of alice.
    void addAttachment(const std::string& type, const std::string& path, const std::string& exPath = "",
                       const std::string& url = "") const {
        addMessage({{"type", type},
                    {"media_type", type},
                    {"media_path", path},
                    {"ex_media_path", exPath},
                    {"media_url", url},
                    {"text", "caption"},
                    {"duration", "12"}});
    }

    /// Every stored path that begins with "have/" is there.
    void writeWithFiles() const {
        pelkotool::HtmlExport what;
        what.attachment = [](const std::string& stored) {
            return stored.rfind("have/", 0) == 0 ? "media/" + stored.substr(5) : std::string();
        };
        write(what);
    }
};

const char* const image = "1";
const char* const audio = "2";
const char* const dataKind = "3";

TEST_F(HtmlAttachmentsTest, ImagesAreShown) {
    addAttachment(image, "have/photo.jpg");
    writeWithFiles();
    EXPECT_THAT(alicePage(), HasSubstr("<a href=\"../../media/photo.jpg\"><img src=\"../../media/photo.jpg\" "
                                       "alt=\"photo.jpg\" loading=\"lazy\"></a>"));
    EXPECT_THAT(alicePage(), HasSubstr(">caption</p>"));
}

TEST_F(HtmlAttachmentsTest, OfAnImageTheDownloadedFileIsShownAndTheOtherLinked) {
    addAttachment(image, "have/small.jpg", "have/large.jpg");
    writeWithFiles();
    EXPECT_THAT(alicePage(), HasSubstr("<img src=\"../../media/large.jpg\""));
    EXPECT_THAT(alicePage(), HasSubstr("<a href=\"../../media/small.jpg\"><bdi>small.jpg</bdi></a>"));
}

TEST_F(HtmlAttachmentsTest, OfAnImageTheOtherFileIsShownWhereOneIsLost) {
    addAttachment(image, "have/small.jpg", "lost/large.jpg", "https://example.org/large.jpg");
    writeWithFiles();
    EXPECT_THAT(alicePage(), HasSubstr("<img src=\"../../media/small.jpg\""));
    EXPECT_THAT(alicePage(), HasSubstr("image <bdi>lost/large.jpg</bdi> (not in this export)"));
    EXPECT_THAT(alicePage(), Not(HasSubstr("class=\"url\"")));
}

TEST_F(HtmlAttachmentsTest, SoundsCanBePlayed) {
    addAttachment(audio, "have/memo.ogg");
    writeWithFiles();
    EXPECT_THAT(
        alicePage(),
        HasSubstr("<audio controls preload=\"none\" src=\"../../media/memo.ogg\" aria-label=\"memo.ogg\">"
                  "</audio> <bdi>memo.ogg</bdi> (12 s)"));
}

TEST_F(HtmlAttachmentsTest, OtherFilesAreLinked) {
    addAttachment(dataKind, "have/list 1.pdf");
    writeWithFiles();
    EXPECT_THAT(alicePage(), HasSubstr("<a href=\"../../media/list%201.pdf\"><bdi>list 1.pdf</bdi></a>"));
}

TEST_F(HtmlAttachmentsTest, FilesThatCouldHoldAScriptAreOnlyNamed) {
    for (const char* const name : {"page.html", "drawing.svg", "PAGE.HTM", "nothing", "x.png.xhtml"}) {
        addAttachment(dataKind, std::string("have/") + name);
        addAttachment(image, std::string("have/") + name);
    }
    writeWithFiles();
    EXPECT_THAT(alicePage(), Not(HasSubstr("href=\"../../media")));
    EXPECT_THAT(alicePage(), HasSubstr("it is at <bdi>media/page.html</bdi>"));
    EXPECT_EQ(countOf("<img ", alicePage()), 5U);
}

TEST_F(HtmlAttachmentsTest, LostFilesAreNamedWithWhereTheyCameFrom) {
    addAttachment(dataKind, "lost/a.pdf", "", "https://example.org/a.pdf");
    addAttachment(audio, "", "", "javascript:alert(1)");
    writeWithFiles();
    EXPECT_THAT(alicePage(), HasSubstr("file <bdi>lost/a.pdf</bdi> (not in this export)"));
    EXPECT_THAT(alicePage(), HasSubstr("href=\"https://example.org/a.pdf\""));
    EXPECT_THAT(alicePage(), HasSubstr("from <bdi>javascript:alert(1)</bdi>"));
}

TEST_F(HtmlAttachmentsTest, WithoutAttachmentsAllAreNamed) {
    addAttachment(image, "have/photo.jpg");
    write();
    EXPECT_THAT(alicePage(), HasSubstr("image <bdi>have/photo.jpg</bdi> (not in this export)"));
}

TEST_F(HtmlAttachmentsTest, LinkedOriginalsKeepTheirAbsolutePlace) {
    addAttachment(image, "photo.jpg");
    pelkotool::HtmlExport what;
    what.attachment = [](const std::string& stored) { return "//home/a b/" + stored; };
    write(what);
    EXPECT_THAT(alicePage(), HasSubstr("<img src=\"/home/a%20b/photo.jpg\""));
}

}  // namespace pelkotest
